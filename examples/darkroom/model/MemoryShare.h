#pragma once

#include <cstdint>

namespace darkroom {

/// Default share of the memory that pictures may use, in percent.
inline constexpr unsigned int kUsualShare = 50;

/// Converts a share of the memory to bytes. The library's own limit is computed in 32 bits and
/// would be only a few MB on a large machine.
constexpr std::uint64_t fnComputeLimit(std::uint64_t memory, unsigned int percent) {
    return memory / 100 * percent;
}

/// Bytes of memory that the program may use: the machine's, or less where a control group limits
/// it. 0 when unknown.
std::uint64_t fnGetMachineMemory();

/// Sets the memory policy's limit from its share: at program start and after the settings have been
/// read again.
void fnApplyMemoryShare();

} // namespace darkroom
