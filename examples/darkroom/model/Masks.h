/// @file Combines selections pixel by pixel. CqMask's own sums clip by rectangles and keep only the
/// low byte, which doesn't suit a selection.
#pragma once

#include "q32Base/framework/Values.h"

class CqMask;
class CqProgressDisplay;

namespace darkroom {

enum class Combine { REPLACE, ADD, SUBTRACT };

/// Combines a mask with a selection: the greater weight if it is added, at most what it leaves if
/// it is subtracted. Both are masks of weights from 0 to 255 in the same coordinates; either may be
/// empty: without a bitmap, or with an empty rectangle. The result has the smallest rectangle that
/// holds its pixels; without any pixel it is empty.
/// @param made  receives the result; neither of the others
/// @return false when the user aborted it, with `made` unchanged
/// Raises the memory exception, with `made` unchanged.
bool fnCombineMasks(CqMask& selection, CqMask& mask, Combine how, CqMask& made,
                    CqProgressDisplay* progress);

/// What a selection leaves of each pixel of a picture of this size. As above.
bool fnInvertMask(CqMask& selection, unsigned int width, unsigned int height, CqMask& made,
                  CqProgressDisplay* progress);

/// A selection moved and scaled into another rectangle by the nearest pixel, without what is
/// outside of a picture of this size. As above.
/// @param place  not empty; may be outside
bool fnPlaceMask(CqMask& selection, const CRect& place, unsigned int width, unsigned int height,
                 CqMask& made, CqProgressDisplay* progress);

} // namespace darkroom
