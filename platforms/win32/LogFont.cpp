#include "platforms/win32/LogFont_p.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <cwchar>
#include <string>

namespace q32::win32 {

namespace {

/// What both forms have ahead of the name.
constexpr std::size_t kCommon = offsetof(LOGFONTW, lfFaceName);
static_assert(kCommon == offsetof(LOGFONTA, lfFaceName));

template <typename To, typename From, typename Text>
To fnConvert(const From& from, const Text& name) {
    To to{};
    std::memcpy(&to, &from, kCommon);
    if (name.size() < std::size(to.lfFaceName))
        std::copy(name.begin(), name.end(), to.lfFaceName);
    return to;
}

} // namespace

LOGFONTW fnToWideFont(const CodePage& codePage, const LOGFONTA& font) {
    const std::size_t length = ::strnlen(font.lfFaceName, std::size(font.lfFaceName));
    return fnConvert<LOGFONTW>(font, codePage.fnToWideAnyhow({font.lfFaceName, length}));
}

LOGFONTA fnFromWideFont(const CodePage& codePage, const LOGFONTW& font) {
    const std::size_t length = ::wcsnlen(font.lfFaceName, std::size(font.lfFaceName));
    std::string name;
    codePage.fnFromWide({font.lfFaceName, length}, name);
    return fnConvert<LOGFONTA>(font, name);
}

} // namespace q32::win32
