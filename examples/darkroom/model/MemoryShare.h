#pragma once

#include <cstdint>

namespace darkroom {

/// What pictures may take of a machine's memory when the user sets no share, in percent.
inline constexpr unsigned int kUsualShare = 50;

/// Bytes that a share of the memory is, up to the 4 GiB that the memory policy can count. The
/// library's own limit is computed in 32 bits and comes out as some few MB on a large machine.
constexpr std::uint32_t fnComputeLimit(std::uint64_t memory, unsigned int percent) {
    const std::uint64_t bytes = memory / 100 * percent;
    return bytes < UINT32_MAX ? static_cast<std::uint32_t>(bytes) : UINT32_MAX;
}

/// Bytes of memory that the machine has; 0 when that can't be told.
std::uint64_t fnGetMachineMemory();

/// Sets the memory policy's limit by the share that it has: when the program starts, and whenever
/// the settings have been read anew.
void fnApplyMemoryShare();

} // namespace darkroom
