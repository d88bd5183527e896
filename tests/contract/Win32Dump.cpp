#include "tests/contract/Win32Dump.h"

#include "q32Base/platform/Records.h"

#include <gtest/gtest.h>

#include <commdlg.h>
#include <string_view>
#include <utility>

namespace {

std::string fnNarrow(std::wstring_view text) {
    return {text.begin(), text.end()}; // the suite's texts are ASCII
}

std::string fnGetText(HWND window) {
    std::wstring text(static_cast<std::size_t>(::GetWindowTextLengthW(window)) + 1, L'\0');
    text.resize(static_cast<std::size_t>(
        ::GetWindowTextW(window, text.data(), static_cast<int>(text.size()))));
    return fnNarrow(text);
}

/// Answers save dialogs from within their own message loop.
class SaveDialogs {
public:
    SaveDialogs() {
        thePresent = this;
        m_Hook = ::SetWindowsHookExW(WH_CBT, fnSeeWindow, nullptr, ::GetCurrentThreadId());
    }
    ~SaveDialogs() {
        ::UnhookWindowsHookEx(m_Hook);
        thePresent = nullptr;
    }
    SaveDialogs(const SaveDialogs&) = delete;
    SaveDialogs& operator=(const SaveDialogs&) = delete;

    void fnAnswer(const std::optional<std::string>& path) {
        m_Path = path;
        m_bWaiting = true;
    }

private:
    static LRESULT CALLBACK fnSeeWindow(int code, WPARAM wParam, LPARAM lParam) {
        const auto window = reinterpret_cast<HWND>(wParam); // NOLINT(performance-no-int-to-ptr)
        wchar_t name[16] = {};
        if (code == HCBT_ACTIVATE && thePresent->m_bWaiting && ::GetClassNameW(window, name, 16) &&
            std::wstring_view(name) == L"#32770")
            ::SetTimer(window, 4712, 50, fnOnTimer);
        return ::CallNextHookEx(nullptr, code, wParam, lParam);
    }
    static void CALLBACK fnOnTimer(HWND window, UINT, UINT_PTR id, DWORD) {
        ::KillTimer(window, id);
        thePresent->fnAnswer(window);
    }
    void fnAnswer(HWND dialog) {
        if (!std::exchange(m_bWaiting, false))
            return;
        if (m_Path)
            ::EnumChildWindows(dialog, fnFill, reinterpret_cast<LPARAM>(this));
        ::PostMessageW(dialog, WM_COMMAND, m_Path ? IDOK : IDCANCEL, 0);
    }
    static BOOL CALLBACK fnFill(HWND child, LPARAM self) {
        wchar_t name[16] = {};
        ::GetClassNameW(child, name, 16);
        if (std::wstring_view(name) != L"Edit")
            return TRUE;
        const auto* dialogs = reinterpret_cast<SaveDialogs*>(self); // NOLINT
        ::SendMessageA(child, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(dialogs->m_Path->c_str()));
        return FALSE;
    }

    static inline SaveDialogs* thePresent = nullptr;
    HHOOK m_Hook;
    bool m_bWaiting = false;
    std::optional<std::string> m_Path;
};

class Dump final : public ContractDump {
public:
    bool fnStands() override { return fnFind() != nullptr; }
    bool fnIsShown() override { return ::IsWindowVisible(fnFind()); }
    bool fnIsOnTop() override {
        return (::GetWindowLongPtrW(fnFind(), GWL_EXSTYLE) & WS_EX_TOPMOST) != 0;
    }
    std::string fnGetCaption() override { return fnGetText(fnFind()); }
    std::vector<std::string> fnGetLines() override {
        std::vector<std::string> lines;
        std::string text = fnGetText(::FindWindowExW(fnFind(), nullptr, L"Edit", nullptr));
        for (std::size_t end; (end = text.find("\r\n")) != std::string::npos;) {
            lines.push_back(text.substr(0, end));
            text.erase(0, end + 2);
        }
        lines.push_back(text);
        return lines;
    }
    std::string fnGetStatus(const std::string& item) override {
        const WPARAM none = MAKEWPARAM(0, 0xFFFF);
        fnHighlight(item.empty() ? none : fnGetId(item));
        wchar_t text[256] = {};
        ::SendMessageW(::FindWindowExW(fnFind(), nullptr, STATUSCLASSNAMEW, nullptr), SB_GETTEXTW,
                       0, reinterpret_cast<LPARAM>(text));
        fnHighlight(none);
        return fnNarrow(text);
    }
    std::vector<Item> fnGetMenu() override {
        std::vector<Item> items;
        const HMENU menu = ::GetSystemMenu(fnFind(), FALSE);
        for (int at = 0; at < fnCountOwn(menu); ++at) {
            wchar_t text[256] = {};
            ::GetMenuStringW(menu, static_cast<UINT>(at), text, 256, MF_BYPOSITION);
            const UINT state = ::GetMenuState(menu, static_cast<UINT>(at), MF_BYPOSITION);
            items.push_back({fnNarrow(text), (state & MF_CHECKED) != 0});
        }
        return items;
    }
    void fnChoose(const std::string& item) override {
        ::SendMessageW(fnFind(), WM_SYSCOMMAND, fnGetId(item), 0);
    }
    void fnClose() override { ::SendMessageW(fnFind(), WM_SYSCOMMAND, SC_CLOSE, 0); }
    void fnAnswerSave(const std::optional<std::string>& path) override { m_Dialogs.fnAnswer(path); }

private:
    static HWND fnFind() { return ::FindWindowW(L"q32DumpWindow", nullptr); }
    static void fnHighlight(WPARAM item) {
        ::SendMessageW(fnFind(), WM_MENUSELECT, item,
                       reinterpret_cast<LPARAM>(::GetSystemMenu(fnFind(), FALSE)));
    }
    /// Items ahead of the system's first one.
    static int fnCountOwn(HMENU menu) {
        int at = 0;
        while (at < ::GetMenuItemCount(menu) && ::GetMenuItemID(menu, at) < 0xF000)
            ++at;
        return at;
    }
    static WPARAM fnGetId(const std::string& text) {
        const HMENU menu = ::GetSystemMenu(fnFind(), FALSE);
        for (int at = 0; at < fnCountOwn(menu); ++at) {
            wchar_t own[256] = {};
            ::GetMenuStringW(menu, static_cast<UINT>(at), own, 256, MF_BYPOSITION);
            if (fnNarrow(own) == text)
                return ::GetMenuItemID(menu, at);
        }
        ADD_FAILURE() << "no item " << text;
        return 0;
    }

    SaveDialogs m_Dialogs;
};

} // namespace

std::shared_ptr<ContractDump> fnMakeWin32Dump() {
    return std::make_shared<Dump>();
}
