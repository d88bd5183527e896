#include "platforms/win32/CqWin32DumpView_p.h"
#include "platforms/win32/DeviceContext_p.h"
#include "platforms/win32/SaveDialog_p.h"
#include "q32Base/framework/CFont.h"
#include "q32Base/framework/Values.h"

#include <algorithm>
#include <utility>

using namespace q32::win32;

namespace {

constexpr DWORD kStyle = WS_OVERLAPPED | WS_CAPTION | WS_SYSMENU | WS_THICKFRAME;
constexpr UINT kFirstOfSystem = 0xF000; ///< the system's own commands begin here
constexpr UINT kCommandMask = 0xFFF0;
constexpr SIZE kDefaultSize{480, 320};

/// Where the window starts. A saved place may be on a screen that no longer exists: then the system
/// chooses the corner, and the window is no larger than the screens.
CRect fnChoosePlace(const CqDumpViewSetup& setup) {
    constexpr LONG kFar = 32767;
    CPoint corner(CW_USEDEFAULT, CW_USEDEFAULT);
    CSize size(kDefaultSize);
    if (setup.m_Place) {
        const CRect& place = CRect(*setup.m_Place);
        size.cx = std::clamp<LONG>(place.Width(), 0, ::GetSystemMetrics(SM_CXVIRTUALSCREEN));
        size.cy = std::clamp<LONG>(place.Height(), 0, ::GetSystemMetrics(SM_CYVIRTUALSCREEN));
        const POINT saved{std::clamp(place.left, -kFar, kFar), std::clamp(place.top, -kFar, kFar)};
        if (::MonitorFromPoint(saved, MONITOR_DEFAULTTONULL))
            corner = saved;
    }
    return CRect(corner, size);
}

/// Whether the last line is visible.
bool fnIsAtEnd(HWND text) {
    SCROLLINFO bar{};
    bar.cbSize = sizeof bar;
    bar.fMask = SIF_ALL;
    return !::GetScrollInfo(text, SB_VERT, &bar) ||
           bar.nPos + static_cast<int>(bar.nPage) > bar.nMax;
}

int fnGetLength(HWND text) {
    return ::GetWindowTextLengthW(text);
}

} // namespace

CqWin32DumpView::CqWin32DumpView(const CqDumpViewSetup& setup, CqDumpViewEvents& events,
                                 std::shared_ptr<const CodePage> codePage,
                                 std::shared_ptr<Failures> failures)
    : m_Events(events), m_pCodePage(std::move(codePage)), m_pFailures(std::move(failures)),
      m_szIdlePrompt(m_pCodePage->fnToWideAnyhow(setup.m_szIdlePrompt)) {
    const std::wstring caption = m_pCodePage->fnToWideAnyhow(setup.m_szCaption);
    m_Frame = fnGetClass().fnCreate(WS_EX_TOOLWINDOW, caption.c_str(), kStyle, fnChoosePlace(setup),
                                    nullptr);
    if (!m_Frame)
        return;
    m_bHasClass = true;
    ::SetWindowLongPtrW(m_Frame, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
}

CqWin32DumpView::~CqWin32DumpView() {
    if (m_Frame) {
        ::SetWindowLongPtrW(m_Frame, GWLP_USERDATA, 0);
        ::DestroyWindow(m_Frame);
    }
    if (m_bHasClass)
        fnGetClass().fnLeave();
}

WindowClass& CqWin32DumpView::fnGetClass() {
    static constinit WindowClass dumpClass(L"q32DumpWindow", fnDispatch);
    return dumpClass;
}

LRESULT CALLBACK CqWin32DumpView::fnDispatch(HWND window, UINT message, WPARAM wParam,
                                             LPARAM lParam) {
    auto* view = reinterpret_cast<CqWin32DumpView*>( // NOLINT(performance-no-int-to-ptr)
        ::GetWindowLongPtrW(window, GWLP_USERDATA));
    if (!view)
        return ::DefWindowProcW(window, message, wParam, lParam);
    const std::shared_ptr<Failures> failures = view->m_pFailures; // the view may be gone afterwards
    LRESULT result = 0;
    failures->fnGuard([&] { result = view->fnHandle(window, message, wParam, lParam); });
    return result;
}

LRESULT CqWin32DumpView::fnHandle(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
    case WM_SIZE:
        fnLayOut();
        return 0;
    case WM_MENUSELECT: {
        const auto prompt = m_Prompts.find(LOWORD(wParam));
        fnShowPrompt(prompt == m_Prompts.end() ? m_szIdlePrompt : prompt->second);
        return 0;
    }
    case WM_SYSCOMMAND: {
        // The view may be gone after the event.
        const UINT id = static_cast<UINT>(wParam) & kCommandMask;
        if (id < kFirstOfSystem && m_Events.fnOnSysCommand(id))
            return 0;
        break;
    }
    case WM_CLOSE:
        ::ShowWindow(window, SW_HIDE);
        m_Events.fnOnClose();
        return 0;
    case WM_NCDESTROY:
        m_Frame = m_Text = m_StatusBar = nullptr;
        break;
    default:
        break;
    }
    return ::DefWindowProcW(window, message, wParam, lParam);
}

void CqWin32DumpView::fnLayOut() const {
    RECT client;
    RECT bar{};
    ::GetClientRect(m_Frame, &client);
    if (m_StatusBar) {
        ::SendMessageW(m_StatusBar, WM_SIZE, 0, 0);
        ::GetWindowRect(m_StatusBar, &bar);
    }
    if (m_Text)
        ::MoveWindow(m_Text, 0, 0, client.right,
                     std::max<LONG>(0, client.bottom - CRect(bar).Height()), TRUE);
}

bool CqWin32DumpView::fnCreateText() {
    constexpr DWORD kTextStyle = WS_CHILD | WS_VISIBLE | WS_VSCROLL | WS_HSCROLL | ES_MULTILINE |
                                 ES_READONLY | ES_AUTOVSCROLL | ES_AUTOHSCROLL;
    m_Text = ::CreateWindowExW(0, L"EDIT", L"", kTextStyle, 0, 0, 0, 0, m_Frame, nullptr,
                               ::GetModuleHandleW(nullptr), nullptr);
    if (!m_Text)
        return false;
    ::SendMessageW(m_Text, EM_SETLIMITTEXT, 0, 0); // the longest there can be
    fnLayOut();
    return true;
}

bool CqWin32DumpView::fnCreateStatusBar() {
    const INITCOMMONCONTROLSEX kinds{sizeof kinds, ICC_BAR_CLASSES};
    ::InitCommonControlsEx(&kinds);
    m_StatusBar = ::CreateWindowExW(0, STATUSCLASSNAMEW, m_szIdlePrompt.c_str(),
                                    WS_CHILD | WS_VISIBLE | SBARS_SIZEGRIP, 0, 0, 0, 0, m_Frame,
                                    nullptr, ::GetModuleHandleW(nullptr), nullptr);
    fnLayOut();
    return m_StatusBar != nullptr;
}

void CqWin32DumpView::fnShowPrompt(const std::wstring& prompt) const {
    if (m_StatusBar)
        ::SendMessageW(m_StatusBar, SB_SETTEXTW, 0, reinterpret_cast<LPARAM>(prompt.c_str()));
}

void CqWin32DumpView::fnSetFont(const CFont& font) {
    if (const auto* own = dynamic_cast<const Font*>(font.GetObject()); own && m_Text)
        ::SendMessageW(m_Text, WM_SETFONT, reinterpret_cast<WPARAM>(own->fnGetHandle()), TRUE);
}

void CqWin32DumpView::fnInsertMenuItem(const CqDumpMenuItem& item) {
    const HMENU menu = ::GetSystemMenu(m_Frame, FALSE);
    if (item.m_nId == 0) {
        ::InsertMenuW(menu, 0, MF_BYPOSITION | MF_SEPARATOR, 0, nullptr);
        return;
    }
    const std::wstring text = m_pCodePage->fnToWideAnyhow(item.m_szText ? item.m_szText : "");
    m_Prompts[item.m_nId] = m_pCodePage->fnToWideAnyhow(item.m_szPrompt ? item.m_szPrompt : "");
    ::InsertMenuW(menu, 0, MF_BYPOSITION | MF_STRING, item.m_nId, text.c_str());
}

void CqWin32DumpView::fnCheckMenuItem(UINT id, bool checked) {
    if (m_Prompts.contains(id))
        ::CheckMenuItem(::GetSystemMenu(m_Frame, FALSE), id,
                        MF_BYCOMMAND | (checked ? MF_CHECKED : MF_UNCHECKED));
}

void CqWin32DumpView::fnSetOnTop(bool onTop) {
    ::SetWindowPos(m_Frame, onTop ? HWND_TOPMOST : HWND_NOTOPMOST, 0, 0, 0, 0,
                   SWP_NOMOVE | SWP_NOSIZE | SWP_NOACTIVATE);
}

void CqWin32DumpView::fnShow() {
    ::ShowWindow(m_Frame, SW_SHOWNOACTIVATE);
}

RECT CqWin32DumpView::fnGetPlace() const {
    RECT place{};
    ::GetWindowRect(m_Frame, &place);
    return place;
}

std::wstring CqWin32DumpView::fnTakeShown(std::size_t first) {
    const std::string_view all = m_szText;
    m_nShown = all.size() - m_pCodePage->fnCountUnfinished(all.substr(first));
    return m_pCodePage->fnToWideAnyhow(all.substr(first, m_nShown - first));
}

template <typename Change>
void CqWin32DumpView::fnChangeText(Change change) {
    const bool isFollowing = fnIsAtEnd(m_Text);
    const LRESULT line = ::SendMessageW(m_Text, EM_GETFIRSTVISIBLELINE, 0, 0);
    DWORD from = 0;
    DWORD to = 0;
    ::SendMessageW(m_Text, EM_GETSEL, reinterpret_cast<WPARAM>(&from),
                   reinterpret_cast<LPARAM>(&to));
    ::SendMessageW(m_Text, WM_SETREDRAW, FALSE, 0);
    change();
    if (isFollowing) {
        const auto end = static_cast<WPARAM>(fnGetLength(m_Text));
        ::SendMessageW(m_Text, EM_SETSEL, end, static_cast<LPARAM>(end));
        ::SendMessageW(m_Text, EM_SCROLLCARET, 0, 0);
    } else {
        ::SendMessageW(m_Text, EM_SETSEL, from, static_cast<LPARAM>(to));
        const LRESULT now = ::SendMessageW(m_Text, EM_GETFIRSTVISIBLELINE, 0, 0);
        ::SendMessageW(m_Text, EM_LINESCROLL, 0, line - now);
    }
    ::SendMessageW(m_Text, WM_SETREDRAW, TRUE, 0);
    ::InvalidateRect(m_Text, nullptr, TRUE);
}

void CqWin32DumpView::fnSetText(const char* text, std::size_t length) {
    if (!m_Text)
        return;
    m_szText.assign(text, length);
    const std::wstring shown = fnTakeShown(0);
    fnChangeText([&] { ::SetWindowTextW(m_Text, shown.c_str()); });
}

bool CqWin32DumpView::fnAppendText(const char* text, std::size_t length) {
    if (!m_Text)
        return false;
    m_szText.append(text, length);
    const std::wstring added = fnTakeShown(m_nShown);
    fnChangeText([&] {
        const auto end = static_cast<WPARAM>(fnGetLength(m_Text));
        ::SendMessageW(m_Text, EM_SETSEL, end, static_cast<LPARAM>(end));
        ::SendMessageW(m_Text, EM_REPLACESEL, FALSE, reinterpret_cast<LPARAM>(added.c_str()));
    });
    return true;
}

bool CqWin32DumpView::fnAskSaveName(const CqSaveRequest& request, std::string& path) {
    return q32::win32::fnAskSaveName(m_Frame, *m_pCodePage, request, path);
}
