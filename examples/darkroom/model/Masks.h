/// @file
/// Selections combined pixel by pixel. The sums of CqMask cut by rectangles and keep low bytes,
/// which is not what a selection wants.
#pragma once

class CqMask;
class CqProgressDisplay;

namespace darkroom {

enum class Combine { REPLACE, ADD, SUBTRACT };

/// Takes a mask into a selection. Both are masks of 0 and 255 in the same coordinates; either may
/// be nothing: without a bitmap, or with an empty rectangle. The result lies in the smallest
/// rectangle that holds its pixels; without any, it is nothing.
/// @return false when the user ended it, with both as they were
/// Raises the memory exception, with both as they were.
bool fnCombineMasks(CqMask& selection, CqMask& mask, Combine how, CqProgressDisplay* progress);

} // namespace darkroom
