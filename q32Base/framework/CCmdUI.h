#pragma once

#include "q32Base/platform/Export.h"
#include "q32Base/platform/Records.h"

/// Ids of the standard commands that the library uses, unless the host has macros for them.
#ifndef ID_EDIT_UNDO
inline constexpr UINT ID_EDIT_UNDO = 0xE12B;
inline constexpr UINT ID_EDIT_REDO = 0xE12C;
#endif

/// A menu item or button whose state is being updated.
class Q32_API CCmdUI {
public:
    virtual ~CCmdUI() = default;

    UINT m_nID = 0; ///< its command id

    /// Enables the item, or greys it out.
    virtual void Enable(bool on) = 0;
};
