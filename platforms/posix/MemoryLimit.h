/// @file
/// How much memory the process may use: the machine's, or less when it lives in a control group.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace q32::posix {

/// The number of bytes in a control group's file. Nothing for "max", for what is no number, and for
/// a number that doesn't fit, which all mean no limit.
std::optional<std::uint64_t> fnParseLimit(std::string_view text);

/// The lowest limit of the control groups of the process and of those around them, of both
/// generations: `memory.max` and `memory.high`, or `memory.limit_in_bytes`. Nothing when there is
/// none, or when what is read makes no sense.
/// @param process  the directory with the process's `cgroup` and `mountinfo`
std::optional<std::uint64_t> fnGroupMemoryLimit(const std::string& process);

/// Bytes of memory, of the machine or of the groups of this process, whichever has less. 0 when the
/// system doesn't tell.
std::uint64_t fnUsableMemory();

} // namespace q32::posix
