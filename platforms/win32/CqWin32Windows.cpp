#include "platforms/win32/CqWin32Windows.h"

#include "platforms/win32/CodePage_p.h"
#include "platforms/win32/CqWin32DumpView_p.h"
#include "platforms/win32/Failures_p.h"

#include <new>

CRect CqWin32Place::fnGetClient() const {
    RECT client{};
    ::GetClientRect(fnGetHandle(), &client);
    return CRect(client);
}

LRESULT CqWin32Place::fnSend(UINT message, WPARAM wParam, LPARAM lParam) const {
    const HWND window = fnGetHandle();
    if (!window)
        return 0;
    if (message != WM_ERASEBKGND)
        return ::SendMessageW(window, message, wParam, lParam);
    auto* dc = reinterpret_cast<CDC*>(wParam); // NOLINT(performance-no-int-to-ptr)
    return dc && dc->FillRect(fnGetClient(), COLOR_BTNFACE) ? 1 : 0;
}

void CqWin32Place::fnInvalidate(const RECT* rect, bool erase) const {
    // Without a window, the system would repaint all there are.
    if (const HWND window = fnGetHandle())
        ::InvalidateRect(window, rect, erase);
}

LRESULT CqWin32ProgressCtrl::SendMessage(UINT message, WPARAM wParam, LPARAM lParam) {
    const LRESULT result = CqWin32WndOf::SendMessage(message, wParam, lParam);
    if (const HWND bar = fnGetHandle(); bar && (message == PBM_SETRANGE || message == PBM_SETPOS))
        ::UpdateWindow(bar);
    return result;
}

void CqWin32CmdUI::Enable(bool on) {
    ::EnableMenuItem(m_Menu, m_nID, MF_BYCOMMAND | (on ? MF_ENABLED : MF_GRAYED));
}

CqWin32Windows::CqWin32Windows()
    : m_pCodePage(std::make_shared<q32::win32::CodePage>()),
      m_pFailures(std::make_shared<q32::win32::Failures>()) {}

CqWin32Windows::~CqWin32Windows() = default;

void CqWin32Windows::fnSetCodePage(std::shared_ptr<const q32::win32::CodePage> codePage) {
    m_pCodePage = std::move(codePage);
}

std::exception_ptr CqWin32Windows::fnTakeFailure() {
    return m_pFailures->fnTake();
}

std::unique_ptr<CqDumpView> CqWin32Windows::fnCreateDumpView(const CqDumpViewSetup& setup,
                                                             CqDumpViewEvents& events) {
    auto view = std::make_unique<CqWin32DumpView>(setup, events, m_pCodePage, m_pFailures);
    return view->fnIsOpen() ? std::move(view) : nullptr;
}
