#include "examples/darkroom/ui/Preview.h"

#include "examples/darkroom/model/Bands.h"
#include "examples/darkroom/model/Document.h"
#include "examples/darkroom/model/PixelBlend.h"
#include "examples/darkroom/ui/PictureView.h"
#include "examples/darkroom/ui/PixelProbe.h"
#include "examples/darkroom/ui/Placement.h"
#include "examples/darkroom/ui/SeenPart.h"
#include "q32Base/framework/Memory.h"
#include "q32Base/image/PixelAccess.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <iterator>
#include <limits>
#include <QPointF>

namespace darkroom {

namespace {

/// A picture with more pixels is moved by way of a copy at the size in which it is shown: reading
/// scattered pixels for each value would take too long when it isn't in memory. No copy is made
/// that would itself have more pixels: its visible part then lies close together.
constexpr double kMaxRead = 8e6;
/// The lowest zoom at which previews take means.
constexpr double kMinMeans = 0.25;
/// Pixels around the visible part that previews of areas read at most.
constexpr int kMaxPreviewReach = 64;

/// Samples of a reduced picture, continued beyond both ends as far as previews of areas read.
std::vector<int> fnContinue(const std::vector<int>& samples, double zoom, int length) {
    if (samples.empty())
        return samples;
    const auto step = [zoom](int count) { return static_cast<int>(std::lround(count / zoom)); };
    std::vector<int> places;
    for (int i = kMaxPreviewReach; i > 0; --i)
        if (samples.front() - step(i) >= 0)
            places.push_back(samples.front() - step(i));
    places.insert(places.end(), samples.begin(), samples.end());
    for (int i = 1; i <= kMaxPreviewReach && samples.back() + step(i) < length; ++i)
        places.push_back(samples.back() + step(i));
    return places;
}

/// The positions needed for samples and `radius` positions around each of `more`, which contains
/// them, without repetition; `seen` receives the index of each sample among them.
std::vector<int> fnGather(const std::vector<int>& samples, const std::vector<int>& more, int radius,
                          int length, std::vector<int>& seen) {
    std::vector<int> places;
    for (const int sample : more)
        for (int place = std::max(0, sample - radius);
             place <= std::min(length - 1, sample + radius); ++place)
            if (places.empty() || place > places.back())
                places.push_back(place);
    seen.clear();
    for (const int sample : samples)
        seen.push_back(static_cast<int>(std::lower_bound(places.begin(), places.end(), sample) -
                                        places.begin()));
    return places;
}

/// One position of the picture for each pixel of a smaller one, at the centre of its area.
std::vector<int> fnReduce(int length, double zoom) {
    std::vector<int> samples(std::max<std::size_t>(1, static_cast<std::size_t>(length * zoom)));
    for (std::size_t i = 0; i < samples.size(); ++i)
        samples[i] = static_cast<int>(
            std::min(length - 1.0, std::floor((static_cast<double>(i) + 0.5) / zoom)));
    return samples;
}

/// Where the view, `room` pixels wide, would begin to show a result of `length` screen pixels if it
/// could choose `preferred`.
int fnFindOrigin(int room, int length, double preferred) {
    const int spare = room - length;
    return spare > 0 ? -(spare / 2)
                     : static_cast<int>(std::clamp(std::round(preferred), 0.0, -1.0 * spare));
}

/// Blends the values of four neighbours; x and y are the shares of the right and lower ones.
template <typename Value>
double fnBlendFour(double x, double y, Value&& value) {
    const double top = value(0) + (value(1) - value(0)) * x;
    const double bottom = value(2) + (value(3) - value(2)) * x;
    return top + (bottom - top) * y;
}

/// Blends four neighbours, each as far as it is opaque: hidden colours don't show.
QRgb fnBlendPixels(const QRgb (&four)[4], double x, double y) {
    const auto round = [](double value) { return static_cast<int>(std::floor(value + 0.5)); };
    const auto alpha = [&](int i) { return static_cast<double>(qAlpha(four[i])); };
    const bool plain = std::all_of(four, std::end(four),
                                   [&](QRgb pixel) { return qAlpha(pixel) == qAlpha(four[0]); });
    const double opaque = plain ? alpha(0) : fnBlendFour(x, y, alpha);
    const auto channel = [&](int shift) {
        const auto value = [&](int i) { return static_cast<double>(four[i] >> shift & 0xFF); };
        return round(plain ? fnBlendFour(x, y, value) : fnBlendFour(x, y, [&](int i) {
                                                            return value(i) * alpha(i);
                                                        }) / opaque);
    };
    return opaque == 0 ? 0 : qRgba(channel(16), channel(8), channel(0), round(opaque));
}

/// Reads a picture at any position; outside of it is the background.
class PlaceReader {
public:
    /// @param scale  of the picture being read, relative to the one that positions refer to
    PlaceReader(CqImage& image, double scale, const Placement& placement)
        : m_Pixels(image), m_Scale(scale), m_Placement(placement),
          m_Last(static_cast<int>(image.Width) - 1, static_cast<int>(image.Height) - 1),
          m_bKeepsEdge(placement.m_ToSource.type() <= QTransform::TxScale) {}

    QRgb fnRead(const QPointF& place) {
        const QPointF at = m_Placement.m_ToSource.map(place) * m_Scale;
        if (!m_Placement.m_bSmooth || m_Scale != 1)
            return fnPick(std::floor(at.x()), std::floor(at.y()));
        const double left = std::floor(at.x() - 0.5);
        const double top = std::floor(at.y() - 0.5);
        const QRgb four[] = {fnPick(left, top), fnPick(left + 1, top), fnPick(left, top + 1),
                             fnPick(left + 1, top + 1)};
        const double x = at.x() - 0.5 - left;
        const double y = at.y() - 0.5 - top;
        return fnBlendPixels(four, x, y);
    }

private:
    QRgb fnPick(double x, double y) {
        if (m_bKeepsEdge) {
            x = std::clamp(x, 0.0, static_cast<double>(m_Last.x()));
            y = std::clamp(y, 0.0, static_cast<double>(m_Last.y()));
        }
        if (x < 0 || y < 0 || x > m_Last.x() || y > m_Last.y())
            return m_Placement.m_Ground;
        return m_Pixels.fnRead(static_cast<int>(x), static_cast<int>(y));
    }

    PixelProbe m_Pixels;
    double m_Scale;
    const Placement& m_Placement;
    QPoint m_Last;
    bool m_bKeepsEdge; ///< beyond the edge the edge repeats, instead of the background
};

} // namespace

Preview::Preview(Document& document, PictureView& view, const Operation& operation)
    : m_Document(document), m_View(view), m_Operation(operation) {}

Preview::~Preview() {
    fnHide();
}

void Preview::fnHide() {
    m_View.fnHidePreview();
}

void Preview::fnForget() {
    m_bSampled = false;
}

void Preview::fnSampleVisible() {
    // The view's own samples: one for each screen pixel.
    const CqImage& image = m_Document.fnGetImage();
    const auto width = static_cast<int>(image.Width);
    const auto height = static_cast<int>(image.Height);
    const SeenPart seen(m_View, CRect(0, 0, width, height));
    const double zoom = m_View.fnGetZoom();
    const bool reduced = zoom < 1;
    // Around each pixel of a reduced picture are pixels of the reduced picture.
    const bool continues = reduced && m_Operation.m_ePreview == PreviewKind::AREA;
    const int radius = m_Operation.m_ePreview == PreviewKind::PIXELS || continues ? 0
                       : m_Operation.m_ePreview == PreviewKind::NEIGHBOURS        ? 1
                                                                           : kMaxPreviewReach;
    m_nSide = m_View.fnIsAveraging() && reduced && zoom >= kMinMeans &&
                      m_Operation.m_ePreview != PreviewKind::NEIGHBOURS
                  ? static_cast<int>(std::lround(1 / zoom))
                  : 1;
    m_Corner = {seen.m_Columns.m_nFirst, seen.m_Rows.m_nFirst};
    const auto gather = [&](const std::vector<int>& samples, int length, std::vector<int>& at) {
        return fnGather(samples, continues ? fnContinue(samples, zoom, length) : samples, radius,
                        length, at);
    };
    m_Columns = gather(seen.m_Columns.m_Samples, width, m_SeenColumns);
    m_Rows = gather(seen.m_Rows.m_Samples, height, m_SeenRows);
    fnTake();
}

void Preview::fnSampleWhole() {
    const CqImage& image = m_Document.fnGetImage();
    const double zoom = m_View.fnGetZoom();
    m_Columns.clear();
    m_nSide = 1;
    const double pixels = static_cast<double>(image.Width) * image.Height;
    if (zoom >= 1 || pixels <= kMaxRead || pixels * zoom * zoom > kMaxRead)
        return;
    m_Columns = fnReduce(static_cast<int>(image.Width), zoom);
    m_Rows = fnReduce(static_cast<int>(image.Height), zoom);
    fnTake();
}

void Preview::fnTake() {
    CqImage& image = m_Document.fnGetImage();
    if (m_Columns.empty() || m_Rows.empty() || image.BytesPerPixel == 0)
        return m_Columns.clear();
    std::vector<RGBQUAD> palette(256);
    image.fnGetPaletteEntry(0, 256, palette.data());
    m_Base.fnAlloc(static_cast<unsigned int>(m_Columns.size()),
                   static_cast<unsigned int>(m_Rows.size()), image.BitCount,
                   image.BitCount == 8 ? palette.data() : nullptr, image.PaletteCount);
    const std::size_t pixel = image.BytesPerPixel;
    CqImageLine line;
    for (std::size_t y = 0; y < m_Rows.size(); ++y) {
        m_Base.fnAccessLine(static_cast<unsigned int>(y), &line, false);
        if (m_nSide > 1 && image.BitCount >= 24) {
            fnTakeMeans(line, y);
            continue;
        }
        unsigned char* out = line.LineBuffer;
        for (const int column : m_Columns) {
            std::memcpy(out, image.fnGetPixelAddr(column, m_Rows[y]), pixel);
            out += pixel;
        }
    }
}

/// Fills a row of the base with means of squares of the picture.
void Preview::fnTakeMeans(CqImageLine& line, std::size_t y) {
    CqImage& image = m_Document.fnGetImage();
    const std::size_t pixel = image.BytesPerPixel;
    const auto width = static_cast<int>(image.Width);
    const auto height = static_cast<int>(image.Height);
    const int half = m_nSide / 2;
    const int top = std::clamp(m_Rows[y] - half, 0, std::max(0, height - m_nSide));
    const int bottom = std::min(height, top + m_nSide);
    std::vector<unsigned int> sums(m_Columns.size() * 4);
    const int first = std::max(0, m_Columns.front() - m_nSide);
    const int end = std::min(width, m_Columns.back() + m_nSide + 1);
    std::vector<unsigned char> row(static_cast<std::size_t>(end - first) * pixel);
    const CqPixelReader reader(image, PIXEL_STORED);
    for (int at = top; at < bottom; ++at) {
        reader.fnReadRow(static_cast<std::uint32_t>(first), static_cast<std::uint32_t>(at),
                         static_cast<std::uint32_t>(end - first), row.data());
        for (std::size_t x = 0; x < m_Columns.size(); ++x) {
            const int left = std::clamp(m_Columns[x] - half, 0, std::max(0, width - m_nSide));
            const int right = std::min(width, left + m_nSide);
            for (std::size_t i = static_cast<std::size_t>(left - first) * pixel;
                 i < static_cast<std::size_t>(right - first) * pixel; ++i)
                sums[4 * x + i % pixel] += row[i];
        }
    }
    const auto count = static_cast<unsigned int>((bottom - top) * std::min(width, m_nSide));
    for (std::size_t x = 0; x < m_Columns.size(); ++x)
        for (std::size_t i = 0; i < pixel; ++i)
            line.LineBuffer[x * pixel + i] =
                static_cast<unsigned char>((sums[4 * x + i] + count / 2) / count);
}

/// The values for the base, in which a radius covers fewer pixels.
Values Preview::fnScale(const Values& values) const {
    Values scaled = values;
    if (m_Operation.m_ePreview == PreviewKind::AREA && m_View.fnGetZoom() < 1)
        scaled[0] = std::max(1, static_cast<int>(std::lround(values[0] * m_View.fnGetZoom())));
    return scaled;
}

void Preview::fnKeepUnselected(CqImage& image) {
    CqMask& mask = m_Document.fnGetSelection();
    const CRect bound = mask.m_rectBound;
    const std::size_t pixel = image.BytesPerPixel;
    CqImageLine weights;
    CqImageLine before;
    CqImageLine after;
    for (std::size_t y = 0; y < m_Rows.size(); ++y) {
        const int row = m_Rows[y];
        const bool crossed = row >= bound.top && row < bound.bottom;
        if (crossed)
            mask.fnAccessLine(static_cast<unsigned int>(row - bound.top), &weights, true);
        m_Base.fnAccessLine(static_cast<unsigned int>(y), &before, true);
        image.fnAccessLine(static_cast<unsigned int>(y), &after, false);
        for (std::size_t x = 0; x < m_Columns.size(); ++x) {
            const int column = m_Columns[x];
            const bool inside = crossed && column >= bound.left && column < bound.right;
            fnMixBack(after.LineBuffer + x * pixel, before.LineBuffer + x * pixel, pixel,
                      inside ? weights.LineBuffer[column - bound.left] : 0);
        }
    }
}

void Preview::fnShowLocal(const Values& values) {
    if (m_Columns.empty())
        return;
    CqImage image;
    fnCopyPicture(m_Base, image, nullptr);
    m_Operation.m_pRun(image, fnScale(values), nullptr);
    if (m_Document.fnHasSelection() && m_Document.fnCanSelect())
        fnKeepUnselected(image);
    PixelProbe reader(image);
    const QSize size(static_cast<int>(m_SeenColumns.size()), static_cast<int>(m_SeenRows.size()));
    const QImage screen = fnMakeScreenImage(
        size,
        [&](int x, int y) {
            return reader.fnRead(m_SeenColumns[static_cast<std::size_t>(x)],
                                 m_SeenRows[static_cast<std::size_t>(y)]);
        },
        [&](QRgb* row, int y) {
            m_View.fnLayOverBoard(row, size.width(), m_Corner + QPoint(0, y));
            m_View.fnConvertColors(row, size.width());
        });
    m_View.fnShowPreview(screen, m_Corner, false);
}

void Preview::fnShowMoved(const Values& values) {
    CqImage& image = m_Document.fnGetImage();
    const Placement placement = fnFindPlacement(m_Operation, image, values);
    const double zoom = m_View.fnGetZoom();
    const QSize room = m_View.fnGetPixelSize();
    const QPointF middle(room.width() / 2.0, room.height() / 2.0);
    const QPointF kept =
        placement.m_ToSource.inverted().map(m_View.fnToImage(middle / m_View.devicePixelRatioF()));
    const QPointF preferred = kept * zoom - middle;
    constexpr double kMaxScaled = std::numeric_limits<int>::max();
    const auto scaled = [&](int length) {
        return static_cast<int>(std::clamp(length * zoom, 1.0, kMaxScaled));
    };
    const auto axis = [&](int view, int length, int origin) {
        return fnMakeAxis(view, 0, length, [=](int at) {
            return static_cast<int>(std::floor((at + 0.5 + origin) / zoom));
        });
    };
    const QPoint origin(
        fnFindOrigin(room.width(), scaled(placement.m_Size.width()), preferred.x()),
        fnFindOrigin(room.height(), scaled(placement.m_Size.height()), preferred.y()));
    const SampledAxis across = axis(room.width(), placement.m_Size.width(), origin.x());
    const SampledAxis down = axis(room.height(), placement.m_Size.height(), origin.y());
    const QPoint corner(across.m_nFirst, down.m_nFirst);
    // The board lies still under a picture, so under the result it is elsewhere.
    const QPoint board =
        corner + origin + (m_View.fnToView({0, 0}) * m_View.devicePixelRatioF()).toPoint();
    const bool reduced = !m_Columns.empty();
    PlaceReader reader(reduced ? m_Base : image, reduced ? zoom : 1, placement);
    const QSize size(static_cast<int>(across.m_Samples.size()),
                     static_cast<int>(down.m_Samples.size()));
    const QImage screen = fnMakeScreenImage(
        size,
        [&](int x, int y) {
            return reader.fnRead({across.m_Samples[static_cast<std::size_t>(x)] + 0.5,
                                  down.m_Samples[static_cast<std::size_t>(y)] + 0.5});
        },
        [&](QRgb* row, int y) {
            m_View.fnLayOverBoard(row, size.width(), board + QPoint(0, y));
            m_View.fnConvertColors(row, size.width());
        });
    m_View.fnShowPreview(screen, corner, true);
}

void Preview::fnShow(const Values& values) {
    if (m_Operation.m_ePreview == PreviewKind::NONE || !m_Document.fnHasImage())
        return;
    // The view draws its picture better than a preview does.
    if (!m_Operation.fnChanges(m_Document.fnGetImage(), values))
        return fnHide();
    const bool shown = q32::fnTryMemory([&] {
        const bool local = m_Operation.fnIsLocal();
        if (!m_bSampled)
            local ? fnSampleVisible() : fnSampleWhole();
        m_bSampled = true;
        local ? fnShowLocal(values) : fnShowMoved(values);
    });
    if (!shown)
        fnHide();
}

} // namespace darkroom
