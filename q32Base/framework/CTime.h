#pragma once

#include "q32Base/platform/Export.h"
#include "q32Base/platform/Records.h"

#include <cstdint>

/// A moment in whole seconds since 1970-01-01 00:00 UTC.
class Q32_API CTime {
public:
    /// 1970-01-01 00:00 UTC.
    CTime() = default;
    /// So many seconds after that; a negative number lies before it.
    explicit CTime(std::int64_t seconds) : m_nTime(seconds) {}

    /// The same seconds; 0 for a default object.
    std::int64_t GetTime() const { return m_nTime; }
    /// Local time by the platform in force. False if it is unavailable, as for moments before 1970.
    /// Raises the memory exception.
    bool GetAsSystemTime(SYSTEMTIME& time) const;

    /// Whether both are the same second.
    bool operator==(const CTime& other) const { return m_nTime == other.m_nTime; }

private:
    std::int64_t m_nTime = 0;
};
