#pragma once

#include "examples/darkroom/model/Document.h"
#include "platforms/qt/CqImageView.h"
#include "q32Base/geometry/CqPoint2D.h"

#include <QImage>
#include <QPainterPath>
#include <QPoint>
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

    Document& fnGetDocument() const { return m_Document; }

    /// Lays an image, of pixels of the screen, over the view until another part of the picture is
    /// in sight. `corner` is counted from the view's top left corner, in such pixels too.
    /// @param instead  of the picture, without its selection; else beside the rest of it
    void fnShowPreview(const QImage& preview, const QPoint& corner, bool instead);
    void fnHidePreview();
    /// Outlines a rectangle of the picture; empty for none.
    void fnShowFrame(const CRect& frame);

    /// The selection or the picture has changed: a shape that is being drawn is dropped.
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
    QPainterPath fnMakePath() const;
    void fnTakePress(const QMouseEvent& event);
    void fnTakeMove(const QMouseEvent& event);
    void fnFinish(Qt::KeyboardModifiers modifiers);
    void fnDrop();
    QImage fnMakeShade() const;

    Document& m_Document;
    Tool m_eTool = Tool::PAN;
    std::vector<CqPoint2D> m_Points; ///< of the shape that is being drawn
    CqPoint2D m_Cursor;              ///< last place in the picture that it was seen at
    bool m_bDragging = false;
    QImage m_Preview;
    QPoint m_PreviewCorner;
    bool m_bPreviewInstead = false; ///< of the picture
    CRect m_Frame;
    QImage m_Shade; ///< of what isn't selected; null: to be made
};

} // namespace darkroom
