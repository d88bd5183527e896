#pragma once

#include "q32Base/platform/Export.h"

#include <clocale>
#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

namespace q32::posix {

/// A locale of the system, separate from the process's own: the global locale is neither read nor
/// changed, so this may be used from any thread.
class Q32_API CodePage {
public:
    /// @param name  a locale's name; empty for the user's, from the environment. An unknown one
    ///              gives the "C" locale.
    explicit CodePage(const std::string& name);

    locale_t fnGetLocale() const { return m_Locale.get(); }

    /// Bytes of the character at `text`, of which `count` bytes (at least 1) are available. A byte
    /// that doesn't begin a complete character counts as a character of its own.
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
