/// @file
/// Runs an operation repeatedly, with each of its calls of the system and of the allocator failing
/// in turn, and looks each time for what is lost or left.
#pragma once

#include "tests/platforms/PosixTestTools.h"

#include <cstddef>
#include <functional>
#include <string>

// NOLINTBEGIN(bugprone-reserved-identifier): the sanitizer's names. Null without it.
extern "C" [[gnu::weak]] void __lsan_disable();
extern "C" [[gnu::weak]] void __lsan_enable();
// NOLINTEND(bugprone-reserved-identifier)

namespace q32::test {

/// Where the folders of these tests are: in memory, since they save files thousands of times.
inline constexpr char kFaultRoot[] = "/dev/shm";

/// Whether the long forms run: each call, with each of its errors. The short ones stride over the
/// calls, with one error for each.
bool fnIsLongRun();

/// What is run. Only `m_Work` is subject to failures, and it doesn't depend on the run.
struct FaultOperation {
    std::string m_szName;
    std::function<void()> m_Prepare = [] {};
    /// True: done. False, or an exception of the library: refused.
    std::function<bool()> m_Work;
    /// What is wrong with the state afterwards; empty for nothing.
    std::function<std::string(bool done)> m_Check = [](bool) { return std::string(); };
    /// Releases what work and preparation made.
    std::function<void()> m_Clear = [] {};
    /// A service of the platform may throw std::bad_alloc; what a host calls may not.
    bool m_bService = false;
    /// A foreign library (libtiff, or the C library in newlocale) doesn't free all blocks when it
    /// is refused others.
    bool m_bLosesBlocks = false;
    /// An interrupted or partial call doesn't matter to it.
    bool m_bRepeats = true;
};

/// The work of a service of the platform.
FaultOperation fnService(const char* name, std::function<bool()> work);

struct FaultTally {
    std::size_t m_nCalls = 0;   ///< of one clean run
    std::size_t m_nRuns = 0;    ///< with a failure
    std::size_t m_nRefused = 0; ///< of these, not done
};

/// Each run with a failure must end as `m_Check` says, raise nothing but the library's exceptions,
/// and leave no descriptor, file, mapping or block. The clean run that follows must be done. What
/// is wrong is reported as a failure of the test.
/// @param folder  where no file may be left, except by a call that should have deleted it: what is
///                left then must be swept
FaultTally fnFailEachCall(const Folder& folder, const FaultOperation& operation);

} // namespace q32::test
