/// @file
/// Test charts, on which a fault of resampling or rotation strikes the eye. All are of 24 bits and
/// 1200 x 900 pixels, but for the last. Raise the memory exception.
#pragma once

#include "q32Base/image/CqImage.h"

/// Black lines, one pixel wide, from one point in all directions, in a frame one pixel wide.
void fnMakeLineChart(CqImage& image);
/// Rings that become ever finer outward, up to the finest that pixels can carry at the left and
/// right.
void fnMakeRingChart(CqImage& image);
/// 400 x 300: a grid of lines one pixel wide, 20 pixels apart, and a frame.
void fnMakeGridChart(CqImage& image);
