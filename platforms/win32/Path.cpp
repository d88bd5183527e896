#include "platforms/win32/Path_p.h"

#include <cstring>
#include <cwchar>

namespace q32::win32 {

namespace {

constexpr std::wstring_view kLongPrefix = L"\\\\?\\";
constexpr std::wstring_view kLongShare = L"\\\\?\\UNC\\";

bool fnSame(wchar_t a, wchar_t b) {
    return ::CompareStringOrdinal(&a, 1, &b, 1, TRUE) == CSTR_EQUAL;
}

/// The short names of the part of a path that exists, and the rest as it is. Only what exists has
/// short names.
std::wstring fnShorten(std::wstring_view native) {
    std::wstring brief(kMaxPathUnits, L'\0');
    std::size_t end = native.size();
    while (end != 0 && end != std::wstring_view::npos) {
        const std::wstring part(native.substr(0, end));
        const DWORD length = ::GetShortPathNameW(part.c_str(), brief.data(), kMaxPathUnits);
        if (length != 0 && length < brief.size()) {
            brief.resize(length);
            return brief.append(native.substr(end));
        }
        end = native.find_last_of(L"\\/", end - 1);
    }
    return std::wstring(native);
}

} // namespace

NativePath::NativePath(const CodePage& codePage, std::string_view path) {
    wchar_t wide[kMaxPathUnits];
    m_Units[0] = L'\0';
    m_bValid = codePage.fnToWide(path, wide, kMaxPathUnits) && fnMakeAbsolute(wide);
}

bool NativePath::fnMakeAbsolute(const wchar_t* path) {
    m_Units[0] = L'\0';
    if (*path == L'\0') {
        ::SetLastError(ERROR_PATH_NOT_FOUND);
        return false;
    }
    // The longest prefix replaces the two separators of a share.
    constexpr DWORD kSpace = 8;
    wchar_t* const full = m_Units + kSpace;
    const DWORD length = ::GetFullPathNameW(path, kMaxPathUnits - kSpace, full, nullptr);
    if (length == 0 || length >= kMaxPathUnits - kSpace) {
        if (length != 0)
            ::SetLastError(ERROR_FILENAME_EXCED_RANGE);
        return false;
    }
    const bool isDevice = length >= 4 && full[0] == L'\\' && full[1] == L'\\' &&
                          (full[2] == L'?' || full[2] == L'.') && full[3] == L'\\';
    const bool isShare = full[0] == L'\\' && full[1] == L'\\';
    std::wstring_view prefix;
    const wchar_t* rest = full;
    if (length >= kMinLongPath && !isDevice) {
        prefix = isShare ? kLongShare : kLongPrefix;
        rest = isShare ? full + 2 : full;
    }
    std::wmemcpy(m_Units, prefix.data(), prefix.size());
    std::wmemmove(m_Units + prefix.size(), rest, std::wcslen(rest) + 1);
    return true;
}

std::wstring fnNativePath(const CodePage& codePage, std::string_view path) {
    const NativePath native(codePage, path);
    return native.fnGet();
}

std::wstring fnPlainPath(std::wstring_view native) {
    if (native.starts_with(kLongShare))
        return L"\\\\" + std::wstring(native.substr(kLongShare.size()));
    return std::wstring(native.substr(native.starts_with(kLongPrefix) ? kLongPrefix.size() : 0));
}

bool fnLibraryPath(const CodePage& codePage, std::wstring_view native, std::string& path) {
    std::wstring_view plain = native;
    if (plain.starts_with(kLongPrefix) && !plain.starts_with(kLongShare) &&
        plain.size() - kLongPrefix.size() < kMinLongPath)
        plain.remove_prefix(kLongPrefix.size());
    return codePage.fnFromWide(plain, path) || codePage.fnFromWide(fnShorten(native), path);
}

SplitPath fnSplitPath(std::wstring_view native) {
    const std::size_t slash = native.find_last_of(L"\\/");
    const std::size_t start = slash == std::wstring_view::npos ? 0 : slash + 1;
    return {std::wstring(native.substr(0, start)), std::wstring(native.substr(start))};
}

bool fnMatches(std::wstring_view pattern, std::wstring_view name) {
    std::size_t at = 0;
    std::size_t in = 0;
    // Where the last `*` was, and how much of the name it stands for.
    std::size_t star = std::wstring_view::npos;
    std::size_t taken = 0;
    while (in < name.size()) {
        if (at < pattern.size() && pattern[at] == L'*') {
            star = at++;
            taken = in;
        } else if (at < pattern.size() && (pattern[at] == L'?' || fnSame(pattern[at], name[in]))) {
            ++at;
            ++in;
        } else if (star != std::wstring_view::npos) {
            at = star + 1;
            in = ++taken;
        } else {
            return false;
        }
    }
    while (at < pattern.size() && pattern[at] == L'*')
        ++at;
    return at == pattern.size();
}

} // namespace q32::win32
