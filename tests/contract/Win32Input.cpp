#include "tests/contract/Win32Input.h"

#include <string_view>
#include <utility>

namespace {

/// Answers boxes from within their own message loop: a hook sees each one become active, and a
/// timer of its window fires once it waits.
class Boxes final : public ContractBoxes {
public:
    Boxes() {
        thePresent = this;
        m_Hook = ::SetWindowsHookExW(WH_CBT, fnSeeWindow, nullptr, ::GetCurrentThreadId());
    }
    ~Boxes() override {
        ::UnhookWindowsHookEx(m_Hook);
        thePresent = nullptr;
    }
    Boxes(const Boxes&) = delete;
    Boxes& operator=(const Boxes&) = delete;

    void fnAnswer(int button, std::function<void(const ContractBox&)> look) override {
        m_nAnswer = button;
        m_Look = std::move(look);
    }

private:
    static LRESULT CALLBACK fnSeeWindow(int code, WPARAM wParam, LPARAM lParam) {
        const auto window = reinterpret_cast<HWND>(wParam); // NOLINT(performance-no-int-to-ptr)
        wchar_t name[16] = {};
        if (code == HCBT_ACTIVATE && ::GetClassNameW(window, name, 16) &&
            std::wstring_view(name) == L"#32770" && thePresent->m_Look)
            ::SetTimer(window, 4711, 1, fnOnTimer);
        return ::CallNextHookEx(nullptr, code, wParam, lParam);
    }

    static void CALLBACK fnOnTimer(HWND window, UINT, UINT_PTR id, DWORD) {
        ::KillTimer(window, id);
        thePresent->fnSee(window);
    }

    void fnSee(HWND window) {
        const auto look = std::exchange(m_Look, nullptr);
        if (!look)
            return;
        const int answer = m_nAnswer;
        const ContractBox box = fnRead(window);
        look(box);
        // The only button of a box answers OK, whatever its id.
        const bool isOnly = box.m_Buttons == std::set<int>{IDOK} && !::GetDlgItem(window, IDOK);
        ::PostMessageW(window, WM_COMMAND, static_cast<WPARAM>(isOnly ? IDCANCEL : answer), 0);
    }

    static std::string fnGetText(HWND window) {
        std::wstring text(static_cast<std::size_t>(::GetWindowTextLengthW(window)) + 1, L'\0');
        text.resize(static_cast<std::size_t>(
            ::GetWindowTextW(window, text.data(), static_cast<int>(text.size()))));
        return {text.begin(), text.end()}; // the suite's texts are ASCII
    }

    static ContractBox fnRead(HWND window) {
        ContractBox box;
        box.m_szCaption = fnGetText(window);
        for (const int id : {IDOK, IDCANCEL, IDYES, IDNO})
            if (::GetDlgItem(window, id))
                box.m_Buttons.insert(id);
        if (box.m_Buttons == std::set<int>{IDCANCEL})
            box.m_Buttons = {IDOK};
        const std::pair<UINT, HICON> icons[] = {
            {MB_ICONHAND, ::LoadIcon(nullptr, IDI_HAND)},
            {MB_ICONQUESTION, ::LoadIcon(nullptr, IDI_QUESTION)},
            {MB_ICONEXCLAMATION, ::LoadIcon(nullptr, IDI_EXCLAMATION)},
            {MB_ICONASTERISK, ::LoadIcon(nullptr, IDI_ASTERISK)}};
        for (HWND child = ::GetWindow(window, GW_CHILD); child;
             child = ::GetWindow(child, GW_HWNDNEXT)) {
            wchar_t name[16] = {};
            ::GetClassNameW(child, name, 16);
            if (std::wstring_view(name) != L"Static")
                continue;
            const LRESULT shown = ::SendMessageW(child, STM_GETICON, 0, 0);
            if (shown == 0 && fnGetText(child).empty())
                continue;
            if (shown == 0)
                box.m_szText = fnGetText(child);
            for (const auto& [style, icon] : icons)
                if (shown != 0 && shown == reinterpret_cast<LRESULT>(icon))
                    box.m_nIcon = style;
        }
        return box;
    }

    static inline Boxes* thePresent = nullptr;
    HHOOK m_Hook;
    int m_nAnswer = 0;
    std::function<void(const ContractBox&)> m_Look;
};

constexpr UINT kClick = WM_APP + 1;

/// The keyboard, and messages posted as other input, to a window that has the focus.
class Keys final : public ContractKeys {
public:
    Keys() {
        WNDCLASSW kind{};
        kind.lpfnWndProc = fnHandle;
        kind.hInstance = ::GetModuleHandleW(nullptr);
        kind.lpszClassName = L"q32Keys";
        ::RegisterClassW(&kind);
        m_Window = ::CreateWindowExW(0, kind.lpszClassName, L"keys", WS_POPUP | WS_VISIBLE, 0, 0,
                                     100, 100, nullptr, nullptr, kind.hInstance, nullptr);
        ::SetForegroundWindow(m_Window);
        ::SetFocus(m_Window);
        fnPump();
    }
    ~Keys() override {
        for (const int key : m_Down)
            ::keybd_event(static_cast<BYTE>(key), 0, KEYEVENTF_KEYUP, 0);
        fnPump();
        ::DestroyWindow(m_Window);
    }
    Keys(const Keys&) = delete;
    Keys& operator=(const Keys&) = delete;

    void fnPress(int key) override {
        m_Down.insert(key);
        ::keybd_event(static_cast<BYTE>(key), 0, 0, 0);
    }
    void fnRelease(int key) override {
        m_Down.erase(key);
        ::keybd_event(static_cast<BYTE>(key), 0, KEYEVENTF_KEYUP, 0);
    }
    void fnClick(int number) override {
        ::PostMessageW(m_Window, kClick, static_cast<WPARAM>(number), 0);
    }
    std::vector<int> fnGetClicks(std::size_t) override {
        theClicks.clear();
        fnPump();
        return theClicks;
    }

private:
    static LRESULT CALLBACK fnHandle(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
        if (message == kClick)
            theClicks.push_back(static_cast<int>(wParam));
        return ::DefWindowProcW(window, message, wParam, lParam);
    }

    static void fnPump() {
        MSG message;
        while (::PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE))
            ::DispatchMessageW(&message);
    }

    static inline std::vector<int> theClicks;
    HWND m_Window;
    std::set<int> m_Down;
};

} // namespace

std::shared_ptr<ContractBoxes> fnMakeWin32Boxes() {
    return std::make_shared<Boxes>();
}

std::shared_ptr<ContractKeys> fnMakeWin32Keys() {
    return std::make_shared<Keys>();
}
