#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <string>

namespace q32::posix {

/// Small text files, by native path. A longer file is an error, not truncated.
inline constexpr std::size_t kMaxTextBytes = std::size_t{16} << 20;

/// Reads a whole regular file. False if it is missing, unreadable or too long.
bool fnReadTextFile(const std::string& path, std::string& text);

/// Replaces a text file as a whole (ReplaceFile_p.h) under a lock between processes, a file of the
/// same name with ".lock" appended, which is not deleted. On a file system without locks, of two
/// processes that change the file at the same moment one may lose its change. On failure the old
/// file is unchanged. A link is followed: its target is replaced. Fails for a file not writable by
/// the caller, even if its directory would permit the replacement.
/// @param patience  how long to wait for the lock
/// @param edit      changes the text; false leaves the file unchanged, which is a success
bool fnUpdateTextFile(const std::string& path, std::chrono::milliseconds patience,
                      const std::function<bool(std::string& text)>& edit);

} // namespace q32::posix
