#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <string>

namespace q32::win32 {

/// Small text files, by native path. A longer file is an error, not truncated.
inline constexpr std::size_t kMaxTextBytes = std::size_t{16} << 20;

/// Reads a whole file. False if it is missing, unreadable or too long.
/// @param patience  how long to wait for a process that has it to itself, as one has that is about
///                  to replace it
bool fnReadTextFile(const std::wstring& path, std::chrono::milliseconds patience,
                    std::string& text);

/// Replaces a text file as a whole (ReplaceFile_p.h) under a lock between processes: a file of the
/// same name with ".lock" appended, open to one process at a time and not deleted. On failure the
/// old file is unchanged. A link is followed: its target is replaced.
/// @param patience  how long to wait for the lock, and for a process that reads the file
/// @param edit      changes the text; false leaves the file unchanged, which is a success
bool fnUpdateTextFile(const std::wstring& path, std::chrono::milliseconds patience,
                      const std::function<bool(std::string& text)>& edit);

} // namespace q32::win32
