/// @file The gallery's user interface on the terminal: a progress line, the Esc key, messages.
#pragma once

#include "plugins/PictureFile.h"
#include "q32Base/platform/CqKeyboardService.h"
#include "q32Base/platform/CqMessageService.h"
#include "tools/terminal/TerminalMode.h"

#include <deque>
#include <memory>
#include <string>

/// The keys of the program's terminal. Without a terminal there are no keys.
class TerminalKeyboard : public CqKeyboardService {
public:
    /// A terminal reports only presses, so no key is ever known to be down.
    bool fnIsKeyDown(int) override { return false; }
    bool fnIsKeyDownNow(int) override { return false; }
    /// Each press is one WM_CHAR. The sequences sent by arrow and function keys aren't presses of
    /// Esc; they are dropped.
    bool fnTakeKeyMessage(CqKeyMessage& message) override;

private:
    void fnDrain();

    TerminalMode m_Mode;
    std::deque<unsigned char> m_Keys;
};

/// Shows the library's messages as lines on the terminal; everything else goes to another service.
class TerminalMessages : public CqMessageService {
public:
    explicit TerminalMessages(std::shared_ptr<CqMessageService> next) : m_pNext(std::move(next)) {}

    int fnShowBox(const char* text, UINT style, const char* caption) override;
    DWORD fnGetLastError() override { return m_pNext->fnGetLastError(); }
    bool fnFormatError(DWORD code, std::string& text) override {
        return m_pNext->fnFormatError(code, text);
    }

private:
    std::shared_ptr<CqMessageService> m_pNext;
};

/// Thrown when the user aborts: by Esc, or by a signal to end.
struct Aborted {};

/// A progress line, rewritten in place. Not shown where the output isn't a terminal.
class ProgressLine : public CqPictureProgress {
public:
    explicit ProgressLine(CqKeyboardService& keyboard);
    ~ProgressLine() override { fnClear(); }
    ProgressLine(const ProgressLine&) = delete;
    ProgressLine& operator=(const ProgressLine&) = delete;

    /// Sets the task to be shown.
    void fnBegin(std::string what);
    /// Shows the percentage; throws Aborted when the user aborts.
    void fnReport(unsigned int percent);
    /// The same for picture files.
    void fnOnProgress(unsigned int percent, bool& aborted) override;
    /// Clears the line.
    void fnClear();

private:
    void fnShow(unsigned int percent);
    bool fnIsHidden();

    CqKeyboardService& m_Keyboard;
    std::string m_What;
    unsigned int m_nShown = 0;
    bool m_bTerminal;
    bool m_bAborted = false;
};
