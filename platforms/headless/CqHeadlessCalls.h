#pragma once

#include "q32Base/platform/Export.h"

#include <cstdint>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

/// Counts the calls of one kind and makes chosen ones fail. Thread-safe.
class Q32_API CqHeadlessCalls {
public:
    /// For `fnFail`: the calls fail until `fnFailNever`.
    static constexpr std::uint64_t kForever = ~std::uint64_t{0};

    /// Makes the nth call from now on fail, counted from 1, and those after it: `times` calls in
    /// all. Replaces an earlier setting.
    void fnFail(std::uint64_t nth = 1, std::uint64_t times = 1);
    /// Lets all later calls pass.
    void fnFailNever() { fnFail(1, 0); }
    /// Calls so far, including failed ones.
    std::uint64_t fnGetCount() const;
    /// Calls that failed on demand.
    std::uint64_t fnGetFailed() const;

    /// Called by the services: counts a call. False if it is to fail.
    bool fnPass();

private:
    mutable std::mutex m_Lock;
    std::uint64_t m_nCount = 0;
    std::uint64_t m_nFailed = 0;
    std::uint64_t m_nSkip = 0;
    std::uint64_t m_nTimes = 0;
};

/// Misuses by the library that a real system would punish: a handle closed twice, memory released
/// that was never reserved. One sentence each, in order. Thread-safe.
class Q32_API CqHeadlessMisuses {
public:
    /// Adds a misuse; it is lost when memory is exhausted.
    void fnAdd(std::string_view what) noexcept;
    /// All misuses since the start, or since they were last cleared.
    std::vector<std::string> fnGetAll() const;
    /// Forgets them.
    void fnClear();

private:
    mutable std::mutex m_Lock;
    std::vector<std::string> m_All;
};
