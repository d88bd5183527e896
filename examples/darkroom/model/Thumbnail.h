#pragma once

#include <span>

namespace darkroom {

/// Removes the small picture from a block of EXIF, in place: once the picture is changed, it shows
/// another one, perhaps what was cut off. Nothing else in the block moves. What isn't EXIF, or
/// holds no small picture, stays as it is.
void fnRemoveThumbnail(std::span<unsigned char> exif) noexcept;

} // namespace darkroom
