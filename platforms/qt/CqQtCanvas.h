#pragma once

#include "q32Base/platform/Export.h"

#include <QImage>
#include <QRegion>
#include <QWidget>

class QPaintEvent;
class QPainter;
class QResizeEvent;

/// A widget with persistent pixels: what was drawn stays until it is drawn over, and a repaint only
/// copies the exposed part. Pixels are device pixels, also on a scaled display, where there are
/// more of them than Qt's coordinates. They are Format_RGB32 with a top byte of FFh, the one format
/// that Qt copies row by row.
///
/// For the GUI thread only. May throw std::bad_alloc.
class Q32_API CqQtCanvas : public QWidget {
    Q_OBJECT

public:
    /// Owned by the parent, as any widget. Allocates no pixels yet.
    explicit CqQtCanvas(QWidget* parent = nullptr);

    /// The pixels, in the widget's current size and scale; at least one. Those that are new since
    /// the last call have the colour of the widget's window background.
    QImage& fnGetPixels();
    /// Size in device pixels; partly covered ones count.
    QSize fnGetPixelSize() const { return fnGetPixelSize(*this); }
    static QSize fnGetPixelSize(const QWidget& widget);

    /// Shows a changed part, in pixels, on the screen: at once, or, within a paint event of this
    /// widget, as soon as that is over.
    void fnShowPixels(const QRegion& part);
    /// Copies the exposed part, in the widget's coordinates, from the pixels. When memory is
    /// exhausted, the screen is left unchanged.
    void fnPaint(QPainter& painter, const QRegion& exposed);

    /// The part of the canvas, in pixels, that covers a part in the widget's coordinates.
    QRect fnToPixels(const QRect& part) const;
    QRegion fnToPixels(const QRegion& part) const;

protected:
    /// Copies the exposed part from the pixels.
    void paintEvent(QPaintEvent* event) override;

private:
    QImage m_Pixels;
};
