#pragma once

#include "q32Base/platform/Export.h"
#include "q32Base/platform/Records.h"

/// The platform's standard commands that the library knows.
#ifndef _WIN32
inline constexpr UINT ID_EDIT_UNDO = 0xE12B;
inline constexpr UINT ID_EDIT_REDO = 0xE12C;
#endif

/// A menu item or button that asks how it has to look.
class Q32_API CCmdUI {
public:
    virtual ~CCmdUI() = default;

    UINT m_nID = 0; ///< its command

    virtual void Enable(bool on) = 0;
};
