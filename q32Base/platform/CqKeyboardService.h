#pragma once

#include "q32Base/platform/Export.h"
#include "q32Base/platform/Records.h"

/// A message of the keyboard.
struct CqKeyMessage {
    UINT m_nMessage = 0; ///< WM_KEYFIRST to WM_KEYLAST
    WPARAM m_wParam = 0; ///< the key
};

/// Keyboard access for long operations. Called on the thread of the user interface.
class Q32_API CqKeyboardService {
public:
    virtual ~CqKeyboardService() = default;

    /// Whether a key is down according to the messages read so far. False for an unknown key
    /// number.
    virtual bool fnIsKeyDown(int key) = 0;
    /// Whether a key is down now.
    virtual bool fnIsKeyDownNow(int key) = 0;
    /// Removes the oldest keyboard message from the queue; all other input stays queued in its
    /// order. False, with `message` unchanged, if there is none.
    virtual bool fnTakeKeyMessage(CqKeyMessage& message) = 0;
};
