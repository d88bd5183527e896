// Crop, flip and conversion to grey.

#include "tests/operations/PlainImage.h"
#include "tests/operations/StepDisplay.h"
#include "tests/support/AttachedTest.h"

#include <algorithm>

namespace q32::test {
namespace {

class ArrangeTest : public AttachedTest {
protected:
    Random m_Random{78};

    /// Pixels one by one, as groups of bytes; at 4 bits, a byte each.
    static std::vector<Rows> fnPixels(const CqImage& image) {
        std::vector<Rows> pixels;
        const std::size_t bytes = std::max(1u, image.BitCount / 8);
        for (const Bytes& row : fnRows(image)) {
            Rows line;
            for (std::size_t x = 0; x < image.Width; ++x)
                if (image.BitCount == 4)
                    line.push_back({static_cast<unsigned char>(x % 2 == 0 ? row[x / 2] >> 4
                                                                          : row[x / 2] & 15)});
                else
                    line.emplace_back(row.begin() + static_cast<std::ptrdiff_t>(x * bytes),
                                      row.begin() + static_cast<std::ptrdiff_t>((x + 1) * bytes));
            pixels.push_back(line);
        }
        return pixels;
    }
};

TEST_F(ArrangeTest, ACropTakesTheRectangleAtEveryDepth) {
    for (int round = 0; round < 200; ++round) {
        CqImage source(fnRandomSide(m_Random), fnRandomSide(m_Random), fnRandomBits(m_Random),
                       nullptr, 0);
        fnSetRandom(source, m_Random);
        source.DpiX = 301;
        source.DpiY = 299;
        const CRect rect = fnRandomRect(m_Random, source);
        CRect given = rect;
        if (m_Random() % 4 == 0) { // reaches beyond the image, and is clipped
            given = CRect(-5, -7, rect.right, rect.bottom);
        }
        std::vector<Rows> expected;
        const std::vector<Rows> pixels = fnPixels(source);
        for (LONG y = std::max<LONG>(given.top, 0); y < rect.bottom; ++y) {
            Rows line;
            for (LONG x = std::max<LONG>(given.left, 0); x < rect.right; ++x)
                line.push_back(pixels[static_cast<std::size_t>(y)][static_cast<std::size_t>(x)]);
            expected.push_back(line);
        }
        CqImage target;
        target.Title = "kept";
        ASSERT_TRUE(q32Crop(source, given, target, nullptr));
        ASSERT_EQ(fnPixels(target), expected) << source.BitCount;
        EXPECT_EQ(target.DpiX, 301);
        EXPECT_EQ(target.DpiY, 299);
        EXPECT_EQ(target.Title, "kept");
        EXPECT_EQ(target.PaletteCount, source.PaletteCount);
        ASSERT_TRUE(q32Crop(source, given, source, nullptr)); // in place
        ASSERT_EQ(fnPixels(source), expected) << source.BitCount;
    }
}

TEST_F(ArrangeTest, ACropKeepsThePalette) {
    const RGBQUAD palette[] = {{1, 2, 3, 0}, {4, 5, 6, 0}, {7, 8, 9, 0}};
    CqImage source(9, 9, 8, palette, 3);
    CqImage target;
    ASSERT_TRUE(q32Crop(source, CRect(1, 1, 4, 4), target, nullptr));
    RGBQUAD entries[4] = {};
    ASSERT_EQ(target.fnGetPaletteEntry(0, 4, entries), 3u);
    EXPECT_EQ(entries[2].rgbRed, 9);
    CqImage grey(9, 9, 8, q32GreyRamp, 0);
    ASSERT_TRUE(q32Crop(grey, CRect(1, 1, 4, 4), target, nullptr));
    EXPECT_TRUE(target.fnIsGrayScale());
}

TEST_F(ArrangeTest, ACropOfNothingIsRefused) {
    CqImage source(9, 9, 24, nullptr, 0);
    CqImage target(3, 3, 8, nullptr, 0);
    const CqTileMap* map = target.TileMap;
    EXPECT_FALSE(q32Crop(source, CRect(9, 0, 12, 9), target, nullptr));
    EXPECT_FALSE(q32Crop(source, CRect(5, 5, 3, 9), target, nullptr));
    const CqImage none;
    EXPECT_FALSE(q32Crop(none, CRect(0, 0, 9, 9), target, nullptr));
    EXPECT_EQ(target.TileMap, map);
}

TEST_F(ArrangeTest, AFlipMirrorsEveryDepth) {
    for (int round = 0; round < 40; ++round) {
        CqImage image(fnRandomSide(m_Random), fnRandomSide(m_Random), fnRandomBits(m_Random),
                      nullptr, 0);
        fnSetRandom(image, m_Random);
        std::vector<Rows> expected = fnPixels(image);
        for (Rows& row : expected)
            std::reverse(row.begin(), row.end());
        ASSERT_TRUE(q32FlipHorizontal(image, nullptr));
        ASSERT_EQ(fnPixels(image), expected) << image.BitCount;
        std::reverse(expected.begin(), expected.end());
        ASSERT_TRUE(q32FlipVertical(image, nullptr));
        ASSERT_EQ(fnPixels(image), expected) << image.BitCount;
    }
    CqImage none;
    EXPECT_FALSE(q32FlipHorizontal(none, nullptr));
    EXPECT_FALSE(q32FlipVertical(none, nullptr));
}

/// A display whose poll for Esc runs out of memory.
class BrokenDisplay : public StepDisplay {
public:
    void fnDrawStatus(unsigned int, bool*) override { AfxThrowMemoryException(); }
};

TEST_F(ArrangeTest, AFlipThatIsAbortedOrFailsIsTakenBack) {
    for (const auto& [flip, calls] :
         {std::pair{&q32FlipHorizontal, 300u / 32}, {&q32FlipVertical, 150u / 32}})
        for (const unsigned int bits : {4u, 24u}) {
            CqImage image(130, 300, bits, nullptr, 0);
            fnSetRandom(image, m_Random);
            const Rows before = fnRows(image);
            for (std::size_t stop = 0; stop < calls; ++stop) {
                StepDisplay display(stop);
                EXPECT_FALSE(flip(image, &display));
                EXPECT_EQ(display.m_Percents.size(), stop + 1);
                EXPECT_TRUE(fnSameRows(fnRows(image), before));
            }
            BrokenDisplay broken;
            EXPECT_TRUE(fnRaisesMemoryException([&, f = flip] { f(image, &broken); }));
            EXPECT_TRUE(fnSameRows(fnRows(image), before));
            StepDisplay display;
            EXPECT_TRUE(flip(image, &display));
            EXPECT_EQ(display.m_Percents.size(), calls);
        }
}

TEST_F(ArrangeTest, GreyFollowsItsWeightsFromEveryDepthToEveryDepth) {
    for (int round = 0; round < 120; ++round) {
        CqImage image(fnRandomSide(m_Random), fnRandomSide(m_Random), fnRandomBits(m_Random),
                      nullptr, 0);
        fnSetRandom(image, m_Random);
        Bytes colors(std::size_t{4} * image.Width * image.Height);
        ASSERT_TRUE(q32ReadPixels(
            image, CRect(0, 0, static_cast<LONG>(image.Width), static_cast<LONG>(image.Height)),
            PIXEL_ARGB32, colors.data(), std::size_t{4} * image.Width));
        static constexpr unsigned int kBits[] = {8, 24, 32};
        const unsigned int bits = kBits[m_Random() % 3];
        Rows expected(image.Height);
        for (std::size_t i = 0; i < colors.size(); i += 4) {
            Bytes& row = expected[i / 4 / image.Width];
            const auto grey = static_cast<unsigned char>(
                (77 * colors[i + 1] + 150 * colors[i + 2] + 29 * colors[i + 3]) / 256);
            if (bits == 32)
                row.push_back(colors[i]);
            row.insert(row.end(), bits == 8 ? 1 : 3, grey);
        }
        ASSERT_TRUE(q32ConvertToGrey(image, bits, nullptr));
        ASSERT_EQ(image.BitCount, bits);
        ASSERT_TRUE(fnSameRows(fnRows(image), expected));
        EXPECT_EQ(image.fnIsGrayScale(), bits == 8);
    }
}

TEST_F(ArrangeTest, GreyOfOtherDepthsIsRefused) {
    CqImage image(5, 5, 24, nullptr, 0);
    const CqTileMap* map = image.TileMap;
    for (const unsigned int bits : {0u, 4u, 16u, 25u})
        EXPECT_FALSE(q32ConvertToGrey(image, bits, nullptr));
    EXPECT_EQ(image.TileMap, map);
    CqImage none;
    EXPECT_FALSE(q32ConvertToGrey(none, 8, nullptr));
}

} // namespace
} // namespace q32::test
