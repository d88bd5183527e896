// What CqImageView paints: first what can be done within a frame, the rest in idle time.
#include "platforms/qt/AreaSampler_p.h"
#include "platforms/qt/CqImageView.h"
#include "platforms/qt/CqQtCanvas.h"
#include "platforms/qt/Overview_p.h"
#include "q32Base/framework/Memory.h"
#include "q32Base/image/CqImage.h"

#include <algorithm>
#include <new>
#include <QElapsedTimer>
#include <QTimerEvent>

namespace {

/// Milliseconds of each slice of idle time, well within a frame, and of painting means at once.
constexpr qint64 kMaxTime = 6;
constexpr qint64 kMaxPaintTime = 10;
/// Rows drawn between two looks at the clock.
constexpr int kBand = 16;
/// The lowest zoom at which means are taken from the image itself.
constexpr double kMinMeans = 1.0 / 16;

} // namespace

void CqImageView::fnResetOverview() {
    if (!q32::fnTryMemory(
            [&] { m_pOverview->fnReset(fnHasPicture() ? m_pImage : nullptr, fnHasAlpha()); }))
        m_pOverview->fnReset(nullptr); // the image itself is shown instead
}

bool CqImageView::fnMakeCells() {
    const unsigned shift = fnHasPicture() ? m_pOverview->fnGetShift(m_Zoom) : 0;
    if (shift == 0 || !m_pOverview->fnIsFor(*m_pImage) || !isVisible())
        return false;
    fnMatchCanvas();
    QElapsedTimer timer;
    timer.start();
    constexpr auto kSize = static_cast<LONG>(q32::qt::Overview::kCellSize);
    const CRect seen = fnGetVisible();
    for (LONG row = seen.top / kSize; row * kSize < seen.bottom; ++row) {
        CRect made; // the cells made in this row
        for (LONG column = seen.left / kSize; column * kSize < seen.right; ++column) {
            const auto x = static_cast<std::uint32_t>(column);
            const auto y = static_cast<std::uint32_t>(row);
            if (m_pOverview->fnFind(x, y, shift))
                continue;
            if (timer.elapsed() >= kMaxTime) {
                if (!made.IsRectEmpty())
                    fnAddStale(made);
                return true;
            }
            m_pOverview->fnMake(*m_pImage, x, y);
            made.UnionRect(made, CRect(CPoint(column * kSize, row * kSize), CSize(kSize, kSize)));
        }
        if (!made.IsRectEmpty())
            fnAddStale(made);
    }
    return false;
}

bool CqImageView::fnShowsMeans() const {
    return m_bAveraging && m_Zoom < 1 && m_Zoom >= kMinMeans &&
           m_pOverview->fnGetShift(m_Zoom) == 0;
}

/// Pixels of the image under a part of the canvas.
double CqImageView::fnCountPixels(const QRect& part) const {
    return static_cast<double>(part.width()) * part.height() / (m_Zoom * m_Zoom);
}

/// Notes how fast means are computed, for times that can be measured.
void CqImageView::fnNoteRate(double pixels, qint64 milliseconds) {
    constexpr qint64 kMin = 4;
    if (milliseconds >= kMin)
        m_MeansPerMs = pixels / static_cast<double>(milliseconds);
}

/// Draws everything stale as means, if that can be done within a frame. False if it can't: some of
/// it may be drawn then.
bool CqImageView::fnDrawMeans(QRegion& around) {
    const q32::qt::SamplePlace place{m_Drawn, m_Zoom, fnHasAlpha(), m_bAveraging, &m_Colors};
    double pixels = 0;
    for (const QRect& rect : m_Stale)
        pixels += fnCountPixels(rect);
    if (m_MeansPerMs > 0 && pixels > m_MeansPerMs * kMaxPaintTime)
        return false;
    QElapsedTimer timer;
    timer.start();
    QRegion drawn;
    double done = 0;
    bool inTime = true;
    for (const QRect& rect : m_Stale) {
        for (int top = rect.top(); inTime && top <= rect.bottom(); top += kBand) {
            const QRect band = rect & QRect(rect.left(), top, rect.width(), kBand);
            drawn += q32::qt::fnSampleMeans(*m_pImage, place, band, m_pCanvas->fnGetPixels());
            done += fnCountPixels(band);
            inTime = timer.elapsed() < kMaxPaintTime;
        }
    }
    fnNoteRate(done, timer.elapsed());
    if (!inTime)
        return false;
    around -= drawn;
    m_Coarse -= m_Stale;
    m_Missing -= m_Stale;
    return true;
}

void CqImageView::fnDrawStale(QRegion& around) {
    const bool means = fnShowsMeans();
    if (means && fnDrawMeans(around))
        return;
    const q32::qt::SamplePlace place{m_Drawn, m_Zoom, fnHasAlpha(), m_bAveraging, &m_Colors};
    for (const QRect& rect : m_Stale) {
        const QRect drawn = q32::qt::fnSampleTiles(*m_pImage, m_pOverview.get(), place, rect,
                                                   m_pCanvas->fnGetPixels());
        around -= drawn;
        if (!means)
            continue;
        m_Coarse += drawn;
        m_Missing += drawn;
    }
}

void CqImageView::fnUpdatePixels(const QRect& pixels) {
    const double scale = m_pCanvas->devicePixelRatioF();
    m_pCanvas->update(QRectF(pixels.x() / scale, pixels.y() / scale, pixels.width() / scale,
                             pixels.height() / scale)
                          .toAlignedRect());
}

/// Replaces all coarse pixels by their means.
void CqImageView::fnShowMeans() {
    QImage& pixels = m_pCanvas->fnGetPixels();
    for (const QRect& rect : m_Coarse) {
        for (int y = rect.top(); y <= rect.bottom(); ++y)
            std::copy_n(reinterpret_cast<const QRgb*>(m_Means.constScanLine(y)) + rect.left(),
                        rect.width(), reinterpret_cast<QRgb*>(pixels.scanLine(y)) + rect.left());
        fnUpdatePixels(rect);
    }
    m_Coarse = QRegion();
    m_Means = QImage();
}

bool CqImageView::fnRefineMeans() {
    if (!fnHasPicture() || !isVisible() || !fnShowsMeans()) {
        m_Coarse = m_Missing = QRegion();
        m_Means = QImage();
        return false;
    }
    fnMatchCanvas();
    const QImage& pixels = m_pCanvas->fnGetPixels();
    if (m_Means.size() != pixels.size()) {
        m_Means = QImage(pixels.size(), pixels.format());
        if (m_Means.isNull())
            throw std::bad_alloc();
        m_Missing = m_Coarse;
    }
    const q32::qt::SamplePlace place{m_Drawn, m_Zoom, fnHasAlpha(), m_bAveraging, &m_Colors};
    QElapsedTimer timer;
    timer.start();
    double done = 0;
    while (!m_Missing.isEmpty() && timer.elapsed() < kMaxTime) {
        const QRect rect = *m_Missing.begin();
        const QRect band = rect & QRect(rect.left(), rect.top(), rect.width(), kBand);
        q32::qt::fnSampleMeans(*m_pImage, place, band, m_Means);
        m_Missing -= band;
        done += fnCountPixels(band);
    }
    fnNoteRate(done, timer.elapsed());
    if (m_Missing.isEmpty())
        fnShowMeans();
    return !m_Coarse.isEmpty();
}

void CqImageView::timerEvent(QTimerEvent* event) {
    if (event->timerId() != m_Idle.timerId()) {
        QAbstractScrollArea::timerEvent(event);
        return;
    }
    // Without memory, what has been drawn stays in use.
    if (!q32::fnTryMemory([&] { return m_Coarse.isEmpty() ? fnMakeCells() : fnRefineMeans(); }))
        m_Idle.stop();
}
