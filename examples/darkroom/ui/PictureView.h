#pragma once

#include "examples/darkroom/model/Document.h"
#include "platforms/qt/CqImageView.h"
#include "q32Base/geometry/CqPoint2D.h"

#include <QImage>
#include <QPointF>
#include <QRectF>
#include <vector>

namespace darkroom {

/// What the left button does in the picture.
enum class Tool { PAN, RECTANGLE, ELLIPSE, FREEHAND, PICK, LINE, CURVE };

/// The picture of a document with what lies over it: the preview of an operation, the selection,
/// and the shape that is being drawn.
class PictureView : public CqImageView {
    Q_OBJECT

public:
    explicit PictureView(Document& document, QWidget* parent = nullptr);

    Tool fnGetTool() const { return m_eTool; }
    /// A shape that is being drawn is dropped.
    void fnSetTool(Tool tool);

    /// Lays an image over a part of the view, in the viewport's coordinates, on a plain ground if
    /// the rest of the picture isn't to be seen beside it.
    void fnShowPreview(const QImage& preview, const QRectF& target, bool plainGround);
    void fnHidePreview();
    /// Outlines a rectangle of the picture; empty for none.
    void fnShowFrame(const CRect& frame);

    /// The selection has changed.
    void fnSelectionChanged();

Q_SIGNALS:
    /// A shape is complete: places in the picture. `modifiers` tell how it combines.
    void drawn(darkroom::Tool tool, const std::vector<CqPoint2D>& points,
               Qt::KeyboardModifiers modifiers);

protected:
    void fnPaintOver(QPainter& painter, const QRegion& exposed) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    void fnPaintSelection(QPainter& painter);
    void fnPaintShape(QPainter& painter);
    void fnFinish(Qt::KeyboardModifiers modifiers);
    void fnDrop();
    QImage fnMakeShade() const;

    Document& m_Document;
    Tool m_eTool = Tool::PAN;
    std::vector<CqPoint2D> m_Points; ///< of the shape that is being drawn
    bool m_bDragging = false;
    QImage m_Preview;
    QRectF m_PreviewTarget;
    bool m_bPlainGround = false;
    CRect m_Frame;
    QImage m_Shade; ///< of what isn't selected; null: to be made
};

} // namespace darkroom
