#include "examples/darkroom/ui/Preview.h"

#include "examples/darkroom/model/Document.h"
#include "examples/darkroom/model/Pictures.h"
#include "examples/darkroom/ui/PictureView.h"
#include "q32Base/display/CqDisplayProperty.h"
#include "q32Base/framework/Exceptions.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <new>
#include <numeric>
#include <utility>

namespace darkroom {

namespace {

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

/// Whole numbers from `first` to before `end`.
std::vector<int> fnCount(int first, int end) {
    std::vector<int> all(static_cast<std::size_t>(end - first));
    std::iota(all.begin(), all.end(), first);
    return all;
}

/// One place of the picture for each pixel of a smaller one, in the middle of what it stands for.
std::vector<int> fnReduce(unsigned int length, double zoom) {
    std::vector<int> samples(std::max<std::size_t>(1, static_cast<std::size_t>(length * zoom)));
    for (std::size_t i = 0; i < samples.size(); ++i)
        samples[i] = static_cast<int>(
            std::min(length - 1.0, std::floor((static_cast<double>(i) + 0.5) / zoom)));
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
    // The samples that the view itself takes: one for each of the screen's pixels.
    const CqImage& image = m_Document.fnGetImage();
    const QSize room = m_View.fnGetPixelSize();
    QPoint first(room.width(), room.height());
    std::vector<int> columns;
    std::vector<int> rows;
    const auto take = [](int at, int sample, unsigned int length, std::vector<int>& samples,
                         int& start) {
        if (sample < 0 || static_cast<unsigned int>(sample) >= length)
            return;
        start = std::min(start, at);
        samples.push_back(sample);
    };
    for (int x = 0; x < room.width(); ++x)
        take(x, m_View.fnGetSample({x, 0}).x(), image.Width, columns, first.rx());
    for (int y = 0; y < room.height(); ++y)
        take(y, m_View.fnGetSample({0, y}).y(), image.Height, rows, first.ry());
    const double scale = m_View.devicePixelRatioF();
    m_Target = QRectF(
        QPointF(first) / scale,
        QSizeF(static_cast<double>(columns.size()), static_cast<double>(rows.size())) / scale);
    if (m_View.fnGetZoom() <= 1 || columns.empty() || rows.empty())
        return fnTake(columns, rows);
    // Each pixel of the picture once, to be spread over the screen's afterwards.
    fnTake(fnCount(columns.front(), columns.back() + 1), fnCount(rows.front(), rows.back() + 1));
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
    fnTake(fnReduce(image.Width, zoom), fnReduce(image.Height, zoom));
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
