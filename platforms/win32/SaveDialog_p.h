#pragma once

#include "platforms/win32/CodePage_p.h"
#include "q32Base/platform/CqDumpView.h"

#include <string>

namespace q32::win32 {

/// Shows the system's save dialog and waits for it. After a name without a form in the code page,
/// the user is shown why it can't be used, and asked again. If the dialog can't be shown, a message
/// says so. False, with `path` unchanged, unless
/// the user confirms a name.
/// @param owner  the dialog's owner
bool fnAskSaveName(HWND owner, const CodePage& codePage, const CqSaveRequest& request,
                   std::string& path);

} // namespace q32::win32
