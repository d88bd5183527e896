/// @file
/// What the library does with a whole picture at one go, done band by band, so that a user sees how
/// far it is and can end it. Each returns false when that happened. All raise the memory exception.
#pragma once

#include "examples/darkroom/model/Progress.h"
#include "q32Base/framework/Values.h"
#include "q32Base/image/CqColor.h"

#include <algorithm>
#include <cstdint>

class CqImage;

namespace darkroom {

/// What a picture may take; the library counts its bytes in 32 bits.
inline constexpr std::uint64_t kMaxBytes = 0xFFFFFFFEu;

/// Bytes that the pixels of a picture take.
constexpr std::uint64_t fnCountBytes(std::uint64_t width, std::uint64_t height, unsigned int bits) {
    return (width * bits + 7) / 8 * height;
}

/// The rectangle of all pixels of a picture.
CRect fnGetWhole(const CqImage& image);

/// The rest of a division by a length, never below 0: the place in a tile.
constexpr LONG fnModulo(LONG place, LONG length) {
    const LONG rest = place % length;
    return rest < 0 ? rest + length : rest;
}

/// Rows that are worked on between two looks at the user's keys.
inline constexpr LONG kBandRows = 256;

/// Calls `work` with one band of a part after the other, from the top; never for an empty part.
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

/// Copies a picture, tile by tile. `to` has undefined pixels when it was ended.
bool fnCopyPicture(CqImage& from, CqImage& to, CqProgressDisplay* progress);

/// Copies a rectangle of a picture of 8 bits and more, which must lie in it, to a new one without a
/// palette. `part` has undefined pixels when it was ended.
/// @param corner  the place in the picture that becomes the corner of `part`: that of the
///                rectangle, or one above it and to its left; pixels between are undefined
bool fnCutOut(CqImage& image, const CRect& place, const CPoint& corner, CqImage& part,
              CqProgressDisplay* progress);

/// Fills all of a picture, or some bands of it when it was ended.
bool fnFillPicture(CqImage& image, const CqColor& color, CqProgressDisplay* progress);

/// Tiles a pattern over all of a picture of its depth.
/// @param corner  where the corner of one of the tiles comes to lie, in the picture; anywhere
bool fnFillPattern(CqImage& image, CqImage& pattern, const CPoint& corner,
                   CqProgressDisplay* progress);

/// Gives a picture 24 or 32 bits with the bytes of the library's conversion; as it was when it was
/// ended.
bool fnConvertPicture(CqImage& image, unsigned int bits, CqProgressDisplay* progress);

} // namespace darkroom
