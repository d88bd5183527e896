#pragma once

#include "q32Base/framework/Memory.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace q32 {

/// Work on independent units, such as rows or tiles, divided among the threads of the platform's
/// work service. Without one, and where it wouldn't pay, the caller does it alone, in order.
///
/// The work is a function `work(worker, first, end)` for the units from `first` to before `end`.
/// Calls with different workers may run at once, on different threads, so they share nothing that
/// they write; scratch memory is allocated before, one for each worker. They use no screen, no
/// progress, no settings and no lock of the library.
///
/// Whatever `work` throws is thrown to the caller, once no call is running any more: that of the
/// first unit, as if it had been the only one. Later units may have been done or not.
class Parallel {
public:
    static constexpr std::uint32_t kAnyBatch = 0xFFFFFFFF;

    /// @param nanoseconds  roughly what a unit takes on one thread
    /// @param batch        the most units between two reports
    Parallel(std::uint32_t units, double nanoseconds, std::uint32_t batch = kAnyBatch);

    /// Units that the caller does alone.
    explicit Parallel(std::uint32_t units) : m_nUnits(units) {}

    std::uint32_t fnGetUnits() const { return m_nUnits; }
    /// Workers are numbered below this; 1: the caller works alone.
    std::uint32_t fnGetWorkers() const { return m_nWorkers; }
    /// Units between two reports; 1 if the caller works alone.
    std::uint32_t fnGetBatch() const { return m_nBatch; }

    /// Does all units. The caller, if alone, does them in one call.
    template <class Work>
    void fnRun(Work&& work) const {
        if (m_nWorkers == 1)
            work(std::uint32_t{0}, std::uint32_t{0}, m_nUnits);
        else
            fnRunPieces(0, m_nUnits, work);
    }

    /// Does the units in batches. After each, calls `isAborted(unit)` on this thread for its units
    /// in order. When that returns true, or throws, calls `undo(first, end)` for the units that are
    /// done beyond the one reported last, and returns false. Without reports, `fnRun` is faster.
    template <class Work, class IsAborted, class Undo>
    bool fnRunReported(Work&& work, IsAborted&& isAborted, Undo&& undo) const {
        for (std::uint32_t first = 0; first < m_nUnits;) {
            const std::uint32_t end = first + std::min(m_nBatch, m_nUnits - first);
            if (m_nWorkers == 1)
                work(std::uint32_t{0}, first, end);
            else
                fnRunPieces(first, end, work);
            for (; first < end; ++first) {
                try {
                    if (!isAborted(first))
                        continue;
                } catch (...) {
                    undo(first + 1, end);
                    throw;
                }
                undo(first + 1, end);
                return false;
            }
        }
        return true;
    }

    /// The same for work that can't be undone: several threads do the units of a batch after their
    /// calls, and after an abort those up to the one that was called last. So nothing is done
    /// beyond it.
    template <class Work, class IsAborted>
    bool fnRunAnnounced(Work&& work, IsAborted&& isAborted) const {
        if (m_nWorkers == 1)
            return fnRunReported(work, isAborted, [](std::uint32_t, std::uint32_t) {});
        bool aborted = false;
        for (std::uint32_t first = 0, next; first < m_nUnits && !aborted; first = next) {
            const std::uint32_t end = first + std::min(m_nBatch, m_nUnits - first);
            next = first;
            try {
                while (next < end && !aborted)
                    aborted = isAborted(next++);
            } catch (...) {
                fnRunPieces(first, next, work);
                throw;
            }
            fnRunPieces(first, next, work);
        }
        return !aborted;
    }

private:
    using Call = void (*)(void* work, std::uint32_t worker, std::uint32_t first, std::uint32_t end);

    template <class Work>
    void fnRunPieces(std::uint32_t first, std::uint32_t end, Work& work) const {
        fnRunPieces(
            first, end,
            [](void* function, std::uint32_t worker, std::uint32_t from, std::uint32_t to) {
                (*static_cast<Work*>(function))(worker, from, to);
            },
            const_cast<void*>(static_cast<const void*>(&work)));
    }
    void fnRunPieces(std::uint32_t first, std::uint32_t end, Call call, void* work) const;

    std::uint32_t m_nUnits;
    std::uint32_t m_nWorkers = 1;
    std::uint32_t m_nBatch = 1;
    double m_dPieceUnits = 1.0; ///< the least units of a piece
};

/// An object for each worker of a division, such as its scratch memory.
template <class State>
class PerWorker {
public:
    /// All are made from the same arguments. The first lies here: a caller that works alone
    /// allocates nothing more than it. Raises the memory exception.
    template <class... Arguments>
    explicit PerWorker(const Parallel& parallel, Arguments&&... arguments) : m_First(arguments...) {
        fnGuardMemory([&] {
            m_Others.reserve(parallel.fnGetWorkers() - 1);
            while (m_Others.size() + 1 < parallel.fnGetWorkers())
                m_Others.emplace_back(arguments...);
        });
    }

    State& operator[](std::uint32_t worker) { return worker == 0 ? m_First : m_Others[worker - 1]; }
    /// Calls `visit(state)` for all, on this thread.
    template <class Visit>
    void fnForEach(Visit visit) {
        visit(m_First);
        for (State& state : m_Others)
            visit(state);
    }

private:
    State m_First;
    std::vector<State> m_Others;
};

/// A block of bytes for each worker. The contents are arbitrary at first.
class WorkerBytes {
public:
    /// Raises the memory exception.
    WorkerBytes(const Parallel& parallel, std::size_t bytes)
        : m_nStride((bytes + kLine - 1) / kLine * kLine),
          m_pBytes(fnNewArray<unsigned char>(m_nStride * parallel.fnGetWorkers())) {}

    unsigned char* operator[](std::uint32_t worker) const {
        return m_pBytes.get() + m_nStride * worker;
    }

private:
    static constexpr std::size_t kLine = 64; ///< of the cache: workers share none

    std::size_t m_nStride;
    std::unique_ptr<unsigned char[]> m_pBytes;
};

} // namespace q32
