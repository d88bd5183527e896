#pragma once

#include "q32Base/platform/Export.h"
#include "q32Base/platform/Records.h"

/// A message to be shown later, with the arguments of `q32ShowMsg`. A host derives a class and
/// defines in `fnOnMessage` how it is shown; the library never calls that. Objects can't be deleted
/// through this class.
class Q32_API CqErrCallback {
public:
    /// No message.
    CqErrCallback();
    /// Texts are copied, truncated to 260 bytes without splitting a character; null gives an empty
    /// text.
    CqErrCallback(int nMsgId, HINSTANCE hInstance, const char* pszArg1, const char* pszArg2);
    /// Copies id, module and texts.
    CqErrCallback(const CqErrCallback& other);
    /// Copies id and module, and those texts that aren't empty: an empty text of the source
    /// deliberately leaves the present one. To copy everything, construct a new object.
    CqErrCallback& operator=(const CqErrCallback& other);

    /// Whether there is a message.
    bool fnGotMsg() const { return m_nMsgId != 0; }

    /// Shows the message. Called by the host alone, in the thread and at the time of its choice.
    virtual void fnOnMessage() = 0;

protected:
    static constexpr int kTextBytes = 261; ///< of a text, the terminating zero included

    ~CqErrCallback() = default;

    int m_nMsgId = 0;                ///< as for `q32ShowMsg`; 0 for no message
    HINSTANCE m_hInstance = nullptr; ///< module of the host's texts
    char m_szArg1[kTextBytes];       ///< text for the first place of the message
    char m_szArg2[kTextBytes];       ///< text for the second place
};
