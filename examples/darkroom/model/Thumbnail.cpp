#include "examples/darkroom/model/Thumbnail.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace darkroom {

namespace {

constexpr std::size_t kEntryBytes = 12;

/// A TIFF structure of either byte order. What lies outside of it reads as 0 and isn't written.
class Structure {
public:
    explicit Structure(std::span<unsigned char> bytes)
        : m_Bytes(bytes), m_bBigEndian(!bytes.empty() && bytes[0] == 'M') {}

    bool fnIsValid() const {
        return m_Bytes.size() >= 8 && (m_Bytes[0] == 'M' || m_Bytes[0] == 'I') &&
               m_Bytes[1] == m_Bytes[0] && fnGet(2, 2) == 42;
    }
    std::size_t fnGet(std::size_t place, std::size_t size) const {
        std::size_t value = 0;
        if (!fnHas(place, size))
            return 0;
        for (std::size_t i = 0; i < size; ++i)
            value = value << 8 | m_Bytes[place + (m_bBigEndian ? i : size - 1 - i)];
        return value;
    }
    void fnClear(std::size_t place, std::size_t size) {
        if (fnHas(place, size))
            std::fill_n(m_Bytes.begin() + static_cast<std::ptrdiff_t>(place), size,
                        static_cast<unsigned char>(0));
    }
    /// Where a directory refers to the next one, behind its entries.
    std::size_t fnFindLink(std::size_t directory) const {
        return directory + 2 + fnGet(directory, 2) * kEntryBytes;
    }
    /// The number that a directory gives for either of two tags; 0 without them.
    std::size_t fnFindNumber(std::size_t directory, std::size_t tag, std::size_t other) const {
        const std::size_t end = std::min(fnFindLink(directory), m_Bytes.size());
        constexpr std::size_t kShort = 3;
        for (std::size_t at = directory + 2; at + kEntryBytes <= end; at += kEntryBytes)
            if (fnGet(at, 2) == tag || fnGet(at, 2) == other)
                return fnGet(at + 8, fnGet(at + 2, 2) == kShort ? 2 : 4);
        return 0;
    }

private:
    bool fnHas(std::size_t place, std::size_t size) const {
        return place <= m_Bytes.size() && size <= m_Bytes.size() - place;
    }

    std::span<unsigned char> m_Bytes;
    bool m_bBigEndian;
};

} // namespace

void fnRemoveThumbnail(std::span<unsigned char> exif) noexcept {
    Structure structure(exif);
    if (!structure.fnIsValid())
        return;
    const std::size_t link = structure.fnFindLink(structure.fnGet(4, 4));
    const std::size_t directory = structure.fnGet(link, 4);
    structure.fnClear(link, 4);
    // Its bytes too, if they lie where they usually do; elsewhere they may be something else's.
    const std::size_t end = structure.fnFindLink(directory) + 4;
    const std::size_t start = structure.fnFindNumber(directory, 0x0201, 0x0111);
    if (directory >= link + 4 && start >= end)
        structure.fnClear(start, structure.fnFindNumber(directory, 0x0202, 0x0117));
    if (directory >= link + 4)
        structure.fnClear(directory, end - directory);
}

} // namespace darkroom
