/// @file
/// Copies of rectangles, and crops.
#pragma once

#include "q32Base/framework/Values.h"
#include "q32Base/platform/Export.h"

class CqImage;
class CqProgressDisplay;

/// Copies a rectangle of an image, clipped to it, into new storage of `target`, at any depth.
/// `target` takes the depth, palette and resolution of `source`; its other fields stay. If both are
/// the same image, it is cropped.
///
/// Returns false, with `target` unchanged, after an abort, if nothing of the rectangle lies in the
/// image, and if that has no storage. Raises the memory exception, with `target` unchanged. Used
/// from the thread that uses both images.
/// @param progress  may be null
Q32_API bool q32Crop(const CqImage& source, const CRect& rect, CqImage& target,
                     CqProgressDisplay* progress);
