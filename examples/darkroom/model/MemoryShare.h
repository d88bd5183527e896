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

/// Bytes that a picture may take which is handed to other programs: an eighth of the memory, and no
/// more than 16 million pixels.
/// @param memory  of the machine; 0 when unknown
constexpr std::uint64_t fnLimitShared(std::uint64_t memory) {
    constexpr std::uint64_t kMost = (std::uint64_t{16} << 20) * 4;
    return memory == 0 || memory / 8 > kMost ? kMost : memory / 8;
}

/// Bytes that a decoder may take apart from the picture: a quarter of the memory, and no more than
/// `usual`, the decoders' own limit.
constexpr std::uint64_t fnLimitCodec(std::uint64_t memory, std::uint64_t usual) {
    return memory == 0 || memory / 4 > usual ? usual : memory / 4;
}

/// Sets the memory policy's limit from its share: at program start and after the settings have been
/// read again.
void fnApplyMemoryShare();

} // namespace darkroom
