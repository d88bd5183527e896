#pragma once

#include "q32Base/platform/Records.h"

#include <cstdint>

namespace q32::win32 {

// The system counts units of 100 ns since 1601-01-01 00:00 UTC, the library seconds since
// 1970-01-01.
inline constexpr std::int64_t kUnitsPerSecond = 10'000'000;
inline constexpr std::int64_t kSecondsTo1970 = 11'644'473'600;

/// False for a moment that the system can't count.
inline bool fnToFileTime(std::int64_t seconds, FILETIME& time) {
    if (seconds < -kSecondsTo1970 || seconds > INT64_MAX / kUnitsPerSecond - kSecondsTo1970)
        return false;
    const auto units = static_cast<std::uint64_t>((seconds + kSecondsTo1970) * kUnitsPerSecond);
    time.dwLowDateTime = static_cast<DWORD>(units);
    time.dwHighDateTime = static_cast<DWORD>(units >> 32);
    return true;
}

inline std::int64_t fnFromFileTime(const FILETIME& time) {
    const std::uint64_t units = std::uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime;
    return static_cast<std::int64_t>(units / kUnitsPerSecond) - kSecondsTo1970;
}

} // namespace q32::win32
