#include "tests/operations/StepDisplay.h"
#include "tests/resampling/PlainResample.h"
#include "tests/support/AttachedTest.h"

#include <algorithm>

namespace q32::test {
namespace {

/// One pixel of one pass; `at(j)` is the address of sample j.
template <typename At>
void fnPlainWeighted(const Weights& weights, unsigned char* out, At at) {
    double plain[4] = {};
    double weighted[4] = {};
    bool opaque = true;
    for (const auto& [j, weight] : weights) {
        const unsigned char* p = at(j);
        opaque = opaque && p[0] == 255;
        for (int c = 0; c < 4; ++c) {
            plain[c] += p[c] * weight;
            weighted[c] += p[0] * p[c] * weight;
        }
    }
    out[0] = static_cast<unsigned char>(fnPlainByte(plain[0]));
    for (int c = 1; c < 4; ++c)
        out[c] = static_cast<unsigned char>(out[0] == 0 ? 0u
                                            : opaque    ? fnPlainByte(plain[c])
                                                        : fnPlainByte(weighted[c] / plain[0]));
}

Rows fnPlainWeightedWidth(const Rows& from, unsigned int width) {
    const auto count = static_cast<std::int64_t>(from[0].size() / 4);
    Rows to(from.size(), Bytes(std::size_t{width} * 4));
    for (unsigned int x = 0; x < width; ++x) {
        const Weights weights = fnPlainWeights(double(width) / double(count), x, count);
        for (std::size_t y = 0; y < from.size(); ++y)
            fnPlainWeighted(weights, &to[y][std::size_t{x} * 4], [&](std::int64_t j) {
                return &from[y][static_cast<std::size_t>(j) * 4];
            });
    }
    return to;
}

Rows fnPlainWeightedHeight(const Rows& from, unsigned int height) {
    const auto count = static_cast<std::int64_t>(from.size());
    Rows to(height, Bytes(from[0].size()));
    for (unsigned int y = 0; y < height; ++y) {
        const Weights weights = fnPlainWeights(double(height) / double(count), y, count);
        for (std::size_t i = 0; i < from[0].size(); i += 4)
            fnPlainWeighted(weights, &to[y][i],
                            [&](std::int64_t j) { return &from[static_cast<std::size_t>(j)][i]; });
    }
    return to;
}

Rows fnPlainWeightedSize(const Rows& from, unsigned int width, unsigned int height) {
    if (from[0].size() == std::size_t{width} * 4)
        return fnPlainWeightedHeight(from, height);
    if (from.size() == height)
        return fnPlainWeightedWidth(from, width);
    return width < height ? fnPlainWeightedHeight(fnPlainWeightedWidth(from, width), height)
                          : fnPlainWeightedWidth(fnPlainWeightedHeight(from, height), width);
}

class WeightedResampleTest : public AttachedTest {
protected:
    Random m_Random{79};

    /// Areas that are opaque, transparent, and anything.
    void fnPaint(CqImage& image) {
        fnSetRandom(image, m_Random);
        Rows rows = fnRows(image);
        for (std::size_t y = 0; y < rows.size(); ++y)
            for (std::size_t x = 0; x < image.Width; ++x)
                if (const std::size_t area = (x / 12 + y / 9) % 3; area != 2)
                    rows[y][4 * x] = area == 0 ? 255 : 0;
        fnSetRows(image, rows);
    }
};

TEST_F(WeightedResampleTest, TransparentPicturesFollowTheRuleToEverySize) {
    for (int round = 0; round < 60; ++round) {
        CqImage image(fnRandomSide(m_Random), fnRandomSide(m_Random), 32, nullptr, 0);
        fnPaint(image);
        image.TileMap->PixelBuffer[0] = 254;
        const unsigned int width = m_Random() % 5 ? fnRandomSide(m_Random) : image.Width;
        const unsigned int height = m_Random() % 5 ? fnRandomSide(m_Random) : image.Height;
        if (width == image.Width && height == image.Height)
            continue;
        const Rows expected = fnPlainWeightedSize(fnRows(image), width, height);
        ASSERT_TRUE(q32ResampleByAlpha(image, width, height, nullptr));
        ASSERT_TRUE(fnSameRows(fnRows(image), expected)) << width << " x " << height;
    }
}

TEST_F(WeightedResampleTest, OpaquePicturesAndOtherDepthsGetWhatTheFilterGives) {
    for (int round = 0; round < 60; ++round) {
        CqImage image(fnRandomSide(m_Random), fnRandomSide(m_Random), fnRandomBits(m_Random),
                      nullptr, 0);
        fnSetRandom(image, m_Random);
        if (image.BitCount == 32)
            for (std::uint32_t i = 0; i < image.TileMap->BufferSize; i += 4)
                image.TileMap->PixelBuffer[i] = 255;
        CqImage filtered(image);
        const unsigned int width = fnRandomSide(m_Random);
        const unsigned int height = fnRandomSide(m_Random);
        filtered.fnResample(width, height, true, nullptr);
        ASSERT_TRUE(q32ResampleByAlpha(image, width, height, nullptr));
        if (image.BitCount == 4 && width % 2 != 0) // the last low nibble isn't set
            continue;
        ASSERT_TRUE(fnSameRows(fnRows(image), fnRows(filtered))) << image.BitCount;
    }
}

TEST_F(WeightedResampleTest, TheColorOfTransparentPixelsDoesNotShow) {
    // Opaque red beside transparent green, at every size from a reduction to an enlargement.
    for (unsigned int side = 3; side <= 80; ++side) {
        CqImage image(20, 20, 32, nullptr, 0);
        Rows rows(20);
        for (std::size_t y = 0; y < 20; ++y)
            for (std::size_t x = 0; x < 20; ++x)
                for (const unsigned char byte :
                     x + y < 20 ? Bytes{255, 255, 0, 0} : Bytes{0, 0, 255, 0})
                    rows[y].push_back(byte);
        fnSetRows(image, rows);
        ASSERT_TRUE(q32ResampleByAlpha(image, side, side == 20 ? 21 : side, nullptr));
        for (const Bytes& row : fnRows(image))
            for (std::size_t i = 0; i < row.size(); i += 4)
                if (row[i] == 0)
                    ASSERT_EQ(Bytes(row.begin() + static_cast<std::ptrdiff_t>(i),
                                    row.begin() + static_cast<std::ptrdiff_t>(i + 4)),
                              (Bytes{0, 0, 0, 0}));
                else
                    ASSERT_EQ(Bytes(row.begin() + static_cast<std::ptrdiff_t>(i + 1),
                                    row.begin() + static_cast<std::ptrdiff_t>(i + 4)),
                              (Bytes{255, 0, 0}))
                        << side << ", alpha " << unsigned{row[i]};
    }
}

TEST_F(WeightedResampleTest, TheSameSizeChangesNothingAndAnEmptyImageIsRefused) {
    CqImage image(30, 20, 32, nullptr, 0);
    const CqTileMap* map = image.TileMap;
    StepDisplay display;
    EXPECT_TRUE(q32ResampleByAlpha(image, 30, 20, &display));
    EXPECT_EQ(image.TileMap, map);
    EXPECT_TRUE(display.m_Percents.empty());
    CqImage none;
    EXPECT_FALSE(q32ResampleByAlpha(none, 3, 3, nullptr));
}

TEST_F(WeightedResampleTest, SizesThatNoImageCanHaveRaiseTheMemoryException) {
    CqImage image(100, 100, 32, nullptr, 0);
    fnPaint(image);
    const Rows before = fnRows(image);
    for (const auto& [width, height] :
         {std::pair{0u, 100u}, {100u, 0u}, {0xFFFFFFFFu, 100u}, {32768u, 32768u}})
        EXPECT_TRUE(fnRaisesMemoryException(
            [&, w = width, h = height] { q32ResampleByAlpha(image, w, h, nullptr); }));
    EXPECT_TRUE(fnSameRows(fnRows(image), before));
}

TEST_F(WeightedResampleTest, ProgressRunsOncePerUnitOfEachPass) {
    const auto percentsOf = [this](unsigned int width, unsigned int height) {
        CqImage image(140, 150, 32, nullptr, 0);
        fnPaint(image);
        StepDisplay display;
        EXPECT_TRUE(q32ResampleByAlpha(image, width, height, &display));
        return display.m_Percents;
    };
    const auto twice = [](unsigned int first, unsigned int second) {
        std::vector<unsigned int> percents = fnRun(first, 0, 50);
        const std::vector<unsigned int> rest = fnRun(second, 50, 50);
        percents.insert(percents.end(), rest.begin(), rest.end());
        return percents;
    };
    EXPECT_EQ(percentsOf(200, 150), fnRun(150));
    EXPECT_EQ(percentsOf(140, 20), fnRun(140));
    EXPECT_EQ(percentsOf(30, 31), twice(150, 30));
    EXPECT_EQ(percentsOf(300, 160), twice(140, 160));
}

} // namespace
} // namespace q32::test
