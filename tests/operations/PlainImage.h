/// @file
/// An image as plain rows of bytes, for rules spelt out pixel by pixel.
#pragma once

#include "q32Base/image/CqImage.h"
#include "q32Base/memory/CqTileMap_p.h"
#include "tests/support/Random.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

namespace q32::test {

using Bytes = std::vector<unsigned char>;
using Rows = std::vector<Bytes>;

inline Rows fnRows(const CqImage& image) {
    Rows rows(image.Height, Bytes(image.RowBytes));
    for (std::uint32_t y = 0; y < image.Height; ++y)
        image.TileMap->fnFetchRow(y, rows[y].data());
    return rows;
}

inline void fnSetRows(CqImage& image, const Rows& rows) {
    for (std::uint32_t y = 0; y < image.Height; ++y)
        image.TileMap->fnStoreRow(y, rows[y].data());
}

inline void fnSetRandom(CqImage& image, Random& random) {
    for (std::uint32_t i = 0; i < image.TileMap->BufferSize; ++i)
        image.TileMap->PixelBuffer[i] = static_cast<unsigned char>(random());
}

inline void fnSetAll(CqImage& image, unsigned char byte) {
    for (std::uint32_t i = 0; i < image.TileMap->BufferSize; ++i)
        image.TileMap->PixelBuffer[i] = byte;
}

/// A random side, often at a tile's edge.
inline unsigned int fnRandomSide(Random& random) {
    static constexpr unsigned int kSides[] = {1, 2, 3, 127, 128, 129, 130, 256, 257};
    return random() % 2 ? kSides[random() % std::size(kSides)] : 1 + random() % 300;
}

inline unsigned int fnRandomBits(Random& random) {
    static constexpr unsigned int kBits[] = {4, 8, 16, 24, 32};
    return kBits[random() % std::size(kBits)];
}

inline int fnBelow(Random& random, unsigned int limit) {
    return static_cast<int>(random() % limit);
}

/// A rectangle of at least one pixel inside an image.
inline CRect fnRandomRect(Random& random, const CqImage& image) {
    const int left = fnBelow(random, image.Width);
    const int top = fnBelow(random, image.Height);
    return {left, top, left + 1 + fnBelow(random, image.Width - static_cast<unsigned int>(left)),
            top + 1 + fnBelow(random, image.Height - static_cast<unsigned int>(top))};
}

inline CqColor fnRandomColor(Random& random, const CqImage& image) {
    if (image.PaletteCount != 0 && random() % 4 != 0)
        return CqColor(image.TileMap->Palette[random() % image.PaletteCount]);
    return CqColor(static_cast<unsigned char>(random()), static_cast<unsigned char>(random()),
                   static_cast<unsigned char>(random()), static_cast<unsigned char>(random()));
}

/// Success for equal rows, otherwise the first difference.
inline testing::AssertionResult fnSameRows(const Rows& got, const Rows& expected) {
    if (got.size() != expected.size())
        return testing::AssertionFailure() << got.size() << " rows, not " << expected.size();
    for (std::size_t y = 0; y < got.size(); ++y) {
        if (got[y].size() != expected[y].size())
            return testing::AssertionFailure() << "row " << y << " has another length";
        for (std::size_t i = 0; i < got[y].size(); ++i)
            if (got[y][i] != expected[y][i])
                return testing::AssertionFailure()
                       << "row " << y << " byte " << i << " is " << unsigned{got[y][i]} << ", not "
                       << unsigned{expected[y][i]};
    }
    return testing::AssertionSuccess();
}

} // namespace q32::test
