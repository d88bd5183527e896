#include "q32Base/kernels/StreamPixels_p.h"
#include "q32Base/memory/CqTileMap_p.h"
#include "tests/support/AttachedTest.h"
#include "tests/support/FailingAllocator.h"
#include "tests/support/Random.h"

#include <cstring>
#include <vector>

namespace {

using Bytes = std::vector<unsigned char>;

class DepthConversionTest : public AttachedTest {
protected:
    static Bytes fnRow(const CqImage& image, std::uint32_t y) {
        Bytes row(image.RowBytes);
        image.TileMap->fnFetchRow(y, row.data());
        return row;
    }

    /// What the rule makes of pixel x of a row: alpha, red, green, blue.
    static Bytes fnWiden(const CqImage& image, const Bytes& row, std::uint32_t x) {
        const auto color = [&image](unsigned int index) {
            const RGBQUAD& q = image.TileMap->Palette[index];
            return Bytes{255, q.rgbRed, q.rgbGreen, q.rgbBlue};
        };
        switch (image.BitCount) {
        case 4:
            return color(x % 2 == 0 ? row[x / 2] >> 4 : row[x / 2] & 15);
        case 8:
            return color(row[x]);
        case 16: {
            const unsigned int b0 = row[2 * x];
            const unsigned int b1 = row[2 * x + 1];
            return {255, static_cast<unsigned char>(b0 & 0xF8),
                    static_cast<unsigned char>(((b0 << 8 | b1) >> 3) & 0xFC),
                    static_cast<unsigned char>(b1 << 3)};
        }
        case 24:
            return {255, row[3 * x], row[3 * x + 1], row[3 * x + 2]};
        default:
            return {255, row[4 * x + 1], row[4 * x + 2], row[4 * x + 3]};
        }
    }

    static void fnRandomPixels(CqImage& image, Random& random) {
        for (std::uint32_t i = 0; i < image.TileMap->BufferSize; ++i)
            image.TileMap->PixelBuffer[i] = static_cast<unsigned char>(random());
    }
};

TEST_F(DepthConversionTest, EveryDepthWidensPixelByPixel) {
    Random random(7);
    for (int round = 0; round < 60; ++round) {
        const unsigned int bits = std::vector<unsigned int>{4, 8, 16, 24, 32}[random() % 5];
        const unsigned int to = random() % 2 ? 24 : 32;
        if (to == bits)
            continue;
        CqImage image(1 + random() % 300, 1 + random() % 200, bits, nullptr, 0);
        fnRandomPixels(image, random);
        CqImage wide(image);
        wide.fnConvert(to, true, nullptr);
        ASSERT_EQ(wide.BitCount, to);
        ASSERT_EQ(wide.Width, image.Width);
        for (std::uint32_t y = 0; y < image.Height; ++y) {
            const Bytes from = fnRow(image, y);
            const Bytes got = fnRow(wide, y);
            for (std::uint32_t x = 0; x < image.Width; ++x) {
                const Bytes argb = fnWiden(image, from, x);
                ASSERT_TRUE(std::equal(argb.begin() + (to == 24 ? 1 : 0), argb.end(),
                                       got.begin() + static_cast<std::ptrdiff_t>(x * to / 8)))
                    << bits << " to " << to << " at " << x << "," << y;
            }
        }
    }
}

TEST_F(DepthConversionTest, TargetsLargerThanTheCachesAreWidenedLikeOthers) {
    Random random(8);
    CqImage image(2601, 2450, 24, nullptr, 0);
    fnRandomPixels(image, random);
    CqImage wide(image);
    wide.fnConvert(32, true, nullptr);
    ASSERT_GT(wide.TileMap->BufferSize, q32::kStreamLeast);
    for (std::uint32_t y = 0; y < image.Height; ++y) {
        const Bytes from = fnRow(image, y);
        const Bytes got = fnRow(wide, y);
        Bytes expected;
        for (std::size_t x = 0; x < from.size(); x += 3)
            expected.insert(expected.end(), {255, from[x], from[x + 1], from[x + 2]});
        ASSERT_EQ(got, expected) << y;
    }
}

TEST_F(DepthConversionTest, ThePresentDepthChangesNothing) {
    CqImage image(5, 5, 24, nullptr, 0);
    const CqTileMap* map = image.TileMap;
    image.fnConvert(24, false, nullptr);
    EXPECT_EQ(image.TileMap, map);
}

TEST_F(DepthConversionTest, NarrowingGivesABlankImage) {
    for (const unsigned int to : {4u, 8u, 16u}) {
        CqImage image(200, 3, 24, nullptr, 0);
        image.TileMap->PixelBuffer[0] = 200;
        image.fnConvert(to, false, nullptr);
        EXPECT_EQ(image.BitCount, to);
        // The palette is the default one.
        const CqImage fresh(1, 1, to, nullptr, 0);
        ASSERT_EQ(image.PaletteCount, fresh.PaletteCount);
        EXPECT_EQ(image.PaletteCount, to == 16 ? 0 : 1u << to);
        if (to != 16) {
            EXPECT_EQ(std::memcmp(image.TileMap->Palette.get(), fresh.TileMap->Palette.get(),
                                  image.PaletteCount * sizeof(RGBQUAD)),
                      0);
        }
        EXPECT_EQ(fnRow(image, 0), Bytes(image.RowBytes, 0));
    }
}

TEST_F(DepthConversionTest, AGivenPaletteYieldsASingleEntry) {
    RGBQUAD table[256] = {{1, 2, 3, 4}};
    CqImage image(2, 2, 24, nullptr, 0);
    image.fnConvert(8, false, table);
    EXPECT_EQ(image.PaletteCount, 1u);
    EXPECT_EQ(image.TileMap->Palette[0].rgbGreen, 2);
}

TEST_F(DepthConversionTest, TheGreyRampYieldsASingleEntryThatCountsAsGrey) {
    CqImage image(2, 2, 24, nullptr, 0);
    image.fnConvert(8, false, const_cast<RGBQUAD*>(q32GreyRamp));
    EXPECT_EQ(image.PaletteCount, 1u);
    EXPECT_TRUE(image.fnIsGrayScale());
}

TEST_F(DepthConversionTest, EachFailureLeavesTheImageUnchanged) {
    for (const unsigned int bits : {4u, 8u}) {
        CqImage original(200, 3, bits, nullptr, 0);
        CqImage image(original);
        const Bytes before = fnRow(image, 2);
        std::size_t raises = 0;
        fnFailEachAllocation([&](CqAllocationFailure& failure) {
            const CqTileMap* map = image.TileMap;
            const bool raised =
                fnRaisesMemoryException([&] { image.fnConvert(24, true, nullptr); });
            failure.fnEnd();
            EXPECT_EQ(image.BitCount, raised ? bits : 24u);
            raises += raised;
            if (raised) {
                EXPECT_EQ(image.TileMap, map);
                EXPECT_EQ(fnRow(image, 2), before);
            }
            image = original;
        });
        EXPECT_GE(raises, bits == 4 ? 5u : 2u) << "map, tile table, and rows at 4 bits";
    }
}

TEST_F(DepthConversionTest, An8BitIndexBeyondTheTableWidensToBlack) {
    const RGBQUAD table[1] = {{9, 9, 9, 9}};
    CqImage image(2, 1, 8, table, 1);
    image.TileMap->PixelBuffer[0] = 0;
    image.TileMap->PixelBuffer[1] = 255;
    image.fnConvert(24, true, nullptr);
    EXPECT_EQ(fnRow(image, 0), (Bytes{9, 9, 9, 0, 0, 0}));
}

TEST_F(DepthConversionTest, AnUnknownDepthLeavesTheImageUnchanged) {
    CqImage image(2, 2, 24, nullptr, 0);
    EXPECT_TRUE(fnRaisesMemoryException([&] { image.fnConvert(15, true, nullptr); }));
    EXPECT_EQ(image.BitCount, 24u);
}

} // namespace
