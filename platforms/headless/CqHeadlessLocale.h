#pragma once

#include "platforms/headless/CqHeadlessCalls.h"
#include "q32Base/platform/CqLocaleService.h"
#include "q32Base/platform/Export.h"

/// A locale with a code page of 1252, 932 or 65001 (UTF-8), dates as 12/31/1999 and times as
/// 1:05:09 PM or, in the 24-hour form, 13:05:09, and a fixed offset from UTC.
class Q32_API CqHeadlessLocale final : public CqLocaleService {
public:
    /// See the setters.
    CqHeadlessLocale(UINT codePage, int minutesEast)
        : m_nCodePage(codePage), m_nMinutesEast(minutesEast) {}

    CqHeadlessCalls m_FormatDate;   ///< calls of `fnFormatDate`
    CqHeadlessCalls m_FormatTime;   ///< calls of `fnFormatTime`
    CqHeadlessCalls m_GetLocalTime; ///< calls of `fnGetLocalTime`

    /// Sets the code page: 932 or 65001; any other number is a code page of single bytes.
    void fnSetCodePage(UINT codePage) { m_nCodePage = codePage; }
    /// Sets the offset of local time from UTC in minutes, above 0 east of Greenwich.
    void fnSetTimeZone(int minutesEast) { m_nMinutesEast = minutesEast; }

    std::size_t fnGetCharBytes(const char* text, std::size_t count) override;
    /// @copydoc CqLocaleService::fnFormatDate
    ///
    /// False for a date that doesn't exist or is before 1601.
    bool fnFormatDate(const SYSTEMTIME& time, std::string& text) override;
    bool fnFormatTime(const SYSTEMTIME& time, UINT flags, std::string& text) override;
    /// @copydoc CqLocaleService::fnGetLocalTime
    ///
    /// False for years outside 1601 to 30827.
    bool fnGetLocalTime(std::int64_t seconds, SYSTEMTIME& time) override;

private:
    UINT m_nCodePage;
    int m_nMinutesEast;
};
