#include "platforms/win32/CqWin32Keyboard_p.h"

namespace {

constexpr int kLastKey = 0xFE; ///< keys are 1 to 254

bool fnIsKey(int key) {
    return key >= 1 && key <= kLastKey;
}

/// The highest bit: the key is down. The others tell what was pressed or toggled before.
bool fnIsDown(SHORT state) {
    return state < 0;
}

} // namespace

bool CqWin32Keyboard::fnIsKeyDown(int key) {
    return fnIsKey(key) && fnIsDown(::GetKeyState(key));
}

bool CqWin32Keyboard::fnIsKeyDownNow(int key) {
    return fnIsKey(key) && fnIsDown(::GetAsyncKeyState(key));
}

bool CqWin32Keyboard::fnTakeKeyMessage(CqKeyMessage& message) {
    MSG taken;
    if (!::PeekMessageW(&taken, nullptr, WM_KEYFIRST, WM_KEYLAST, PM_REMOVE))
        return false;
    if (taken.message == WM_QUIT) { // found whatever range is given
        ::PostQuitMessage(static_cast<int>(taken.wParam));
        return false;
    }
    message = {taken.message, taken.wParam};
    return true;
}
