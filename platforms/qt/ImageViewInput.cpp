// User input of CqImageView.
#include "platforms/qt/CqImageView.h"
#include "platforms/qt/CqQtCanvas.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QWheelEvent>
#include <utility>

namespace {

/// One notch of a common wheel, in Qt's eighths of a degree.
constexpr int kNotch = 120;

bool fnHolds(const QMouseEvent& event) {
    return event.buttons() & (Qt::LeftButton | Qt::MiddleButton);
}

} // namespace

void CqImageView::wheelEvent(QWheelEvent* event) {
    if (event->modifiers() & (Qt::ShiftModifier | Qt::AltModifier)) {
        QAbstractScrollArea::wheelEvent(event);
        return;
    }
    m_nWheel += event->angleDelta().y();
    const int steps = m_nWheel / kNotch;
    m_nWheel -= steps * kNotch;
    if (steps != 0)
        fnStepZoom(steps, event->position());
    event->accept();
}

void CqImageView::mousePressEvent(QMouseEvent* event) {
    const bool drags =
        event->button() == Qt::MiddleButton || (m_bPanning && event->button() == Qt::LeftButton);
    if (!drags) {
        event->ignore();
        return;
    }
    if (!m_bDragging)
        m_CursorBefore = m_pCanvas->testAttribute(Qt::WA_SetCursor)
                             ? std::optional(m_pCanvas->cursor())
                             : std::nullopt;
    m_bDragging = true;
    m_Grabbed = fnToImage(event->position());
    m_pCanvas->setCursor(Qt::ClosedHandCursor);
    event->accept();
}

void CqImageView::mouseMoveEvent(QMouseEvent* event) {
    if (!fnHolds(*event))
        fnEndDrag(); // the release event went to a dialog
    if (m_bDragging)
        fnMoveTo(m_Grabbed * m_Zoom - event->position() * m_pCanvas->devicePixelRatioF());
    Q_EMIT pointed(fnToImage(event->position()));
    event->setAccepted(m_bDragging);
}

void CqImageView::mouseReleaseEvent(QMouseEvent* event) {
    if (!m_bDragging) {
        event->ignore();
        return;
    }
    if (!fnHolds(*event))
        fnEndDrag();
    event->accept();
}

void CqImageView::mouseDoubleClickEvent(QMouseEvent* event) {
    mousePressEvent(event);
}

void CqImageView::fnEndDrag() {
    if (!std::exchange(m_bDragging, false))
        return;
    if (m_CursorBefore)
        m_pCanvas->setCursor(*m_CursorBefore);
    else
        m_pCanvas->unsetCursor();
}

void CqImageView::keyPressEvent(QKeyEvent* event) {
    switch (event->key()) {
    case Qt::Key_Plus:
    case Qt::Key_Equal: // plus without the Shift key on many keyboards
        fnStepZoom(1);
        break;
    case Qt::Key_Minus:
        fnStepZoom(-1);
        break;
    case Qt::Key_0:
        fnSetFit(true);
        break;
    case Qt::Key_1:
        fnSetZoom(1.0);
        break;
    default:
        QAbstractScrollArea::keyPressEvent(event);
        return;
    }
    event->accept();
}
