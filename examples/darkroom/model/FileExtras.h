/// @file What a picture's file holds besides the pixels that are read from it.
#pragma once

#include <cstdint>

namespace darkroom {

/// Bits of a set.
enum FileExtra : std::uint32_t {
    EXTRA_NONE = 0,
    EXTRA_PAGES = 1,    ///< further pages or frames
    EXTRA_DEPTH = 2,    ///< more than 8 bits a channel
    EXTRA_CHANNELS = 4, ///< ink colours or further channels
    EXTRA_PROFILE = 8,  ///< a colour profile
    EXTRA_CAMERA = 16,  ///< EXIF
    EXTRA_EDITING = 32, ///< XMP
    EXTRA_PRESS = 64,   ///< IPTC
    EXTRA_NOTES = 128   ///< texts, and metadata of other kinds
};

} // namespace darkroom
