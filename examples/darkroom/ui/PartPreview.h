/// @file Previews computed only for the visible part of a picture, per screen pixel.
#pragma once

#include "examples/darkroom/ui/PictureView.h"
#include "examples/darkroom/ui/PixelProbe.h"
#include "examples/darkroom/ui/SeenPart.h"

#include <cstddef>
#include <optional>
#include <QSize>
#include <vector>

namespace darkroom {

/// Reads a document's selection, which must not change in the meantime.
class SelectionReader {
public:
    explicit SelectionReader(Document& document);

    /// The weight of a pixel of the picture, 0 to 255; 0 without a selection.
    unsigned int fnGetWeight(int x, int y);

private:
    CRect m_Bound;
    std::optional<PixelProbe> m_Mask;
};

/// What q32Blend makes of a pixel of a picture that has `bits` bits.
/// @param covers  as BLEND_OVER, otherwise as BLEND_REPLACE
QRgb fnBlendSeen(QRgb over, QRgb below, unsigned int weight, bool covers, unsigned int bits);

/// Shows a preview of a part of the picture: what `read` returns (a QRgb, without gamma) for each
/// position of the picture that the view samples. Does nothing when the part isn't visible. Raises
/// the memory exception and std::bad_alloc.
template <typename Read>
void fnShowPart(PictureView& view, const CRect& part, Read&& read) {
    CRect visible;
    if (!visible.IntersectRect(part, view.fnGetVisible()))
        return;
    const SeenPart seen(view, visible);
    const std::vector<int>& columns = seen.m_Columns.m_Samples;
    const std::vector<int>& rows = seen.m_Rows.m_Samples;
    const QSize size(static_cast<int>(columns.size()), static_cast<int>(rows.size()));
    const QPoint corner(seen.m_Columns.m_nFirst, seen.m_Rows.m_nFirst);
    const QImage screen = fnMakeScreenImage(
        size,
        [&](int x, int y) {
            return read(columns[static_cast<std::size_t>(x)], rows[static_cast<std::size_t>(y)]);
        },
        [&](QRgb* row, int y) {
            view.fnLayOverBoard(row, size.width(), corner + QPoint(0, y));
            view.fnConvertColors(row, size.width());
        });
    view.fnShowPreview(screen, corner, false);
}

} // namespace darkroom
