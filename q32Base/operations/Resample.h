/// @file
/// The ways to another pixel size. Each fills `target` from `source`, which have the same depth,
/// and returns false when it was aborted: what `target` then holds has no meaning. `progress` may
/// be null. Memory failures are raised as CMemoryException.
#pragma once

#include <cstdint>

class CqProgressDisplay;
class CqTileMap;

namespace q32 {

class PixelArea;
class ProgressRun;

/// The nearest pixel in 24.8 fixed point, without centring: pixel 0 samples pixel 0. One report a
/// row.
bool fnNearestResample(const CqTileMap& source, CqTileMap& target, CqProgressDisplay* progress);

/// The cubic filter, in two passes unless one side keeps its size. A scale is target over source.
/// At 4 bits nothing is written.
bool fnFilterResample(const CqTileMap& source, CqTileMap& target, double scaleX, double scaleY,
                      CqProgressDisplay* progress);

// One pass of the filter each, with a table of its own. The other side is the same in source and
// target.

/// Another height: target row y is a sum of source rows. One report a column.
bool fnFilterHeight(const PixelArea& source, const PixelArea& target, double scale,
                    const ProgressRun& progress);
/// Another width: target column x is a sum of source columns. One report a row.
bool fnFilterWidth(const PixelArea& source, const PixelArea& target, double scale,
                   const ProgressRun& progress);

} // namespace q32
