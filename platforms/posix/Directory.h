#pragma once

#include <string>
#include <vector>

namespace q32::posix {

/// The names in a directory of the system, sorted, without "." and ".."; none when it can't be
/// read.
std::vector<std::string> fnListDirectory(const std::string& nativePath);

/// Makes a directory and the parents that are missing, each for its owner alone.
bool fnMakeDirectories(const std::string& nativePath);

} // namespace q32::posix
