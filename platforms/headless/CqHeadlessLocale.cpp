#include "platforms/headless/CqHeadlessLocale.h"

#include "platforms/software/CodePages_p.h"

#include <chrono>
#include <cstdio>

namespace {

bool fnIsDate(const SYSTEMTIME& time) {
    const std::chrono::year_month_day date(std::chrono::year(time.wYear),
                                           std::chrono::month(time.wMonth),
                                           std::chrono::day(time.wDay));
    return time.wYear >= 1601 && time.wYear <= 30827 && date.ok();
}

} // namespace

std::size_t CqHeadlessLocale::fnGetCharBytes(const char* text, std::size_t count) {
    return q32::software::fnGetCharBytes(text, count, m_nCodePage);
}

bool CqHeadlessLocale::fnFormatDate(const SYSTEMTIME& time, std::string& text) {
    if (!m_FormatDate.fnPass() || !fnIsDate(time))
        return false;
    char buffer[32];
    std::snprintf(buffer, sizeof(buffer), "%d/%d/%04d", time.wMonth, time.wDay, time.wYear);
    text = buffer;
    return true;
}

bool CqHeadlessLocale::fnFormatTime(const SYSTEMTIME& time, UINT flags, std::string& text) {
    if (!m_FormatTime.fnPass() || time.wHour > 23 || time.wMinute > 59 || time.wSecond > 59)
        return false;
    const bool all = (flags & kTimeForce24Hour) != 0;
    char buffer[32];
    std::snprintf(buffer, sizeof(buffer), all ? "%02d:%02d" : "%d:%02d",
                  all ? time.wHour : (time.wHour + 11) % 12 + 1, time.wMinute);
    text = buffer;
    if ((flags & kTimeNoSeconds) == 0) {
        std::snprintf(buffer, sizeof(buffer), ":%02d", time.wSecond);
        text += buffer;
    }
    if (!all)
        text += time.wHour < 12 ? " AM" : " PM";
    return true;
}

bool CqHeadlessLocale::fnGetLocalTime(std::int64_t seconds, SYSTEMTIME& time) {
    // 1601-01-01 and 30828-01-01, in seconds since 1970.
    constexpr std::int64_t kFirst = -11644473600;
    constexpr std::int64_t kEnd = 910670515200;
    const std::int64_t zone = std::int64_t{m_nMinutesEast} * 60;
    if (!m_GetLocalTime.fnPass() || seconds < kFirst - zone || seconds >= kEnd - zone)
        return false;
    const std::int64_t local = seconds + zone;
    const std::int64_t days = (local - (local < 0 ? 86399 : 0)) / 86400;
    const std::chrono::sys_days moment{std::chrono::days(days)};
    const std::chrono::year_month_day date(moment);
    const auto second = static_cast<int>(local - days * 86400);
    time.wYear = static_cast<WORD>(static_cast<int>(date.year()));
    time.wMonth = static_cast<WORD>(static_cast<unsigned>(date.month()));
    time.wDay = static_cast<WORD>(static_cast<unsigned>(date.day()));
    time.wDayOfWeek = static_cast<WORD>(std::chrono::weekday(moment).c_encoding());
    time.wHour = static_cast<WORD>(second / 3600);
    time.wMinute = static_cast<WORD>(second / 60 % 60);
    time.wSecond = static_cast<WORD>(second % 60);
    time.wMilliseconds = 0;
    return true;
}
