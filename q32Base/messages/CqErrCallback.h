#pragma once

#include "q32Base/platform/Export.h"
#include "q32Base/platform/Records.h"

/// A message to be shown later, in the terms of `q32ShowMsg`. A host derives its own class from it
/// and says in `fnOnMessage` what is done then; the library never calls that. Objects are not
/// deleted through this class.
class Q32_API CqErrCallback {
public:
    /// No message.
    CqErrCallback();
    /// Texts are copied up to 260 bytes, with no character split; a null text stays empty.
    CqErrCallback(int nMsgId, HINSTANCE hInstance, const char* pszArg1, const char* pszArg2);
    CqErrCallback(const CqErrCallback& other);
    /// Copies id and module, and those texts that aren't empty: an empty text of the source leaves
    /// the one that stands here in its place, deliberately.
    CqErrCallback& operator=(const CqErrCallback& other);

    bool fnGotMsg() const { return m_nMsgId != 0; }

    virtual void fnOnMessage() = 0;

protected:
    static constexpr int kTextBytes = 261;

    ~CqErrCallback() = default;

    int m_nMsgId = 0; ///< as for `q32ShowMsg`; 0 for no message
    HINSTANCE m_hInstance = nullptr;
    char m_szArg1[kTextBytes];
    char m_szArg2[kTextBytes];
};
