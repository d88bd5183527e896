/// @file
/// Small steps from one picture to another.
#pragma once

#include "q32Base/image/CqImage.h"

/// Give a picture of 24 bits another depth, pixel by pixel, in place. The library widens depths but
/// doesn't narrow them; a host brings its own way. Raise the memory exception.
void fnToGrey(CqImage& image);    ///< 8 bits with the grey ramp
void fnToIndexed(CqImage& image); ///< 8 bits with 216 colours, dithered
void fnToHiColor(CqImage& image); ///< 16 bits

/// Cuts a rectangle out of a picture. It must lie inside.
void fnCut(CqImage& image, const CRect& rect);
/// Cuts the middle out, at most `width` x `height` pixels of it.
void fnCutMiddle(CqImage& image, unsigned int width, unsigned int height);
/// Repeats each pixel `factor` times in both directions, so that pixels can be seen.
void fnMagnify(CqImage& image, unsigned int factor);
