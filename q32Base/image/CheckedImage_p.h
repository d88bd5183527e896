/// @file
/// What functions of images require of their caller; see Checked_p.h.
#pragma once

#include "q32Base/image/CqImage.h"
#include "q32Base/platform/Checked_p.h"

#include <cstdint>

namespace q32 {

/// Stops for an image without storage.
/// @param name  of the argument; null for the object of the call
inline void fnRequirePixels([[maybe_unused]] const char* call,
                            [[maybe_unused]] const CqImage& image,
                            [[maybe_unused]] const char* name = nullptr) {
    if constexpr (kChecked)
        if (!image.TileMap)
            fnStop(call, "%s has no pixels; allocate it, or read a picture into it, first",
                   name ? name : "the image");
}

/// Stops for a number that isn't below its limit.
inline void fnRequireBelow([[maybe_unused]] const char* call, [[maybe_unused]] const char* name,
                           [[maybe_unused]] std::int64_t value, [[maybe_unused]] std::int64_t limit,
                           [[maybe_unused]] const char* limitName) {
    if constexpr (kChecked)
        if (value < 0 || value >= limit)
            fnStop(call, "%s is %lld, but the %s is %lld", name, static_cast<long long>(value),
                   limitName, static_cast<long long>(limit));
}

/// Stops for an image without storage, and for a pixel outside of it.
inline void fnRequireInside([[maybe_unused]] const char* call,
                            [[maybe_unused]] const CqImage& image, [[maybe_unused]] int x,
                            [[maybe_unused]] int y) {
    if constexpr (kChecked) {
        fnRequirePixels(call, image);
        fnRequireBelow(call, "x", x, image.Width, "width");
        fnRequireBelow(call, "y", y, image.Height, "height");
    }
}

/// Stops for an accessor that isn't on a row or tile.
/// @param place  its row or index
inline void fnRequirePlace([[maybe_unused]] const char* call, [[maybe_unused]] int place,
                           [[maybe_unused]] const char* how) {
    if constexpr (kChecked)
        if (place < 0)
            fnStop(call, "the accessor is free; place it by %s first", how);
}

} // namespace q32
