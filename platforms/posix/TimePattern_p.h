#pragma once

#include <string>
#include <string_view>

namespace q32::posix {

/// Rewrites a `strftime` pattern to the 24-hour clock: hours count to 23, and the AM/PM mark is
/// removed with the blank beside it.
/// @param twelveHour  the locale's own 12-hour pattern, for which %r stands
std::string fnForce24Hour(std::string_view pattern, std::string_view twelveHour);

/// Removes the seconds from a time pattern: with the separator ahead of them ("%H:%M:%S"), or with
/// the unit after them if they have one ("%H h %M min %S s").
/// @param twelveHour  as above
std::string fnDropSeconds(std::string_view pattern, std::string_view twelveHour);

} // namespace q32::posix
