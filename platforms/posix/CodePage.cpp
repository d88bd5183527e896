#include "platforms/posix/CodePage_p.h"

#include <cwchar>
#include <new>

namespace q32::posix {

CodePage::CodePage(const std::string& name)
    : m_Locale(::newlocale(LC_ALL_MASK, name.c_str(), nullptr)) {
    if (!m_Locale)
        m_Locale.reset(::newlocale(LC_ALL_MASK, "C", nullptr));
    if (!m_Locale)
        throw std::bad_alloc();
}

std::size_t CodePage::fnGetCharBytes(const char* text, std::size_t count) const {
    // The character sets of all locales agree with ASCII on these.
    if (static_cast<unsigned char>(*text) < 0x80)
        return 1;
    const locale_t before = ::uselocale(m_Locale.get());
    std::mbstate_t state{};
    const std::size_t bytes = std::mbrlen(text, count, &state);
    ::uselocale(before);
    return bytes >= 1 && bytes <= count ? bytes : 1;
}

} // namespace q32::posix
