#include "q32Base/framework/Memory.h"
#include "q32Base/framework/PathRules_p.h"
#include "q32Base/platform/CqPlatform.h"

#include <algorithm>
#include <cassert>
#include <cstring>

namespace q32 {

std::size_t fnCharBytes(const char* text, std::size_t count) {
    assert(count > 0);
    if (!fnHasPlatform())
        return 1;
    const std::size_t bytes =
        fnGuardMemory([&] { return fnPlatform().m_pLocale->fnGetCharBytes(text, count); });
    return std::clamp<std::size_t>(bytes, 1, count);
}

std::size_t fnFindChar(const char* text, std::size_t count, char c) {
    for (std::size_t at = 0; at < count;) {
        const std::size_t bytes = fnCharBytes(text + at, count - at);
        if (bytes == 1 && text[at] == c)
            return at;
        at += bytes;
    }
    return count;
}

std::size_t fnFindLastChar(const char* text, std::size_t count, char c) {
    std::size_t found = count;
    for (std::size_t at = 0; at < count;) {
        const std::size_t bytes = fnCharBytes(text + at, count - at);
        if (bytes == 1 && text[at] == c)
            found = at;
        at += bytes;
    }
    return found;
}

bool fnEndsInSlash(const char* path) {
    const std::size_t length = std::strlen(path);
    return length > 0 && fnFindLastChar(path, length, '\\') == length - 1;
}

void fnAppendSlash(CString& path) {
    if (!fnEndsInSlash(path))
        path += '\\';
}

std::size_t fnCutLength(const char* text, std::size_t limit) {
    const std::size_t length = std::strlen(text);
    if (length <= limit)
        return length;
    std::size_t cut = 0;
    for (;;) {
        const std::size_t bytes = fnCharBytes(text + cut, length - cut);
        if (cut + bytes > limit)
            return cut;
        cut += bytes;
        assert(cut < length);
    }
}

CString fnSplitRootName(const char* path) {
    constexpr std::size_t kMaxPath = 259;
    if (!path)
        return CString();
    const std::size_t length = fnCutLength(path, kMaxPath);
    const std::size_t start = std::strncmp(path, "\\\\", 2) == 0 ? 2 : 0;
    const std::size_t slash = start + fnFindChar(path + start, length - start, '\\');
    return slash < length ? CString(path, static_cast<int>(slash) + 1) : CString();
}

} // namespace q32
