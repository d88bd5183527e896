#pragma once

#include "platforms/posix/CodePage_p.h"
#include "q32Base/platform/CqMessageService.h"
#include "q32Base/platform/CqWindowService.h"

#include <memory>

/// Message boxes on the desktop; errors come from another service. Before the application object
/// exists, after it is destroyed, and on threads other than its own no box can be shown: the text
/// goes to the standard error stream, and the answer is 0.
class CqQtMessages final : public CqMessageService {
public:
    /// @param errors   provides the last system error and its text
    /// @param windows  provides the main window
    CqQtMessages(std::shared_ptr<CqMessageService> errors,
                 std::shared_ptr<const q32::posix::CodePage> codePage,
                 std::shared_ptr<CqWindowService> windows);

    /// Shows the box in front of the application's active window, else of its main window, modal
    /// for the application. The Esc key answers No to a question without Cancel. The box closes
    /// with its owner window or the application; the answer is 0 then.
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
