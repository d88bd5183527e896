#include "platforms/qt/CqQtCanvas.h"

#include "q32Base/framework/Memory.h"

#include <algorithm>
#include <cmath>
#include <QPainter>
#include <QPaintEvent>

CqQtCanvas::CqQtCanvas(QWidget* parent) : QWidget(parent) {
    setAttribute(Qt::WA_OpaquePaintEvent);
}

QSize CqQtCanvas::fnGetPixelSize(const QWidget& widget) {
    const QSizeF pixels = QSizeF(widget.size()) * widget.devicePixelRatioF();
    return {static_cast<int>(std::ceil(pixels.width())),
            static_cast<int>(std::ceil(pixels.height()))};
}

QImage& CqQtCanvas::fnGetPixels() {
    const QSize size = fnGetPixelSize().expandedTo(QSize(1, 1));
    if (m_Pixels.size() != size) {
        QImage pixels(size, QImage::Format_RGB32);
        if (pixels.isNull())
            throw std::bad_alloc();
        pixels.fill(palette().color(QPalette::Window));
        const QSize kept = size.boundedTo(m_Pixels.size());
        for (int y = 0; y < kept.height(); ++y)
            std::copy_n(m_Pixels.constScanLine(y), static_cast<std::size_t>(kept.width()) * 4,
                        pixels.scanLine(y));
        m_Pixels = std::move(pixels);
    }
    m_Pixels.setDevicePixelRatio(devicePixelRatioF());
    return m_Pixels;
}

QRect CqQtCanvas::fnToPixels(const QRect& part) const {
    const qreal scale = devicePixelRatioF();
    const QRectF pixels(part.x() * scale, part.y() * scale, part.width() * scale,
                        part.height() * scale);
    return pixels.toAlignedRect();
}

QRegion CqQtCanvas::fnToPixels(const QRegion& part) const {
    QRegion pixels;
    for (const QRect& rect : part)
        pixels += fnToPixels(rect);
    return pixels;
}

void CqQtCanvas::fnShowPixels(const QRegion& part) {
    const qreal scale = devicePixelRatioF();
    QRegion changed;
    for (const QRect& rect : part) {
        const QRectF place(rect.x() / scale, rect.y() / scale, rect.width() / scale,
                           rect.height() / scale);
        changed += place.toAlignedRect();
    }
    if (testAttribute(Qt::WA_WState_InPaintEvent))
        update(changed);
    else
        repaint(changed);
}

void CqQtCanvas::fnPaint(QPainter& painter, const QRegion& exposed) {
    const QImage& pixels = fnGetPixels();
    for (const QRect& rect : exposed) {
        const QRect source = fnToPixels(rect);
        painter.drawImage(QPointF(source.topLeft()) / devicePixelRatioF(), pixels,
                          QRectF(source & pixels.rect()));
    }
}

void CqQtCanvas::paintEvent(QPaintEvent* event) {
    // Exceptions must not reach the event loop; the screen is left unchanged.
    q32::fnTryMemory([&] {
        QPainter painter(this);
        fnPaint(painter, event->region());
    });
}
