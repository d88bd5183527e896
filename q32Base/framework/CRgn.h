#pragma once

#include "q32Base/framework/ScreenObject.h"
#include "q32Base/framework/Values.h"
#include "q32Base/platform/CqScreenService.h"

#include <vector>

/// A screen region, or none. Owns the screen's object.
class Q32_API CRgn : public q32::ScreenObject<CqRegionObject> {
public:
    /// Creates a rectangular region; there must be none yet. False on failure, including exhausted
    /// memory.
    bool CreateRectRgnIndirect(const RECT& rect);
    /// Sets this region to `a` combined with `b` by an RGN_ mode. False on failure, and unless all
    /// three have a region.
    bool CombineRgn(const CRgn& a, const CRgn& b, int mode);
    /// The region as rectangles, in rows from the top, left to right in a row. Empty without a
    /// region. Raises the memory exception.
    std::vector<RECT> GetRects() const;
};
