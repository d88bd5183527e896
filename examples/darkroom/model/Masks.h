/// @file Combines selections pixel by pixel. CqMask's own sums clip by rectangles and keep only the
/// low byte, which doesn't suit a selection.
#pragma once

class CqMask;
class CqProgressDisplay;

namespace darkroom {

enum class Combine { REPLACE, ADD, SUBTRACT };

/// Combines a mask with a selection. Both are masks of 0 and 255 in the same coordinates; either
/// may be empty: without a bitmap, or with an empty rectangle. The result has the smallest
/// rectangle that holds its pixels; without any pixel it is empty.
/// @return false when the user aborted it, with both unchanged
/// Raises the memory exception, with both unchanged.
bool fnCombineMasks(CqMask& selection, CqMask& mask, Combine how, CqProgressDisplay* progress);

} // namespace darkroom
