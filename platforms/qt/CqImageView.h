#pragma once

#include "q32Base/framework/Values.h"
#include "q32Base/platform/Export.h"

#include <memory>
#include <optional>
#include <QAbstractScrollArea>
#include <QBasicTimer>
#include <QCursor>
#include <QPoint>
#include <QPointF>
#include <QRegion>
#include <QSize>

class CqImage;
class CqQtCanvas;
class QPainter;

namespace q32::qt {
class Overview;
}

/// A widget that shows a CqImage of any size: it scrolls, zooms about the cursor, and draws only
/// what comes into sight, tile by tile. Parts that were drawn before are kept, so that scrolling
/// draws a strip. Colours go through the library's gamma; alpha is not shown.
///
/// Each pixel of the screen shows the nearest one of the image, but below a zoom of 1/4 the mean of
/// those around it: as soon as the event loop has nothing else to do, reduced copies are made of
/// the tiles in sight, up to 128 MiB of them, and what was drawn is drawn again from these.
///
/// Zoom is in pixels of the screen for a pixel of the image, so that 1 is sharp on any display. The
/// wheel zooms; with the Shift or Alt key it scrolls. The middle button drags the picture, and so
/// does the left one while `fnSetPanning` is on. Keys: plus and minus zoom, 0 fits, 1 shows the
/// pixels one to one, the arrows, Page Up and Page Down scroll.
///
/// Positions in the view are those of `viewport()`, in Qt's coordinates; positions in the image are
/// in its pixels, and its top left corner is (0, 0). Belongs to the thread of the user interface.
class Q32_API CqImageView : public QAbstractScrollArea {
    Q_OBJECT

public:
    static constexpr double kLeastZoom = 1.0 / 256;
    static constexpr double kMaxZoom = 64.0;

    explicit CqImageView(QWidget* parent = nullptr);
    ~CqImageView() override;

    /// Shows an image, or nothing for null or an image without storage. It isn't owned, and must be
    /// taken away, or go with all else, before it ends. Zoom and fit stay.
    void fnSetImage(CqImage* image);
    CqImage* fnGetImage() const { return m_pImage; }

    /// The image has other pixels, or another size, depth or palette; all of it is drawn anew.
    void fnImageChanged();
    /// Pixels in a rectangle of the image have changed.
    void fnImageChanged(const CRect& part);

    double fnGetZoom() const { return m_Zoom; }
    /// Sets the zoom, cut to what is allowed, which is less for a picture of millions of pixels
    /// across; the picture stays where it is in the middle of the
    /// view, or at `anchor`. Ends the fit.
    void fnSetZoom(double zoom);
    void fnSetZoom(double zoom, const QPointF& anchor);
    /// Steps in (above 0) or out along 1/2, 2/3, 1, 3/2, 2 … about the middle, or about `anchor`.
    void fnStepZoom(int steps);
    void fnStepZoom(int steps, const QPointF& anchor);
    /// Keeps the zoom so that the whole image is seen, as far as `kLeastZoom` goes, but not
    /// enlarged beyond 1.
    void fnSetFit(bool fit);
    bool fnIsFit() const { return m_bFit; }

    /// Whether the left button drags the picture; true at first. Off for hosts with tools.
    void fnSetPanning(bool on) { m_bPanning = on; }

    /// Change a position in the view to one in the image, and back. Neither is cut to the image.
    QPointF fnToImage(const QPointF& position) const;
    QPointF fnToView(const QPointF& position) const;
    /// Size of the view in pixels of the screen.
    QSize fnGetPixelSize() const;
    /// The pixel of the image that a pixel of the screen, counted from the view's top left corner,
    /// shows. Not cut to the image either.
    QPoint fnGetSample(const QPoint& pixel) const;
    /// The part of the image in sight, in whole pixels; empty without an image.
    CRect fnGetVisible() const;
    /// Scrolls so that a position in the image lies in the middle, as far as it goes.
    void fnCenterOn(const QPointF& position);

    /// Draws all that is in sight and not drawn yet. Painting does this by itself; a host or a
    /// measurement that wants it done now may call it.
    /// @return pixels of the screen that were drawn
    long long fnDrawNow();
    /// Whether reduced copies of what is in sight are still being made.
    bool fnIsRefining() const { return m_Idle.isActive(); }

    QSize sizeHint() const override;

Q_SIGNALS:
    /// The zoom has changed, by whomever.
    void zoomChanged(double zoom);
    /// Another part of the image is in sight.
    void visibleChanged();
    /// The cursor moved over the view, to this position in the image.
    void pointed(const QPointF& position);

protected:
    /// Paints on top of the picture, in the coordinates of the view; nothing by default.
    virtual void fnPaintOver(QPainter& painter, const QRegion& exposed);

    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void changeEvent(QEvent* event) override;
    void timerEvent(QTimerEvent* event) override;
    void scrollContentsBy(int dx, int dy) override;
    void wheelEvent(QWheelEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    /// The second press of two quick ones is a press like others.
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    bool fnHasPicture() const;
    QSize fnGetScaledSize() const;
    QPoint fnGetOrigin() const;
    double fnGetFitZoom() const;
    double fnGetMostZoom() const;
    void fnApplyZoom(double zoom, const QPointF& anchor);
    void fnUpdateBars();
    void fnMoveTo(const QPointF& origin);
    void fnEndDrag();
    void fnForgetAll();
    void fnMatchCanvas();
    void fnAddStale(const CRect& part);
    void fnResetOverview();
    bool fnMakeCells();

    CqQtCanvas* m_pCanvas; ///< the viewport
    CqImage* m_pImage = nullptr;
    double m_Zoom = 1.0;
    bool m_bFit = true;
    bool m_bPanning = true;
    std::unique_ptr<q32::qt::Overview> m_pOverview;
    QBasicTimer m_Idle; ///< runs while cells of the overview are to be made
    QRegion m_Stale;    ///< pixels of the canvas that are not drawn yet
    QSize m_CanvasSize; ///< that the stale region was made for
    QPoint m_Drawn;     ///< origin that the canvas' pixels were drawn for
    int m_nWheel = 0;   ///< of a step that isn't complete yet
    QPointF m_Grabbed;  ///< place in the image that the cursor drags
    bool m_bDragging = false;
    std::optional<QCursor> m_CursorBefore; ///< the host's own, that a drag covers
};
