/// @file
/// Paths of the headless world: taken apart, folded, and matched against masks.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace q32::headless {

/// A path with each slash turned into a backslash.
std::string fnTurnSlashes(std::string_view path);
/// ASCII letters in lower case: names are compared without case.
std::string fnFold(std::string_view text);
/// The names of a path without ".", each ".." having taken away the name before it. A ".." at the
/// start has nothing to take away and is dropped.
std::vector<std::string> fnSplitPath(std::string_view path);
/// The names with backslashes between them.
std::string fnJoinNames(const std::vector<std::string>& names);
/// The same, folded.
std::string fnNamesKey(const std::vector<std::string>& names);
/// Whether a bare name matches a mask of `*` and `?`, without case.
bool fnMatchMask(std::string_view mask, std::string_view name);

} // namespace q32::headless
