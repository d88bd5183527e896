/// @file
/// How much memory the process may use: the machine's, or less within a control group.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace q32::posix {

/// Parses a control group's limit in bytes. Nothing for "max", for anything but a number, and for a
/// number that doesn't fit, which all mean no limit.
std::optional<std::uint64_t> fnParseLimit(std::string_view text);

/// The lowest limit of the process's control groups and their parents, in both versions:
/// `memory.max` and `memory.high`, or `memory.limit_in_bytes`. Nothing when there is none, or when
/// the data is invalid.
/// @param process  the directory with the process's `cgroup` and `mountinfo`
std::optional<std::uint64_t> fnGroupMemoryLimit(const std::string& process);

/// Bytes of memory of the machine or of this process's groups, whichever is less. 0 when unknown.
std::uint64_t fnUsableMemory();

} // namespace q32::posix
