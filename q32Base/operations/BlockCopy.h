#pragma once

#include "q32Base/framework/Values.h"

class CqTileMap;

namespace q32 {

/// Copies `rect` of one image to (x, y) of another of the same depth, 8 bits or more; what isn't in
/// both is left out.
///
/// Within one image, the result is that of two rows that are read and written in turn: each row is
/// read before the row written just before it has reached the image. So a block that is moved down
/// by one row arrives whole, and one that is moved further down over itself repeats its first rows.
/// Raises the memory exception within one image alone, before anything is changed.
void fnCopyPixels(const CqTileMap& from, const CRect& rect, CqTileMap& to, LONG x, LONG y);

} // namespace q32
