#pragma once

#include "platforms/posix/CodePage.h"

#include <string>
#include <string_view>

namespace q32::posix {

/// The system's form of a path of the library: each backslash is a separator and becomes a slash. A
/// backslash byte that is the second half of a double-byte character stays.
std::string fnNativePath(const CodePage& codePage, std::string_view path);
/// The same in place, for a path that must not take memory.
void fnTurnSlashes(const CodePage& codePage, char* path, std::size_t length);

/// The library's form of a directory of the system: as it stands, with one backslash at its end.
std::string fnLibraryDirectory(std::string_view directory);

/// A native path cut behind its last slash; the directory is "." when there is none.
struct SplitPath {
    std::string m_Directory;
    std::string m_Name;
};
SplitPath fnSplitPath(std::string_view nativePath);

/// Whether `name` matches `pattern`, in which `*` stands for any characters, also none, and `?` for
/// exactly one. Case counts.
bool fnMatches(const CodePage& codePage, std::string_view pattern, std::string_view name);

} // namespace q32::posix
