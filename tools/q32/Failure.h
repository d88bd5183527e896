/// @file The ways in which a run ends other than well. All are thrown by value and caught in one
/// place, `fnRunTool`.
#pragma once

#include <string>

namespace tool {

/// Exit codes of the program. A signal that ends it gives 128 plus its number.
enum EXIT_CODE : int { CODE_DONE = 0, CODE_FAILED = 1, CODE_USAGE = 2, CODE_INTERRUPTED = 130 };

/// Something failed; the text names the file and the cause.
struct Failure {
    std::string m_szText;
};

/// The words on the command line are wrong.
struct UsageError {
    std::string m_szText;
};

/// The user ended the run by Esc, or a signal did.
struct Interrupted {
    int m_nCode = CODE_INTERRUPTED;
};

} // namespace tool
