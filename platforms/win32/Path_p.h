#pragma once

#include "platforms/win32/CodePage_p.h"

#include <cstddef>
#include <string>
#include <string_view>

namespace q32::win32 {

/// Units of the longest path of the system, with the NUL.
inline constexpr int kMaxPathUnits = 32768;

/// Units of the longest name, or end of one, that the back end itself appends to a native path.
inline constexpr std::size_t kMaxAppended = 48;
/// Paths of this length get the prefix `\\?\`: what is appended keeps below the system's limit, and
/// a directory leaves space for a name of 8.3 form.
inline constexpr std::size_t kMinLongPath = MAX_PATH - 12 - kMaxAppended;

/// A path in the system's form: absolute, and with the prefix `\\?\` if it is or may become too
/// long without it. It holds its own buffer, of 64 KiB, and allocates nothing, so that it can be
/// made when memory is exhausted.
class NativePath {
public:
    /// Without a form in UTF-16, or too long, it is none, with the last error.
    NativePath(const CodePage& codePage, std::string_view path);
    /// The same for a path in UTF-16.
    explicit NativePath(const wchar_t* path) : m_bValid(fnMakeAbsolute(path)) {}

    explicit operator bool() const { return m_bValid; }
    const wchar_t* fnGet() const { return m_Units; }

private:
    bool fnMakeAbsolute(const wchar_t* path);

    wchar_t m_Units[kMaxPathUnits];
    bool m_bValid;
};

/// The same as a string; empty, with the last error, if the path has no such form.
std::wstring fnNativePath(const CodePage& codePage, std::string_view path);

/// A native path without the prefix `\\?\`, to compare it with another one.
std::wstring fnPlainPath(std::wstring_view native);

/// A path in the library's form: in the code page, and without the prefix `\\?\` where it is short
/// enough. If it has no form in the code page, the short names of the part of it that exists are
/// taken. False, with `path` unchanged, if that has none either.
bool fnLibraryPath(const CodePage& codePage, std::wstring_view native, std::string& path);

/// A native path split behind its last separator.
struct SplitPath {
    std::wstring m_szDirectory; ///< with the separator
    std::wstring m_szName;
};
SplitPath fnSplitPath(std::wstring_view native);

/// Whether `name` matches `pattern`, in which `*` stands for any units, or none, and `?` for
/// exactly one. Not case-sensitive.
bool fnMatches(std::wstring_view pattern, std::wstring_view name);

} // namespace q32::win32
