/// @file
/// Resizing with pixels counted by their alpha.
#pragma once

#include "q32Base/platform/Export.h"

class CqImage;
class CqProgressDisplay;

/// Resizes an image by the cubic filter, like `CqImage::fnResample` with interpolation, but at 32
/// bits lets each pixel count by its alpha, so that the colours of transparent pixels don't show at
/// the edges. An image without a pixel whose alpha is below 255, and one of any other depth, gets
/// exactly the result of `CqImage::fnResample`.
///
/// In each of the filter's two passes, which have the same order, samples and weights:
/// - Alpha is filtered as by `CqImage::fnResample`. Where the result is 0, the colours are 0.
/// - Where all pixels that contribute are opaque, the colours are filtered in the same way.
/// - Elsewhere a channel is the sum of weight x (alpha x channel), divided by the sum of weight x
///   alpha: sums in double, from 0 and in the order of the samples, stored by the filter's rule
///   (1e-10 added, truncated, clamped to 0 to 255).
///
/// Returns false, with the image unchanged, after an abort and for an image without storage. Raises
/// the memory exception, with the image unchanged, also for a size that no image can have. Called
/// from the thread that uses the image.
/// @param progress  may be null
Q32_API bool q32ResampleByAlpha(CqImage& image, unsigned int width, unsigned int height,
                                CqProgressDisplay* progress);
