/// @file
/// The ways to turn an image. `progress` may be null; false means that it was aborted, and then
/// what a target map holds has no meaning. No 4-bit images.
#pragma once

#include "q32Base/framework/Values.h"
#include "q32Base/image/CqColor.h"

class CqProgressDisplay;
class CqTileMap;

namespace q32 {

// Right angles, by moving pixels. On success `center` is moved along; its formulas have no -1,
// deliberately, although those of the pixels have. Pixels that would land outside the target are
// left out, and target pixels that none lands on stay as they are. One report a source tile.

/// Counter-clockwise as seen on the screen.
bool fnRotateQuarterLeft(CqTileMap& source, CqTileMap& target, CPoint& center,
                         CqProgressDisplay* progress);
/// Clockwise.
bool fnRotateQuarterRight(CqTileMap& source, CqTileMap& target, CPoint& center,
                          CqProgressDisplay* progress);
/// By 180 degrees, in place: an abort leaves the rows that were swapped so far swapped. One report
/// a pair of rows.
bool fnRotateHalf(CqTileMap& map, CPoint& center, CqProgressDisplay* progress);

/// How to turn by any angle.
struct AnyTurn {
    double sine;
    double cosine;
    CPoint center;    ///< in the source
    CPoint newCenter; ///< in the target
    CqColor background;
    bool antiAlias;
};

/// Samples the source for every target pixel; at 16 bits nothing is written, deliberately. One
/// report a target tile.
bool fnRotateAny(const CqTileMap& source, CqTileMap& target, const AnyTurn& turn,
                 CqProgressDisplay* progress);

} // namespace q32
