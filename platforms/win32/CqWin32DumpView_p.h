#pragma once

#include "platforms/win32/CodePage_p.h"
#include "platforms/win32/Failures_p.h"
#include "platforms/win32/WindowClass_p.h"
#include "q32Base/platform/CqDumpView.h"

#include <map>
#include <memory>
#include <string>

/// The dump window: a tool window of the system with a text control and a status bar. Its menu is
/// its system menu.
class CqWin32DumpView final : public CqDumpView {
public:
    CqWin32DumpView(const CqDumpViewSetup& setup, CqDumpViewEvents& events,
                    std::shared_ptr<const q32::win32::CodePage> codePage,
                    std::shared_ptr<q32::win32::Failures> failures);
    ~CqWin32DumpView() override;
    CqWin32DumpView(const CqWin32DumpView&) = delete;
    CqWin32DumpView& operator=(const CqWin32DumpView&) = delete;

    bool fnIsOpen() const { return m_Frame != nullptr; }

    bool fnCreateText() override;
    bool fnCreateStatusBar() override;
    void fnSetFont(const CFont& font) override;
    void fnInsertMenuItem(const CqDumpMenuItem& item) override;
    void fnCheckMenuItem(UINT id, bool checked) override;
    void fnSetOnTop(bool onTop) override;
    void fnShow() override;
    RECT fnGetPlace() const override;
    void fnSetText(const char* text, std::size_t length) override;
    bool fnAppendText(const char* text, std::size_t length) override;
    std::string fnGetText() const override { return m_szText; }
    bool fnAskSaveName(const CqSaveRequest& request, std::string& path) override;

private:
    static q32::win32::WindowClass& fnGetClass();
    static LRESULT CALLBACK fnDispatch(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
    LRESULT fnHandle(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
    void fnLayOut() const;
    void fnShowPrompt(const std::wstring& prompt) const;
    /// Changes the text control by `change`, and keeps what its user looks at: the end, or a line.
    template <typename Change>
    void fnChangeText(Change change);
    /// The bytes from `first` on, up to the last whole character, in UTF-16.
    std::wstring fnTakeShown(std::size_t first);

    CqDumpViewEvents& m_Events;
    std::shared_ptr<const q32::win32::CodePage> m_pCodePage;
    std::shared_ptr<q32::win32::Failures> m_pFailures;
    std::wstring m_szIdlePrompt;
    std::map<UINT, std::wstring> m_Prompts; ///< by the items' ids
    std::string m_szText;                   ///< the exact bytes received, for saving
    std::size_t m_nShown = 0;               ///< bytes of it that the control shows
    HWND m_Frame = nullptr;                 ///< null once it is destroyed
    bool m_bHasClass = false;               ///< to be left in the end
    HWND m_Text = nullptr;
    HWND m_StatusBar = nullptr;
};
