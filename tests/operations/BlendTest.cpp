#include "tests/operations/PlainImage.h"
#include "tests/operations/StepDisplay.h"
#include "tests/support/AttachedTest.h"

#include <algorithm>
#include <climits>

namespace q32::test {
namespace {

/// v / d rounded to nearest, halves up.
unsigned int fnRounded(std::uint64_t v, std::uint64_t d) {
    return static_cast<unsigned int>((2 * v + d) / (2 * d));
}

class BlendTest : public AttachedTest {
protected:
    Random m_Random{77};

    /// A pixel of any depth as alpha, red, green, blue, through the image's own palette.
    static std::array<unsigned int, 4> fnColor(CqImage& image, int x, int y) {
        const Bytes row = fnRows(image)[static_cast<std::size_t>(y)];
        const auto i = static_cast<std::size_t>(x);
        if (image.BitCount <= 8) {
            const unsigned int index =
                image.BitCount == 8 ? row[i] : (x % 2 == 0 ? row[i / 2] >> 4 : row[i / 2] & 15u);
            const RGBQUAD& q = image.TileMap->Palette[index];
            return {255, q.rgbRed, q.rgbGreen, q.rgbBlue};
        }
        if (image.BitCount == 16)
            return {255, row[2 * i] & 0xF8u, (row[2 * i] * 32u + row[2 * i + 1] / 8u) & 0xFCu,
                    row[2 * i + 1] * 8u & 0xF8u};
        if (image.BitCount == 24)
            return {255, row[3 * i], row[3 * i + 1], row[3 * i + 2]};
        return {row[4 * i], row[4 * i + 1], row[4 * i + 2], row[4 * i + 3]};
    }

    static void fnPlainPixel(const std::array<unsigned int, 4>& over, unsigned int weight,
                             BLEND_MODE mode, unsigned int bits, unsigned char* to) {
        if (weight == 0)
            return;
        const auto mix = [weight](unsigned int s, unsigned int t) {
            return static_cast<unsigned char>(fnRounded(s * weight + t * (255 - weight), 255));
        };
        if (bits == 8) {
            *to = mix((77 * over[1] + 150 * over[2] + 29 * over[3]) >> 8, *to);
        } else if (bits == 24) {
            for (std::size_t c = 0; c < 3; ++c)
                to[c] = mix(over[c + 1], to[c]);
        } else {
            const bool replace = mode == BLEND_REPLACE;
            const unsigned int share = (replace ? over[0] : 255) * weight;
            const unsigned int rest = to[0] * (255 - weight);
            for (std::size_t c = 1; c < 4; ++c)
                to[c] = static_cast<unsigned char>(
                    share + rest == 0 ? over[c]
                                      : fnRounded(over[c] * share + to[c] * rest, share + rest));
            to[0] = static_cast<unsigned char>(replace ? fnRounded(share + rest, 255)
                                                       : weight + fnRounded(rest, 255));
        }
    }

    /// The rule, pixel by pixel, with every position checked.
    static Rows fnPlainBlend(CqImage& source, const CRect& rect, CqImage& target, int x, int y,
                             const CqBlendParam& param) {
        Rows rows = fnRows(target);
        const std::size_t bytes = target.BitCount / 8;
        Rows weights;
        CRect bound;
        if (param.m_pMask) {
            weights = fnRows(*param.m_pMask);
            bound = param.m_pMask->m_rectBound;
        }
        for (int sy = std::max<int>(rect.top, 0);
             sy < std::min<int>(rect.bottom, static_cast<int>(source.Height)); ++sy)
            for (int sx = std::max<int>(rect.left, 0);
                 sx < std::min<int>(rect.right, static_cast<int>(source.Width)); ++sx) {
                const int tx = sx - rect.left + x;
                const int ty = sy - rect.top + y;
                if (tx < 0 || ty < 0 || tx >= static_cast<int>(target.Width) ||
                    ty >= static_cast<int>(target.Height))
                    continue;
                unsigned int weight = 255;
                if (param.m_pMask) {
                    if (!bound.PtInRect(POINT{tx, ty}))
                        continue;
                    weight = weights[static_cast<std::size_t>(ty - bound.top)]
                                    [static_cast<std::size_t>(tx - bound.left)];
                }
                const std::array<unsigned int, 4> over = fnColor(source, sx, sy);
                weight = fnRounded(weight * param.m_nOpacity, 255);
                if (param.m_eMode != BLEND_REPLACE)
                    weight = fnRounded(weight * over[0], 255);
                fnPlainPixel(
                    over, weight, param.m_eMode, target.BitCount,
                    &rows[static_cast<std::size_t>(ty)][static_cast<std::size_t>(tx) * bytes]);
            }
        return rows;
    }

    /// Random bytes, often 0 or 255.
    void fnPaint(CqImage& image) {
        static constexpr unsigned char kOften[] = {0, 255, 1, 254};
        for (std::uint32_t i = 0; i < image.TileMap->BufferSize; ++i)
            image.TileMap->PixelBuffer[i] = m_Random() % 3 == 0
                                                ? kOften[m_Random() % 4]
                                                : static_cast<unsigned char>(m_Random());
    }

    /// A side that is seldom long, since the reference is slow.
    unsigned int fnSide() { return m_Random() % 4 ? 1 + m_Random() % 30 : 120 + m_Random() % 20; }
    int fnPlace() { return static_cast<int>(m_Random() % 60) - 20; }
};

TEST_F(BlendTest, EveryPairOfDepthsFollowsTheRule) {
    for (int round = 0; round < 300; ++round) {
        static constexpr unsigned int kTargets[] = {8, 24, 32};
        const unsigned int bits = kTargets[m_Random() % 3];
        CqImage source(fnSide(), fnSide(), fnRandomBits(m_Random), nullptr, 0);
        CqImage target(fnSide(), fnSide(), bits, q32GreyRamp, 0);
        fnPaint(source);
        fnPaint(target);
        CqMask mask(fnSide(), fnSide());
        fnPaint(mask);
        mask.fnSetPos(CPoint(fnPlace(), fnPlace()));
        CqBlendParam param;
        param.m_nOpacity = m_Random() % 2 ? 255 : static_cast<unsigned char>(m_Random());
        param.m_pMask = m_Random() % 2 ? &mask : nullptr;
        param.m_eMode = m_Random() % 2 ? BLEND_REPLACE : BLEND_OVER;
        CRect rect(fnPlace(), fnPlace(), fnPlace() + 30, fnPlace() + 30);
        const bool whole = m_Random() % 2;
        if (whole)
            rect = CRect(0, 0, static_cast<LONG>(source.Width), static_cast<LONG>(source.Height));
        const int x = fnPlace();
        const int y = fnPlace();
        const Rows expected = fnPlainBlend(source, rect, target, x, y, param);
        ASSERT_TRUE(q32Blend(source, whole ? nullptr : &rect, target, x, y, param, nullptr));
        ASSERT_TRUE(fnSameRows(fnRows(target), expected))
            << source.BitCount << " on " << bits << ", round " << round;
    }
}

TEST_F(BlendTest, EveryProductOfTwoBytesIsDividedAndRoundedExactly) {
    // Row y of the target has value y, column x the weight x, and the source is 255 or 0.
    for (const int value : {255, 0, 77}) {
        CqImage source(256, 256, 24, nullptr, 0);
        fnSetAll(source, static_cast<unsigned char>(value));
        CqImage target(256, 256, 8, q32GreyRamp, 0);
        CqMask mask(256, 256);
        for (int y = 0; y < 256; ++y)
            for (int x = 0; x < 256; ++x) {
                *target.fnGetPixelAddr(x, y) = static_cast<unsigned char>(y);
                *mask.fnGetPixelAddr(x, y) = static_cast<unsigned char>(x);
            }
        ASSERT_TRUE(q32Blend(source, nullptr, target, 0, 0, {255, &mask}, nullptr));
        for (int y = 0; y < 256; ++y)
            for (int x = 0; x < 256; ++x)
                ASSERT_EQ(*target.fnGetPixelAddr(x, y),
                          fnRounded(static_cast<unsigned int>(value * x + y * (255 - x)), 255))
                    << value << " over " << y << " by " << x;
    }
}

TEST_F(BlendTest, AnOpaque32BitTargetGetsTheColorsOfA24BitOne) {
    CqImage source(150, 140, 32, nullptr, 0);
    fnPaint(source);
    CqImage flat(150, 140, 24, nullptr, 0);
    fnPaint(flat);
    CqImage deep(flat);
    deep.fnConvert(32, false, nullptr);
    ASSERT_TRUE(q32Blend(source, nullptr, flat, 0, 0, {200, nullptr}, nullptr));
    ASSERT_TRUE(q32Blend(source, nullptr, deep, 0, 0, {200, nullptr}, nullptr));
    flat.fnConvert(32, false, nullptr); // with an alpha of 255
    EXPECT_TRUE(fnSameRows(fnRows(deep), fnRows(flat)));
}

TEST_F(BlendTest, OverTransparencyTheSourceArrivesUnchanged) {
    CqImage source(3, 1, 32, nullptr, 0);
    fnSetRows(source, {{255, 1, 2, 3, 100, 4, 5, 6, 0, 7, 8, 9}});
    CqImage target(3, 1, 32, nullptr, 0);
    fnSetRows(target, {{0, 200, 200, 200, 0, 200, 200, 200, 0, 201, 202, 203}});
    ASSERT_TRUE(q32Blend(source, nullptr, target, 0, 0, {}, nullptr));
    EXPECT_EQ(fnRows(target)[0], (Bytes{255, 1, 2, 3, 100, 4, 5, 6, 0, 201, 202, 203}));
}

TEST_F(BlendTest, ReplacingErasesAndCopiesExactly) {
    CqImage source(4, 1, 32, nullptr, 0);
    fnSetRows(source, {{0, 1, 2, 3, 0, 4, 5, 6, 100, 7, 8, 9, 0, 0, 0, 0}});
    CqImage target(4, 1, 32, nullptr, 0);
    fnSetRows(target, {{255, 200, 200, 200, 0, 9, 9, 9, 50, 60, 70, 80, 200, 10, 20, 30}});
    CqMask mask(4, 1);
    fnSetRows(mask, {{255, 255, 255, 51}});
    ASSERT_TRUE(q32Blend(source, nullptr, target, 0, 0, {255, &mask, BLEND_REPLACE}, nullptr));
    // The last one keeps four fifths of its alpha, and its colour.
    EXPECT_EQ(fnRows(target)[0], (Bytes{0, 1, 2, 3, 0, 4, 5, 6, 100, 7, 8, 9, 160, 10, 20, 30}));
}

TEST_F(BlendTest, APictureReplacedByItselfStaysAsItIs) {
    for (const unsigned int bits : {8u, 24u, 32u}) {
        CqImage image(140, 60, bits, q32GreyRamp, 0);
        fnPaint(image);
        if (bits == 32) // what is invisible has no colour to keep
            for (std::uint32_t i = 0; i < image.TileMap->BufferSize; i += 4)
                image.TileMap->PixelBuffer[i] |= 1;
        CqImage copy(image);
        CqMask mask(140, 60);
        fnPaint(mask);
        const Rows before = fnRows(image);
        ASSERT_TRUE(q32Blend(copy, nullptr, image, 0, 0, {200, &mask, BLEND_REPLACE}, nullptr));
        EXPECT_TRUE(fnSameRows(fnRows(image), before)) << bits;
    }
}

TEST_F(BlendTest, AnOpacityOf0AndAnEmptyMaskChangeNothing) {
    CqImage source(20, 20, 32, nullptr, 0);
    CqImage target(20, 20, 32, nullptr, 0);
    fnPaint(source);
    fnPaint(target);
    const Rows before = fnRows(target);
    EXPECT_TRUE(q32Blend(source, nullptr, target, 0, 0, {0, nullptr}, nullptr));
    CqMask none;
    EXPECT_TRUE(q32Blend(source, nullptr, target, 0, 0, {255, &none}, nullptr));
    CqMask emptied(20, 20);
    fnSetAll(emptied, 255);
    emptied.m_rectBound.SetRectEmpty();
    EXPECT_TRUE(q32Blend(source, nullptr, target, 0, 0, {255, &emptied}, nullptr));
    EXPECT_TRUE(fnSameRows(fnRows(target), before));
}

TEST_F(BlendTest, PlacesFarOutsideChangeNothing) {
    CqImage source(20, 20, 24, nullptr, 0);
    CqImage target(20, 20, 24, nullptr, 0);
    fnPaint(source);
    fnPaint(target);
    const Rows before = fnRows(target);
    for (const int place : {INT_MIN, -20, 20, INT_MAX})
        EXPECT_TRUE(q32Blend(source, nullptr, target, place, 3, {}, nullptr));
    const CRect inverted(5, 5, 2, 9);
    EXPECT_TRUE(q32Blend(source, &inverted, target, 0, 0, {}, nullptr));
    EXPECT_TRUE(fnSameRows(fnRows(target), before));
}

TEST_F(BlendTest, OtherTargetsAndMasksAreRefused) {
    CqImage source(20, 20, 24, nullptr, 0);
    fnPaint(source);
    for (const unsigned int bits : {4u, 8u, 16u}) { // with the default palette
        CqImage target(20, 20, bits, nullptr, 0);
        fnPaint(target);
        const Rows before = fnRows(target);
        EXPECT_FALSE(q32Blend(source, nullptr, target, 0, 0, {}, nullptr));
        EXPECT_TRUE(fnSameRows(fnRows(target), before)) << bits;
    }
    CqImage target(20, 20, 24, nullptr, 0);
    CqMask deep;
    deep.CqImage::fnAlloc(20, 20, 24, nullptr, 0);
    deep.m_rectBound = CRect(0, 0, 20, 20);
    EXPECT_FALSE(q32Blend(source, nullptr, target, 0, 0, {255, &deep}, nullptr));
    CqImage none;
    EXPECT_FALSE(q32Blend(none, nullptr, target, 0, 0, {}, nullptr));
    EXPECT_FALSE(q32Blend(source, nullptr, none, 0, 0, {}, nullptr));
    EXPECT_FALSE(q32Blend(source, nullptr, source, 3, 3, {}, nullptr));
}

TEST_F(BlendTest, AnAbortLeavesTheRowsOfTilesDoneSoFarChanged) {
    CqImage source(140, 300, 24, nullptr, 0);
    fnSetAll(source, 9);
    for (const std::size_t stop : {0u, 1u, 2u}) {
        CqImage target(140, 300, 24, nullptr, 0);
        fnSetAll(target, 1);
        StepDisplay display(stop);
        EXPECT_FALSE(q32Blend(source, nullptr, target, 0, 0, {}, &display));
        EXPECT_EQ(display.m_Percents.size(), stop + 1);
        const std::size_t done = std::min<std::size_t>(300, 128 * (stop + 1));
        Rows expected(300, Bytes(420, 1));
        std::fill_n(expected.begin(), done, Bytes(420, 9));
        EXPECT_TRUE(fnSameRows(fnRows(target), expected));
    }
    CqImage target(140, 300, 24, nullptr, 0);
    StepDisplay display;
    EXPECT_TRUE(q32Blend(source, nullptr, target, 0, 0, {}, &display));
    EXPECT_EQ(display.m_Percents, (std::vector<unsigned int>{0, 42, 85}));
}

} // namespace
} // namespace q32::test
