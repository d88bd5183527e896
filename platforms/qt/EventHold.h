#pragma once

#include "q32Base/platform/CqKeyboardService.h"

#include <deque>
#include <memory>
#include <QObject>
#include <QPointer>
#include <QTimer>
#include <set>

class QEvent;
class QKeyEvent;
class QWindow;

namespace q32::qt {

/// Looks into the application's queue during a long operation: takes the keys out, and keeps all
/// else for later, in its order. What was kept is delivered as soon as the event loop runs again,
/// before anything newer; but what the user did to a window that a modal one holds back by then is
/// dropped. A loop that lets no user's input through, as a host may run it before its next
/// operation, gets none of what was kept either: only how the windows look and lie.
///
/// From its beginning on, also between operations, it sees which keys are down.
class EventHold : public QObject {
    Q_OBJECT

public:
    EventHold();
    ~EventHold() override;

    /// Reads what the window system has sent. Paints nothing and delivers nothing to a window; only
    /// calls that the host has queued itself are made. A dialog that one of them shows can be used
    /// until it ends.
    void fnLook();
    /// The oldest key message that a look has found. False when there is none.
    bool fnTake(CqKeyMessage& message);
    /// Whether a key is down, as far as the windows of the application were told.
    bool fnIsDown(int key) const { return m_Down.contains(key); }

    bool eventFilter(QObject* object, QEvent* event) override;

private:
    struct Held {
        QPointer<QObject> m_pObject;
        std::unique_ptr<QEvent> m_pEvent;
    };

    /// What of the kept events.
    enum class Which { ALL, NO_INPUT };

    bool fnFilterLook(QObject* object, QEvent* event);
    void fnNoteKey(const QKeyEvent& event);
    void fnNoteFocus(QWindow* window);
    void fnKeepKey(const QKeyEvent& event, UINT message);
    void fnHold(QObject* object, QEvent* event);
    void fnDeliver(Which which);

    QTimer m_Timer; ///< runs out when the event loop is back
    std::deque<Held> m_Held;
    std::deque<CqKeyMessage> m_Keys;
    std::set<int> m_Down;
    QPointer<QWindow> m_pFocus;           ///< that is told of keys
    const QEvent* m_pDelivered = nullptr; ///< that is on its way
    bool m_bLooking = false;
    int m_nLookLevel = 0; ///< loops that stood about the look
};

} // namespace q32::qt
