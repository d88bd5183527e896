#pragma once

#include "q32Base/platform/Export.h"

#include <cstdint>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

/// Counts the calls of one kind and makes chosen ones fail. Any thread may use it.
class Q32_API CqHeadlessCalls {
public:
    static constexpr std::uint64_t kForever = ~std::uint64_t{0};

    /// The nth call from now on fails, counted from 1, and those after it: `times` calls in all.
    /// Replaces what was told before.
    void fnFail(std::uint64_t nth = 1, std::uint64_t times = 1);
    void fnFailNever() { fnFail(1, 0); }
    /// Calls up to now, failed ones included.
    std::uint64_t fnGetCount() const;
    /// Calls that were made to fail.
    std::uint64_t fnGetFailed() const;

    /// For the services: counts a call. False when it is to fail.
    bool fnPass();

private:
    mutable std::mutex m_Lock;
    std::uint64_t m_nCount = 0;
    std::uint64_t m_nFailed = 0;
    std::uint64_t m_nSkip = 0;
    std::uint64_t m_nTimes = 0;
};

/// What the library did that a real system would punish: a handle closed twice, memory released
/// that was never reserved. One sentence each, in order. Any thread may use it.
class Q32_API CqHeadlessMisuses {
public:
    /// One that there is no memory for isn't noted.
    void fnAdd(std::string_view what) noexcept;
    std::vector<std::string> fnGetAll() const;
    void fnClear();

private:
    mutable std::mutex m_Lock;
    std::vector<std::string> m_All;
};
