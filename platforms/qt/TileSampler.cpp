#include "platforms/qt/CanvasPixels_p.h"
#include "platforms/qt/Checkerboard_p.h"
#include "platforms/qt/Overview_p.h"
#include "platforms/qt/TileSampler_p.h"
#include "q32Base/display/CqDisplayProperty.h"
#include "q32Base/image/CqImage.h"
#include "q32Base/image/PixelAccess.h"

#include <algorithm>
#include <cassert>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <span>
#include <vector>

namespace q32::qt {

namespace {

/// The canvas columns or rows that one cell column or row covers. Cells are aligned with tiles,
/// except in an image that is a single tile.
struct Span {
    std::size_t m_nFirst;
    std::size_t m_nEnd;

    std::size_t fnGetCount() const { return m_nEnd - m_nFirst; }
};

/// The image column or row under each one of a part, and the cell boundaries.
struct CellAxis {
    std::vector<std::uint32_t> m_Index;
    std::vector<std::uint32_t> m_Pairs; ///< the same, with each odd entry equal to the one before
    std::vector<Span> m_Spans;          ///< offsets into m_Index, one span per cell
    int m_nFirst = 0;                   ///< canvas coordinate of m_Index[0]

    std::uint32_t fnGetCell(const Span& span) const {
        return m_Index[span.m_nFirst] / Overview::kCellSize;
    }
};

/// @param keepsOne  even an image of less than half a canvas pixel has one
CellAxis fnMakeCellAxis(int first, int end, int origin, double zoom, std::uint32_t length,
                        bool keepsOne) {
    CellAxis axis;
    while (first < end && fnSampleIndex(first, origin, zoom) < 0)
        ++first;
    axis.m_nFirst = first;
    axis.m_Index.reserve(static_cast<std::size_t>(std::max(0, end - first)));
    axis.m_Pairs.reserve(axis.m_Index.capacity());
    for (int at = first; at < end; ++at) {
        long long index = fnSampleIndex(at, origin, zoom);
        if (keepsOne && at + origin == 0)
            index = std::min<long long>(index, length - 1);
        if (index >= static_cast<long long>(length))
            break;
        const auto found = static_cast<std::uint32_t>(index);
        const std::size_t offset = axis.m_Index.size();
        if (axis.m_Spans.empty() ||
            found / Overview::kCellSize != axis.m_Index.back() / Overview::kCellSize)
            axis.m_Spans.push_back({offset, offset});
        axis.m_Spans.back().m_nEnd = offset + 1;
        axis.m_Index.push_back(found);
        const bool second = (offset - axis.m_Spans.back().m_nFirst) % 2 != 0;
        axis.m_Pairs.push_back(second ? axis.m_Pairs.back() : found);
    }
    assert(axis.m_Index.size() == axis.m_Pairs.size() &&
           (axis.m_Spans.empty() || axis.m_Spans.back().m_nEnd == axis.m_Index.size()));
    return axis;
}

/// The rows of a cell, from the image or from its reduced copy.
class CellRows {
public:
    CellRows(const CqImage& image, const Overview* overview, unsigned shift, bool alpha)
        : m_Reader(image, alpha ? kAlphaOrder : kCanvasOrder), m_pOverview(overview),
          m_nShift(shift) {}

    void fnGoTo(std::uint32_t column, std::uint32_t row) {
        m_nColumn = column;
        m_nRow = row;
        m_pReduced = m_nShift == 0 ? nullptr : m_pOverview->fnFind(column, row, m_nShift);
    }

    /// Whether the cell has to be read from the image because its reduced copy is missing.
    bool fnIsMissing() const { return m_nShift != 0 && !m_pReduced; }

    /// Reads pixels of the given image rows at the given image columns, into rows of a canvas that
    /// lie `stride` pixels apart.
    void fnPick(std::span<const std::uint32_t> rows, std::span<const std::uint32_t> columns,
                std::uint32_t* out, std::size_t stride) const {
        if (!m_pReduced) {
            m_Reader.fnPick(rows.data(), rows.size(), columns.data(), columns.size(), out,
                            4 * stride);
            return;
        }
        for (const std::uint32_t row : rows) {
            fnPickReduced(row, columns.data(), columns.size(), out);
            out += stride;
        }
    }

private:
    void fnPickReduced(std::uint32_t row, const std::uint32_t* columns, std::size_t count,
                       std::uint32_t* out) const {
        const std::size_t stride = Overview::kCellSize >> m_nShift;
        const std::uint32_t down = row - m_nRow * Overview::kCellSize;
        const std::uint32_t* from = m_pReduced + (down >> m_nShift) * stride;
        for (std::size_t i = 0; i < count; ++i)
            out[i] = from[(columns[i] - m_nColumn * Overview::kCellSize) >> m_nShift];
    }

    CqPixelReader m_Reader;
    const Overview* m_pOverview;
    unsigned m_nShift;
    const std::uint32_t* m_pReduced = nullptr;
    std::uint32_t m_nColumn = 0;
    std::uint32_t m_nRow = 0;
};

/// Finishes rows of pixels; equal ones once.
void fnCorrect(const RowFinish& finish, std::span<const std::uint32_t> rows, std::size_t count,
               std::uint32_t* out, std::size_t stride) {
    for (std::size_t y = 0; y < rows.size(); ++y, out += stride) {
        if (y > 0 && rows[y] == rows[y - 1])
            std::memcpy(out, out - stride, count * 4);
        else
            finish.fnRun(out, count);
    }
}

/// Lays rows of pixels with alpha over the checkerboard, and finishes them.
/// @param place  of the first pixel on the scaled picture
void fnLayOut(const QPoint& place, std::size_t rows, std::size_t count, std::uint32_t* out,
              std::size_t stride, const RowFinish& finish) {
    for (std::size_t y = 0; y < rows; ++y, out += stride) {
        fnLayOverBoard(out, count, place.x(), place.y() + static_cast<int>(y));
        finish.fnRun(out, count);
    }
}

} // namespace

RowFinish::RowFinish(const SamplePlace& place)
    : m_pColors(place.m_pColors && *place.m_pColors ? place.m_pColors : nullptr) {
    const CqDisplayProperty* display = q32GetDisplayProperty();
    m_pGamma = display && display->fnIsGammaInEffect() ? display : nullptr;
}

void RowFinish::fnRun(std::uint32_t* row, std::size_t count) const {
    if (m_pColors)
        (*m_pColors)(reinterpret_cast<QRgb*>(row), static_cast<int>(count));
    if (m_pGamma)
        m_pGamma->fnGammaCorrect(reinterpret_cast<unsigned char*>(row),
                                 static_cast<unsigned>(count), 32);
}

long long fnSampleIndex(int pixel, int origin, double zoom) {
    // The half samples at the centre of the screen pixel.
    return static_cast<long long>(std::floor((static_cast<double>(pixel) + origin + 0.5) / zoom));
}

QRect fnSampleTiles(const CqImage& image, const Overview* overview, const SamplePlace& place,
                    const QRect& part, QImage& canvas) {
    const QRect cut = part & canvas.rect();
    if (cut.isEmpty())
        return {};
    const CellAxis across = fnMakeCellAxis(cut.left(), cut.right() + 1, place.m_Origin.x(),
                                           place.m_Zoom, image.Width, place.m_bKeepsOne);
    const CellAxis down = fnMakeCellAxis(cut.top(), cut.bottom() + 1, place.m_Origin.y(),
                                         place.m_Zoom, image.Height, place.m_bKeepsOne);
    const RowFinish finish(place);
    const auto stride = static_cast<std::size_t>(canvas.bytesPerLine()) / 4;
    auto* corner = reinterpret_cast<std::uint32_t*>(canvas.bits()) +
                   static_cast<std::size_t>(down.m_nFirst) * stride + across.m_nFirst;

    CellRows cell(image, overview, overview ? overview->fnGetShift(place.m_Zoom) : 0,
                  place.m_bAlpha);
    for (const Span& rows : down.m_Spans) {
        for (const Span& columns : across.m_Spans) {
            cell.fnGoTo(across.fnGetCell(columns), down.fnGetCell(rows));
            // A preview that will soon be replaced need not be fine: reading each pixel would take
            // a cache line each, and longer than a frame.
            const bool coarse = cell.fnIsMissing();
            const auto& xs = coarse ? across.m_Pairs : across.m_Index;
            const auto& ys = coarse ? down.m_Pairs : down.m_Index;
            const auto listedRows = std::span(ys).subspan(rows.m_nFirst, rows.fnGetCount());
            std::uint32_t* out = corner + rows.m_nFirst * stride + columns.m_nFirst;
            cell.fnPick(listedRows, std::span(xs).subspan(columns.m_nFirst, columns.fnGetCount()),
                        out, stride);
            if (place.m_bAlpha)
                fnLayOut(
                    QPoint(across.m_nFirst + static_cast<int>(columns.m_nFirst) +
                               place.m_Origin.x(),
                           down.m_nFirst + static_cast<int>(rows.m_nFirst) + place.m_Origin.y()),
                    listedRows.size(), columns.fnGetCount(), out, stride, finish);
            else if (finish.fnIsNeeded())
                fnCorrect(finish, listedRows, columns.fnGetCount(), out, stride);
        }
    }
    return {across.m_nFirst, down.m_nFirst, static_cast<int>(across.m_Index.size()),
            static_cast<int>(down.m_Index.size())};
}

void fnScrollPixels(QImage& canvas, const QPoint& by) {
    const QRect target = canvas.rect() & canvas.rect().translated(by);
    if (target.isEmpty())
        return;
    const auto bytes = static_cast<std::size_t>(target.width()) * 4;
    const qsizetype stride = canvas.bytesPerLine();
    uchar* pixels = canvas.bits();
    for (int i = 0; i < target.height(); ++i) {
        const int y = by.y() > 0 ? target.bottom() - i : target.top() + i;
        std::memmove(pixels + y * stride + target.left() * 4,
                     pixels + (y - by.y()) * stride + (target.left() - by.x()) * 4, bytes);
    }
}

void fnFillCanvas(QImage& canvas, const QRect& part, QRgb color) {
    for (int y = part.top(); y <= part.bottom(); ++y)
        std::fill_n(reinterpret_cast<QRgb*>(canvas.scanLine(y)) + part.left(), part.width(),
                    color | kOpaque);
}

} // namespace q32::qt
