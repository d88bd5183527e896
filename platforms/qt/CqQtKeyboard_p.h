#pragma once

#include "q32Base/platform/CqKeyboardService.h"

#include <chrono>
#include <QPointer>

namespace q32::qt {
class EventHold;
}

/// The keyboard during a long operation. Each query looks into the application's event queue, at
/// most once every few milliseconds, so that it may be called for every row. Keys are removed from
/// the queue; paint and mouse events are held and delivered, in order, once the event loop runs
/// again.
///
/// A key counts as down if it was pressed in a window of the application since this was
/// constructed, or, without an application object at that time, since the first query; all keys are
/// cleared when another program gets the keyboard focus, or a dialog appears. Without an
/// application object, and on threads other than its own, no key is ever down.
class CqQtKeyboard final : public CqKeyboardService {
public:
    CqQtKeyboard();
    ~CqQtKeyboard() override;

    bool fnIsKeyDown(int key) override;
    bool fnIsKeyDownNow(int key) override;
    bool fnTakeKeyMessage(CqKeyMessage& message) override;

private:
    /// The event hold; null if there is none.
    q32::qt::EventHold* fnGetHold();
    /// The same, after a look into the queue.
    q32::qt::EventHold* fnLook();

    QPointer<q32::qt::EventHold> m_pHold; ///< owned; deleted earlier with the application
    std::chrono::steady_clock::time_point m_LastLook{};
};
