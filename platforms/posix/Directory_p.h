#pragma once

#include <string>
#include <vector>

namespace q32::posix {

/// The names in a directory, sorted, without "." and ".."; none when it can't be read.
std::vector<std::string> fnListDirectory(const std::string& nativePath);

/// Creates a directory and its missing parents, with mode 0700.
bool fnMakeDirectories(const std::string& nativePath);

} // namespace q32::posix
