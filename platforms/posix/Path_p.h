#pragma once

#include "platforms/posix/CodePage_p.h"

#include <string>
#include <string_view>

namespace q32::posix {

/// Converts a library path to the system's form: each backslash is a separator and becomes a slash.
/// A backslash byte that is the second half of a double-byte character is kept.
std::string fnNativePath(const CodePage& codePage, std::string_view path);
/// The same in place, without allocating.
void fnConvertSlashes(const CodePage& codePage, char* path, std::size_t length);

/// Converts a system directory to the library's form: unchanged, with one backslash at its end.
std::string fnLibraryDirectory(std::string_view directory);

/// A native path split after its last slash; the directory is "." when there is none.
struct SplitPath {
    std::string m_Directory;
    std::string m_Name;
};
SplitPath fnSplitPath(std::string_view nativePath);

/// Whether `name` matches `pattern`, in which `*` stands for any characters, or none, and `?` for
/// exactly one. Case-sensitive.
bool fnMatches(const CodePage& codePage, std::string_view pattern, std::string_view name);

} // namespace q32::posix
