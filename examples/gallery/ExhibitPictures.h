/// @file Small conversions of pictures.
#pragma once

#include "q32Base/image/CqImage.h"

/// Convert a picture of 24 bits to another depth, pixel by pixel, in place. The library widens
/// depths but doesn't narrow them; a host supplies its own conversion. Raise the memory exception.
void fnToGrey(CqImage& image);    ///< 8 bits with the grey ramp
void fnToIndexed(CqImage& image); ///< 8 bits with 216 colours, dithered
void fnToHiColor(CqImage& image); ///< 16 bits

/// Crops a picture to a rectangle, which must lie inside it.
void fnCut(CqImage& image, const CRect& rect);
/// Crops a picture to its centre, at most `width` x `height` pixels.
void fnCutMiddle(CqImage& image, unsigned int width, unsigned int height);
/// Repeats each pixel `factor` times in both directions, so that single pixels are visible.
void fnMagnify(CqImage& image, unsigned int factor);
