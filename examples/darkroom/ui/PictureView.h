#pragma once

#include "examples/darkroom/model/Document.h"
#include "examples/darkroom/ui/SelectionHandles.h"
#include "platforms/qt/CqImageView.h"
#include "q32Base/geometry/CqPoint2D.h"

#include <QImage>
#include <QPainterPath>
#include <QPoint>
#include <vector>

namespace darkroom {

/// What the left button does in the picture.
enum class Tool {
    PAN,
    RECTANGLE,
    ELLIPSE,
    FREEHAND,
    PICK,
    EYEDROPPER, ///< takes over a colour
    ADJUST,     ///< moves and scales the selection
    STRAIGHTEN,
    LINE,
    CURVE
};

/// The picture of a document with its overlays: the preview of an operation, the selection, and the
/// shape being drawn. While the space bar is held, the left button pans, whatever the tool.
class PictureView : public CqImageView {
    Q_OBJECT

public:
    explicit PictureView(Document& document, QWidget* parent = nullptr);

    Tool fnGetTool() const { return m_eTool; }
    /// Drops a shape that is being drawn.
    void fnSetTool(Tool tool);

    Document& fnGetDocument() const { return m_Document; }

    /// Lays an image, in screen pixels, over the view until another part of the picture becomes
    /// visible. `corner` is relative to the view's top left corner, also in screen pixels.
    /// @param instead  replaces the picture and hides its selection; otherwise the rest of the
    /// picture stays visible beside it
    void fnShowPreview(const QImage& preview, const QPoint& corner, bool instead);
    void fnHidePreview();
    /// Outlines a rectangle of the picture; empty for none.
    void fnShowFrame(const CRect& frame);

    /// The selection or the picture has changed: drops a shape that is being drawn.
    void fnSelectionChanged();

Q_SIGNALS:
    /// A shape is complete: positions in the picture. `modifiers` determine how it combines.
    void drawn(darkroom::Tool tool, const std::vector<CqPoint2D>& points,
               Qt::KeyboardModifiers modifiers);
    /// The selection has been dragged into another rectangle of the picture.
    void placed(const CRect& place);

protected:
    void fnPaintOver(QPainter& painter, const QRegion& exposed) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void keyReleaseEvent(QKeyEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;

private:
    void fnSetSpace(bool held);
    void fnShowCursor();
    /// The rectangle of the selection, in the coordinates of the view.
    QRectF fnGetSelectionFrame() const;
    /// False without a handle of the selection there.
    bool fnGrabSelection(const QMouseEvent& event);
    void fnFinishAdjusting();
    void fnPaintFrame(QPainter& painter, const QRectF& frame);
    void fnPaintSelection(QPainter& painter);
    QPainterPath fnMakePath() const;
    void fnTakePress(const QMouseEvent& event);
    void fnTakeMove(const QMouseEvent& event);
    void fnFinish(Qt::KeyboardModifiers modifiers);
    void fnDrop();
    QImage fnMakeShade() const;

    Document& m_Document;
    Tool m_eTool = Tool::PAN;
    std::vector<CqPoint2D> m_Points; ///< of the shape being drawn
    CqPoint2D m_Cursor;              ///< last position over the picture
    bool m_bDragging = false;
    bool m_bSpace = false;  ///< held, so the left button pans
    GrabbedSides m_Grabbed; ///< of the selection
    QImage m_Preview;
    QPoint m_PreviewCorner;
    bool m_bPreviewInstead = false; ///< of the picture
    CRect m_Frame;
    QImage m_Shade; ///< of the unselected pixels; null: not made yet
};

} // namespace darkroom
