#include "platforms/win32/CqWin32Locale_p.h"
#include "platforms/win32/FileTime_p.h"

#include <utility>

using namespace q32::win32;

namespace {

constexpr int kMaxUnits = 260; ///< of a formatted date or time, with the NUL

static_assert(kTimeNoSeconds == TIME_NOSECONDS && kTimeForce24Hour == TIME_FORCE24HOURFORMAT);

/// The date alone, with its day of the week. False for one that doesn't exist.
bool fnFindDate(const SYSTEMTIME& time, SYSTEMTIME& date) {
    const SYSTEMTIME midnight{time.wYear, time.wMonth, 0, time.wDay, 0, 0, 0, 0};
    FILETIME moment;
    // Not every version of the system refuses a day beyond the end of its month.
    return ::SystemTimeToFileTime(&midnight, &moment) && ::FileTimeToSystemTime(&moment, &date) &&
           date.wDay == time.wDay;
}

} // namespace

CqWin32Locale::CqWin32Locale(std::shared_ptr<const CodePage> codePage)
    : m_pCodePage(std::move(codePage)) {}

std::size_t CqWin32Locale::fnGetCharBytes(const char* text, std::size_t count) {
    return m_pCodePage->fnGetCharBytes(text, count);
}

bool CqWin32Locale::fnFormatDate(const SYSTEMTIME& time, std::string& text) {
    wchar_t wide[kMaxUnits];
    SYSTEMTIME date;
    if (!fnFindDate(time, date) ||
        ::GetDateFormatW(::GetThreadLocale(), 0, &date, nullptr, wide, kMaxUnits) == 0)
        return false;
    text = m_pCodePage->fnFromWideAnyhow(wide);
    return true;
}

bool CqWin32Locale::fnFormatTime(const SYSTEMTIME& time, UINT flags, std::string& text) {
    wchar_t wide[kMaxUnits];
    if (::GetTimeFormatW(::GetThreadLocale(), flags, &time, nullptr, wide, kMaxUnits) == 0)
        return false;
    text = m_pCodePage->fnFromWideAnyhow(wide);
    return true;
}

bool CqWin32Locale::fnGetLocalTime(std::int64_t seconds, SYSTEMTIME& time) {
    FILETIME moment;
    SYSTEMTIME utc;
    return fnToFileTime(seconds, moment) && ::FileTimeToSystemTime(&moment, &utc) &&
           ::SystemTimeToTzSpecificLocalTime(nullptr, &utc, &time);
}
