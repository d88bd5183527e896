/// @file
/// Images for a view that are made of what is seen of a picture: pixel by pixel of the screen.
#pragma once

#include "examples/darkroom/ui/PictureView.h"
#include "examples/darkroom/ui/PixelReader.h"

#include <cstddef>
#include <optional>
#include <QPoint>
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

/// The pixels of the screen that show a part of the picture, and which of its pixels each shows.
struct SeenPart {
    /// @param part  in sight
    SeenPart(const PictureView& view, const CRect& part);

    QSize fnGetSize() const {
        return {static_cast<int>(m_Columns.size()), static_cast<int>(m_Rows.size())};
    }

    QPoint m_Corner; ///< counted from the view's
    std::vector<int> m_Columns;
    std::vector<int> m_Rows;
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
    const QImage screen = fnMakeScreenImage(seen.fnGetSize(), [&](int x, int y) {
        return read(seen.m_Columns[static_cast<std::size_t>(x)],
                    seen.m_Rows[static_cast<std::size_t>(y)]);
    });
    view.fnShowPreview(screen, seen.m_Corner, false);
}

} // namespace darkroom
