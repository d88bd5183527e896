#include "examples/darkroom/ui/PictureView.h"

#include "examples/darkroom/model/Shapes.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QPolygonF>

namespace darkroom {

namespace {

/// A curve has a start, two handles and an end: it is told by clicks.
constexpr std::size_t kCurvePoints = 4;
constexpr QRgb kShade = qRgba(0, 0, 0, 150);

bool fnIsDragged(Tool tool) {
    return tool != Tool::PAN && tool != Tool::CURVE && tool != Tool::PICK;
}

/// Seen on any ground: light on dark.
void fnDrawContrast(QPainter& painter, const QPolygonF& line) {
    painter.setPen(QPen(QColor(0, 0, 0, 180), 3));
    painter.drawPolyline(line);
    painter.setPen(QPen(Qt::white, 1));
    painter.drawPolyline(line);
}

} // namespace

PictureView::PictureView(Document& document, QWidget* parent)
    : CqImageView(parent), m_Document(document) {
    connect(this, &CqImageView::visibleChanged, this, [this] { m_Shade = QImage(); });
}

void PictureView::fnSetTool(Tool tool) {
    fnDrop();
    m_eTool = tool;
    fnSetPanning(tool == Tool::PAN);
    viewport()->setCursor(tool == Tool::PAN ? Qt::OpenHandCursor : Qt::CrossCursor);
}

void PictureView::fnShowPreview(const QImage& preview, const QRectF& target, bool plainGround) {
    m_Preview = preview;
    m_PreviewTarget = target;
    m_bPlainGround = plainGround;
    viewport()->update();
}

void PictureView::fnHidePreview() {
    m_Preview = QImage();
    viewport()->update();
}

void PictureView::fnShowFrame(const CRect& frame) {
    m_Frame = frame;
    viewport()->update();
}

void PictureView::fnSelectionChanged() {
    m_Shade = QImage();
    viewport()->update();
}

QImage PictureView::fnMakeShade() const {
    QImage shade(fnGetPixelSize(), QImage::Format_ARGB32_Premultiplied);
    shade.fill(Qt::transparent);
    CqMask& mask = m_Document.fnGetSelection();
    const CRect bound = mask.m_rectBound;
    const CRect seen = fnGetVisible();
    std::vector<int> columns(static_cast<std::size_t>(shade.width()));
    for (int x = 0; x < shade.width(); ++x)
        columns[static_cast<std::size_t>(x)] = fnGetSample({x, 0}).x();
    for (int y = 0; y < shade.height(); ++y) {
        auto* const out = reinterpret_cast<QRgb*>(shade.scanLine(y));
        const int row = fnGetSample({0, y}).y();
        if (row < seen.top || row >= seen.bottom)
            continue;
        for (std::size_t x = 0; x < columns.size(); ++x) {
            const int column = columns[x];
            if (column < seen.left || column >= seen.right)
                continue;
            const bool inside = bound.PtInRect(CPoint(column, row)) &&
                                *mask.fnGetPixelAddr(column - bound.left, row - bound.top) != 0;
            if (!inside)
                out[x] = kShade;
        }
    }
    shade.setDevicePixelRatio(devicePixelRatioF());
    return shade;
}

void PictureView::fnPaintSelection(QPainter& painter) {
    if (!m_Document.fnHasSelection())
        return;
    if (m_Shade.size() != fnGetPixelSize())
        m_Shade = fnMakeShade();
    painter.drawImage(0, 0, m_Shade);
}

void PictureView::fnPaintShape(QPainter& painter) {
    if (m_Points.size() < 2)
        return;
    std::vector<CqPoint2D> outline = m_Points;
    if (m_eTool == Tool::RECTANGLE || m_eTool == Tool::ELLIPSE) {
        outline = fnMakeOutline(
            m_eTool == Tool::RECTANGLE ? ShapeKind::RECTANGLE : ShapeKind::ELLIPSE, m_Points);
        outline.push_back(outline.front());
    }
    QPolygonF line;
    for (const CqPoint2D& point : outline)
        line << fnToView(QPointF(point.m_X, point.m_Y));
    fnDrawContrast(painter, line);
}

void PictureView::fnPaintOver(QPainter& painter, const QRegion&) {
    if (!m_Preview.isNull()) {
        if (m_bPlainGround)
            painter.fillRect(viewport()->rect(), palette().color(QPalette::Window));
        painter.drawImage(m_PreviewTarget, m_Preview);
    }
    fnPaintSelection(painter);
    fnPaintShape(painter);
    if (!m_Frame.IsRectEmpty()) {
        const QRectF frame(fnToView(QPointF(m_Frame.left, m_Frame.top)),
                           fnToView(QPointF(m_Frame.right, m_Frame.bottom)));
        fnDrawContrast(painter, QPolygonF(frame));
    }
}

void PictureView::mousePressEvent(QMouseEvent* event) {
    if (m_eTool == Tool::PAN || event->button() != Qt::LeftButton || !m_Document.fnHasImage())
        return CqImageView::mousePressEvent(event);
    const QPointF place = fnToImage(event->position());
    m_Points.emplace_back(place.x(), place.y());
    if (fnIsDragged(m_eTool))
        m_bDragging = true;
    else if (m_eTool == Tool::PICK || m_Points.size() == kCurvePoints)
        fnFinish(event->modifiers());
    viewport()->update();
}

void PictureView::mouseMoveEvent(QMouseEvent* event) {
    CqImageView::mouseMoveEvent(event);
    if (!m_bDragging)
        return;
    const QPointF place = fnToImage(event->position());
    if (m_eTool != Tool::FREEHAND)
        m_Points.resize(1);
    m_Points.emplace_back(place.x(), place.y());
    viewport()->update();
}

void PictureView::mouseReleaseEvent(QMouseEvent* event) {
    CqImageView::mouseReleaseEvent(event);
    if (m_bDragging && event->button() == Qt::LeftButton)
        fnFinish(event->modifiers());
}

void PictureView::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Escape && !m_Points.empty())
        return fnDrop();
    CqImageView::keyPressEvent(event);
}

void PictureView::fnFinish(Qt::KeyboardModifiers modifiers) {
    const std::vector<CqPoint2D> points = std::exchange(m_Points, {});
    m_bDragging = false;
    viewport()->update();
    if (points.size() > 1 || m_eTool == Tool::PICK)
        Q_EMIT drawn(m_eTool, points, modifiers);
}

void PictureView::fnDrop() {
    m_Points.clear();
    m_bDragging = false;
    viewport()->update();
}

} // namespace darkroom
