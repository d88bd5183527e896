#pragma once

#include "q32Base/framework/Values.h"
#include "q32Base/platform/Export.h"

#include <functional>
#include <memory>
#include <optional>
#include <QAbstractScrollArea>
#include <QBasicTimer>
#include <QCursor>
#include <QImage>
#include <QPoint>
#include <QPointF>
#include <QRegion>
#include <QRgb>
#include <QSize>

class CqImage;
class CqQtCanvas;
class QPainter;

namespace q32::qt {
class Overview;
}

/// A widget that shows a CqImage of any size: it scrolls, zooms about the cursor, and draws only
/// the visible part, tile by tile. Parts drawn before are reused, so that scrolling draws only a
/// strip. Colours go through the library's gamma; alpha is not shown, unless
/// `fnSetTransparency` is on.
///
/// Each pixel of the screen shows the nearest neighbour in the image; below a zoom of 1/4, the mean
/// of the pixels around it: when the event loop is idle, reduced copies of the visible tiles are
/// made, up to 128 MiB of them, and the view is redrawn from these. With `fnSetAveraging`, each
/// pixel at zooms from 1/4 to below 1 is the mean of the area of the image that it covers. What
/// takes longer than a frame is drawn from nearest neighbours first, all of it, and replaced at
/// once when all its means are there.
///
/// Zoom is in screen pixels per image pixel, so that 1 is sharp on any display. The wheel zooms;
/// with the Shift or Alt key it scrolls. The middle button drags the picture, and so does the left
/// one while `fnSetPanning` is on. Keys: plus and minus zoom, 0 fits, 1 shows the pixels one to
/// one, the arrows, Page Up and Page Down scroll.
///
/// Positions in the view are those of `viewport()`, in Qt's coordinates; positions in the image are
/// in its pixels, with (0, 0) at its top left corner. For the GUI thread only.
class Q32_API CqImageView : public QAbstractScrollArea {
    Q_OBJECT

public:
    static constexpr double kMinZoom = 1.0 / 256;
    static constexpr double kMaxZoom = 64.0;

    explicit CqImageView(QWidget* parent = nullptr);
    ~CqImageView() override;

    /// Shows an image, or nothing for null or an image without storage. It isn't owned, and must be
    /// replaced or outlive this. Zoom and fit are unchanged.
    void fnSetImage(CqImage* image);
    CqImage* fnGetImage() const { return m_pImage; }

    /// Call when all pixels, the size, depth or palette of the image have changed; everything is
    /// redrawn.
    void fnImageChanged();
    /// Call when pixels in a rectangle of the image have changed.
    void fnImageChanged(const CRect& part);

    double fnGetZoom() const { return m_Zoom; }
    /// Sets the zoom, clamped to kMinZoom and kMaxZoom, or to a lower maximum for images of
    /// millions of pixels across. The position in the middle of the view, or at `anchor`, stays
    /// fixed. Ends the fit.
    void fnSetZoom(double zoom);
    void fnSetZoom(double zoom, const QPointF& anchor);
    /// Zooms in (above 0) or out by steps of 1/2, 2/3, 1, 3/2, 2 … about the middle, or about
    /// `anchor`.
    void fnStepZoom(int steps);
    void fnStepZoom(int steps, const QPointF& anchor);
    /// While on, keeps the whole image visible, with a zoom between `kMinZoom` and 1.
    void fnSetFit(bool fit);
    bool fnIsFit() const { return m_bFit; }

    /// Whether transparent pixels of a 32-bit image show a checkerboard of squares of 8 screen
    /// pixels; false initially: colours are then shown whatever their alpha.
    void fnSetTransparency(bool on);
    bool fnIsTransparent() const { return m_bTransparency; }
    /// Makes pixels with alpha look as in this view, before gamma: over the checkerboard if that is
    /// on and the image has 32 bits. For hosts that draw over the picture.
    /// @param first  the screen pixel of the first one, from the view's top left corner
    void fnLayOverBoard(QRgb* row, int count, const QPoint& first) const;
    /// Converts a row of pixels from the colours of the image to those of the screen, as a colour
    /// profile says. Called while painting, on the GUI thread; must not throw.
    using ColorConversion = std::function<void(QRgb* row, int count)>;
    /// Sets the conversion of everything that the view shows, ahead of gamma; empty for none, as
    /// initially. Everything is redrawn. May throw std::bad_alloc.
    void fnSetColors(ColorConversion conversion);
    /// Converts pixels as this view shows them, before gamma. For hosts that draw over the picture.
    void fnConvertColors(QRgb* row, int count) const;
    /// Whether pixels at zooms between 1/4 and 1 are means; false initially.
    void fnSetAveraging(bool on);
    bool fnIsAveraging() const { return m_bAveraging; }

    /// Whether the left button drags the picture; true initially. Hosts with tools switch it off.
    void fnSetPanning(bool on) { m_bPanning = on; }

    /// Convert a position in the view to one in the image, and back. Neither is clipped to the
    /// image.
    QPointF fnToImage(const QPointF& position) const;
    QPointF fnToView(const QPointF& position) const;
    /// Size of the view in screen pixels.
    QSize fnGetPixelSize() const;
    /// The image pixel shown by a screen pixel, which counts from the view's top left corner. Not
    /// clipped to the image.
    QPoint fnGetSample(const QPoint& pixel) const;
    /// The visible part of the image, rounded outward to pixels; empty without an image.
    CRect fnGetVisible() const;
    /// Scrolls so that a position in the image lies in the middle, as far as the scroll range
    /// allows.
    void fnCenterOn(const QPointF& position);

    /// Draws everything visible that isn't drawn yet. Painting does this by itself; call it only to
    /// have it done now, for example to measure it.
    /// @return screen pixels that were drawn
    long long fnDrawNow();
    /// Whether reduced copies of the visible tiles, or means, are still being made.
    bool fnIsRefining() const { return m_Idle.isActive(); }

    QSize sizeHint() const override;

Q_SIGNALS:
    /// The zoom has changed, for any reason.
    void zoomChanged(double zoom);
    /// The visible part of the image has changed.
    void visibleChanged();
    /// The cursor moved over the view, to this position in the image.
    void pointed(const QPointF& position);

protected:
    /// Paints on top of the picture, in the coordinates of the view; does nothing by default.
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
    /// Handles the second press of a double click like any other press.
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    Q32_LOCAL bool fnHasPicture() const;
    Q32_LOCAL bool fnHasAlpha() const;
    Q32_LOCAL QSize fnGetScaledSize() const;
    Q32_LOCAL QPoint fnGetOrigin() const;
    Q32_LOCAL double fnGetFitZoom() const;
    Q32_LOCAL double fnGetMaxZoom() const;
    Q32_LOCAL void fnApplyZoom(double zoom, const QPointF& anchor);
    Q32_LOCAL void fnUpdateBars();
    Q32_LOCAL void fnMoveTo(const QPointF& origin);
    Q32_LOCAL void fnEndDrag();
    Q32_LOCAL void fnForgetAll();
    Q32_LOCAL void fnMatchCanvas();
    Q32_LOCAL void fnAddStale(const CRect& part);
    Q32_LOCAL void fnResetOverview();
    Q32_LOCAL bool fnMakeCells();
    Q32_LOCAL bool fnShowsMeans() const;
    Q32_LOCAL void fnDrawStale(QRegion& around);
    Q32_LOCAL double fnCountPixels(const QRect& part) const;
    Q32_LOCAL void fnNoteRate(double pixels, qint64 milliseconds);
    Q32_LOCAL bool fnDrawMeans(QRegion& around);
    Q32_LOCAL bool fnRefineMeans();
    Q32_LOCAL void fnShowMeans();
    Q32_LOCAL void fnUpdatePixels(const QRect& pixels);

    CqQtCanvas* m_pCanvas; ///< the viewport
    CqImage* m_pImage = nullptr;
    double m_Zoom = 1.0;
    bool m_bFit = true;
    bool m_bPanning = true;
    bool m_bTransparency = false;
    bool m_bAveraging = false;
    std::unique_ptr<q32::qt::Overview> m_pOverview;
    QBasicTimer m_Idle;      ///< runs while cells of the overview are to be made
    QRegion m_Stale;         ///< pixels of the canvas that are not drawn yet
    QRegion m_Coarse;        ///< those drawn from nearest neighbours that are to become means
    QRegion m_Missing;       ///< those of them whose means aren't computed yet
    QImage m_Means;          ///< of the canvas's size; the means computed so far of coarse pixels
    double m_MeansPerMs = 0; ///< pixels of the image; 0: not measured yet
    ColorConversion m_Colors;
    QSize m_CanvasSize; ///< for which the stale region was computed
    QPoint m_Drawn;     ///< origin at which the canvas was drawn
    int m_nWheel = 0;   ///< wheel movement of an incomplete step
    QPointF m_Grabbed;  ///< position in the image that follows the cursor
    bool m_bDragging = false;
    std::optional<QCursor> m_CursorBefore; ///< the host's cursor, replaced during a drag
};
