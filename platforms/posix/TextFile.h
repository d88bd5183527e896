#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <string>

namespace q32::posix {

/// Whole small text files, by native path. A file longer than this is refused, not cut.
inline constexpr std::size_t kMaxTextBytes = std::size_t{16} << 20;

/// Reads a regular file, whole. False when it is missing, unreadable or too long.
bool fnReadTextFile(const std::string& path, std::string& text);

/// Replaces a text file as a whole under a lock between processes, which lies in a file of the same
/// name with ".lock" behind it and stays there. The new text goes into a file of the same name with
/// ".new" behind it, out to the disk, and then takes the old one's place, mode and owner. On
/// failure the old file stands untouched. A link is followed: what it leads to is replaced. A file
/// that the caller may not write is refused, though its directory would allow the exchange.
/// @param patience  how long to wait for the lock
/// @param edit      changes the text; false leaves the file alone, which is a success
bool fnUpdateTextFile(const std::string& path, std::chrono::milliseconds patience,
                      const std::function<bool(std::string& text)>& edit);

} // namespace q32::posix
