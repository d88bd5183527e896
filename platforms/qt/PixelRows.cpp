#include "platforms/qt/PixelRows.h"

#include "q32Base/image/CqImage.h"

namespace q32::qt {

PixelTable fnReadTable(CqImage& image) {
    PixelTable table;
    table.fill(kOpaque);
    std::array<RGBQUAD, 256> entries{};
    const unsigned count =
        image.BitCount <= 8 ? image.fnGetPaletteEntry(0, 256, entries.data()) : 0;
    for (unsigned i = 0; i < count; ++i)
        table[i] = kOpaque | static_cast<std::uint32_t>(entries[i].rgbRed) << 16 |
                   static_cast<std::uint32_t>(entries[i].rgbGreen) << 8 | entries[i].rgbBlue;
    return table;
}

void fnPickPixels(const CqImageTile& tile, const unsigned char* row, const PixelTable& table,
                  const std::uint32_t* columns, std::size_t count, std::uint32_t* out) {
    const auto left = static_cast<std::uint32_t>(tile.Left);
    switch (tile.BitCount) {
    case 4:
        for (std::size_t i = 0; i < count; ++i) {
            const std::uint32_t x = columns[i] - left;
            out[i] = table[row[x / 2] >> (x % 2 == 0 ? 4 : 0) & 15];
        }
        break;
    case 8:
        for (std::size_t i = 0; i < count; ++i)
            out[i] = table[row[columns[i] - left]];
        break;
    case 16:
        // Parts of 5 and 6 bits keep their low bits clear, as in the library's own drawing.
        for (std::size_t i = 0; i < count; ++i) {
            const unsigned char* p = row + 2 * std::size_t{columns[i] - left};
            const std::uint32_t v = static_cast<std::uint32_t>(p[0]) << 8 | p[1];
            out[i] = kOpaque | (v >> 8 & 0xF8u) << 16 | (v >> 3 & 0xFCu) << 8 | (v & 0x1Fu) << 3;
        }
        break;
    default: {
        const std::size_t bytes = tile.BytesPerPixel;
        const unsigned char* red = row + (bytes - 3);
        for (std::size_t i = 0; i < count; ++i) {
            const unsigned char* p = red + bytes * std::size_t{columns[i] - left};
            out[i] = kOpaque | static_cast<std::uint32_t>(p[0]) << 16 |
                     static_cast<std::uint32_t>(p[1]) << 8 | p[2];
        }
    }
    }
}

} // namespace q32::qt
