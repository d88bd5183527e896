#include "platforms/software/ResFile.h"

#include "platforms/software/CodePages_p.h"

namespace q32::software {

namespace {

constexpr std::size_t kFixedTail = 16; ///< data version, flags, language, version, characteristics

WORD fnGet16(std::string_view bytes, std::size_t at) {
    return static_cast<WORD>(static_cast<std::uint8_t>(bytes[at]) |
                             static_cast<std::uint8_t>(bytes[at + 1]) << 8);
}

DWORD fnGet32(std::string_view bytes, std::size_t at) {
    return fnGet16(bytes, at) | static_cast<DWORD>(fnGet16(bytes, at + 2)) << 16;
}

std::size_t fnPad(std::size_t at) {
    return (at + 3) & ~std::size_t{3};
}

/// Reads a type or name from the header and advances `at`. False if it exceeds the header.
bool fnTakeName(std::string_view header, std::size_t& at, ResName& name) {
    if (header.size() - at < 2)
        return false;
    if (fnGet16(header, at) == 0xFFFF) {
        if (header.size() - at < 4)
            return false;
        name.m_nNumber = fnGet16(header, at + 2);
        at += 4;
        return true;
    }
    std::u16string text;
    for (; header.size() - at >= 2; at += 2) {
        const WORD unit = fnGet16(header, at);
        if (unit == 0) {
            at += 2;
            name.m_szText = fnFromUtf16(text, 65001);
            for (char& letter : name.m_szText)
                if (letter >= 'a' && letter <= 'z')
                    letter = static_cast<char>(letter - 'a' + 'A');
            return true;
        }
        text += static_cast<char16_t>(unit);
    }
    return false;
}

bool fnTakeEntry(std::string_view file, std::size_t& at, ResEntry& entry) {
    if (file.size() - at < 8)
        return false;
    const std::size_t dataSize = fnGet32(file, at);
    const std::size_t headerSize = fnGet32(file, at + 4);
    if (headerSize < 8 || headerSize > file.size() - at || dataSize > file.size() - at - headerSize)
        return false;
    const std::string_view header = file.substr(at, headerSize);
    std::size_t place = 8;
    if (!fnTakeName(header, place, entry.m_Type) || !fnTakeName(header, place, entry.m_Name))
        return false;
    place = fnPad(place);
    if (place > headerSize || headerSize - place < kFixedTail)
        return false;
    entry.m_nLanguage = fnGet16(header, place + 6);
    entry.m_Data = file.substr(at + headerSize, dataSize);
    at += headerSize + dataSize;
    // The last entry needs no padding.
    at = fnPad(at) < file.size() ? fnPad(at) : file.size();
    return true;
}

} // namespace

bool fnReadResFile(std::string_view file, std::vector<ResEntry>& entries) {
    entries.clear();
    std::size_t at = 0;
    for (bool first = true; at < file.size() || first; first = false) {
        ResEntry entry;
        if (!fnTakeEntry(file, at, entry))
            return false;
        const bool marker = entry.m_Type == ResName{} && entry.m_Data.empty();
        if (first && !marker)
            return false;
        if (!marker)
            entries.push_back(std::move(entry));
    }
    return true;
}

bool fnReadStringBlock(std::string_view block, UINT id, std::u16string& text) {
    std::size_t at = 0;
    for (UINT i = 0;; ++i) {
        if (block.size() - at < 2)
            return false;
        const std::size_t count = fnGet16(block, at);
        at += 2;
        if (count > (block.size() - at) / 2)
            return false;
        if (i == id % 16) {
            text.clear();
            for (std::size_t k = 0; k < count; ++k)
                text += static_cast<char16_t>(fnGet16(block, at + 2 * k));
            return count != 0;
        }
        at += 2 * count;
    }
}

} // namespace q32::software
