#include "platforms/qt/CqImageView.h"

#include "platforms/qt/Checkerboard_p.h"
#include "platforms/qt/CqQtCanvas.h"
#include "platforms/qt/Overview_p.h"
#include "platforms/qt/TileSampler_p.h"
#include "q32Base/framework/Memory.h"
#include "q32Base/image/CqImage.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <QEvent>
#include <QPainter>
#include <QPaintEvent>
#include <QResizeEvent>
#include <QScrollBar>
#include <utility>

namespace {

/// Zoom steps; beyond both ends they go by factors of 2.
constexpr std::array<double, 7> kSteps = {1.0 / 2, 2.0 / 3, 1.0, 3.0 / 2, 2.0, 3.0, 4.0};
/// Zooms that differ by less count as equal.
constexpr double kSame = 1e-9;

double fnNextZoom(double zoom, bool in) {
    if (in ? zoom >= kSteps.back() * (1 - kSame) : zoom > kSteps.back() * (1 + kSame)) {
        const double doubled = std::exp2(std::floor(std::log2(zoom) + kSame));
        return in ? doubled * 2 : (doubled < zoom * (1 - kSame) ? doubled : zoom / 2);
    }
    if (in ? zoom < kSteps.front() * (1 - kSame) : zoom <= kSteps.front() * (1 + kSame)) {
        const double halved = std::exp2(std::ceil(std::log2(zoom) - kSame));
        return in ? (halved > zoom * (1 + kSame) ? halved : zoom * 2) : halved / 2;
    }
    if (in)
        return *std::find_if(kSteps.begin(), kSteps.end(),
                             [=](double step) { return step > zoom * (1 + kSame); });
    return *std::find_if(kSteps.rbegin(), kSteps.rend(),
                         [=](double step) { return step < zoom * (1 - kSame); });
}

/// Positions beyond this are out of sight; the sum of two still fits an int.
constexpr double kMaxScaled = std::numeric_limits<int>::max() / 2.0;

int fnToInt(double value) {
    return static_cast<int>(std::clamp(value, -kMaxScaled, kMaxScaled));
}

} // namespace

CqImageView::CqImageView(QWidget* parent)
    : QAbstractScrollArea(parent), m_pCanvas(new CqQtCanvas(this)),
      m_pOverview(std::make_unique<q32::qt::Overview>()) {
    setViewport(m_pCanvas);
    m_pCanvas->setMouseTracking(true);
    setFocusPolicy(Qt::StrongFocus);
}

CqImageView::~CqImageView() = default;

bool CqImageView::fnHasPicture() const {
    return m_pImage && m_pImage->TileMap;
}

bool CqImageView::fnHasAlpha() const {
    return m_bTransparency && fnHasPicture() && m_pImage->BitCount == 32;
}

void CqImageView::fnSetTransparency(bool on) {
    if (std::exchange(m_bTransparency, on) != on)
        fnImageChanged();
}

void CqImageView::fnLayOverBoard(QRgb* row, int count, const QPoint& first) const {
    const QPoint place = first + fnGetOrigin();
    if (fnHasAlpha() && place.x() >= 0 && place.y() >= 0)
        q32::qt::fnLayOverBoard(row, static_cast<std::size_t>(count), place.x(), place.y());
}

void CqImageView::fnSetColors(ColorConversion conversion) {
    m_Colors = std::move(conversion);
    fnForgetAll();
}

void CqImageView::fnConvertColors(QRgb* row, int count) const {
    if (m_Colors)
        m_Colors(row, count);
}

void CqImageView::fnSetAveraging(bool on) {
    if (std::exchange(m_bAveraging, on) != on)
        fnImageChanged();
}

void CqImageView::fnSetImage(CqImage* image) {
    m_pImage = image;
    fnImageChanged();
}

void CqImageView::fnImageChanged() {
    fnResetOverview();
    fnForgetAll();
    if (m_bFit)
        fnApplyZoom(fnGetFitZoom(), QPointF());
    else
        fnApplyZoom(std::min(m_Zoom, fnGetMaxZoom()), QPointF());
    fnUpdateBars();
    Q_EMIT visibleChanged();
}

void CqImageView::fnImageChanged(const CRect& part) {
    if (part.IsRectEmpty() || !fnHasPicture())
        return;
    m_pOverview->fnForget(part);
    fnMatchCanvas();
    fnAddStale(part);
}

void CqImageView::fnAddStale(const CRect& part) {
    const QPoint origin = fnGetOrigin();
    // One more pixel on each side: a pixel of a reduced copy covers several of the image.
    const double left = std::floor(part.left * m_Zoom) - origin.x() - 1;
    const double top = std::floor(part.top * m_Zoom) - origin.y() - 1;
    const double right = std::ceil(part.right * m_Zoom) - origin.x() + 1;
    const double bottom = std::ceil(part.bottom * m_Zoom) - origin.y() + 1;
    const QRect changed =
        QRect(QPoint(fnToInt(left), fnToInt(top)), QPoint(fnToInt(right), fnToInt(bottom))) &
        QRect(QPoint(), m_CanvasSize);
    if (changed.isEmpty())
        return;
    m_Stale += changed;
    const double scale = m_pCanvas->devicePixelRatioF();
    m_pCanvas->update(QRectF(changed.x() / scale, changed.y() / scale, changed.width() / scale,
                             changed.height() / scale)
                          .toAlignedRect());
}

QSize CqImageView::fnGetScaledSize() const {
    if (!fnHasPicture())
        return {};
    return {std::max(1, fnToInt(std::floor(m_pImage->Width * m_Zoom + kSame))),
            std::max(1, fnToInt(std::floor(m_pImage->Height * m_Zoom + kSame)))};
}

QPoint CqImageView::fnGetOrigin() const {
    // A picture smaller than the view is centred.
    const QSize spare = m_pCanvas->fnGetPixelSize() - fnGetScaledSize();
    return {spare.width() > 0 ? -(spare.width() / 2) : horizontalScrollBar()->value(),
            spare.height() > 0 ? -(spare.height() / 2) : verticalScrollBar()->value()};
}

double CqImageView::fnGetMaxZoom() const {
    if (!fnHasPicture())
        return kMaxZoom;
    // The whole scaled picture must be within the range of the scroll bars.
    return std::min(kMaxZoom, kMaxScaled / std::max(m_pImage->Width, m_pImage->Height));
}

double CqImageView::fnGetFitZoom() const {
    if (!fnHasPicture())
        return m_Zoom;
    // The size without scroll bars: a picture that fits needs none.
    const QSizeF room = QSizeF(maximumViewportSize()) * m_pCanvas->devicePixelRatioF();
    return std::clamp(std::min(room.width() / m_pImage->Width, room.height() / m_pImage->Height),
                      kMinZoom, 1.0);
}

void CqImageView::fnSetZoom(double zoom) {
    fnSetZoom(zoom, QPointF(m_pCanvas->width() / 2.0, m_pCanvas->height() / 2.0));
}

void CqImageView::fnSetZoom(double zoom, const QPointF& anchor) {
    m_bFit = false;
    fnApplyZoom(std::isnan(zoom) ? 1.0 : std::clamp(zoom, kMinZoom, fnGetMaxZoom()), anchor);
}

void CqImageView::fnStepZoom(int steps) {
    fnStepZoom(steps, QPointF(m_pCanvas->width() / 2.0, m_pCanvas->height() / 2.0));
}

void CqImageView::fnStepZoom(int steps, const QPointF& anchor) {
    double zoom = m_Zoom;
    for (; steps > 0 && zoom < fnGetMaxZoom(); --steps)
        zoom = fnNextZoom(zoom, true);
    for (; steps < 0 && zoom > kMinZoom; ++steps)
        zoom = fnNextZoom(zoom, false);
    fnSetZoom(zoom, anchor);
}

void CqImageView::fnSetFit(bool fit) {
    m_bFit = fit;
    if (fit)
        fnApplyZoom(fnGetFitZoom(), QPointF());
}

void CqImageView::fnApplyZoom(double zoom, const QPointF& anchor) {
    if (zoom == m_Zoom)
        return;
    const QPointF kept = fnToImage(anchor);
    m_Zoom = zoom;
    fnForgetAll();
    fnUpdateBars();
    fnMoveTo(kept * m_Zoom - anchor * m_pCanvas->devicePixelRatioF());
    Q_EMIT zoomChanged(m_Zoom);
    Q_EMIT visibleChanged();
}

void CqImageView::fnMoveTo(const QPointF& origin) {
    horizontalScrollBar()->setValue(fnToInt(std::round(origin.x())));
    verticalScrollBar()->setValue(fnToInt(std::round(origin.y())));
}

QPointF CqImageView::fnToImage(const QPointF& position) const {
    return (position * m_pCanvas->devicePixelRatioF() + fnGetOrigin()) / m_Zoom;
}

QPointF CqImageView::fnToView(const QPointF& position) const {
    return (position * m_Zoom - fnGetOrigin()) / m_pCanvas->devicePixelRatioF();
}

QSize CqImageView::fnGetPixelSize() const {
    return m_pCanvas->fnGetPixelSize();
}

QPoint CqImageView::fnGetSample(const QPoint& pixel) const {
    const QPoint origin = fnGetOrigin();
    return {fnToInt(static_cast<double>(q32::qt::fnSampleIndex(pixel.x(), origin.x(), m_Zoom))),
            fnToInt(static_cast<double>(q32::qt::fnSampleIndex(pixel.y(), origin.y(), m_Zoom)))};
}

CRect CqImageView::fnGetVisible() const {
    if (!fnHasPicture())
        return {};
    const QPoint origin = fnGetOrigin();
    const QSize size = m_pCanvas->fnGetPixelSize();
    const auto cut = [this](int at, std::uint32_t length) {
        // Rounding errors must not add a pixel.
        const double place = at / m_Zoom;
        const double whole = std::round(place);
        const double exact = std::abs(place - whole) < kSame * length ? whole : place;
        return std::clamp(exact, 0.0, static_cast<double>(length));
    };
    const auto from = [&](int at, std::uint32_t length) {
        return static_cast<LONG>(std::floor(cut(at, length)));
    };
    const auto to = [&](int at, std::uint32_t length) {
        return static_cast<LONG>(std::ceil(cut(at, length)));
    };
    return {from(origin.x(), m_pImage->Width), from(origin.y(), m_pImage->Height),
            to(origin.x() + size.width(), m_pImage->Width),
            to(origin.y() + size.height(), m_pImage->Height)};
}

void CqImageView::fnCenterOn(const QPointF& position) {
    const QSize size = m_pCanvas->fnGetPixelSize();
    fnMoveTo(position * m_Zoom - QPointF(size.width() / 2.0, size.height() / 2.0));
}

void CqImageView::fnUpdateBars() {
    const QSize scaled = fnGetScaledSize();
    const QSize seen = m_pCanvas->fnGetPixelSize();
    const auto set = [](QScrollBar& bar, int whole, int page) {
        bar.setRange(0, std::max(0, whole - page));
        bar.setPageStep(std::max(1, page));
        bar.setSingleStep(std::max(1, page / 20));
    };
    set(*horizontalScrollBar(), scaled.width(), seen.width());
    set(*verticalScrollBar(), scaled.height(), seen.height());
}

void CqImageView::fnForgetAll() {
    m_CanvasSize = QSize();
    m_pCanvas->update();
}

void CqImageView::fnMatchCanvas() {
    QImage& pixels = m_pCanvas->fnGetPixels();
    const QPoint origin = fnGetOrigin();
    const QPoint moved = m_Drawn - origin;
    // Separate regions, so that a failure to allocate changes nothing.
    QRegion stale;
    QRegion coarse;
    QRegion missing;
    if (m_CanvasSize != pixels.size()) {
        stale = pixels.rect();
    } else if (!moved.isNull()) {
        stale = m_Stale.translated(moved);
        stale += QRegion(pixels.rect()) - (pixels.rect() & pixels.rect().translated(moved));
        stale &= pixels.rect();
        coarse = m_Coarse.translated(moved) & pixels.rect();
        missing = m_Missing.translated(moved) & pixels.rect();
        q32::qt::fnScrollPixels(pixels, moved);
        if (!m_Means.isNull())
            q32::qt::fnScrollPixels(m_Means, moved);
    } else {
        return;
    }
    m_Stale.swap(stale);
    m_Coarse.swap(coarse);
    m_Missing.swap(missing);
    m_CanvasSize = pixels.size();
    m_Drawn = origin;
}

long long CqImageView::fnDrawNow() {
    fnMatchCanvas();
    QImage& pixels = m_pCanvas->fnGetPixels();
    QRegion around = m_Stale;
    if (fnHasPicture()) {
        if (!m_pOverview->fnIsFor(*m_pImage))
            fnResetOverview();
        fnDrawStale(around);
        if (!m_Coarse.isEmpty() || (!m_Stale.isEmpty() && m_pOverview->fnGetShift(m_Zoom) != 0))
            m_Idle.start(0, this);
    }
    const QRgb ground = palette().color(QPalette::Mid).rgb();
    for (const QRect& rect : around)
        q32::qt::fnFillCanvas(pixels, rect, ground);
    long long count = 0;
    for (const QRect& rect : std::exchange(m_Stale, QRegion()))
        count += static_cast<long long>(rect.width()) * rect.height();
    return count;
}

void CqImageView::fnPaintOver(QPainter&, const QRegion&) {}

void CqImageView::paintEvent(QPaintEvent* event) {
    // Exceptions must not reach the event loop. Anything not drawn is drawn by a later event.
    q32::fnTryMemory([&] {
        fnDrawNow();
        QPainter painter(m_pCanvas);
        m_pCanvas->fnPaint(painter, event->region());
        fnPaintOver(painter, event->region());
    });
}

void CqImageView::resizeEvent(QResizeEvent* event) {
    QAbstractScrollArea::resizeEvent(event);
    if (m_bFit)
        fnApplyZoom(fnGetFitZoom(), QPointF());
    fnUpdateBars();
    Q_EMIT visibleChanged();
}

void CqImageView::changeEvent(QEvent* event) {
    QAbstractScrollArea::changeEvent(event);
    if (event->type() == QEvent::PaletteChange || event->type() == QEvent::StyleChange)
        fnForgetAll();
}

void CqImageView::scrollContentsBy(int, int) {
    m_pCanvas->update();
    Q_EMIT visibleChanged();
}

QSize CqImageView::sizeHint() const {
    return {640, 480};
}
