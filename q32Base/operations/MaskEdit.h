/// @file
/// Masks feathered and inverted.
#pragma once

#include "q32Base/framework/Values.h"
#include "q32Base/platform/Export.h"

class CqMask;
class CqProgressDisplay;

/// Feathers a mask: blurs its weights by the rule of `q32Blur`. What it doesn't cover counts as 0.
/// The mask grows by `q32GetBlurReach(sigma)` to each side, clipped to `area`, and parts of it
/// outside are dropped; at the edges of the area its weights continue, so that a mask that selects
/// everything stays so.
///
/// Returns false, with the mask unchanged, after an abort, for a mask that has no bitmap of 8 bits,
/// if nothing of the result would lie in the area, and for a sigma that isn't above 0. Raises the
/// memory exception, with the mask unchanged. Called from the thread that uses the mask.
/// @param sigma     standard deviation, in pixels
/// @param area      the picture's rectangle, in the coordinates of the mask's bound
/// @param progress  may be null
Q32_API bool q32FeatherMask(CqMask& mask, double sigma, const CRect& area,
                            CqProgressDisplay* progress);

/// Inverts a mask inside `area`: each weight becomes 255 minus itself, and 255 where the mask
/// doesn't cover the area. The mask then covers exactly the area.
///
/// Returns false, with the mask unchanged, for an empty area and for a bitmap that isn't 8 bits
/// deep; a mask without a bitmap counts as 0. Raises the memory exception, with the mask unchanged.
/// Called from the thread that uses the mask.
Q32_API bool q32InvertMask(CqMask& mask, const CRect& area);
