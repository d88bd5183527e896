/// @file
/// Makes allocations fail on demand. A test program that links q32_failing_allocator has every form
/// of operator new replaced; without an order to fail they behave as ever.
#pragma once

#include <cstddef>
#include <initializer_list>
#include <utility>

/// For its life, the `nth` allocation by operator new on this thread fails (1 is the next one), and
/// with `all` every later one too. Orders don't nest.
class CqAllocationFailure {
public:
    explicit CqAllocationFailure(std::size_t nth, bool all = false);
    ~CqAllocationFailure();
    CqAllocationFailure(const CqAllocationFailure&) = delete;
    CqAllocationFailure& operator=(const CqAllocationFailure&) = delete;

    /// Whether an allocation was made to fail.
    bool fnHappened() const;
    /// Withdraws the order, so that what follows in the scope allocates freely.
    void fnEnd();

    /// Blocks from operator new that no operator delete has taken back, of all threads.
    static std::size_t fnOutstanding();
    /// Calls of operator new on this thread so far, failed ones included.
    static std::size_t fnCount();
};

/// For its life, looks at the blocks that this thread takes from operator new. Watches don't nest.
class CqBlockWatch {
public:
    /// @param sizes  of the blocks to be counted apart; of other blocks the largest one is told
    explicit CqBlockWatch(std::initializer_list<std::size_t> sizes);
    ~CqBlockWatch();
    CqBlockWatch(const CqBlockWatch&) = delete;
    CqBlockWatch& operator=(const CqBlockWatch&) = delete;

    /// How many blocks of the sizes were taken,
    static std::size_t fnTaken();
    /// and how many of them were held at once.
    static std::size_t fnMostHeld();
    static std::size_t fnLargestOther();
};

/// The same as below, with `prepare` before each run, which allocates freely.
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

/// Runs `work` again and again, with its first allocation failing, then its second, and so on,
/// until it gets by without a failure. `work` takes the order (to end it before it looks at what it
/// got) and must not let anything out that isn't caught here by the caller.
/// @return how many runs had a failure
template <typename Work>
std::size_t fnFailEachAllocation(Work&& work) {
    return fnFailEachAllocation([] {}, std::forward<Work>(work));
}
