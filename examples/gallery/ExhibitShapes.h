/// @file
/// Masks to work with.
#pragma once

#include "q32Base/image/CqMask.h"

/// Weights by the distance from a disc's middle: 255 up to `core` and none from `edge` on, in even
/// steps between. The mask is placed so that its bound rectangle's corner is at `corner`. Raises
/// the memory exception.
void fnMakeDisc(CqMask& mask, const CPoint& corner, int core, int edge);
/// A square whose weights grow from 0 at the left to `most` at the right.
void fnMakeSlope(CqMask& mask, const CPoint& corner, int side, int most);
