#pragma once

#include "q32Base/platform/Export.h"
#include "q32Base/platform/Records.h"

#include <string>

/// Message boxes and the system's errors. Boxes belong to the thread of the user interface.
class Q32_API CqMessageService {
public:
    virtual ~CqMessageService() = default;

    /// Shows a box and waits for the answer. Another may be shown while it is open.
    /// @param text     shown verbatim, at any length
    /// @param style    MB_ bits: buttons and icon
    /// @param caption  the application's name; null when there is no application
    /// @return IDOK, IDCANCEL, IDYES or IDNO, of the buttons shown; 0 when no box could be shown
    virtual int fnShowBox(const char* text, UINT style, const char* caption) = 0;

    /// Code of the last system error of this thread; 0 for none. Reading it doesn't change it.
    virtual DWORD fnGetLastError() = 0;

    /// The system's text for an error code, in the user's language. False, with `text` unchanged,
    /// if there is none, as for 0.
    virtual bool fnFormatError(DWORD code, std::string& text) = 0;
};
