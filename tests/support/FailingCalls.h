/// @file
/// Makes calls of the system and of the C library's allocator fail on demand, counts them, and
/// kills the process at one of them. A test program that links q32_failing_calls has these
/// functions replaced, also for the shared libraries that it loads; unless one
/// of the objects below exists, they behave as usual. Calls of other threads never fail and aren't
/// counted.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace q32::test {

/// In place of an error: the call transfers half of what was asked, which is a success.
inline constexpr int kShortTransfer = -1;

/// A function that can be made to fail.
struct FailingFunction {
    const char* m_szName;
    bool m_bMemory;                ///< allocates; all others are calls of the system
    std::span<const int> m_Errors; ///< with which it plausibly fails, or kShortTransfer
};

/// All of them. The list has static storage.
std::span<const FailingFunction> fnFailingFunctions();

/// During its lifetime, the `nth` call of a function by this thread (1 is the next one) fails with
/// `error`, and with `all` every later one too. A close that fails has closed its descriptor.
/// Only one of CallFault, CallCount and fnKillAtCall is in force at a time.
class CallFault {
public:
    CallFault(const char* function, std::size_t nth, int error, bool all = false);
    ~CallFault() { fnEnd(); }
    CallFault(const CallFault&) = delete;
    CallFault& operator=(const CallFault&) = delete;

    /// Whether a call was made to fail.
    bool fnHappened() const;
    /// Ends the section before the object's life.
    static void fnEnd();
};

/// Counts this thread's calls during its lifetime.
class CallCount {
public:
    CallCount();
    ~CallCount();
    CallCount(const CallCount&) = delete;
    CallCount& operator=(const CallCount&) = delete;

    /// Calls of one function so far, by its place in the list.
    static std::size_t fnOf(std::size_t function);
    /// Calls of the system so far.
    static std::size_t fnOfSystem();
};

/// Kills this process by SIGKILL at its `nth` call of the system (1 is the next one).
/// @param after  the call has had its effect; otherwise it isn't made
void fnKillAtCall(std::size_t nth, bool after);

/// Blocks that the allocator has given out and not got back, of all threads.
std::size_t fnCountBlocks();
/// Bytes mapped by mmap and not unmapped. Mappings of the C library's own don't count.
std::int64_t fnCountMapped();

} // namespace q32::test
