#include "platforms/posix/CqPosixLocale_p.h"
#include "platforms/posix/TimePattern_p.h"

#include <chrono>
#include <ctime>
#include <langinfo.h>
#include <utility>

using namespace q32::posix;

namespace {

// The documented range of SYSTEMTIME.
constexpr int kFirstYear = 1601;
constexpr int kLastYear = 30827;

/// Formats a time by a pattern. The result may be empty, so a prefix distinguishes that from a
/// failure.
bool fnFormat(const std::string& pattern, const std::tm& time, locale_t locale, std::string& text) {
    char buffer[1024];
    const std::size_t length =
        ::strftime_l(buffer, sizeof buffer, ("." + pattern).c_str(), &time, locale);
    if (length == 0)
        return false;
    text.assign(buffer + 1, length - 1);
    return true;
}

} // namespace

CqPosixLocale::CqPosixLocale(std::shared_ptr<const CodePage> codePage)
    : m_pCodePage(std::move(codePage)) {
    ::tzset();
}

std::size_t CqPosixLocale::fnGetCharBytes(const char* text, std::size_t count) {
    return m_pCodePage->fnGetCharBytes(text, count);
}

bool CqPosixLocale::fnFormatDate(const SYSTEMTIME& time, std::string& text) {
    using namespace std::chrono;
    const year_month_day date{year{time.wYear}, month{time.wMonth}, day{time.wDay}};
    if (!date.ok() || time.wYear < kFirstYear || time.wYear > kLastYear)
        return false;
    const sys_days days{date};
    std::tm broken{};
    broken.tm_year = time.wYear - 1900;
    broken.tm_mon = time.wMonth - 1;
    broken.tm_mday = time.wDay;
    broken.tm_wday = static_cast<int>(weekday{days}.c_encoding());
    broken.tm_yday = static_cast<int>((days - sys_days{date.year() / January / 1}).count());
    broken.tm_isdst = -1;
    const locale_t locale = m_pCodePage->fnGetLocale();
    return fnFormat(::nl_langinfo_l(D_FMT, locale), broken, locale, text);
}

bool CqPosixLocale::fnFormatTime(const SYSTEMTIME& time, UINT flags, std::string& text) {
    if (time.wHour > 23 || time.wMinute > 59 || time.wSecond > 59)
        return false;
    std::tm broken{};
    broken.tm_hour = time.wHour;
    broken.tm_min = time.wMinute;
    broken.tm_sec = time.wSecond;
    broken.tm_mday = 1;
    broken.tm_isdst = -1;
    const locale_t locale = m_pCodePage->fnGetLocale();
    const std::string twelveHour = ::nl_langinfo_l(T_FMT_AMPM, locale);
    std::string pattern = ::nl_langinfo_l(T_FMT, locale);
    if (flags & kTimeForce24Hour)
        pattern = fnForce24Hour(pattern, twelveHour);
    if (flags & kTimeNoSeconds)
        pattern = fnDropSeconds(pattern, twelveHour);
    return fnFormat(pattern, broken, locale, text);
}

bool CqPosixLocale::fnGetLocalTime(std::int64_t seconds, SYSTEMTIME& time) {
    const std::time_t moment = seconds;
    std::tm broken{};
    if (!::localtime_r(&moment, &broken))
        return false;
    const std::int64_t year = std::int64_t{broken.tm_year} + 1900;
    if (year < kFirstYear || year > kLastYear)
        return false;
    time = {};
    time.wYear = static_cast<WORD>(year);
    time.wMonth = static_cast<WORD>(broken.tm_mon + 1);
    time.wDayOfWeek = static_cast<WORD>(broken.tm_wday);
    time.wDay = static_cast<WORD>(broken.tm_mday);
    time.wHour = static_cast<WORD>(broken.tm_hour);
    time.wMinute = static_cast<WORD>(broken.tm_min);
    time.wSecond = static_cast<WORD>(broken.tm_sec);
    return true;
}
