#pragma once

#include <string>
#include <string_view>

namespace q32::posix {

/// Rewrites a time pattern of `strftime` to the 24-hour clock: hours count to 23, and the mark of
/// the half of the day goes with the blank beside it.
/// @param twelveHour  the locale's own 12-hour pattern, which stands behind %r
std::string fnForce24Hour(std::string_view pattern, std::string_view twelveHour);

/// Takes the seconds out of a time pattern: with the mark in front of them ("%H:%M:%S"), or with
/// the unit behind them when they have one ("%H h %M min %S s").
/// @param twelveHour  as above
std::string fnDropSeconds(std::string_view pattern, std::string_view twelveHour);

} // namespace q32::posix
