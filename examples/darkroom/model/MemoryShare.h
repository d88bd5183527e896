#pragma once

#include <cstdint>

namespace darkroom {

/// Default share of the machine's memory that pictures may use, in percent.
inline constexpr unsigned int kUsualShare = 50;

/// Converts a share of the memory to bytes, up to the 4 GiB that the memory policy can count. The
/// library's own limit is computed in 32 bits and would be only a few MB on a large machine.
constexpr std::uint32_t fnComputeLimit(std::uint64_t memory, unsigned int percent) {
    const std::uint64_t bytes = memory / 100 * percent;
    return bytes < UINT32_MAX ? static_cast<std::uint32_t>(bytes) : UINT32_MAX;
}

/// Bytes of memory installed in the machine; 0 when unknown.
std::uint64_t fnGetMachineMemory();

/// Sets the memory policy's limit from its share: at program start and after the settings have been
/// read again.
void fnApplyMemoryShare();

} // namespace darkroom
