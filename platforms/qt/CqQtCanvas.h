#pragma once

#include "q32Base/platform/Export.h"

#include <QImage>
#include <QRegion>
#include <QWidget>

class QPaintEvent;
class QPainter;
class QResizeEvent;

/// A widget that keeps its own pixels: what was put there stays until it is put there anew, as on a
/// screen, and a repaint only copies what was uncovered. Pixels are the screen's own, also on a
/// scaled display, where a widget has more of them than Qt's coordinates tell. They are
/// Format_RGB32 with a top byte of FFh, the one format that Qt copies row by row.
///
/// Used on the thread of the user interface. May throw std::bad_alloc.
class Q32_API CqQtCanvas : public QWidget {
    Q_OBJECT

public:
    explicit CqQtCanvas(QWidget* parent = nullptr);

    /// The pixels, in the widget's present size and scale; at least one. What is new since the last
    /// call has the colour of the widget's window background.
    QImage& fnGetPixels();
    /// Size in pixels of the screen; one that is covered in part counts.
    QSize fnGetPixelSize() const { return fnGetPixelSize(*this); }
    static QSize fnGetPixelSize(const QWidget& widget);

    /// Brings a changed part, in pixels, to the screen: at once, or from within a paint event of
    /// this widget as soon as that is over.
    void fnShowPixels(const QRegion& part);
    /// Copies the exposed part, in the widget's coordinates, from the pixels. A paint event that
    /// runs out of memory leaves what the screen shows.
    void fnPaint(QPainter& painter, const QRegion& exposed);

    /// The part of the canvas, in pixels, that covers a part in the widget's coordinates.
    QRect fnToPixels(const QRect& part) const;
    QRegion fnToPixels(const QRegion& part) const;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QImage m_Pixels;
};
