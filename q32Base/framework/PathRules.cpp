#include "q32Base/framework/PathRules.h"

#include "q32Base/framework/Memory.h"
#include "q32Base/platform/CqPlatform.h"

#include <algorithm>
#include <cstring>

namespace q32 {

std::size_t fnCharBytes(const char* text, std::size_t count) {
    if (!fnHasPlatform())
        return 1;
    const std::size_t bytes =
        fnGuardMemory([&] { return fnPlatform().m_pLocale->fnGetCharBytes(text, count); });
    return std::clamp<std::size_t>(bytes, 1, count);
}

bool fnEndsInSlash(const char* path) {
    bool slash = false;
    for (std::size_t left = std::strlen(path); left > 0;) {
        const std::size_t bytes = fnCharBytes(path, left);
        slash = bytes == 1 && *path == '\\';
        path += bytes;
        left -= bytes;
    }
    return slash;
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
    }
}

CString fnSplitRootName(const char* path) {
    constexpr std::size_t kMaxPath = 259;
    if (!path)
        return CString();
    const std::size_t length = fnCutLength(path, kMaxPath);
    std::size_t at = std::strncmp(path, "\\\\", 2) == 0 ? 2 : 0;
    while (at < length) {
        const std::size_t bytes = fnCharBytes(path + at, length - at);
        if (bytes == 1 && path[at] == '\\')
            return CString(path, static_cast<int>(at) + 1);
        at += bytes;
    }
    return CString();
}

} // namespace q32
