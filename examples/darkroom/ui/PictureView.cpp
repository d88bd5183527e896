#include "examples/darkroom/ui/PictureView.h"

#include "examples/darkroom/model/PixelBlend.h"
#include "examples/darkroom/model/Shapes.h"
#include "examples/darkroom/ui/SeenPart.h"
#include "q32Base/framework/Memory.h"

#include <algorithm>
#include <cmath>
#include <new>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <utility>

namespace darkroom {

namespace {

/// A curve has a start, two handles and an end, each set by a click.
constexpr std::size_t kCurvePoints = 4;
constexpr unsigned int kShade = 150; ///< alpha of black over what isn't selected

bool fnIsClicked(Tool tool) {
    return tool == Tool::PICK || tool == Tool::EYEDROPPER;
}

bool fnIsDragged(Tool tool) {
    return tool != Tool::PAN && tool != Tool::CURVE && !fnIsClicked(tool);
}

/// Light on dark, visible on any background.
void fnDrawContrast(QPainter& painter, const QPainterPath& line) {
    painter.strokePath(line, QPen(QColor(0, 0, 0, 180), 3));
    painter.strokePath(line, QPen(Qt::white, 1));
}

} // namespace

PictureView::PictureView(Document& document, QWidget* parent)
    : CqImageView(parent), m_Document(document) {
    setAccessibleName(tr("Picture"));
    fnSetTransparency(true);
    fnSetAveraging(true);
    connect(this, &CqImageView::visibleChanged, this, [this] {
        m_Shade = QImage();
        m_Preview = QImage();
    });
}

void PictureView::fnSetTool(Tool tool) {
    fnDrop();
    m_eTool = tool;
    m_bSpace = false;
    fnShowCursor();
}

void PictureView::fnShowCursor() {
    const bool pans = m_eTool == Tool::PAN || m_bSpace;
    fnSetPanning(pans);
    viewport()->setCursor(pans ? Qt::OpenHandCursor : Qt::CrossCursor);
}

void PictureView::fnSetSpace(bool held) {
    if (m_bSpace == held || (held && m_bDragging))
        return;
    m_bSpace = held;
    fnShowCursor();
}

void PictureView::fnShowPreview(const QImage& preview, const QPoint& corner, bool instead) {
    m_Preview = preview;
    m_Preview.setDevicePixelRatio(devicePixelRatioF());
    m_PreviewCorner = corner;
    m_bPreviewInstead = instead;
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
    fnDrop();
}

QImage PictureView::fnMakeShade() const {
    QImage shade(fnGetPixelSize(), QImage::Format_ARGB32_Premultiplied);
    if (shade.isNull())
        throw std::bad_alloc();
    shade.fill(Qt::transparent);
    CqMask& mask = m_Document.fnGetSelection();
    const CRect bound = mask.m_rectBound;
    const SeenPart seen(*this, fnGetVisible());
    const std::vector<int>& columns = seen.m_Columns.m_Samples;
    CqImageLine line;
    int read = -1; // row of the mask that `line` holds
    for (std::size_t y = 0; y < seen.m_Rows.m_Samples.size(); ++y) {
        const int row = seen.m_Rows.m_Samples[y];
        auto* const out =
            reinterpret_cast<QRgb*>(shade.scanLine(seen.m_Rows.m_nFirst + static_cast<int>(y))) +
            seen.m_Columns.m_nFirst;
        std::fill_n(out, columns.size(), qRgba(0, 0, 0, kShade));
        if (row < bound.top || row >= bound.bottom)
            continue;
        if (std::exchange(read, row - bound.top) != row - bound.top)
            mask.fnAccessLine(static_cast<unsigned int>(read), &line, true);
        for (std::size_t x = 0; x < columns.size(); ++x)
            if (columns[x] >= bound.left && columns[x] < bound.right)
                out[x] = qRgba(0, 0, 0,
                               static_cast<int>(fnShare(
                                   kShade, 255u - line.LineBuffer[columns[x] - bound.left])));
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

QPainterPath PictureView::fnMakePath() const {
    std::vector<CqPoint2D> outline = m_Points;
    if (m_eTool == Tool::CURVE)
        outline.push_back(m_Cursor);
    if (m_eTool == Tool::RECTANGLE || m_eTool == Tool::ELLIPSE) {
        outline = fnMakeOutline(
            m_eTool == Tool::RECTANGLE ? ShapeKind::RECTANGLE : ShapeKind::ELLIPSE, m_Points);
        outline.push_back(outline.front());
    }
    const auto place = [&](std::size_t i) {
        return fnToView(QPointF(outline[i].m_X, outline[i].m_Y));
    };
    QPainterPath path(place(0));
    if (m_eTool == Tool::CURVE && outline.size() > 2) {
        // Points not yet clicked follow the cursor.
        path.cubicTo(place(1), place(2), place(outline.size() - 1));
        return path;
    }
    for (std::size_t i = 1; i < outline.size(); ++i)
        path.lineTo(place(i));
    return path;
}

void PictureView::fnPaintOver(QPainter& painter, const QRegion&) {
    const bool previewed = !m_Preview.isNull();
    if (previewed) {
        if (m_bPreviewInstead)
            painter.fillRect(viewport()->rect(), palette().color(QPalette::Mid));
        painter.drawImage(QPointF(m_PreviewCorner) / devicePixelRatioF(), m_Preview);
    }
    if (!previewed || !m_bPreviewInstead)
        fnPaintSelection(painter);
    const bool adjusts = m_eTool == Tool::ADJUST;
    if (!adjusts && (m_Points.size() > 1 || (m_eTool == Tool::CURVE && !m_Points.empty())))
        fnDrawContrast(painter, fnMakePath());
    if (!m_Frame.IsRectEmpty())
        fnPaintFrame(painter, QRectF(fnToView(QPointF(m_Frame.left, m_Frame.top)),
                                     fnToView(QPointF(m_Frame.right, m_Frame.bottom))));
    else if (adjusts && m_Document.fnHasSelection())
        fnPaintFrame(painter, fnGetSelectionFrame());
}

void PictureView::fnPaintFrame(QPainter& painter, const QRectF& frame) {
    QPainterPath path;
    path.addRect(frame);
    fnDrawContrast(painter, path);
}

QRectF PictureView::fnGetSelectionFrame() const {
    const CRect& bound = m_Document.fnGetSelection().m_rectBound;
    return {fnToView(QPointF(bound.left, bound.top)), fnToView(QPointF(bound.right, bound.bottom))};
}

void PictureView::mousePressEvent(QMouseEvent* event) {
    if (m_eTool == Tool::PAN || m_bSpace || event->button() != Qt::LeftButton ||
        !m_Document.fnHasImage())
        return CqImageView::mousePressEvent(event);
    q32::fnTryMemory([&] { fnTakePress(*event); });
    viewport()->update();
}

void PictureView::fnTakePress(const QMouseEvent& event) {
    const QPointF place = fnToImage(event.position());
    m_Cursor = CqPoint2D(place.x(), place.y());
    const bool drags = fnIsDragged(m_eTool);
    if (drags)
        m_Points.clear(); // of a drag whose release went elsewhere
    if (m_eTool == Tool::ADJUST && !fnGrabSelection(event))
        return;
    m_Points.push_back(m_Cursor);
    if (drags)
        m_bDragging = true;
    else if (fnIsClicked(m_eTool) || m_Points.size() == kCurvePoints)
        fnFinish(event.modifiers());
}

void PictureView::mouseMoveEvent(QMouseEvent* event) {
    CqImageView::mouseMoveEvent(event);
    q32::fnTryMemory([&] { fnTakeMove(*event); });
}

void PictureView::fnTakeMove(const QMouseEvent& event) {
    if (m_Points.empty())
        return;
    if (m_bDragging && !(event.buttons() & Qt::LeftButton))
        return fnDrop(); // released over another window, perhaps a dialog
    const QPointF place = fnToImage(event.position());
    m_Cursor = CqPoint2D(place.x(), place.y());
    if (m_bDragging) {
        if (m_eTool != Tool::FREEHAND)
            m_Points.resize(1);
        m_Points.push_back(m_Cursor);
    }
    if (m_bDragging && m_eTool == Tool::ADJUST) {
        const CqPoint2D by = m_Cursor - m_Points.front();
        m_Frame = fnDragSides(
            m_Document.fnGetSelection().m_rectBound, m_Grabbed,
            {static_cast<int>(std::lround(by.m_X)), static_cast<int>(std::lround(by.m_Y))});
    }
    viewport()->update();
}

bool PictureView::fnGrabSelection(const QMouseEvent& event) {
    if (!m_Document.fnHasSelection())
        return false;
    m_Grabbed = fnGrab(fnGetSelectionFrame(), event.position());
    return m_Grabbed.fnIsAny();
}

void PictureView::fnFinishAdjusting() {
    const CRect place = std::exchange(m_Frame, CRect(0, 0, 0, 0));
    if (!place.IsRectEmpty() && place != m_Document.fnGetSelection().m_rectBound)
        Q_EMIT placed(place);
}

void PictureView::mouseReleaseEvent(QMouseEvent* event) {
    CqImageView::mouseReleaseEvent(event);
    if (!(event->buttons() & (Qt::LeftButton | Qt::MiddleButton)))
        fnShowCursor(); // the space bar may have been released during the drag
    if (m_bDragging && event->button() == Qt::LeftButton)
        q32::fnTryMemory([&] { fnFinish(event->modifiers()); });
}

void PictureView::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Escape && !m_Points.empty())
        return fnDrop();
    if (event->key() == Qt::Key_Space)
        return fnSetSpace(true);
    CqImageView::keyPressEvent(event);
}

void PictureView::keyReleaseEvent(QKeyEvent* event) {
    if (event->key() != Qt::Key_Space)
        return CqImageView::keyReleaseEvent(event);
    if (!event->isAutoRepeat())
        fnSetSpace(false);
}

void PictureView::focusOutEvent(QFocusEvent* event) {
    CqImageView::focusOutEvent(event);
    fnSetSpace(false);
}

void PictureView::fnFinish(Qt::KeyboardModifiers modifiers) {
    const std::vector<CqPoint2D> points = std::exchange(m_Points, {});
    m_bDragging = false;
    viewport()->update();
    if (m_eTool == Tool::ADJUST)
        return fnFinishAdjusting();
    if (points.size() > 1 || fnIsClicked(m_eTool))
        Q_EMIT drawn(m_eTool, points, modifiers);
}

void PictureView::fnDrop() {
    m_Points.clear();
    if (m_eTool == Tool::ADJUST && m_bDragging)
        m_Frame = CRect(0, 0, 0, 0);
    m_bDragging = false;
    viewport()->update();
}

} // namespace darkroom
