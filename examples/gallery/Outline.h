#pragma once

#include "q32Base/framework/CRgn.h"
#include "q32Base/image/CqImage.h"

/// Fills a region's rectangles in a picture with a colour.
void fnFillRegion(CqImage& image, const CRgn& region, const CqColor& color);
/// Draws a region's outline: those of its pixels that have a neighbour outside, horizontally,
/// vertically or diagonally. Pixels beyond the picture count as the nearest one inside. Raises the
/// memory exception.
void fnDrawOutline(CqImage& image, const CRgn& region, const CqColor& color);
