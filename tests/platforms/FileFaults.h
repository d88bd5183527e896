/// @file
/// Makes calls of the system fail on demand. A test program that links FileFaults.cpp has its file
/// functions replaced; without an injected failure they behave as usual.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace q32::test {

/// During its lifetime, the `nth` call of a function (1 is the next one) fails with `error`, and
/// with `all` every later one too. Objects don't nest. For programs of one thread.
class FileFault {
public:
    FileFault(std::string function, std::size_t nth, int error, bool all = false);
    ~FileFault();
    FileFault(const FileFault&) = delete;
    FileFault& operator=(const FileFault&) = delete;

    /// Whether a call was made to fail.
    bool fnHappened() const;
};

/// The functions that can fail.
const std::vector<std::string>& fnFileFunctions();

} // namespace q32::test
