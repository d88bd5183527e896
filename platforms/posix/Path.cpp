#include "platforms/posix/Path_p.h"

namespace q32::posix {

void fnConvertSlashes(const CodePage& codePage, char* path, std::size_t length) {
    for (std::size_t at = 0; at < length;) {
        if (path[at] == '\\')
            path[at] = '/';
        at += codePage.fnGetCharBytes(path + at, length - at);
    }
}

std::string fnNativePath(const CodePage& codePage, std::string_view path) {
    std::string native(path);
    fnConvertSlashes(codePage, native.data(), native.size());
    return native;
}

std::string fnLibraryDirectory(std::string_view directory) {
    while (!directory.empty() && (directory.back() == '/' || directory.back() == '\\'))
        directory.remove_suffix(1);
    return std::string(directory) + '\\';
}

SplitPath fnSplitPath(std::string_view nativePath) {
    const std::size_t slash = nativePath.rfind('/');
    if (slash == std::string_view::npos)
        return {".", std::string(nativePath)};
    return {std::string(nativePath.substr(0, slash + 1)),
            std::string(nativePath.substr(slash + 1))};
}

bool fnMatches(const CodePage& codePage, std::string_view pattern, std::string_view name) {
    // One star is remembered: on a mismatch behind it, it matches one more character of the name.
    constexpr std::size_t kNone = std::string_view::npos;
    std::size_t p = 0;
    std::size_t n = 0;
    std::size_t star = kNone;
    std::size_t resume = 0;
    while (n < name.size()) {
        const std::size_t bytes = codePage.fnGetCharBytes(name.substr(n));
        if (p < pattern.size() && pattern[p] == '*') {
            star = ++p;
            resume = n;
        } else if (p < pattern.size() && pattern[p] == '?') {
            ++p;
            n += bytes;
        } else if (p < pattern.size() && pattern.substr(p, bytes) == name.substr(n, bytes)) {
            p += bytes;
            n += bytes;
        } else if (star != kNone) {
            p = star;
            resume += codePage.fnGetCharBytes(name.substr(resume));
            n = resume;
        } else {
            return false;
        }
    }
    while (p < pattern.size() && pattern[p] == '*')
        ++p;
    return p == pattern.size();
}

} // namespace q32::posix
