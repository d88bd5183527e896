#pragma once

#include "platforms/qt/TileSampler_p.h"

namespace q32::qt {

/// Draws a part of an image that is shown smaller, at a zoom from 1/4 to below 1, on a canvas of
/// Format_RGB32: each pixel is the mean of the area of the image that it covers, then laid over the
/// checkerboard if that is shown, and taken through the library's gamma. Weights are in 256ths of a
/// pixel's width and height. Canvas pixels outside the image are unchanged. May throw
/// std::bad_alloc.
/// @return the part that was drawn
QRect fnSampleMeans(const CqImage& image, const SamplePlace& place, const QRect& part,
                    QImage& canvas);

} // namespace q32::qt
