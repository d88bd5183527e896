/// @file
/// What the library does with a whole picture at one go, done band by band, so that a user sees how
/// far it is and can end it. Each returns false when that happened. All raise the memory exception.
#pragma once

#include "examples/darkroom/model/Progress.h"
#include "q32Base/framework/Values.h"
#include "q32Base/image/CqColor.h"

#include <algorithm>

class CqImage;

namespace darkroom {

/// Rows that are worked on between two looks at the user's keys.
inline constexpr LONG kBandRows = 256;

/// Calls `work` with one band of a part after the other, from the top; never for an empty part.
/// @param rows  of each band but the last
template <typename Work>
bool fnForBands(const CRect& part, CqProgressDisplay* progress, Work work, LONG rows = kBandRows) {
    const LONG end = part.IsRectEmpty() ? part.top : part.bottom;
    for (LONG top = part.top; top < end; top += rows) {
        work(CRect(part.left, top, part.right, std::min(top + rows, end)));
        if (!fnGoOn(progress, top - part.top, end - part.top))
            return false;
    }
    return true;
}

/// Copies a picture, tile by tile. `to` has undefined pixels when it was ended.
bool fnCopyPicture(CqImage& from, CqImage& to, CqProgressDisplay* progress);

/// Fills all of a picture, or some bands of it when it was ended.
bool fnFillPicture(CqImage& image, const CqColor& color, CqProgressDisplay* progress);

/// Tiles a pattern over all of a picture of its depth, from the top left corner.
bool fnFillPattern(CqImage& image, CqImage& pattern, CqProgressDisplay* progress);

/// Gives a picture 24 or 32 bits with the bytes of the library's conversion; as it was when it was
/// ended.
bool fnConvertPicture(CqImage& image, unsigned int bits, CqProgressDisplay* progress);

} // namespace darkroom
