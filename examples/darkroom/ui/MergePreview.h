#pragma once

#include "examples/darkroom/model/Merge.h"

namespace darkroom {

class PictureView;

/// Shows in a view what a merge would make of the visible part of the picture, and outlines the
/// second picture's rectangle. Shows only the outline when memory is exhausted.
/// @param over  the second picture, as it was read
void fnShowMerge(PictureView& view, CqImage& over, const MergePlan& plan);
/// Removes both.
void fnHideMerge(PictureView& view);

} // namespace darkroom
