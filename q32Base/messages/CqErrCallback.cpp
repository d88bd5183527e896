#include "q32Base/messages/CqErrCallback.h"

#include "q32Base/framework/PathRules_p.h"

#include <cstring>

namespace {

template <std::size_t Size>
void fnCopy(char (&target)[Size], const char* text) {
    const std::size_t length = text ? q32::fnCutLength(text, Size - 1) : 0;
    if (length > 0)
        std::memcpy(target, text, length);
    target[length] = 0;
}

template <std::size_t Size>
void fnCopyUnlessEmpty(char (&target)[Size], const char (&text)[Size]) {
    if (text[0] != 0)
        std::memmove(target, text, Size); // an object may be assigned to itself
}

} // namespace

CqErrCallback::CqErrCallback() : CqErrCallback(0, nullptr, nullptr, nullptr) {}

CqErrCallback::CqErrCallback(int nMsgId, HINSTANCE hInstance, const char* pszArg1,
                             const char* pszArg2)
    : m_nMsgId(nMsgId), m_hInstance(hInstance), m_szArg1{}, m_szArg2{} {
    fnCopy(m_szArg1, pszArg1);
    fnCopy(m_szArg2, pszArg2);
}

CqErrCallback::CqErrCallback(const CqErrCallback& other) : CqErrCallback() {
    *this = other;
}

CqErrCallback& CqErrCallback::operator=(const CqErrCallback& other) {
    if (this == &other)
        return *this;
    m_nMsgId = other.m_nMsgId;
    m_hInstance = other.m_hInstance;
    fnCopyUnlessEmpty(m_szArg1, other.m_szArg1);
    fnCopyUnlessEmpty(m_szArg2, other.m_szArg2);
    return *this;
}
