#pragma once

#include "q32Base/platform/Export.h"

#include <clocale>
#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

namespace q32::posix {

/// A locale of the system, held beside the process's own: nothing here reads or changes the global
/// locale, so any thread may ask.
class Q32_API CodePage {
public:
    /// @param name  a locale's name; empty for the one that the user's environment names. One that
    ///              the system does not have gives the "C" locale.
    explicit CodePage(const std::string& name);

    locale_t fnGetLocale() const { return m_Locale.get(); }

    /// Bytes of the character that begins at `text`, of which `count` bytes (at least 1) are there.
    /// A byte that begins no whole character is a character of its own.
    std::size_t fnGetCharBytes(const char* text, std::size_t count) const;
    std::size_t fnGetCharBytes(std::string_view text) const {
        return fnGetCharBytes(text.data(), text.size());
    }

private:
    struct Free {
        void operator()(locale_t locale) const { ::freelocale(locale); }
    };
    std::unique_ptr<std::remove_pointer_t<locale_t>, Free> m_Locale;
};

} // namespace q32::posix
