/// @file
/// Masks of lines and paths of any width.
#pragma once

#include "q32Base/framework/Values.h"
#include "q32Base/geometry/CqPoint2D.h"
#include "q32Base/platform/Export.h"

#include <span>

class CqMask;
class CqProgressDisplay;

/// Makes a mask of a stroke with round ends and joints along straight lines from point to point,
/// for lines and curves with smooth edges: blend a colour through it. A single point gives a dot.
/// Integer positions are the centres of pixels, as for CqLine2D.
///
/// Each pixel is divided into 16 x 16 squares. A square counts if its centre P is at most
/// reach = width / 2 from a line: in double precision, for a line from A by d, with t = (P - A) d /
/// d d, limited to 0 to 1, and 0 where d is 0, and e = (P - A) - t d, if e e <= reach reach. The
/// weight of a pixel in which n squares count is (255 n + 128) / 256, rounded down.
///
/// The mask covers the part of `area` in which pixels may have a weight. Returns false, with the
/// mask unchanged, after an abort, where that part is empty, without points, for a width that isn't
/// above 0, and if width or a coordinate is beyond 2^30 or not a number. Raises the memory
/// exception, with the mask unchanged. Called from the thread that uses the mask.
/// @param area      in the coordinates of the points
/// @param progress  may be null
Q32_API bool q32MakeStrokeMask(std::span<const CqPoint2D> points, double width, const CRect& area,
                               CqMask& mask, CqProgressDisplay* progress);
