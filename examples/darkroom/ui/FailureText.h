/// @file What the user reads about a failure.
#pragma once

#include "examples/darkroom/model/Outcome.h"

#include <cstdint>
#include <QString>

namespace darkroom {

/// Names the file, the cause as far as it can be found out, and what can be done about it. Empty
/// for an outcome without a message.
/// @param bytes  of the picture that was to be saved; 0 when none was
QString fnDescribeFailure(const Outcome& outcome, std::uint64_t bytes = 0);

/// What is full: memory and scratch disks, by name.
QString fnDescribeFull();

/// Why no copy of unsaved changes can be kept, as the end of a sentence.
/// @param needed  bytes that have to be free on the disk
QString fnDescribeUnkept(const Outcome& outcome, std::uint64_t needed);

/// Shows what `fnDescribeFailure` says, or the library's own message when memory is exhausted.
void fnShowFailure(const Outcome& outcome, std::uint64_t bytes = 0);

/// The formats of pictures that can be read or written, with their extensions.
QString fnListFormats(bool writing);

} // namespace darkroom
