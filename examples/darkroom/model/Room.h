/// @file What space is left for pixels.
#pragma once

#include <cstdint>

namespace darkroom {

/// Bytes of the largest block of pixels that there is space for, in RAM or on a scratch disk.
std::uint64_t fnFindRoom();

/// Whether a failure may be for lack of space: there is less than an edit of a picture can need.
/// @param bytes  of the picture
bool fnIsRoomShort(std::uint64_t bytes);

} // namespace darkroom
