#pragma once

#include <string>
#include <vector>

namespace tool {

/// Runs the program with the words of its command line, without its own name, and reports every
/// failure on the error stream. Returns the exit code. Throws nothing.
int fnRunTool(const std::vector<std::string>& words) noexcept;

} // namespace tool
