#pragma once

#include "examples/darkroom/model/Merge.h"

namespace darkroom {

class PictureView;

/// Shows in a view what a merge would make of the part of the picture that is in sight, and
/// outlines the second picture's place. Shows the place alone when memory runs out.
/// @param over  the second picture, as it was read
void fnShowMerge(PictureView& view, CqImage& over, const MergePlan& plan);
/// Takes both away.
void fnHideMerge(PictureView& view);

} // namespace darkroom
