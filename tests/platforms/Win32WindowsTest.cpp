/// @file The library's own windows: the dump window, and the hidden one of a mixer.

#include "platforms/win32/CqWin32Mixers_p.h"
#include "platforms/win32/CqWin32View.h"
#include "platforms/win32/win32.h"
#include "q32Base/framework/Exceptions.h"
#include "q32Base/module/Module.h"
#include "tests/support/Await.h"
#include "tests/support/FakeMixer.h"

#include <gtest/gtest.h>

#include <commdlg.h>
#include <deque>
#include <filesystem>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>

namespace {

namespace fs = std::filesystem;

std::wstring fnGetTextOf(HWND window) {
    wchar_t text[1024] = {};
    ::SendMessageW(window, WM_GETTEXT, 1024, reinterpret_cast<LPARAM>(text));
    return text;
}

/// Answers dialogs and message boxes of this thread, in turn, each from its own message loop.
class Dialogs {
public:
    using Answer = std::function<void(HWND dialog)>;

    Dialogs() {
        thePresent = this;
        m_Hook = ::SetWindowsHookExW(WH_CBT, fnSeeWindow, nullptr, ::GetCurrentThreadId());
    }
    ~Dialogs() {
        ::UnhookWindowsHookEx(m_Hook);
        thePresent = nullptr;
    }
    Dialogs(const Dialogs&) = delete;
    Dialogs& operator=(const Dialogs&) = delete;

    void fnAdd(Answer answer) { m_Answers.push_back(std::move(answer)); }
    std::size_t fnCount() const { return m_Answers.size(); }

private:
    static LRESULT CALLBACK fnSeeWindow(int code, WPARAM wParam, LPARAM lParam) {
        const auto window = reinterpret_cast<HWND>(wParam); // NOLINT(performance-no-int-to-ptr)
        wchar_t name[16] = {};
        if (code == HCBT_ACTIVATE && ::GetClassNameW(window, name, 16) &&
            std::wstring_view(name) == L"#32770" && window != thePresent->m_Answered)
            ::SetTimer(window, 4713, 50, fnOnTimer);
        return ::CallNextHookEx(nullptr, code, wParam, lParam);
    }
    static void CALLBACK fnOnTimer(HWND window, UINT, UINT_PTR id, DWORD) {
        ::KillTimer(window, id);
        Dialogs& self = *thePresent;
        if (window == self.m_Answered)
            return;
        self.m_Answered = window;
        if (self.m_Answers.empty()) {
            ADD_FAILURE() << "one more dialog";
            ::PostMessageW(window, WM_COMMAND, IDCANCEL, 0);
            return;
        }
        const Answer answer = std::move(self.m_Answers.front());
        self.m_Answers.pop_front();
        answer(window);
    }

    static inline Dialogs* thePresent = nullptr;
    HHOOK m_Hook;
    HWND m_Answered = nullptr; ///< activated again, it isn't another one
    std::deque<Answer> m_Answers;
};

/// Confirms a save dialog with a name.
Dialogs::Answer fnSaveAs(const std::wstring& name) {
    return [name](HWND dialog) {
        ::EnumChildWindows(
            dialog,
            [](HWND child, LPARAM text) -> BOOL {
                wchar_t kind[16] = {};
                ::GetClassNameW(child, kind, 16);
                if (std::wstring_view(kind) != L"Edit")
                    return TRUE;
                ::SendMessageW(child, WM_SETTEXT, 0, text);
                return FALSE;
            },
            reinterpret_cast<LPARAM>(name.c_str()));
        ::PostMessageW(dialog, WM_COMMAND, IDOK, 0);
    };
}

class Events final : public CqDumpViewEvents {
public:
    bool fnOnSysCommand(UINT) override {
        m_OnCommand();
        return true;
    }
    void fnOnClose() override {}

    std::function<void()> m_OnCommand;
};

/// The dump window of a host whose code page has the letters of Western Europe.
class Win32Dump : public testing::Test {
protected:
    Win32Dump() {
        CqWin32Options options;
        options.m_nCodePage = 1252;
        m_bAttached = q32Attach(q32Win32Platform(m_pWindows, options));
        m_pView = m_pWindows->fnCreateDumpView({"Log", std::nullopt, "Ready"}, m_Events);
    }
    ~Win32Dump() override {
        m_pView.reset();
        q32Detach();
        q32SetMessageService(nullptr);
    }
    void SetUp() override { ASSERT_TRUE(m_bAttached && m_pView); }
    static LRESULT fnChoose(UINT id) {
        return ::SendMessageW(::FindWindowW(L"q32DumpWindow", nullptr), WM_SYSCOMMAND, id, 0);
    }
    static bool fnIsThere() { return ::FindWindowW(L"q32DumpWindow", nullptr) != nullptr; }

    static constexpr CqSaveRequest kRequest{"txt", 0, "Text files\0*.txt\0", nullptr};

    const std::wstring m_szFolder = fs::temp_directory_path().wstring();
    const std::shared_ptr<CqWin32Windows> m_pWindows = q32Win32Windows();
    Events m_Events;
    bool m_bAttached;
    std::unique_ptr<CqDumpView> m_pView;
};

TEST_F(Win32Dump, ANameThatTheCodePageLacksIsRefusedAndAskedForAgain) {
    Dialogs dialogs;
    std::wstring shown;
    dialogs.fnAdd(fnSaveAs(m_szFolder + L"\\\u30BD.txt"));
    dialogs.fnAdd([&](HWND box) {
        for (HWND part = nullptr; (part = ::FindWindowExW(box, part, L"Static", nullptr));)
            shown += fnGetTextOf(part);
        ::PostMessageW(box, WM_COMMAND, ::GetDlgItem(box, IDOK) ? IDOK : IDCANCEL, 0);
    });
    dialogs.fnAdd(fnSaveAs(m_szFolder + L"\\\u00E4.txt"));
    std::string path;
    EXPECT_TRUE(m_pView->fnAskSaveName(kRequest, path));
    EXPECT_EQ(dialogs.fnCount(), 0u);
    EXPECT_NE(shown.find(L"\\\u30BD.txt"), std::wstring::npos) << "which name";
    EXPECT_TRUE(path.ends_with("\\\xE4.txt")) << path;
}

TEST_F(Win32Dump, AfterSuchANameTheUserMayCancel) {
    Dialogs dialogs;
    dialogs.fnAdd(fnSaveAs(m_szFolder + L"\\\u30BD.txt"));
    dialogs.fnAdd([](HWND box) {
        ::PostMessageW(box, WM_COMMAND, ::GetDlgItem(box, IDOK) ? IDOK : IDCANCEL, 0);
    });
    dialogs.fnAdd([](HWND dialog) { ::PostMessageW(dialog, WM_COMMAND, IDCANCEL, 0); });
    std::string path = "as it was";
    EXPECT_FALSE(m_pView->fnAskSaveName(kRequest, path));
    EXPECT_EQ(dialogs.fnCount(), 0u);
    EXPECT_EQ(path, "as it was");
}

TEST_F(Win32Dump, ADialogThatTheSystemCannotShowIsNotTakenForACancelledOne) {
    Dialogs dialogs;
    std::wstring shown;
    dialogs.fnAdd([&](HWND box) {
        for (HWND part = nullptr; (part = ::FindWindowExW(box, part, L"Static", nullptr));)
            shown += fnGetTextOf(part);
        ::PostMessageW(box, WM_COMMAND, ::GetDlgItem(box, IDOK) ? IDOK : IDCANCEL, 0);
    });
    CqSaveRequest request = kRequest;
    request.m_nFlags = OFN_ENABLETEMPLATE; // which there is none of
    std::string path = "as it was";
    EXPECT_FALSE(m_pView->fnAskSaveName(request, path));
    EXPECT_EQ(dialogs.fnCount(), 0u);
    EXPECT_NE(shown, L"");
    EXPECT_EQ(path, "as it was");
}

TEST_F(Win32Dump, WhatACommandThrowsWaitsForTheHost) {
    m_Events.m_OnCommand = [] { throw std::runtime_error("of the host"); };
    EXPECT_EQ(m_pWindows->fnTakeFailure(), nullptr);
    EXPECT_EQ(fnChoose(16), 0);
    const std::exception_ptr failure = m_pWindows->fnTakeFailure();
    ASSERT_NE(failure, nullptr);
    EXPECT_THROW(std::rethrow_exception(failure), std::runtime_error);
    EXPECT_EQ(m_pWindows->fnTakeFailure(), nullptr);
    m_Events.m_OnCommand = [this] {
        m_pView.reset();
        AfxThrowMemoryException(); // never taken
    };
    fnChoose(16);
    EXPECT_FALSE(fnIsThere());
}

void fnPump() {
    MSG message;
    while (::PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE))
        ::DispatchMessageW(&message);
}

TEST(Win32Mixers, WhatAReportThrowsWaitsForTheHost) {
    for (const bool sends : {true, false}) {
        q32::test::FakeMixer device;
        device.m_bSends = sends;
        const auto failures = std::make_shared<q32::win32::Failures>();
        CqWin32Mixers mixers(failures, device.fnGetCalls());
        int reports = 0;
        const auto mixer = mixers.fnOpen(0, [&](std::uint32_t) {
            ++reports;
            throw std::runtime_error("of the host");
        });
        ASSERT_NE(mixer, nullptr);
        CqMixerLine line{};
        std::uint32_t volume = 0;
        ASSERT_TRUE(mixer->fnFindSpeakerLine(line) &&
                    mixer->fnFindControl(line.m_nLineId, CQ_MIXER_CONTROL::VOLUME, volume));
        ASSERT_TRUE(mixer->fnSetValues(volume, 1, {4711}));
        EXPECT_TRUE(fnAwait([&] { return reports > 0; }, fnPump));
        const std::exception_ptr failure = failures->fnTake();
        ASSERT_NE(failure, nullptr);
        EXPECT_THROW(std::rethrow_exception(failure), std::runtime_error);
    }
}

TEST(Win32Mixers, NothingIsReportedWhileAMixerIsClosed) {
    q32::test::FakeMixer device;
    device.m_bSendsLate = true;
    CqWin32Mixers mixers(std::make_shared<q32::win32::Failures>(), device.fnGetCalls());
    int reports = 0;
    auto mixer = mixers.fnOpen(0, [&](std::uint32_t) { ++reports; });
    ASSERT_NE(mixer, nullptr);
    CqMixerLine line{};
    std::uint32_t volume = 0;
    ASSERT_TRUE(mixer->fnFindSpeakerLine(line) &&
                mixer->fnFindControl(line.m_nLineId, CQ_MIXER_CONTROL::VOLUME, volume));
    device.fnMoveVolume(4711);
    mixer.reset();
    EXPECT_EQ(device.m_nOpen, 0);
    EXPECT_EQ(reports, 0);
}

/// Whether this program, which holds the library, has a class of windows.
bool fnHasClass(const wchar_t* name) {
    WNDCLASSW kind{};
    return ::GetClassInfoW(::GetModuleHandleW(nullptr), name, &kind);
}

TEST_F(Win32Dump, NoClassOfWindowsStaysWhenTheLastOneIsGone) {
    EXPECT_TRUE(fnHasClass(L"q32DumpWindow"));
    m_pView.reset();
    EXPECT_FALSE(fnHasClass(L"q32DumpWindow"));

    q32::test::FakeMixer device;
    CqWin32Mixers mixers(std::make_shared<q32::win32::Failures>(), device.fnGetCalls());
    auto mixer = mixers.fnOpen(0, [](std::uint32_t) {});
    ASSERT_NE(mixer, nullptr);
    EXPECT_TRUE(fnHasClass(L"q32Mixer"));
    mixer.reset();
    EXPECT_FALSE(fnHasClass(L"q32Mixer"));

    const HWND frame = ::CreateWindowExW(0, L"STATIC", L"", WS_POPUP, 0, 0, 50, 50, nullptr,
                                         nullptr, nullptr, nullptr);
    auto first = std::make_unique<CqWin32View>(frame, RECT{0, 0, 20, 20}, 1);
    auto second = std::make_unique<CqWin32View>(frame, RECT{20, 20, 40, 40}, 2);
    first.reset();
    EXPECT_TRUE(fnHasClass(L"q32View")) << "there is another one";
    ::DestroyWindow(frame); // the second one's window goes before its object
    second.reset();
    EXPECT_FALSE(fnHasClass(L"q32View"));
}

} // namespace
