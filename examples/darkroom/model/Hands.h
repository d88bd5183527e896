/// @file The threads of the platform's work service, for work that the darkroom does itself.
#pragma once

#include "q32Base/platform/CqWorkService.h"

#include <algorithm>
#include <cstdint>
#include <exception>
#include <vector>

namespace darkroom {

/// Divides units of work, such as rows, that share nothing they write. Without a work service, and
/// where it wouldn't pay, the caller does them alone.
class Hands {
public:
    /// @param nanoseconds  roughly what all of the work takes on one thread
    explicit Hands(double nanoseconds);

    /// How many threads take part; 1: the caller's alone.
    std::uint32_t fnGetCount() const { return m_nCount; }

    /// Calls `work(first, end)` for ranges that together cover the units from 0 to before `units`,
    /// and returns when all calls have ended. If some throw, what the first range throws is thrown
    /// here; the others have been done or have failed as well. May throw std::bad_alloc, with
    /// nothing done.
    template <typename Work>
    void fnRun(std::uint32_t units, Work&& work) const {
        if (m_nCount == 1)
            return work(std::uint32_t{0}, units);
        const std::uint32_t count = std::min(units, m_nCount * kRangesEach);
        Ranges<Work> ranges(units, count, work);
        fnRunPieces(count, ranges);
        ranges.fnRethrow();
    }

private:
    /// Ranges for each thread: enough to be dealt out evenly although threads differ in speed.
    static constexpr std::uint32_t kRangesEach = 4;

    template <typename Work>
    class Ranges final : public CqWorkPieces {
    public:
        Ranges(std::uint32_t units, std::uint32_t count, Work& work)
            : m_nUnits(units), m_nCount(count), m_Work(work), m_Failures(count) {}

        void fnRunPiece(std::uint32_t index, std::uint32_t) noexcept override {
            try {
                m_Work(fnBegin(index), fnBegin(index + 1));
            } catch (...) {
                m_Failures[index] = std::current_exception();
            }
        }

        void fnRethrow() const {
            for (const std::exception_ptr& failure : m_Failures)
                if (failure)
                    std::rethrow_exception(failure);
        }

    private:
        std::uint32_t fnBegin(std::uint32_t index) const {
            return static_cast<std::uint32_t>(std::uint64_t{m_nUnits} * index / m_nCount);
        }

        std::uint32_t m_nUnits;
        std::uint32_t m_nCount;
        Work& m_Work;
        std::vector<std::exception_ptr> m_Failures; ///< of each range; null: none
    };

    static void fnRunPieces(std::uint32_t count, CqWorkPieces& pieces);

    std::uint32_t m_nCount = 1;
};

} // namespace darkroom
