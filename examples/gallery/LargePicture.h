#pragma once

#include "examples/gallery/Terminal.h"
#include "q32Base/image/CqImage.h"

inline constexpr unsigned int kLargeWidth = 12000;
inline constexpr unsigned int kLargeHeight = 9000;

/// Fills `large` with a picture of 12,000 x 9,000 pixels at 24 bits: a photograph repeated, each
/// copy the mirror image of its neighbours, with less red towards the left and less blue towards
/// the top, so that no two places look the same. Raises the memory exception; throws Aborted.
void fnMakeLargePicture(CqImage& photograph, CqImage& large, ProgressLine& progress);
