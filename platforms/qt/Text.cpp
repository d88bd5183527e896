#include "platforms/qt/Text_p.h"

#include <climits>
#include <cwchar>

namespace q32::qt {

namespace {

/// Sets the thread's locale for the lifetime of the object.
class UseLocale {
public:
    explicit UseLocale(locale_t locale) : m_Before(::uselocale(locale)) {}
    ~UseLocale() { ::uselocale(m_Before); }
    UseLocale(const UseLocale&) = delete;
    UseLocale& operator=(const UseLocale&) = delete;

private:
    locale_t m_Before;
};

} // namespace

QString fnToText(const posix::CodePage& codePage, std::string_view bytes, std::size_t* unfinished) {
    constexpr auto kUnfinished = static_cast<std::size_t>(-2);
    const UseLocale use(codePage.fnGetLocale());
    std::u32string text;
    text.reserve(bytes.size());
    std::size_t open = 0;
    while (!bytes.empty()) {
        std::mbstate_t state{};
        wchar_t wide = 0;
        const std::size_t taken = std::mbrtowc(&wide, bytes.data(), bytes.size(), &state);
        const bool whole = taken <= bytes.size();
        if (taken == kUnfinished && open == 0)
            open = bytes.size();
        if (open != 0) { // byte by byte to the end
            text += static_cast<unsigned char>(bytes[0]) < 0x80 ? static_cast<char32_t>(bytes[0])
                                                                : U'\uFFFD';
            bytes.remove_prefix(1);
            continue;
        }
        text += whole ? static_cast<char32_t>(wide) : U'\uFFFD';
        bytes.remove_prefix(whole && taken > 0 ? taken : 1); // a zero byte reports a length of 0
    }
    if (unfinished)
        *unfinished = open;
    return QString::fromStdU32String(text);
}

std::string fnToBytes(const posix::CodePage& codePage, const QString& text) {
    const UseLocale use(codePage.fnGetLocale());
    std::string bytes;
    for (const uint wide : text.toUcs4()) {
        char character[MB_LEN_MAX];
        std::mbstate_t state{};
        const std::size_t length = std::wcrtomb(character, static_cast<wchar_t>(wide), &state);
        if (length <= sizeof(character))
            bytes.append(character, length);
        else
            bytes += '?';
    }
    return bytes;
}

} // namespace q32::qt
