#pragma once

#include "q32Base/framework/ScreenObject.h"
#include "q32Base/framework/Values.h"
#include "q32Base/platform/CqScreenService.h"

#include <vector>

/// A region of the screen, or none. Owns the object that it stands for.
class Q32_API CRgn : public q32::ScreenObject<CqRegionObject> {
public:
    /// Makes a rectangular region by the platform in force; this object must stand for none. False
    /// on failure, memory included.
    bool CreateRectRgnIndirect(const RECT& rect);
    /// Becomes `a` combined with `b` by an RGN_ mode. All three must stand for regions. False on
    /// failure.
    bool CombineRgn(const CRgn& a, const CRgn& b, int mode);
    /// The region as rectangles, in rows from the top, left to right in a row. Empty without a
    /// region.
    std::vector<RECT> GetRects() const;
};
