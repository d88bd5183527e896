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

namespace q32::qt {

/// Looks into the application's queue during a long operation: takes the keys out, and keeps all
/// else for later, in its order. What was kept is delivered as soon as the event loop runs again,
/// before anything newer; but what the user did to a window that a modal one holds back by then is
/// dropped.
class EventHold : public QObject {
    Q_OBJECT

public:
    EventHold();
    ~EventHold() override;

    /// Reads what the window system has sent. Paints nothing and delivers nothing to a window; only
    /// calls that the host has queued itself are made.
    void fnLook();
    /// The oldest key message that a look has found. False when there is none.
    bool fnTake(CqKeyMessage& message);
    /// Whether a key is down, by the looks of the operation under way.
    bool fnIsDown(int key) const { return m_Down.contains(key); }

    bool eventFilter(QObject* object, QEvent* event) override;

private:
    struct Held {
        QPointer<QObject> m_pObject;
        std::unique_ptr<QEvent> m_pEvent;
    };

    bool fnFilterLook(QObject* object, QEvent* event);
    void fnKeepKey(const QKeyEvent& event, UINT message);
    void fnHold(QObject* object, QEvent* event);
    void fnDeliver();

    QTimer m_Timer; ///< runs out when the event loop is back
    std::deque<Held> m_Held;
    std::deque<CqKeyMessage> m_Keys;
    std::set<int> m_Down;
    const QEvent* m_pDelivered = nullptr; ///< that is on its way
    bool m_bLooking = false;
};

} // namespace q32::qt
