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
/// again. What is known of a key ends with the operation. Without an application object, and on
/// other threads than its own, no key is ever down.
class CqQtKeyboard final : public CqKeyboardService {
public:
    ~CqQtKeyboard() override;

    bool fnIsKeyDown(int key) override;
    bool fnIsKeyDownNow(int key) override;
    bool fnTakeKeyMessage(CqKeyMessage& message) override;

private:
    /// The hold after a look; null where there can be none.
    q32::qt::EventHold* fnLook();

    QPointer<q32::qt::EventHold> m_pHold; ///< goes with the application, or with this
    std::chrono::steady_clock::time_point m_LastLook{};
};
