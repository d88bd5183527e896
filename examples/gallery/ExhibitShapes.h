/// @file Masks used by the exhibits.
#pragma once

#include "q32Base/image/CqMask.h"

/// Weights by the distance from a disc's centre: 255 up to `core`, 0 from `edge` on, linear in
/// between. The corner of the mask's bounds is placed at `corner`. Raises the memory exception.
void fnMakeDisc(CqMask& mask, const CPoint& corner, int core, int edge);
/// A square whose weights increase from 0 at the left to `most` at the right.
void fnMakeSlope(CqMask& mask, const CPoint& corner, int side, int most);
