#pragma once

#include "platforms/win32/CodePage_p.h"
#include "q32Base/platform/CqLocaleService.h"

#include <memory>

/// The thread's locale, the user's unless the host changes it, and the system's time zone.
class CqWin32Locale : public CqLocaleService {
public:
    explicit CqWin32Locale(std::shared_ptr<const q32::win32::CodePage> codePage);

    std::size_t fnGetCharBytes(const char* text, std::size_t count) override;
    /// False for a date that doesn't exist or is before 1601.
    bool fnFormatDate(const SYSTEMTIME& time, std::string& text) override;
    bool fnFormatTime(const SYSTEMTIME& time, UINT flags, std::string& text) override;
    /// By the rules for daylight saving time of that year.
    bool fnGetLocalTime(std::int64_t seconds, SYSTEMTIME& time) override;

private:
    std::shared_ptr<const q32::win32::CodePage> m_pCodePage;
};
