#include "examples/darkroom/ui/Preview.h"

#include "examples/darkroom/model/Document.h"
#include "examples/darkroom/ui/PictureView.h"
#include "q32Base/display/CqDisplayProperty.h"
#include "q32Base/framework/Exceptions.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <new>
#include <utility>

namespace darkroom {

namespace {

/// What places that are whole numbers may be off by.
constexpr double kRounding = 1e-6;

template <typename Work>
bool fnTry(Work&& work) {
    try {
        work();
        return true;
    } catch (CMemoryException* failure) {
        failure->Delete();
    } catch (const std::bad_alloc&) {
        // As above: there is just no preview.
    }
    return false;
}

/// Places from `first` in steps, cut to the picture.
std::vector<int> fnMakeSamples(double first, double step, int count, int limit) {
    std::vector<int> samples;
    for (int i = 0; i < count; ++i) {
        const double place = std::floor(first + i * step + kRounding);
        if (place >= 0 && place < limit)
            samples.push_back(static_cast<int>(place));
    }
    return samples;
}

} // namespace

QImage fnMakeScreenImage(CqImage& image) {
    QImage screen(static_cast<int>(image.Width), static_cast<int>(image.Height),
                  QImage::Format_RGB32);
    if (screen.isNull())
        return screen;
    std::vector<RGBQUAD> palette(256);
    image.fnGetPaletteEntry(0, 256, palette.data());
    CqImageLine line;
    for (std::uint32_t y = 0; y < image.Height; ++y) {
        image.fnAccessLine(y, &line, true);
        auto* const out = reinterpret_cast<QRgb*>(screen.scanLine(static_cast<int>(y)));
        const unsigned char* in = line.LineBuffer;
        for (std::uint32_t x = 0; x < image.Width; ++x, in += image.BytesPerPixel) {
            if (image.BitCount == 8)
                out[x] = qRgb(palette[*in].rgbRed, palette[*in].rgbGreen, palette[*in].rgbBlue);
            else if (image.BitCount == 16) // 5-6-5, high byte first
                out[x] = qRgb(in[0] & 0xF8, (in[0] << 5 | in[1] >> 3) & 0xFC, in[1] << 3 & 0xF8);
            else
                out[x] =
                    image.BitCount == 24 ? qRgb(in[0], in[1], in[2]) : qRgb(in[1], in[2], in[3]);
        }
        q32GetDisplayProperty()->fnGammaCorrect(reinterpret_cast<unsigned char*>(out), image.Width,
                                                32);
    }
    return screen;
}

Preview::Preview(Document& document, PictureView& view, const Operation& operation)
    : m_Document(document), m_View(view), m_Operation(operation) {
    const bool sampled = fnTry([&] {
        if (operation.m_ePreview == PreviewKind::PIXELS)
            fnSampleVisible();
        else if (operation.m_ePreview == PreviewKind::WHOLE)
            fnSampleWhole();
    });
    if (!sampled)
        m_Columns.clear();
}

Preview::~Preview() {
    fnHide();
}

void Preview::fnHide() {
    m_View.fnHidePreview();
}

void Preview::fnSampleVisible() {
    const CqImage& image = m_Document.fnGetImage();
    const CRect seen = m_View.fnGetVisible();
    const double scale = m_View.devicePixelRatioF();
    const QPointF topLeft = m_View.fnToView(QPointF(seen.left, seen.top)) * scale;
    const QPointF bottomRight = m_View.fnToView(QPointF(seen.right, seen.bottom)) * scale;
    const QSizeF room = QSizeF(m_View.viewport()->size()) * scale;
    const QPoint first(qRound(std::max(0.0, topLeft.x())), qRound(std::max(0.0, topLeft.y())));
    const auto count = [](int from, double edge, double most) {
        return static_cast<int>(std::ceil(std::min(edge, most) - kRounding)) - from;
    };
    // The samples that the view itself takes: one for each of the screen's pixels.
    const QPointF start = m_View.fnToImage(QPointF(first) / scale);
    const double step = 1 / m_View.fnGetZoom();
    std::vector<int> columns =
        fnMakeSamples(start.x(), step, count(first.x(), bottomRight.x(), room.width()),
                      static_cast<int>(image.Width));
    std::vector<int> rows =
        fnMakeSamples(start.y(), step, count(first.y(), bottomRight.y(), room.height()),
                      static_cast<int>(image.Height));
    m_Target = QRectF(
        QPointF(first) / scale,
        QSizeF(static_cast<double>(columns.size()), static_cast<double>(rows.size())) / scale);
    if (m_View.fnGetZoom() <= 1 || columns.empty() || rows.empty())
        return fnTake(columns, rows);
    // Each pixel of the picture once, to be spread over the screen's afterwards.
    fnTake(fnMakeSamples(columns.front(), 1, columns.back() - columns.front() + 1,
                         static_cast<int>(image.Width)),
           fnMakeSamples(rows.front(), 1, rows.back() - rows.front() + 1,
                         static_cast<int>(image.Height)));
    m_SpreadColumns = std::move(columns);
    m_SpreadRows = std::move(rows);
}

QImage Preview::fnSpread(const QImage& picture) const {
    if (m_SpreadColumns.empty())
        return picture;
    QImage screen(static_cast<int>(m_SpreadColumns.size()), static_cast<int>(m_SpreadRows.size()),
                  QImage::Format_RGB32);
    for (int y = 0; y < screen.height(); ++y) {
        const auto row = static_cast<std::size_t>(y);
        const auto* const in = reinterpret_cast<const QRgb*>(
            picture.constScanLine(m_SpreadRows[row] - m_SpreadRows.front()));
        auto* const out = reinterpret_cast<QRgb*>(screen.scanLine(y));
        for (std::size_t x = 0; x < m_SpreadColumns.size(); ++x)
            out[x] = in[m_SpreadColumns[x] - m_SpreadColumns.front()];
    }
    return screen;
}

void Preview::fnSampleWhole() {
    const CqImage& image = m_Document.fnGetImage();
    const QSize room = m_View.viewport()->size();
    // Room for a picture that stands on its corner.
    const double diagonal = std::hypot(image.Width, image.Height);
    const double zoom = std::min(1.0, std::min(room.width(), room.height()) / diagonal);
    const auto count = [zoom](unsigned int length) {
        return std::max(1, static_cast<int>(length * zoom));
    };
    fnTake(fnMakeSamples(0.5, 1 / zoom, count(image.Width), static_cast<int>(image.Width)),
           fnMakeSamples(0.5, 1 / zoom, count(image.Height), static_cast<int>(image.Height)));
}

void Preview::fnTake(const std::vector<int>& columns, const std::vector<int>& rows) {
    CqImage& image = m_Document.fnGetImage();
    if (columns.empty() || rows.empty() || image.BytesPerPixel == 0)
        return;
    std::vector<RGBQUAD> palette(256);
    image.fnGetPaletteEntry(0, 256, palette.data());
    m_Base.fnAlloc(static_cast<unsigned int>(columns.size()),
                   static_cast<unsigned int>(rows.size()), image.BitCount,
                   image.BitCount == 8 ? palette.data() : nullptr, image.PaletteCount);
    const std::size_t pixel = image.BytesPerPixel;
    CqImageLine line;
    for (std::size_t y = 0; y < rows.size(); ++y) {
        m_Base.fnAccessLine(static_cast<unsigned int>(y), &line, false);
        unsigned char* out = line.LineBuffer;
        for (const int column : columns) {
            std::memcpy(out, image.fnGetPixelAddr(column, rows[y]), pixel);
            out += pixel;
        }
    }
    line.fnUnAssociate();
    m_Columns = columns;
    m_Rows = rows;
}

void Preview::fnKeepUnselected(CqImage& image) {
    CqMask& mask = m_Document.fnGetSelection();
    const CRect bound = mask.m_rectBound;
    for (std::size_t y = 0; y < m_Rows.size(); ++y) {
        for (std::size_t x = 0; x < m_Columns.size(); ++x) {
            const CPoint place(m_Columns[x], m_Rows[y]);
            if (bound.PtInRect(place) &&
                *mask.fnGetPixelAddr(place.x - bound.left, place.y - bound.top) != 0)
                continue;
            std::memcpy(image.fnGetPixelAddr(static_cast<int>(x), static_cast<int>(y)),
                        m_Base.fnGetPixelAddr(static_cast<int>(x), static_cast<int>(y)),
                        image.BytesPerPixel);
        }
    }
}

QRectF Preview::fnGetTarget(const CqImage& image) const {
    if (m_Operation.m_ePreview == PreviewKind::PIXELS)
        return m_Target;
    QRectF target(0, 0, image.Width, image.Height);
    target.moveCenter(QRectF(m_View.viewport()->rect()).center());
    return target;
}

void Preview::fnShow(const Values& values) {
    if (m_Columns.empty())
        return;
    fnTry([&] {
        CqImage image;
        fnCopyPicture(m_Base, image, nullptr);
        m_Operation.m_pRun(image, values, nullptr);
        if (m_Operation.fnIsLocal() && m_Document.fnHasSelection() && m_Document.fnCanSelect())
            fnKeepUnselected(image);
        m_View.fnShowPreview(fnSpread(fnMakeScreenImage(image)), fnGetTarget(image),
                             m_Operation.m_ePreview == PreviewKind::WHOLE);
    });
}

} // namespace darkroom
