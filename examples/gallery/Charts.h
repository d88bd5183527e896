/// @file Test charts on which errors of resampling or rotation are easy to see. All have 24 bits
/// and 1200 x 900 pixels, except the last. They raise the memory exception.
#pragma once

#include "q32Base/image/CqImage.h"

/// Black lines, one pixel wide, from one point in all directions, in a frame one pixel wide.
void fnMakeLineChart(CqImage& image);
/// Rings that become finer outwards, up to the finest that pixels can represent at the left and
/// right.
void fnMakeRingChart(CqImage& image);
/// 400 x 300: a grid of lines one pixel wide, 20 pixels apart, and a frame.
void fnMakeGridChart(CqImage& image);
