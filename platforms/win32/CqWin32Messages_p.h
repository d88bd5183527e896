#pragma once

#include "platforms/win32/CodePage_p.h"
#include "q32Base/platform/CqMessageService.h"

#include <memory>

/// The system's message boxes and errors.
class CqWin32Messages : public CqMessageService {
public:
    explicit CqWin32Messages(std::shared_ptr<const q32::win32::CodePage> codePage);

    /// The box belongs to the thread's active window and, without one, is modal for the thread.
    /// Without a caption, its title is empty. Bytes that are no text are shown as replacement
    /// characters.
    int fnShowBox(const char* text, UINT style, const char* caption) override;
    /// Services of this back end leave it at the cause of their last failure.
    DWORD fnGetLastError() override;
    bool fnFormatError(DWORD code, std::string& text) override;

private:
    std::shared_ptr<const q32::win32::CodePage> m_pCodePage;
};
