// What CqImageView draws in idle time.
#include "platforms/qt/AreaSampler_p.h"
#include "platforms/qt/CqImageView.h"
#include "platforms/qt/CqQtCanvas.h"
#include "platforms/qt/Overview_p.h"
#include "q32Base/framework/Memory.h"
#include "q32Base/image/CqImage.h"

#include <algorithm>
#include <QElapsedTimer>
#include <QTimerEvent>

namespace {

/// Milliseconds of each turn in idle time, well within a frame, and of painting means at once.
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

void CqImageView::fnDrawStale(QRegion& around) {
    QImage& pixels = m_pCanvas->fnGetPixels();
    const q32::qt::SamplePlace place{m_Drawn, m_Zoom, fnHasAlpha(), m_bAveraging};
    const bool means = fnShowsMeans();
    QElapsedTimer timer;
    timer.start();
    for (const QRect& rect : m_Stale) {
        int top = rect.top();
        for (; means && top <= rect.bottom() && timer.elapsed() < kMaxPaintTime; top += kBand) {
            const QRect band = rect & QRect(rect.left(), top, rect.width(), kBand);
            around -= q32::qt::fnSampleMeans(*m_pImage, place, band, pixels);
            m_Coarse -= band;
        }
        if (top > rect.bottom())
            continue;
        const QRect rest(QPoint(rect.left(), top), rect.bottomRight());
        const QRect drawn =
            q32::qt::fnSampleTiles(*m_pImage, m_pOverview.get(), place, rest, pixels);
        around -= drawn;
        if (means)
            m_Coarse += drawn;
    }
}

bool CqImageView::fnRefineMeans() {
    if (!fnHasPicture() || !isVisible() || !fnShowsMeans()) {
        m_Coarse = QRegion();
        return false;
    }
    fnMatchCanvas();
    const q32::qt::SamplePlace place{m_Drawn, m_Zoom, fnHasAlpha(), m_bAveraging};
    const double scale = m_pCanvas->devicePixelRatioF();
    QElapsedTimer timer;
    timer.start();
    while (!m_Coarse.isEmpty() && timer.elapsed() < kMaxTime) {
        const QRect rect = *m_Coarse.begin();
        const QRect band = rect & QRect(rect.left(), rect.top(), rect.width(), kBand);
        q32::qt::fnSampleMeans(*m_pImage, place, band, m_pCanvas->fnGetPixels());
        m_Coarse -= band;
        m_pCanvas->update(
            QRectF(band.x() / scale, band.y() / scale, band.width() / scale, band.height() / scale)
                .toAlignedRect());
    }
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
