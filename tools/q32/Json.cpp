#include "tools/q32/Json.h"

#include <array>
#include <cstdio>

namespace tool {

namespace {

constexpr char kReplacement[] = "\\ufffd";

/// Bytes of the UTF-8 character at the start of a text; 0 if there is none.
std::size_t fnMeasure(std::string_view text) {
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned int first = byte(0);
    const std::size_t length = first < 0x80                    ? 1
                               : first >= 0xC2 && first < 0xE0 ? 2
                               : first >= 0xE0 && first < 0xF0 ? 3
                               : first >= 0xF0 && first < 0xF5 ? 4
                                                               : 0;
    if (length == 0 || length > text.size())
        return 0;
    for (std::size_t i = 1; i < length; ++i)
        if (byte(i) < 0x80 || byte(i) > 0xBF)
            return 0;
    // Overlong forms, surrogates, and what lies beyond the last character.
    const bool refused = (first == 0xE0 && byte(1) < 0xA0) || (first == 0xED && byte(1) > 0x9F) ||
                         (first == 0xF0 && byte(1) < 0x90) || (first == 0xF4 && byte(1) > 0x8F);
    return refused ? 0 : length;
}

} // namespace

std::string fnQuoteJson(std::string_view text) {
    constexpr unsigned char kFirstPrintable = 0x20;
    std::string quoted = "\"";
    while (!text.empty()) {
        const std::size_t length = fnMeasure(text);
        const char c = text.front();
        if (length == 0) {
            quoted += kReplacement;
        } else if (c == '"' || c == '\\') {
            quoted += {'\\', c};
        } else if (static_cast<unsigned char>(c) < kFirstPrintable) {
            std::array<char, 8> escape{};
            std::snprintf(escape.data(), escape.size(), "\\u%04x", static_cast<unsigned int>(c));
            quoted += escape.data();
        } else {
            quoted += text.substr(0, length);
        }
        text.remove_prefix(length == 0 ? 1 : length);
    }
    return quoted + '"';
}

void JsonObject::fnAddRaw(const char* key, const std::string& value) {
    m_szMembers += (m_szMembers.empty() ? "\"" : ", \"") + std::string(key) + "\": " + value;
}

} // namespace tool
