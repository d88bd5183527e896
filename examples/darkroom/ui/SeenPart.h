#pragma once

#include "examples/darkroom/ui/SampledAxis.h"
#include "platforms/qt/CqImageView.h"

namespace darkroom {

/// Where the screen shows a part of the picture, column by column and row by row.
struct SeenPart {
    /// @param part  of the picture; clipped to the view
    SeenPart(const CqImageView& view, const CRect& part);

    SampledAxis m_Columns;
    SampledAxis m_Rows;
};

} // namespace darkroom
