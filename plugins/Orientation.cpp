#include "plugins/Orientation_p.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace q32 {

namespace {

constexpr unsigned int kMaxOrientation = 8;

/// Numbers in a TIFF structure of either byte order. A number outside of it is 0.
class Numbers {
public:
    explicit Numbers(std::span<const unsigned char> bytes)
        : m_Bytes(bytes), m_bBigEndian(!bytes.empty() && bytes[0] == 'M') {}

    bool fnIsTiff() const {
        return m_Bytes.size() >= 8 && (m_Bytes[0] == 'M' || m_Bytes[0] == 'I') &&
               m_Bytes[1] == m_Bytes[0] && fnGet(2, 2) == 42;
    }
    std::uint32_t fnGet(std::size_t place, std::size_t size) const {
        if (place > m_Bytes.size() || size > m_Bytes.size() - place)
            return 0;
        std::uint32_t value = 0;
        for (std::size_t i = 0; i < size; ++i)
            value = value << 8 | m_Bytes[place + (m_bBigEndian ? i : size - 1 - i)];
        return value;
    }
    /// The index of the low byte of a number of 16 bits.
    std::size_t fnLowByte(std::size_t place) const { return place + (m_bBigEndian ? 1 : 0); }

private:
    std::span<const unsigned char> m_Bytes;
    bool m_bBigEndian;
};

/// The place of the orientation's value; 0 if there is none from 1 to 8.
std::size_t fnFindOrientation(std::span<const unsigned char> exif) {
    constexpr std::uint32_t kOrientationTag = 0x0112;
    constexpr std::uint32_t kShort = 3;
    constexpr std::size_t kEntryBytes = 12;
    const Numbers numbers(exif);
    if (!numbers.fnIsTiff())
        return 0;
    const std::size_t directory = numbers.fnGet(4, 4);
    const std::uint32_t count = numbers.fnGet(directory, 2);
    for (std::uint32_t i = 0; i < count; ++i) {
        const std::size_t entry = directory + 2 + i * kEntryBytes;
        if (entry + kEntryBytes > exif.size())
            break;
        const std::uint32_t value = numbers.fnGet(entry + 8, 2);
        if (numbers.fnGet(entry, 2) == kOrientationTag && numbers.fnGet(entry + 2, 2) == kShort &&
            numbers.fnGet(entry + 4, 4) == 1 && value >= 1 && value <= kMaxOrientation)
            return entry + 8;
    }
    return 0;
}

/// The index of the digit that follows a name as an attribute or an element; the size if none does.
std::size_t fnFindDigit(std::string_view text, std::size_t at) {
    const std::size_t none = text.size();
    const auto skip = [&](std::string_view set) {
        at = std::min(text.find_first_not_of(set, at), none);
    };
    constexpr std::string_view kBlanks = " \t\r\n";
    skip(kBlanks);
    if (at == none || (text[at] != '=' && text[at] != '>'))
        return none;
    const bool attribute = text[at++] == '=';
    skip(kBlanks);
    if (attribute && (at == none || (text[at] != '"' && text[at] != '\'')))
        return none;
    if (attribute)
        ++at;
    skip(kBlanks);
    const bool alone = at + 1 < none && text[at] >= '1' && text[at] <= '8' &&
                       (text[at + 1] < '0' || text[at + 1] > '9');
    return alone ? at : none;
}

} // namespace

unsigned int fnGetExifOrientation(std::span<const unsigned char> exif) {
    const std::size_t place = fnFindOrientation(exif);
    return place == 0 ? 0 : Numbers(exif).fnGet(place, 2);
}

bool fnSetExifOrientation(std::span<unsigned char> exif, unsigned int orientation) {
    const std::size_t place = fnFindOrientation(exif);
    if (place == 0)
        return false;
    exif[Numbers(exif).fnLowByte(place)] = static_cast<unsigned char>(orientation);
    return true;
}

void fnSetXmpOrientation(std::span<unsigned char> xmp, unsigned int orientation) {
    constexpr std::string_view kName = "tiff:Orientation";
    const std::string_view text(reinterpret_cast<const char*>(xmp.data()), xmp.size());
    for (std::size_t at = 0; (at = text.find(kName, at)) != std::string_view::npos;) {
        at += kName.size();
        if (const std::size_t digit = fnFindDigit(text, at); digit < xmp.size())
            xmp[digit] = static_cast<unsigned char>('0' + orientation);
    }
}

} // namespace q32
