/// @file
/// Resizing. Each function fills `target` from `source`, which have the same depth, and returns
/// false when it was aborted: the contents of `target` are then meaningless. `progress` may be
/// null. Memory failures are raised as CMemoryException.
#pragma once

#include <cstdint>
#include <optional>

class CqProgressDisplay;
class CqTileMap;

namespace q32 {

class PixelArea;
class ProgressRun;

/// Nearest neighbour in 24.8 fixed point, without centring: pixel 0 samples pixel 0. One report per
/// row.
bool fnNearestResample(const CqTileMap& source, CqTileMap& target, CqProgressDisplay* progress);

/// The cubic filter, in two passes unless one side keeps its size. A scale is target over source.
/// At 4 bits nothing is written.
bool fnFilterResample(const CqTileMap& source, CqTileMap& target, double scaleX, double scaleY,
                      CqProgressDisplay* progress);

// One pass of the filter each. The other side is the same in source and target.

/// Changes the height: target row y is a sum of source rows. One report per column.
bool fnFilterHeight(const PixelArea& source, const PixelArea& target, double scale,
                    const ProgressRun& progress);
/// Changes the width: target column x is a sum of source columns. One report per row.
bool fnFilterWidth(const PixelArea& source, const PixelArea& target, double scale,
                   const ProgressRun& progress);

/// Whether both passes may be done at once, columns first, band by band: for pictures in RAM whose
/// intermediate image would be larger than the caches of a core.
bool fnMayFilterInBands(const PixelArea& source, const PixelArea& target, double scaleX,
                        double scaleY);
/// Does so, with the reports of two passes. Nothing if the sums don't exist in that form.
std::optional<bool> fnFilterInBands(const PixelArea& source, const PixelArea& target, double scaleX,
                                    double scaleY, CqProgressDisplay* progress);

} // namespace q32
