#include "q32Base/messages/Messages.h"

#include "q32Base/framework/Memory.h"
#include "q32Base/framework/PathRules_p.h"
#include "q32Base/messages/CqTitleSwap_p.h"
#include "q32Base/messages/StringTable_p.h"
#include "q32Base/platform/CqPlatform.h"

#include <algorithm>
#include <cassert>
#include <cstring>
#include <iterator>
#include <memory>
#include <string>
#include <string_view>

namespace {

constexpr std::size_t kMaxTextBytes = 260;
constexpr std::size_t kMaxArgumentBytes = 260;
constexpr std::size_t kMaxShownBytes = 520;

/// How a message is shown.
struct Rule {
    int m_nId;
    unsigned int m_nArguments;
    UINT m_nStyle;
};

constexpr Rule kRules[] = {
    {-1, 0, MB_ICONHAND},
    {-2, 0, MB_ICONHAND},
    {-3, 1, MB_ICONHAND},
    {-4, 1, MB_ICONHAND},
    {-5, 1, MB_ICONHAND},
    {-6, 1, MB_ICONHAND},
    {-7, 1, MB_ICONHAND},
    {-8, 2, MB_ICONHAND},
    {-9, 1, MB_ICONHAND},
    {-10, 0, MB_ICONHAND},
    {-11, 2, MB_ICONHAND}, // its text uses only the first
    {-100, 0, MB_YESNOCANCEL | MB_ICONHAND},
    {-101, 0, MB_ICONEXCLAMATION},
    {-102, 0, MB_ICONEXCLAMATION},
    {-103, 2, MB_ICONEXCLAMATION},
    {-104, 1, MB_ICONEXCLAMATION},
    {-105, 1, MB_YESNO | MB_ICONEXCLAMATION},
    {-106, 1, MB_ICONEXCLAMATION},
    {-200, 1, MB_YESNOCANCEL | MB_ICONEXCLAMATION},
};

/// The lowest id of a failure; those below are notes and questions.
constexpr int kLastFailureId = -100;

UINT fnHostStyle(UINT type) {
    const UINT icon = type & MB_ICONMASK;
    return (icon ? icon : MB_ICONEXCLAMATION) | type;
}

Rule fnRule(int id, UINT type) {
    if (id >= 0)
        return {id, 2, fnHostStyle(type)};
    const auto* rule = std::find_if(std::begin(kRules), std::end(kRules),
                                    [id](const Rule& r) { return r.m_nId == id; });
    if (rule != std::end(kRules))
        return *rule;
    return {id, 2, id >= kLastFailureId ? UINT{MB_ICONHAND} : UINT{MB_ICONEXCLAMATION}};
}

/// A text of up to `Bytes` bytes and a NUL; the excess is dropped.
template <std::size_t Bytes>
struct Text {
    char m_szText[Bytes + 1] = {};
    std::size_t m_nLength = 0;

    void fnAppend(std::string_view part) {
        assert(m_nLength <= Bytes);
        part = part.substr(0, Bytes - m_nLength);
        m_nLength += part.copy(m_szText + m_nLength, part.size());
        m_szText[m_nLength] = 0;
    }
};

using Loaded = Text<kMaxTextBytes>;
using Shown = Text<kMaxShownBytes>;

std::string_view fnCut(const char* text, std::size_t limit) {
    return {text, q32::fnCutLength(text, limit)};
}

void fnLoadText(int id, HINSTANCE module, Loaded& loaded) {
    if (id < 0) {
        const char* own = q32::fnFindString(q32::fnMessageEntry(id));
        loaded.fnAppend(own ? own : "");
        return;
    }
    std::string text;
    if (q32::fnHasPlatform() &&
        q32::fnPlatform().m_pResources->fnLoadString(module, static_cast<UINT>(id), text))
        loaded.fnAppend(fnCut(text.c_str(), kMaxTextBytes));
}

/// The arguments that a message has, truncated to fit into one box with the format. A missing one
/// is empty.
struct Arguments {
    std::string_view m_Parts[2];
    std::size_t m_nCount = 0;

    void fnCollect(std::size_t count, std::size_t formatLength, const char* first,
                   const char* second) {
        const char* const texts[] = {first, second};
        assert(count <= std::size(texts) && formatLength <= kMaxShownBytes);
        std::size_t room = kMaxShownBytes - formatLength;
        while (m_nCount < count) {
            const char* text = texts[m_nCount] ? texts[m_nCount] : "";
            const auto part = fnCut(text, std::min(room, kMaxArgumentBytes));
            m_Parts[m_nCount++] = part;
            room -= part.size();
        }
    }
};

/// Replaces "%s" with the arguments, in order, and "%%" with "%". Anything else is copied verbatim,
/// since the format may come from outside.
void fnFormat(std::string_view format, const Arguments& arguments, Shown& shown) {
    std::size_t used = 0;
    while (!format.empty()) {
        std::size_t taken = 2;
        if (format.starts_with("%s") && used < arguments.m_nCount) {
            shown.fnAppend(arguments.m_Parts[used++]);
        } else if (format.starts_with("%%")) {
            shown.fnAppend("%");
        } else {
            taken = 1;
            shown.fnAppend(format.substr(0, 1));
        }
        format.remove_prefix(taken);
    }
}

/// Loads a message and fills in its arguments.
void fnCompose(const Rule& rule, HINSTANCE module, const char* first, const char* second,
               Shown& shown) {
    Loaded loaded;
    q32::fnTryMemory([&] { fnLoadText(rule.m_nId, module, loaded); });
    const std::string_view format(loaded.m_szText, loaded.m_nLength);
    if (!first) {
        shown.fnAppend(format);
        return;
    }
    Arguments arguments;
    q32::fnTryMemory(
        [&] { arguments.fnCollect(rule.m_nArguments, loaded.m_nLength, first, second); });
    fnFormat(format, arguments, shown);
}

int fnShowBox(const char* text, UINT style) {
    const std::shared_ptr<CqMessageService> messages = q32::fnMessageService();
    int answer = 0;
    if (!messages)
        return answer;
    const CqTitleSwap swap;
    q32::fnTryMemory([&] { answer = messages->fnShowBox(text, style, swap.fnGetCaption()); });
    return answer;
}

} // namespace

int q32ShowMsg(int nMsgId, HINSTANCE hInstance, const char* pszArg1, const char* pszArg2,
               unsigned int nType) {
    const Rule rule = fnRule(nMsgId, nType);
    Shown shown;
    fnCompose(rule, hInstance, pszArg1, pszArg2, shown);
    return fnShowBox(shown.m_szText, rule.m_nStyle);
}

CString q32MessageText(int nMsgId, const char* pszArg1, const char* pszArg2, HINSTANCE hInstance) {
    Shown shown;
    fnCompose(fnRule(nMsgId, 0), hInstance, pszArg1, pszArg2, shown);
    return q32::fnTryMemoryOr(CString(), [&] { return CString(shown.m_szText); });
}

int q32ShowMsgStr(const char* pszText, unsigned int nType) {
    return fnShowBox(pszText ? pszText : "", fnHostStyle(nType));
}

void q32ShowSysMsg(unsigned long nError) {
    const std::shared_ptr<CqMessageService> messages = q32::fnMessageService();
    if (!messages)
        return;
    auto code = static_cast<DWORD>(nError);
    if (code == 0)
        code = messages->fnGetLastError();
    if (code == 0)
        return;
    std::string text;
    bool known = false;
    q32::fnTryMemory([&] { known = messages->fnFormatError(code, text); });
    if (known)
        fnShowBox(text.c_str(), MB_OK);
}
