#pragma once

#include "platforms/posix/CodePage_p.h"
#include "q32Base/platform/CqMessageService.h"

#include <memory>

/// The system's own errors (errno); message boxes come from another service.
class CqPosixMessages : public CqMessageService {
public:
    /// @param boxes  shows the boxes
    CqPosixMessages(std::shared_ptr<CqMessageService> boxes,
                    std::shared_ptr<const q32::posix::CodePage> codePage);

    int fnShowBox(const char* text, UINT style, const char* caption) override;
    /// This thread's errno. Services of this back end leave it at the cause of their last failure.
    DWORD fnGetLastError() override;
    /// False for 0 and for unknown numbers.
    bool fnFormatError(DWORD code, std::string& text) override;

private:
    std::shared_ptr<CqMessageService> m_pBoxes;
    std::shared_ptr<const q32::posix::CodePage> m_pCodePage;
};
