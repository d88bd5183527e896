/// @file
/// The library's word to the user. Message ids: a negative id n is entry 10000 + n of the library's
/// string table and brings its own buttons and icon; 0 and above are entries of a host's string
/// table. The boxes are shown by the message service in force; without one there is no box and the
/// answer is 0. They belong to the thread of the user interface, and nothing here raises a memory
/// failure: what text can't be had for lack of memory is left out.
#pragma once

#include "q32Base/platform/Export.h"
#include "q32Base/platform/Records.h"

extern "C" {

/// Shows a message by its id.
/// @param hInstance module whose string table holds an id of 0 or more; null for all of the host's
/// @param pszArg1   takes the place of the first "%s"; null shows the text as it stands, with any
///                  "%s" in it. Each argument counts with 260 bytes at most, and the result with
///                  520.
/// @param pszArg2   takes the place of the second "%s", where the id has two arguments; null leaves
///                  that "%s" standing
/// @param nType     MB_ bits for an id of 0 or more, with the exclamation icon if they name none;
///                  ignored for a negative id
/// @return the button: IDOK, IDYES, IDNO or IDCANCEL
Q32_API int q32ShowMsg(int nMsgId, HINSTANCE hInstance, const char* pszArg1, const char* pszArg2,
                       unsigned int nType);

/// Shows a ready text, with MB_ bits as for an id of 0 or more. Null counts as the empty text.
Q32_API int q32ShowMsgStr(const char* pszText, unsigned int nType);

/// Shows the system's text for an error code, or for the last error of this thread if the code is
/// 0. Without an error, or without a text for it, nothing is shown.
Q32_API void q32ShowSysMsg(unsigned long nError);
}
