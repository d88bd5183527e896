#pragma once

#include "platforms/posix/CodePage_p.h"
#include "q32Base/platform/CqLocaleService.h"

#include <memory>

/// A locale of the system: its character set, its date and time formats, and the process's time
/// zone.
class CqPosixLocale : public CqLocaleService {
public:
    explicit CqPosixLocale(std::shared_ptr<const q32::posix::CodePage> codePage);

    std::size_t fnGetCharBytes(const char* text, std::size_t count) override;
    /// The day of the week is derived from the date, not from `wDayOfWeek`. False for a date that
    /// doesn't exist or is before 1601.
    bool fnFormatDate(const SYSTEMTIME& time, std::string& text) override;
    /// False for a time of day that doesn't exist.
    bool fnFormatTime(const SYSTEMTIME& time, UINT flags, std::string& text) override;
    bool fnGetLocalTime(std::int64_t seconds, SYSTEMTIME& time) override;

private:
    std::shared_ptr<const q32::posix::CodePage> m_pCodePage;
};
