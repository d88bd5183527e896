#pragma once

#include "q32Base/platform/Export.h"
#include "q32Base/platform/Records.h"

struct CqKeyMessage {
    UINT m_nMessage = 0; ///< WM_KEYFIRST to WM_KEYLAST
    WPARAM m_wParam = 0; ///< the key
};

/// The keyboard, as far as a long operation needs it. Called on the thread of the user interface.
class Q32_API CqKeyboardService {
public:
    virtual ~CqKeyboardService() = default;

    /// Whether a key is down as far as its messages have been read. Never for a number that names
    /// no key.
    virtual bool fnIsKeyDown(int key) = 0;
    /// Whether a key is down now.
    virtual bool fnIsKeyDownNow(int key) = 0;
    /// Takes the oldest keyboard message out of the queue; all other input stays, in its order, and
    /// reaches its window later. False, and `message` stays, when there is none.
    virtual bool fnTakeKeyMessage(CqKeyMessage& message) = 0;
};
