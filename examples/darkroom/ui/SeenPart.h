/// @file
/// Images for a view that are made of what is seen of a picture: pixel by pixel of the screen.
#pragma once

#include "examples/darkroom/ui/Axis.h"
#include "examples/darkroom/ui/PictureView.h"
#include "examples/darkroom/ui/PixelReader.h"

#include <cstddef>
#include <optional>
#include <QSize>
#include <vector>

namespace darkroom {

/// Reads a document's selection, which must stay as it is meanwhile.
class SelectionReader {
public:
    explicit SelectionReader(Document& document);

    /// Whether a pixel of the picture is selected; never without a selection.
    bool fnHas(int x, int y);

private:
    CRect m_Bound;
    std::optional<PixelReader> m_Mask;
};

/// Where the screen shows a part of the picture, column by column and row by row.
struct SeenPart {
    /// @param part  in sight
    SeenPart(const PictureView& view, const CRect& part);

    Axis m_Columns;
    Axis m_Rows;
};

/// Lays over what is seen of a part of the picture what `read` tells, of type QRgb and without
/// gamma, for places in the picture. Nothing happens when the part isn't in sight. Raises the
/// memory exception and std::bad_alloc.
template <typename Read>
void fnShowPart(PictureView& view, const CRect& part, Read&& read) {
    CRect visible;
    if (!visible.IntersectRect(part, view.fnGetVisible()))
        return;
    const SeenPart seen(view, visible);
    const std::vector<int>& columns = seen.m_Columns.m_Samples;
    const std::vector<int>& rows = seen.m_Rows.m_Samples;
    const QSize size(static_cast<int>(columns.size()), static_cast<int>(rows.size()));
    const QImage screen = fnMakeScreenImage(size, [&](int x, int y) {
        return read(columns[static_cast<std::size_t>(x)], rows[static_cast<std::size_t>(y)]);
    });
    view.fnShowPreview(screen, {seen.m_Columns.m_nFirst, seen.m_Rows.m_nFirst}, false);
}

} // namespace darkroom
