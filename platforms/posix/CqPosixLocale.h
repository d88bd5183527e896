#pragma once

#include "platforms/posix/CodePage.h"
#include "q32Base/platform/CqLocaleService.h"

#include <memory>

/// A locale of the system: its character set, its forms of date and time, and the time zone of the
/// process.
class CqPosixLocale : public CqLocaleService {
public:
    explicit CqPosixLocale(std::shared_ptr<const q32::posix::CodePage> codePage);

    std::size_t fnGetCharBytes(const char* text, std::size_t count) override;
    /// The day of the week comes from the date, not from `wDayOfWeek`. A date that the calendar
    /// does not have is refused; so is one before 1601.
    bool fnFormatDate(const SYSTEMTIME& time, std::string& text) override;
    /// A time of day that the clock does not have is refused.
    bool fnFormatTime(const SYSTEMTIME& time, UINT flags, std::string& text) override;
    bool fnGetLocalTime(std::int64_t seconds, SYSTEMTIME& time) override;

private:
    std::shared_ptr<const q32::posix::CodePage> m_pCodePage;
};
