/// @file
/// Messages to the user. A negative message id n is entry 10000 + n of the library's string table,
/// with fixed buttons and icon; 0 and above are entries of a host's string table. The message
/// service in force shows the boxes; without one there is no box and the answer is 0. Call on the
/// thread of the user interface. Nothing here raises the memory exception: text that can't be
/// allocated is left out.
#pragma once

#include "q32Base/framework/CString.h"
#include "q32Base/messages/MessageIds.h"
#include "q32Base/platform/Export.h"
#include "q32Base/platform/Records.h"

class CException;

extern "C" {

/// Shows a message by its id.
/// @param hInstance module whose string table holds an id of 0 or more; null for all of the host's
///                  modules
/// @param pszArg1   replaces the first "%s"; null shows the text verbatim, including any "%s". Each
///                  argument is truncated to 260 bytes, and the result to 520.
/// @param pszArg2   replaces the second "%s" if the message has two arguments; null counts as empty
/// @param nType     MB_ bits for an id of 0 or more, with the exclamation icon if they name none;
///                  ignored for a negative id
/// @return the chosen button: IDOK, IDYES, IDNO or IDCANCEL; 0 if no box could be shown
Q32_API int q32ShowMsg(int nMsgId, HINSTANCE hInstance, const char* pszArg1, const char* pszArg2,
                       unsigned int nType);

/// Shows a text verbatim, with MB_ bits as for an id of 0 or more. Null counts as empty. Returns
/// the chosen button as above.
Q32_API int q32ShowMsgStr(const char* pszText, unsigned int nType);

/// Shows the system's text for an error code, or for the last error of this thread if the code is
/// 0. Without an error, or without a text for it, nothing is shown.
Q32_API void q32ShowSysMsg(unsigned long nError);
}

/// The text that `q32ShowMsg` shows for these arguments, for hosts with an output of their own.
/// Empty for an id without a text, and if memory is exhausted.
Q32_API CString q32MessageText(int nMsgId, const char* pszArg1 = nullptr,
                               const char* pszArg2 = nullptr, HINSTANCE hInstance = nullptr);

/// A sentence that says what an exception of the library means: for the memory exception message
/// -1, for the others one in English that names the file and the cause. Empty if memory is
/// exhausted meanwhile.
Q32_API CString q32ExceptionText(const CException& exception);
