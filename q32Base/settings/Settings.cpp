#include "q32Base/framework/Memory.h"
#include "q32Base/framework/PathRules_p.h"
#include "q32Base/platform/CqPlatform.h"
#include "q32Base/settings/ProfileFile_p.h"
#include "q32Base/settings/Settings_p.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <exception>
#include <limits>
#include <string>

namespace q32 {
namespace {

/// A section's or key's name, copied from the string table.
struct Name {
    explicit Name(UINT id) { fnLoadString(id, m_szText, static_cast<int>(sizeof(m_szText))); }
    char m_szText[kShortSettingBytes];
};

/// The result of `work`; false if it throws.
template <typename Work>
bool fnTry(Work&& work) noexcept {
    try {
        return work();
    } catch (CException* failure) {
        failure->Delete();
    } catch (const std::exception&) {
    }
    return false;
}

} // namespace

bool GetSettingsPath(CString& path) {
    fnGuardMemory([&] {
        std::string directory;
        if (!fnPlatform().m_pFiles->fnGetConfigDirectory(directory))
            directory.clear();
        path = directory.c_str();
    });
    fnAppendSlash(path);
    path += Name(STRING_SETTINGS_FILE).m_szText;
    return true;
}

std::size_t fnReadSetting(UINT section, UINT key, const char* fallback, char* buffer,
                          std::size_t size) noexcept {
    std::string text;
    const bool read =
        fnHasPlatform() && fnTry([&] {
            CString path;
            return GetSettingsPath(path) && fnPlatform().m_pFiles->fnReadText(path, text);
        });
    return fnReadProfileString(read ? text : std::string_view(), Name(section).m_szText,
                               Name(key).m_szText, fallback ? fallback : "", buffer, size);
}

std::optional<int> fnReadSettingNumber(UINT section, UINT key, std::size_t size) noexcept {
    char text[kSettingBytes];
    if (fnReadSetting(section, key, nullptr, text, std::min(size, sizeof(text))) == 0)
        return std::nullopt;
    return fnParseInt(text);
}

bool fnWriteSetting(UINT section, UINT key, const char* value) noexcept {
    return fnHasPlatform() && fnTry([&] {
               CString path;
               PROFILE_EDIT edit = PROFILE_EDIT::UNCHANGED;
               const auto change = [&](std::string& text) {
                   edit = fnWriteProfileString(text, Name(section).m_szText, Name(key).m_szText,
                                               value);
                   return edit == PROFILE_EDIT::CHANGED;
               };
               return GetSettingsPath(path) && fnPlatform().m_pFiles->fnUpdateText(path, change) &&
                      edit != PROFILE_EDIT::REFUSED;
           });
}

bool fnWriteSetting(UINT section, UINT key, int value) noexcept {
    char text[std::numeric_limits<int>::digits10 + 3];
    *std::to_chars(text, text + sizeof(text) - 1, value).ptr = 0;
    return fnWriteSetting(section, key, text);
}

int fnParseInt(const char* text) noexcept {
    while (*text == ' ' || (*text >= '\t' && *text <= '\r'))
        ++text;
    const bool negative = *text == '-';
    if (*text == '-' || *text == '+')
        ++text;
    std::uint32_t number = 0;
    for (; *text >= '0' && *text <= '9'; ++text)
        number = number * 10 + static_cast<std::uint32_t>(*text - '0');
    return static_cast<int>(negative ? 0 - number : number);
}

} // namespace q32
