/// @file Makes allocations fail on demand. A test program that links q32_failing_allocator has
/// every form of operator new replaced; without an injected failure they behave as usual.
#pragma once

#include <cstddef>
#include <initializer_list>
#include <utility>

/// During its lifetime, the `nth` allocation by operator new on this thread fails (1 is the next
/// one), and with `all` every later one too. Objects don't nest.
class CqAllocationFailure {
public:
    explicit CqAllocationFailure(std::size_t nth, bool all = false);
    ~CqAllocationFailure();
    CqAllocationFailure(const CqAllocationFailure&) = delete;
    CqAllocationFailure& operator=(const CqAllocationFailure&) = delete;

    /// Whether an allocation was made to fail.
    bool fnHappened() const;
    /// Ends the injection, so that the rest of the scope allocates freely.
    void fnEnd();

    /// Blocks from operator new that have not been deleted, of all threads.
    static std::size_t fnOutstanding();
    /// Calls of operator new on this thread so far, including failed ones.
    static std::size_t fnCount();
};

/// During its lifetime, records the blocks that this thread allocates with operator new. Watches
/// don't nest.
class CqBlockWatch {
public:
    /// @param sizes  of the blocks to be counted; of other blocks only the largest is recorded
    explicit CqBlockWatch(std::initializer_list<std::size_t> sizes);
    ~CqBlockWatch();
    CqBlockWatch(const CqBlockWatch&) = delete;
    CqBlockWatch& operator=(const CqBlockWatch&) = delete;

    /// How many blocks of these sizes were allocated,
    static std::size_t fnTaken();
    /// and how many of them were held at once.
    static std::size_t fnMostHeld();
    static std::size_t fnLargestOther();
};

/// The same as below, with `prepare`, which allocates freely, before each run.
template <typename Prepare, typename Work>
std::size_t fnFailEachAllocation(Prepare&& prepare, Work&& work) {
    for (std::size_t nth = 1;; ++nth) {
        prepare();
        CqAllocationFailure failure(nth);
        work(failure);
        if (!failure.fnHappened())
            return nth - 1;
    }
}

/// Runs `work` repeatedly, with its first allocation failing, then its second, and so on, until it
/// completes without a failure. `work` receives the injection, to end it before examining the
/// result, and must not let out any exception that the caller doesn't catch here.
/// @return how many runs had a failure
template <typename Work>
std::size_t fnFailEachAllocation(Work&& work) {
    return fnFailEachAllocation([] {}, std::forward<Work>(work));
}
