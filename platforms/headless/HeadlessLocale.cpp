#include "platforms/headless/HeadlessLocale.h"

#include <chrono>
#include <cstdio>

namespace {

using Bytes = const unsigned char*;

/// Two bytes of code page 932: a lead byte, and any trail byte that it allows.
std::size_t fnCount932(Bytes text, std::size_t count) {
    const bool lead = (text[0] >= 0x81 && text[0] <= 0x9F) || (text[0] >= 0xE0 && text[0] <= 0xFC);
    return lead && count > 1 && text[1] >= 0x40 && text[1] <= 0xFC && text[1] != 0x7F ? 2 : 1;
}

/// Bytes of a well-formed UTF-8 sequence by the table of the Unicode standard (chapter 3.9),
/// else 1.
std::size_t fnCountUtf8(Bytes text, std::size_t count) {
    struct Form {
        unsigned char m_nFirstLow, m_nFirstHigh, m_nSecondLow, m_nSecondHigh;
        std::size_t m_nBytes;
    };
    constexpr Form kForms[] = {
        {0xC2, 0xDF, 0x80, 0xBF, 2}, {0xE0, 0xE0, 0xA0, 0xBF, 3}, {0xE1, 0xEC, 0x80, 0xBF, 3},
        {0xED, 0xED, 0x80, 0x9F, 3}, {0xEE, 0xEF, 0x80, 0xBF, 3}, {0xF0, 0xF0, 0x90, 0xBF, 4},
        {0xF1, 0xF3, 0x80, 0xBF, 4}, {0xF4, 0xF4, 0x80, 0x8F, 4},
    };
    for (const Form& form : kForms) {
        if (text[0] < form.m_nFirstLow || text[0] > form.m_nFirstHigh)
            continue;
        if (count < form.m_nBytes || text[1] < form.m_nSecondLow || text[1] > form.m_nSecondHigh)
            return 1;
        for (std::size_t i = 2; i < form.m_nBytes; ++i)
            if ((text[i] & 0xC0) != 0x80)
                return 1;
        return form.m_nBytes;
    }
    return 1;
}

bool fnIsDate(const SYSTEMTIME& time) {
    const std::chrono::year_month_day date(std::chrono::year(time.wYear),
                                           std::chrono::month(time.wMonth),
                                           std::chrono::day(time.wDay));
    return time.wYear >= 1601 && time.wYear <= 30827 && date.ok();
}

} // namespace

std::size_t CqHeadlessLocale::fnGetCharBytes(const char* text, std::size_t count) {
    const auto bytes = reinterpret_cast<Bytes>(text);
    return m_nCodePage == 932     ? fnCount932(bytes, count)
           : m_nCodePage == 65001 ? fnCountUtf8(bytes, count)
                                  : 1;
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
    // 1601-01-01 and 30828-01-01.
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
