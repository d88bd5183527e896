#pragma once

#include "q32Base/platform/Export.h"

#include <chrono>
#include <cstdint>

/// A task in independent pieces, numbered from 0.
class CqWorkPieces {
public:
    virtual ~CqWorkPieces() = default;

    /// Does one piece, on any thread. Other pieces may be done at the same time, but none of them
    /// with the same `worker`: a number below the service's concurrency and below the count of
    /// pieces.
    virtual void fnRunPiece(std::uint32_t index, std::uint32_t worker) noexcept = 0;
};

/// Threads for the library's operations. A platform may do without this service: each operation is
/// then done by the thread that calls it.
///
/// The functions may be called on several threads at once, and from within a piece. The callers
/// share the threads, and each call makes progress even if no thread is free: the caller takes part
/// in its own task.
class Q32_API CqWorkService {
public:
    virtual ~CqWorkService() = default;

    /// How many threads may take part in one task, the caller included; at least 1. Constant while
    /// the service is attached.
    virtual std::uint32_t fnGetConcurrency() = 0;

    /// Calls `fnRunPiece` once for each index below `count`, in any order and on any threads.
    /// Returns when all the calls have returned; what they wrote is then visible to the caller.
    /// Can't fail: without threads or memory, the caller does the pieces itself.
    ///
    /// On the calling thread a piece may call the host: progress, files and other services, and
    /// through these this function. So no lock is held while pieces are done.
    virtual void fnRun(std::uint32_t count, CqWorkPieces& pieces) noexcept = 0;

    /// What starting and ending a task costs. The library doesn't divide work that takes only a
    /// few times as long. 20 microseconds unless overridden; with 0 everything is divided.
    virtual std::chrono::nanoseconds fnGetOverhead();
};
