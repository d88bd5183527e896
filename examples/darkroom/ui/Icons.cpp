#include "examples/darkroom/ui/Icons.h"

#include <cstring>
#include <QPainter>
#include <QPainterPath>
#include <QPalette>
#include <QPixmap>

namespace darkroom {

namespace {

/// Icons are drawn on a square of this many units.
constexpr int kSide = 24;
/// Cached resolutions, in pixels per unit; Qt picks the next larger one.
constexpr int kScales[] = {1, 2, 4};

void fnDrawLine(QPainter& painter, std::initializer_list<QPointF> points) {
    painter.drawPolyline(points.begin(), static_cast<int>(points.size()));
}

void fnDrawMove(QPainter& painter) {
    fnDrawLine(painter, {{12, 3}, {12, 21}});
    fnDrawLine(painter, {{3, 12}, {21, 12}});
    fnDrawLine(painter, {{9, 6}, {12, 3}, {15, 6}});
    fnDrawLine(painter, {{9, 18}, {12, 21}, {15, 18}});
    fnDrawLine(painter, {{6, 9}, {3, 12}, {6, 15}});
    fnDrawLine(painter, {{18, 9}, {21, 12}, {18, 15}});
}

void fnDash(QPainter& painter) {
    QPen pen = painter.pen();
    pen.setDashPattern({2.2, 1.6});
    pen.setCapStyle(Qt::FlatCap);
    painter.setPen(pen);
}

void fnDrawRectangle(QPainter& painter) {
    fnDash(painter);
    painter.drawRect(4, 5, 16, 14);
}

void fnDrawEllipse(QPainter& painter) {
    fnDash(painter);
    painter.drawEllipse(3, 5, 18, 14);
}

void fnDrawFreehand(QPainter& painter) {
    QPainterPath path(QPointF(5, 17));
    path.cubicTo(-2, 5, 12, 1, 18, 5);
    path.cubicTo(25, 10, 16, 13, 14, 14);
    path.cubicTo(10, 16, 20, 22, 5, 17);
    fnDash(painter);
    painter.drawPath(path);
}

void fnDrawPipette(QPainter& painter) {
    fnDrawLine(painter, {{4, 20}, {5, 16}, {13, 8}, {16, 11}, {8, 19}, {4, 20}});
    fnDrawLine(painter, {{11, 6}, {18, 13}});
    painter.setBrush(painter.pen().color());
    painter.drawEllipse(QPointF(17.5, 6.5), 3, 3);
}

void fnDrawAdjust(QPainter& painter) {
    painter.drawRect(6, 7, 12, 10);
    painter.setBrush(painter.pen().color());
    for (const QPointF& corner : {QPointF(6, 7), QPointF(18, 7), QPointF(6, 17), QPointF(18, 17)})
        painter.drawEllipse(corner, 1.6, 1.6);
}

void fnDrawStraighten(QPainter& painter) {
    fnDrawLine(painter, {{3, 19}, {21, 19}});
    fnDrawLine(painter, {{4, 14}, {20, 6}});
    fnDrawLine(painter, {{16, 5}, {20, 6}, {18, 10}});
}

void fnDrawStroke(QPainter& painter) {
    fnDrawLine(painter, {{4, 20}, {20, 4}});
    painter.setBrush(painter.pen().color());
    painter.drawEllipse(QPointF(4, 20), 1.6, 1.6);
    painter.drawEllipse(QPointF(20, 4), 1.6, 1.6);
}

void fnDrawCurve(QPainter& painter) {
    QPainterPath path(QPointF(4, 19));
    path.cubicTo(6, -4, 18, 28, 20, 5);
    painter.drawPath(path);
    painter.setBrush(painter.pen().color());
    painter.drawEllipse(QPointF(4, 19), 1.6, 1.6);
    painter.drawEllipse(QPointF(20, 5), 1.6, 1.6);
}

void fnDrawLens(QPainter& painter) {
    painter.drawEllipse(QPointF(10, 10), 6.5, 6.5);
    QPen pen = painter.pen();
    pen.setWidthF(pen.widthF() * 1.6);
    const QPen thin = painter.pen();
    painter.setPen(pen);
    fnDrawLine(painter, {{15, 15}, {20.5, 20.5}});
    painter.setPen(thin);
}

void fnDrawZoomOut(QPainter& painter) {
    fnDrawLens(painter);
    fnDrawLine(painter, {{7, 10}, {13, 10}});
}

void fnDrawZoomIn(QPainter& painter) {
    fnDrawZoomOut(painter);
    fnDrawLine(painter, {{10, 7}, {10, 13}});
}

void fnDrawFit(QPainter& painter) {
    fnDrawLine(painter, {{3, 8}, {3, 3}, {8, 3}});
    fnDrawLine(painter, {{16, 3}, {21, 3}, {21, 8}});
    fnDrawLine(painter, {{21, 16}, {21, 21}, {16, 21}});
    fnDrawLine(painter, {{8, 21}, {3, 21}, {3, 16}});
    painter.drawRect(8, 8, 8, 8);
}

void fnDrawOne(QPainter& painter) {
    fnDrawLine(painter, {{4, 8}, {7, 5}, {7, 19}});
    fnDrawLine(painter, {{15, 8}, {18, 5}, {18, 19}});
    painter.setBrush(painter.pen().color());
    painter.drawEllipse(QPointF(11.5, 9.5), 0.7, 0.7);
    painter.drawEllipse(QPointF(11.5, 15.5), 0.7, 0.7);
}

void fnDrawUndo(QPainter& painter) {
    fnDrawLine(painter, {{8, 4}, {3, 9}, {8, 14}});
    QPainterPath path(QPointF(3, 9));
    path.lineTo(14, 9);
    path.cubicTo(23, 9, 23, 20, 14, 20);
    path.lineTo(8, 20);
    painter.drawPath(path);
}

void fnDrawRedo(QPainter& painter) {
    painter.translate(kSide, 0);
    painter.scale(-1, 1);
    fnDrawUndo(painter);
}

void fnDrawEyedropper(QPainter& painter) {
    fnDrawLine(painter, {{4, 20}, {5, 16}, {14, 7}, {17, 10}, {8, 19}, {4, 20}});
    fnDrawLine(painter, {{12, 5}, {19, 12}});
    fnDrawLine(painter, {{15.5, 8.5}, {19, 5}});
}

struct Entry {
    const char* m_pszId;
    void (*m_pDraw)(QPainter& painter);
};

constexpr Entry kIcons[] = {
    {"undo", fnDrawUndo},           {"redo", fnDrawRedo},
    {"zoomIn", fnDrawZoomIn},       {"zoomOut", fnDrawZoomOut},
    {"zoomFit", fnDrawFit},         {"zoomOne", fnDrawOne},
    {"toolPan", fnDrawMove},        {"toolRectangle", fnDrawRectangle},
    {"toolEllipse", fnDrawEllipse}, {"toolFreehand", fnDrawFreehand},
    {"toolColor", fnDrawPipette},   {"toolEyedropper", fnDrawEyedropper},
    {"toolLine", fnDrawStroke},     {"toolCurve", fnDrawCurve},
    {"toolAdjust", fnDrawAdjust},   {"toolStraighten", fnDrawStraighten},
};

QPixmap fnDraw(const Entry& entry, int scale, const QColor& color) {
    constexpr double kPen = 1.7;
    QPixmap pixmap(kSide * scale, kSide * scale);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.scale(scale, scale);
    painter.setPen(QPen(color, kPen, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    entry.m_pDraw(painter);
    return pixmap;
}

} // namespace

QIcon fnMakeIcon(const char* id, const QPalette& palette) {
    QIcon icon;
    for (const Entry& entry : kIcons) {
        if (std::strcmp(entry.m_pszId, id) != 0)
            continue;
        for (const int scale : kScales) {
            icon.addPixmap(
                fnDraw(entry, scale, palette.color(QPalette::Active, QPalette::ButtonText)));
            icon.addPixmap(
                fnDraw(entry, scale, palette.color(QPalette::Disabled, QPalette::ButtonText)),
                QIcon::Disabled);
        }
    }
    return icon;
}

} // namespace darkroom
