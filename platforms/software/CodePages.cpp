#include "platforms/software/CodePages_p.h"

#include <cstdint>

namespace q32::software {

namespace {

using Bytes = const unsigned char*;

/// Bytes of a character of code page 932: 2 for a lead byte with a valid trail byte, else 1.
std::size_t fnCount932(Bytes text, std::size_t count) {
    const bool lead = (text[0] >= 0x81 && text[0] <= 0x9F) || (text[0] >= 0xE0 && text[0] <= 0xFC);
    return lead && count > 1 && text[1] >= 0x40 && text[1] <= 0xFC && text[1] != 0x7F ? 2 : 1;
}

/// Bytes of a well-formed UTF-8 sequence according to the table of the Unicode standard (chapter
/// 3.9), else 1.
std::size_t fnCountUtf8(Bytes text, std::size_t count) {
    struct Form {
        unsigned char m_nFirstLow, m_nFirstHigh, m_nSecondLow, m_nSecondHigh;
        std::size_t m_nBytes;
    };
    constexpr Form kForms[] = {
        {0xC2, 0xDF, 0x80, 0xBF, 2}, {0xE0, 0xE0, 0xA0, 0xBF, 3}, {0xE1, 0xEC, 0x80, 0xBF, 3},
        {0xED, 0xED, 0x80, 0x9F, 3}, {0xEE, 0xEF, 0x80, 0xBF, 3}, {0xF0, 0xF0, 0x90, 0xBF, 4},
        {0xF1, 0xF3, 0x80, 0xBF, 4}, {0xF4, 0xF4, 0x80, 0x8F, 4},
    };
    for (const Form& form : kForms) {
        if (text[0] < form.m_nFirstLow || text[0] > form.m_nFirstHigh)
            continue;
        if (count < form.m_nBytes || text[1] < form.m_nSecondLow || text[1] > form.m_nSecondHigh)
            return 1;
        for (std::size_t i = 2; i < form.m_nBytes; ++i)
            if ((text[i] & 0xC0) != 0x80)
                return 1;
        return form.m_nBytes;
    }
    return 1;
}

} // namespace

std::size_t fnGetCharBytes(const char* text, std::size_t count, UINT codePage) {
    const auto bytes = reinterpret_cast<Bytes>(text);
    return codePage == 932     ? fnCount932(bytes, count)
           : codePage == 65001 ? fnCountUtf8(bytes, count)
                               : 1;
}

std::string fnFromUtf16(std::u16string_view text, UINT codePage) {
    std::string bytes;
    const auto put = [&](std::uint32_t byte) { bytes += static_cast<char>(byte); };
    for (std::size_t i = 0; i < text.size(); ++i) {
        std::uint32_t code = text[i];
        const bool high = code >= 0xD800 && code < 0xDC00;
        const bool pair =
            high && i + 1 < text.size() && text[i + 1] >= 0xDC00 && text[i + 1] < 0xE000;
        if (pair)
            code = 0x10000u + ((code - 0xD800u) << 10) + (text[++i] - 0xDC00u);
        const bool lone = !pair && code >= 0xD800 && code < 0xE000;
        if (code < 0x80 || (code >= 0xA0 && code < 0x100 && codePage != 932 && codePage != 65001)) {
            put(code);
        } else if (codePage != 65001 || lone) {
            put('?');
        } else if (code < 0x800) {
            put(0xC0u | code >> 6);
            put(0x80u | (code & 0x3Fu));
        } else if (code < 0x10000) {
            put(0xE0u | code >> 12);
            put(0x80u | (code >> 6 & 0x3Fu));
            put(0x80u | (code & 0x3Fu));
        } else {
            put(0xF0u | code >> 18);
            put(0x80u | (code >> 12 & 0x3Fu));
            put(0x80u | (code >> 6 & 0x3Fu));
            put(0x80u | (code & 0x3Fu));
        }
    }
    return bytes;
}

} // namespace q32::software
