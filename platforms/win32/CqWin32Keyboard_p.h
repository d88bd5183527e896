#pragma once

#include "q32Base/platform/CqKeyboardService.h"

/// The keyboard as the calling thread's message queue shows it.
class CqWin32Keyboard : public CqKeyboardService {
public:
    bool fnIsKeyDown(int key) override;
    bool fnIsKeyDownNow(int key) override;
    /// Like every look into the queue, it delivers messages that other threads have sent. A request
    /// to quit stays in the queue.
    bool fnTakeKeyMessage(CqKeyMessage& message) override;
};
