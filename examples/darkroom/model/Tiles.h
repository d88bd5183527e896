/// @file Which tiles of a picture a change may touch.
#pragma once

#include "q32Base/framework/Values.h"
#include "q32Base/geometry/CqPoint2D.h"

#include <span>
#include <vector>

class CqImage;

namespace darkroom {

/// Indices of a picture's tiles, ascending, none twice. All functions may throw std::bad_alloc.
using Tiles = std::vector<unsigned int>;

/// The tiles that a rectangle touches.
Tiles fnFindTiles(const CqImage& image, const CRect& part);
/// The tiles that `fnDrawPath` may touch with these points, and perhaps some next to them.
/// @param width  of the path, in pixels
Tiles fnFindPathTiles(const CqImage& image, std::span<const CqPoint2D> points, int width = 1);
/// The rectangle of a tile, in pixels of the picture.
CRect fnGetTileRect(const CqImage& image, unsigned int tile);

} // namespace darkroom
