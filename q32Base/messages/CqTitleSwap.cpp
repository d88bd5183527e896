#include "q32Base/framework/Memory.h"
#include "q32Base/framework/Windows.h"
#include "q32Base/messages/CqTitleSwap_p.h"
#include "q32Base/platform/CqPlatform.h"

#include <cstdlib>
#include <cstring>
#include <string>

namespace {

/// Id of the host's string with the title of a main window that holds several documents.
constexpr UINT kMainFrameTitle = 128;

CString fnGetTitle(const CWinApp& app) {
    CString title;
    if (app.IsMDI()) {
        std::string text;
        if (q32::fnPlatform().m_pResources->fnLoadString(nullptr, kMainFrameTitle, text))
            title = text.c_str();
    } else if (!app.GetTemplateTitle(title)) {
        title.Empty();
    }
    return title;
}

/// The title to swap to; empty if there is none or memory is exhausted.
CString fnFindTitle(const CWinApp& app) {
    return q32::fnTryMemoryOr(CString(), [&] { return fnGetTitle(app); });
}

/// A copy from `malloc`, as an application's name may be; null if memory is exhausted.
char* fnDuplicate(const CString& text) {
    const std::size_t bytes = std::strlen(text) + 1;
    // NOLINTNEXTLINE(cppcoreguidelines-no-malloc): the host may free a name that it finds.
    auto* copy = static_cast<char*>(std::malloc(bytes));
    if (copy)
        std::memcpy(copy, text, bytes);
    return copy;
}

} // namespace

CqTitleSwap::CqTitleSwap() {
    if (!q32::fnHasPlatform())
        return;
    CqWindowService& windows = *q32::fnPlatform().m_pWindows;
    m_pApp = windows.fnGetApp();
    if (!m_pApp || !windows.fnGetMainWnd())
        return;
    const CString title = fnFindTitle(*m_pApp);
    if (title.IsEmpty() || title == m_pApp->m_pszAppName)
        return;
    m_pszCopy = fnDuplicate(title);
    if (!m_pszCopy)
        return;
    m_pszKept = m_pApp->m_pszAppName;
    m_pApp->m_pszAppName = m_pszCopy;
}

CqTitleSwap::~CqTitleSwap() {
    if (!m_pszCopy)
        return;
    m_pApp->m_pszAppName = m_pszKept;
    std::free(m_pszCopy); // NOLINT(cppcoreguidelines-no-malloc): it came from malloc
}

const char* CqTitleSwap::fnGetCaption() const {
    return m_pApp ? m_pApp->m_pszAppName : nullptr;
}
