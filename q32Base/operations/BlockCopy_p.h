#pragma once

#include "q32Base/framework/Values.h"

class CqTileMap;

namespace q32 {

/// Copies `rect` of one image to (x, y) of another of the same depth, 8 bits or more, clipped to
/// both.
///
/// Within one image, rows are copied from the top down, and each row is read before the previous
/// one is written. So a block that is moved down by one row arrives intact, and one that is moved
/// further down over itself repeats its first rows, deliberately. Raises the memory exception, only
/// within one image and before any change.
void fnCopyPixels(const CqTileMap& from, const CRect& rect, CqTileMap& to, LONG x, LONG y);

} // namespace q32
