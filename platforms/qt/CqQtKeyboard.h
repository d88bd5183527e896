#pragma once

#include "q32Base/platform/CqKeyboardService.h"

#include <chrono>
#include <QPointer>

namespace q32::qt {
class EventHold;
}

/// The keyboard as a long operation sees it. Each question looks into the application's queue, but
/// not more often than every few milliseconds, so that it may be asked at every row. Keys are taken
/// out of the queue; paint and mouse messages stay and arrive, in order, once the event loop runs
/// again. Which keys are down is known of those that went down in a window of the application since
/// this was made, or since the first question where there was no application object before; it is
/// forgotten when another program gets the keyboard, or a dialog comes up. Without an application
/// object, and on other threads than its own, no key is ever down.
class CqQtKeyboard final : public CqKeyboardService {
public:
    CqQtKeyboard();
    ~CqQtKeyboard() override;

    bool fnIsKeyDown(int key) override;
    bool fnIsKeyDownNow(int key) override;
    bool fnTakeKeyMessage(CqKeyMessage& message) override;

private:
    /// The hold; null where there can be none.
    q32::qt::EventHold* fnGetHold();
    /// The same after a look.
    q32::qt::EventHold* fnLook();

    QPointer<q32::qt::EventHold> m_pHold; ///< goes with the application, or with this
    std::chrono::steady_clock::time_point m_LastLook{};
};
