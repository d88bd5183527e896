// Tone curves and histogram.

#include "tests/operations/PlainImage.h"
#include "tests/operations/StepDisplay.h"
#include "tests/support/AttachedTest.h"

#include <algorithm>

namespace q32::test {
namespace {

class ToneApplyTest : public AttachedTest {
protected:
    Random m_Random{82};
};

TEST_F(ToneApplyTest, CurvesMapEachChannelInsideTheRectangle) {
    CqToneCurves curves;
    for (std::size_t i = 0; i < 256; ++i) {
        curves.m_Red[i] = static_cast<unsigned char>(m_Random());
        curves.m_Green[i] = static_cast<unsigned char>(m_Random());
        curves.m_Blue[i] = static_cast<unsigned char>(m_Random());
    }
    for (int round = 0; round < 150; ++round) {
        static constexpr unsigned int kBits[] = {8, 16, 24, 32};
        CqImage image(fnRandomSide(m_Random), fnRandomSide(m_Random), kBits[m_Random() % 4],
                      q32GreyRamp, 0);
        fnSetRandom(image, m_Random);
        CRect rect = fnRandomRect(m_Random, image);
        const bool whole = m_Random() % 3 == 0;
        if (whole)
            rect = CRect(0, 0, static_cast<LONG>(image.Width), static_cast<LONG>(image.Height));
        Rows expected = fnRows(image);
        for (LONG y = rect.top; y < rect.bottom; ++y)
            for (LONG x = rect.left; x < rect.right; ++x) {
                unsigned char* p = &expected[static_cast<std::size_t>(y)]
                                            [static_cast<std::size_t>(x) * image.BitCount / 8];
                if (image.BitCount == 8) {
                    *p = curves.m_Red[*p];
                } else if (image.BitCount == 16) {
                    const int word = p[0] << 8 | p[1];
                    const int red = curves.m_Red[word >> 8 & 0xF8] & 0xF8;
                    const int green = curves.m_Green[word >> 3 & 0xFC] & 0xFC;
                    const int blue = curves.m_Blue[word << 3 & 0xF8] & 0xF8;
                    const int out = red << 8 | green << 3 | blue >> 3;
                    p[0] = static_cast<unsigned char>(out >> 8);
                    p[1] = static_cast<unsigned char>(out);
                } else {
                    p += image.BitCount == 32 ? 1 : 0;
                    p[0] = curves.m_Red[p[0]];
                    p[1] = curves.m_Green[p[1]];
                    p[2] = curves.m_Blue[p[2]];
                }
            }
        ASSERT_TRUE(q32ApplyToneCurves(image, whole ? nullptr : &rect, curves, nullptr));
        ASSERT_TRUE(fnSameRows(fnRows(image), expected)) << image.BitCount;
    }
}

TEST_F(ToneApplyTest, CurvesRefuseIndicesAndEmptyRectangles) {
    const CqToneCurves black = {};
    for (const unsigned int bits : {4u, 8u}) {
        CqImage image(9, 9, bits, nullptr, 0);
        fnSetAll(image, 5);
        EXPECT_FALSE(q32ApplyToneCurves(image, nullptr, black, nullptr));
        EXPECT_EQ(fnRows(image)[0][0], 5);
    }
    CqImage image(9, 9, 24, nullptr, 0);
    fnSetAll(image, 5);
    const CRect outside(9, 0, 20, 9);
    EXPECT_FALSE(q32ApplyToneCurves(image, &outside, black, nullptr));
    EXPECT_EQ(fnRows(image), Rows(9, Bytes(27, 5)));
    CqImage none;
    EXPECT_FALSE(q32ApplyToneCurves(none, nullptr, black, nullptr));
}

class HistogramTest : public ToneApplyTest {
protected:
    /// Counts pixel by pixel.
    static CqHistogram fnPlainHistogram(CqImage& image, const CRect& rect, CqMask* mask) {
        CqHistogram sum;
        const Rows weights = mask ? fnRows(*mask) : Rows();
        for (LONG y = std::max<LONG>(rect.top, 0);
             y < std::min(rect.bottom, static_cast<LONG>(image.Height)); ++y)
            for (LONG x = std::max<LONG>(rect.left, 0);
                 x < std::min(rect.right, static_cast<LONG>(image.Width)); ++x) {
                unsigned char c[4];
                EXPECT_TRUE(
                    q32ReadPixels(image, CRect(x, y, x + 1, y + 1), PIXEL_ARGB32, c, sizeof c));
                if (c[0] == 0)
                    continue;
                if (mask && (!mask->m_rectBound.PtInRect(POINT{x, y}) ||
                             weights[static_cast<std::size_t>(y - mask->m_rectBound.top)]
                                    [static_cast<std::size_t>(x - mask->m_rectBound.left)] < 128))
                    continue;
                ++sum.m_nRed[c[1]];
                ++sum.m_nGreen[c[2]];
                ++sum.m_nBlue[c[3]];
                ++sum.m_nLuminance[(77 * c[1] + 150 * c[2] + 29 * c[3]) / 256];
                ++sum.m_nPixels;
            }
        return sum;
    }

    static void fnExpectSame(const CqHistogram& got, const CqHistogram& expected) {
        EXPECT_TRUE(std::ranges::equal(got.m_nRed, expected.m_nRed));
        EXPECT_TRUE(std::ranges::equal(got.m_nGreen, expected.m_nGreen));
        EXPECT_TRUE(std::ranges::equal(got.m_nBlue, expected.m_nBlue));
        EXPECT_TRUE(std::ranges::equal(got.m_nLuminance, expected.m_nLuminance));
        EXPECT_EQ(got.m_nPixels, expected.m_nPixels);
    }
};

TEST_F(HistogramTest, EveryDepthIsCountedInsideTheRectangleAndTheMask) {
    for (int round = 0; round < 120; ++round) {
        CqImage image(fnRandomSide(m_Random), 1 + m_Random() % 140, fnRandomBits(m_Random),
                      m_Random() % 2 ? q32GreyRamp : nullptr, 0);
        fnSetRandom(image, m_Random);
        if (image.BitCount == 32) // alphas of 0
            for (std::uint32_t i = 0; i < image.TileMap->BufferSize; i += 4)
                if (m_Random() % 2 != 0)
                    image.TileMap->PixelBuffer[i] = 0;
        CRect rect = fnRandomRect(m_Random, image);
        const bool whole = m_Random() % 3 == 0;
        if (whole)
            rect = CRect(0, 0, static_cast<LONG>(image.Width), static_cast<LONG>(image.Height));
        else if (m_Random() % 3 == 0)
            rect.InflateRect(10, 10);
        CqMask mask(fnRandomSide(m_Random), fnRandomSide(m_Random));
        fnSetRandom(mask, m_Random);
        mask.fnSetPos(CPoint(fnBelow(m_Random, 200) - 100, fnBelow(m_Random, 200) - 100));
        CqMask* given = m_Random() % 2 ? &mask : nullptr;
        CqHistogram histogram;
        histogram.m_nRed[3] = 77; // replaced
        ASSERT_TRUE(q32CountHistogram(image, whole ? nullptr : &rect, given, histogram, nullptr));
        fnExpectSame(histogram, fnPlainHistogram(image, rect, given));
        if (HasFailure())
            FAIL() << image.BitCount << " bits, " << image.Width << " x " << image.Height;
    }
}

TEST_F(HistogramTest, AnIndexBeyondThePaletteCountsAsBlack) {
    const RGBQUAD palette[] = {{0, 0, 255, 0}};
    CqImage image(10, 1, 8, palette, 1);
    fnSetAll(image, 200);
    CqHistogram histogram;
    ASSERT_TRUE(q32CountHistogram(image, nullptr, nullptr, histogram, nullptr));
    EXPECT_EQ(histogram.m_nRed[0], 10u);
    EXPECT_EQ(histogram.m_nPixels, 10u);
}

TEST_F(HistogramTest, NothingSelectedCountsNothing) {
    CqImage image(10, 10, 24, nullptr, 0);
    CqHistogram histogram;
    histogram.m_nPixels = 5;
    const CqMask none;
    EXPECT_TRUE(q32CountHistogram(image, nullptr, &none, histogram, nullptr));
    fnExpectSame(histogram, {});
    const CRect outside(20, 20, 30, 30);
    histogram.m_nPixels = 5;
    EXPECT_TRUE(q32CountHistogram(image, &outside, nullptr, histogram, nullptr));
    fnExpectSame(histogram, {});
}

TEST_F(HistogramTest, AnAbortAndWrongArgumentsLeaveTheResultUnchanged) {
    CqImage image(10, 300, 24, nullptr, 0);
    CqHistogram histogram;
    histogram.m_nPixels = 5;
    for (const std::size_t stop : {0u, 1u, 2u}) {
        StepDisplay display(stop);
        EXPECT_FALSE(q32CountHistogram(image, nullptr, nullptr, histogram, &display));
        EXPECT_EQ(display.m_Percents.size(), stop + 1);
    }
    CqMask deep;
    deep.CqImage::fnAlloc(20, 20, 24, nullptr, 0);
    deep.m_rectBound = CRect(0, 0, 20, 20);
    EXPECT_FALSE(q32CountHistogram(image, nullptr, &deep, histogram, nullptr));
    const CqImage none;
    EXPECT_FALSE(q32CountHistogram(none, nullptr, nullptr, histogram, nullptr));
    EXPECT_EQ(histogram.m_nPixels, 5u);
}

} // namespace
} // namespace q32::test
