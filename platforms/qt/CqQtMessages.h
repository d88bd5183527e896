#pragma once

#include "platforms/posix/CodePage.h"
#include "q32Base/platform/CqMessageService.h"
#include "q32Base/platform/CqWindowService.h"

#include <memory>

/// Message boxes on the desktop, beside another service's errors. Before the application object
/// stands, after it has gone, and on other threads than its own there can be no box: the text goes
/// to the standard error stream, and the answer is 0.
class CqQtMessages final : public CqMessageService {
public:
    /// @param errors   knows the last system error and its text
    /// @param windows  know the main window
    CqQtMessages(std::shared_ptr<CqMessageService> errors,
                 std::shared_ptr<const q32::posix::CodePage> codePage,
                 std::shared_ptr<CqWindowService> windows);

    /// The box stands before the application's active window, else before its main window, and
    /// holds back all of its windows. A question that has no Cancel is answered with No by the Esc
    /// key. A box whose window goes while it stands goes with it, and so does the application's
    /// end: the answer is 0.
    int fnShowBox(const char* text, UINT style, const char* caption) override;
    DWORD fnGetLastError() override { return m_pErrors->fnGetLastError(); }
    bool fnFormatError(DWORD code, std::string& text) override {
        return m_pErrors->fnFormatError(code, text);
    }

private:
    std::shared_ptr<CqMessageService> m_pErrors;
    std::shared_ptr<const q32::posix::CodePage> m_pCodePage;
    std::shared_ptr<CqWindowService> m_pWindows;
};
