/// @file Operations that the library runs on a complete picture at once, done band by band so that
/// the user sees the progress and can abort. Each returns false after an abort. All raise the
/// memory exception.
#pragma once

#include "examples/darkroom/model/Progress.h"
#include "q32Base/framework/Values.h"
#include "q32Base/image/CqColor.h"

#include <algorithm>
#include <cstdint>

class CqImage;

namespace darkroom {

/// Largest size of a picture in bytes; the library counts them in 32 bits.
inline constexpr std::uint64_t kMaxBytes = 0xFFFFFFFEu;

/// Bytes taken by the pixels of a picture.
constexpr std::uint64_t fnCountBytes(std::uint64_t width, std::uint64_t height, unsigned int bits) {
    return (width * bits + 7) / 8 * height;
}

/// The rectangle of all pixels of a picture.
CRect fnGetWhole(const CqImage& image);

/// Remainder of a division by a length, never below 0: the position within a tile.
constexpr LONG fnModulo(LONG place, LONG length) {
    const LONG rest = place % length;
    return rest < 0 ? rest + length : rest;
}

/// Rows processed between two checks for an abort.
inline constexpr LONG kBandRows = 256;

/// Calls `work` with the bands of a part, one after another from the top; never for an empty part.
template <typename Work>
bool fnForBands(const CRect& part, CqProgressDisplay* progress, Work work) {
    const LONG end = part.IsRectEmpty() ? part.top : part.bottom;
    for (LONG top = part.top; top < end; top += kBandRows) {
        work(CRect(part.left, top, part.right, std::min(top + kBandRows, end)));
        if (!fnGoOn(progress, top - part.top, end - part.top))
            return false;
    }
    return true;
}

/// Copies a picture, tile by tile. After an abort the pixels of `to` are undefined.
bool fnCopyPicture(CqImage& from, CqImage& to, CqProgressDisplay* progress);

/// Fills all of a picture, or only some bands of it after an abort.
bool fnFillPicture(CqImage& image, const CqColor& color, CqProgressDisplay* progress);

/// Tiles a pattern over a complete picture of the same depth.
/// @param corner  position in the picture of the corner of one tile; anywhere
bool fnFillPattern(CqImage& image, CqImage& pattern, const CPoint& corner,
                   CqProgressDisplay* progress);

/// Converts a picture to 24 or 32 bits, with the bytes of the library's conversion; unchanged after
/// an abort.
bool fnConvertPicture(CqImage& image, unsigned int bits, CqProgressDisplay* progress);

} // namespace darkroom
