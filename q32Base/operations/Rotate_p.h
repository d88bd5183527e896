/// @file
/// Rotation of images of 8 bits and more. `progress` may be null; false means that the operation
/// was aborted, and the contents of a target map are then meaningless. Memory failures are raised
/// as CMemoryException.
#pragma once

#include "q32Base/framework/Values.h"
#include "q32Base/image/CqColor.h"

class CqProgressDisplay;
class CqTileMap;

namespace q32 {

// Right angles, by moving pixels. On success `center` is rotated too; its formulas lack the -1 of
// those of the pixels, deliberately. Pixels that would land outside the target are dropped, and
// target pixels that none lands on stay as they are. One report per source tile.

/// 90 degrees counter-clockwise as seen on the screen.
bool fnRotateQuarterLeft(CqTileMap& source, CqTileMap& target, CPoint& center,
                         CqProgressDisplay* progress);
/// 90 degrees clockwise.
bool fnRotateQuarterRight(CqTileMap& source, CqTileMap& target, CPoint& center,
                          CqProgressDisplay* progress);
/// By 180 degrees, in place: an abort leaves the rows swapped so far swapped. One report per pair
/// of rows.
bool fnRotateHalf(CqTileMap& map, CPoint& center, CqProgressDisplay* progress);

/// The arguments of a rotation by any angle.
struct Rotation {
    double m_dSine;
    double m_dCosine;
    CPoint m_Center;    ///< in the source
    CPoint m_NewCenter; ///< in the target
    CqColor m_Background;
    bool m_bAntiAlias;
};

/// Samples the source for every target pixel; at 16 bits nothing is written, deliberately. One
/// report per target tile.
bool fnRotateAny(const CqTileMap& source, CqTileMap& target, const Rotation& rotation,
                 CqProgressDisplay* progress);

} // namespace q32
