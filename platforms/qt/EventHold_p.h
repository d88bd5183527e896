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

/// Looks into the application's event queue during a long operation: removes keys, and holds all
/// other events, in order. They are delivered as soon as the event loop runs again, before anything
/// newer; but user input for a window that is blocked by a modal one by then is dropped. A loop
/// that excludes user input, as a host may run it before its next operation, delivers only the held
/// events about the appearance and geometry of windows.
///
/// From its construction on, also between operations, it tracks which keys are down.
class EventHold : public QObject {
    Q_OBJECT

public:
    EventHold();
    ~EventHold() override;

    /// Reads what the window system has sent. Paints nothing and delivers nothing to a window; only
    /// calls queued by the host itself are made. A dialog shown by one of them can be used until it
    /// closes.
    void fnLook();
    /// Takes the oldest key message found by a look. False if there is none.
    bool fnTake(CqKeyMessage& message);
    /// Whether a key is down, judged by events to the application's windows.
    bool fnIsDown(int key) const { return m_Down.contains(key); }

    bool eventFilter(QObject* object, QEvent* event) override;

private:
    struct Held {
        QPointer<QObject> m_pObject;
        std::unique_ptr<QEvent> m_pEvent;
    };

    /// Which of the held events.
    enum class Which { ALL, NO_INPUT };

    bool fnFilterLook(QObject* object, QEvent* event);
    void fnNoteKey(const QKeyEvent& event);
    void fnNoteFocus(QWindow* window);
    void fnKeepKey(const QKeyEvent& event, UINT message);
    void fnHold(QObject* object, QEvent* event);
    void fnDeliver(Which which);

    QTimer m_Timer; ///< fires once the event loop runs again
    std::deque<Held> m_Held;
    std::deque<CqKeyMessage> m_Keys;
    std::set<int> m_Down;
    QPointer<QWindow> m_pFocus;           ///< has the keyboard focus
    const QEvent* m_pDelivered = nullptr; ///< the event being delivered
    bool m_bLooking = false;
    int m_nLookLevel = 0; ///< nesting level of event loops during the look
};

} // namespace q32::qt
