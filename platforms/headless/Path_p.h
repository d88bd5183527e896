/// @file
/// Paths of the headless world: splitting, case folding, and matching against masks.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace q32::headless {

/// Replaces each slash of a path by a backslash.
std::string fnToBackslashes(std::string_view path);
/// Converts ASCII letters to lower case, for comparison without case.
std::string fnFold(std::string_view text);
/// The names of a path without "."; each ".." removes the name before it, if any.
std::vector<std::string> fnListPathNames(std::string_view path);
/// Joins names by backslashes.
std::string fnJoinNames(const std::vector<std::string>& names);
/// The same, folded.
std::string fnNamesKey(const std::vector<std::string>& names);
/// Whether a bare name matches a mask of `*` and `?`, without case.
bool fnMatchMask(std::string_view mask, std::string_view name);

} // namespace q32::headless
