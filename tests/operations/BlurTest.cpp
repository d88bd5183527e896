// Blur, sharpening, and what is done to masks.

#include "q32Base/operations/Blur_p.h"
#include "tests/operations/PlainImage.h"
#include "tests/operations/StepDisplay.h"
#include "tests/support/AttachedTest.h"
#include "tests/support/Sanitizers.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

namespace q32::test {
namespace {

using Series = std::vector<std::uint64_t>;

Series fnConvolved(const Series& a, const Series& b) {
    Series out(a.size() + b.size() - 1);
    for (std::size_t i = 0; i < a.size(); ++i)
        for (std::size_t j = 0; j < b.size(); ++j)
            out[i + j] += a[i] * b[j];
    return out;
}

/// The kernel of the rule, by trying every kernel that it allows.
Series fnPlainKernel(double sigma) {
    sigma = std::min(sigma, 1000.0);
    unsigned int low = 1;
    while ((low + 2.0) * (low + 2.0) <= 4.0 * sigma * sigma + 1.0)
        low += 2;
    Series best;
    double bestError = std::numeric_limits<double>::infinity();
    for (unsigned int wider = 0; wider <= 3; ++wider) {
        Series kernel{1};
        double variance = 0.0;
        for (unsigned int box = 0; box < 3; ++box) {
            const unsigned int width = low + (box < wider ? 2 : 0);
            kernel = fnConvolved(kernel, Series(width, 1));
            variance += (double{1} * width * width - 1.0) / 12.0;
        }
        const double side =
            low < 17 ? std::clamp(std::floor(128.0 * (sigma * sigma - variance) + 0.5), 0.0, 85.0)
                     : 0.0;
        const double error = std::fabs(sigma * sigma - variance - side / 128.0);
        if (error < bestError) {
            const auto f = static_cast<std::uint64_t>(side);
            best = f == 0 ? kernel : fnConvolved(kernel, {f, 256 - 2 * f, f});
            bestError = error;
        }
    }
    return best;
}

double fnVariance(const Series& kernel) {
    const double middle = static_cast<double>(kernel.size() - 1) / 2.0;
    double sum = 0.0;
    double variance = 0.0;
    for (std::size_t i = 0; i < kernel.size(); ++i) {
        const auto weight = static_cast<double>(kernel[i]);
        sum += weight;
        variance += weight * (static_cast<double>(i) - middle) * (static_cast<double>(i) - middle);
    }
    return variance / sum;
}

std::uint64_t fnRounded(std::uint64_t n, std::uint64_t d) {
    return n / d + (n % d >= d - n % d ? 1 : 0);
}

/// One direction of the rule, on a series of pixels.
std::vector<Bytes> fnPlainPass(const std::vector<Bytes>& pixels, const Series& kernel) {
    const auto count = static_cast<std::ptrdiff_t>(pixels.size());
    const auto reach = static_cast<std::ptrdiff_t>(kernel.size() / 2);
    const std::uint64_t sum = std::accumulate(kernel.begin(), kernel.end(), std::uint64_t{0});
    const std::size_t bytes = pixels[0].size();
    std::vector<Bytes> out(pixels.size(), Bytes(bytes));
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        std::uint64_t sums[4] = {};
        for (std::ptrdiff_t k = -reach; k <= reach; ++k) {
            const Bytes& pixel =
                pixels[static_cast<std::size_t>(std::clamp<std::ptrdiff_t>(i + k, 0, count - 1))];
            const std::uint64_t weight = kernel[static_cast<std::size_t>(k + reach)];
            for (std::size_t c = 0; c < bytes; ++c)
                sums[c] += weight * pixel[c] * (bytes == 4 && c > 0 ? pixel[0] : 1u);
        }
        Bytes& result = out[static_cast<std::size_t>(i)];
        for (std::size_t c = 0; c < bytes; ++c)
            if (bytes < 4 || c == 0)
                result[c] = static_cast<unsigned char>(fnRounded(sums[c], sum));
            else if (result[0] != 0)
                result[c] = static_cast<unsigned char>(fnRounded(sums[c], sums[0]));
    }
    return out;
}

Rows fnPlainBlur(const Rows& rows, std::size_t bytes, const Series& kernel) {
    std::vector<std::vector<Bytes>> pixels;
    for (const Bytes& row : rows) {
        std::vector<Bytes> line;
        for (auto at = row.begin(); at != row.end(); at += static_cast<std::ptrdiff_t>(bytes))
            line.emplace_back(at, at + static_cast<std::ptrdiff_t>(bytes));
        pixels.push_back(fnPlainPass(line, kernel));
    }
    Rows out(rows.size());
    for (std::size_t x = 0; x < pixels[0].size(); ++x) {
        std::vector<Bytes> column;
        for (const std::vector<Bytes>& line : pixels)
            column.push_back(line[x]);
        column = fnPlainPass(column, kernel);
        for (std::size_t y = 0; y < rows.size(); ++y)
            out[y].insert(out[y].end(), column[y].begin(), column[y].end());
    }
    return out;
}

class BlurTest : public AttachedTest {
protected:
    Random m_Random{80};

    double fnUnit() { return m_Random() / 4294967296.0; }
    unsigned int fnDepth() {
        static constexpr unsigned int kDepths[] = {8, 24, 32};
        return kDepths[m_Random() % 3];
    }
    /// Noise, with areas of one value and of no alpha.
    void fnPaint(CqImage& image) {
        for (std::uint32_t i = 0; i < image.TileMap->BufferSize; ++i)
            image.TileMap->PixelBuffer[i] =
                (i / 90) % 3 == 0 ? static_cast<unsigned char>((i / 270) % 2 ? 255 : 0)
                                  : static_cast<unsigned char>(m_Random());
    }
};

TEST_F(BlurTest, EverySizeDepthAndSigmaFollowsTheRule) {
    for (int round = 0; round < fnRandomCases(90); ++round) {
        const unsigned int bits = fnDepth();
        CqImage image(m_Random() % 2 ? fnRandomSide(m_Random) : 1 + m_Random() % 40,
                      1 + m_Random() % 150, bits, q32GreyRamp, 0);
        fnPaint(image);
        const double sigma = m_Random() % 3 ? 4.0 * fnUnit() : 30.0 * fnUnit();
        const Rows expected = fnPlainBlur(fnRows(image), bits / 8, fnPlainKernel(sigma));
        ASSERT_EQ(q32Blur(image, sigma, nullptr), sigma > 0.0);
        ASSERT_TRUE(fnSameRows(fnRows(image), expected))
            << bits << " bits, " << image.Width << " x " << image.Height << ", sigma " << sigma;
    }
}

TEST_F(BlurTest, SumsBeyond32BitsFollowTheRule) {
    for (const unsigned int bits : {8u, 24u, 32u})
        for (const double sigma : {100.7, 300.0, 1000.0, 1e300}) {
            CqImage image(140, 35, bits, q32GreyRamp, 0);
            fnPaint(image);
            const Rows expected = fnPlainBlur(fnRows(image), bits / 8, fnPlainKernel(sigma));
            ASSERT_TRUE(q32Blur(image, sigma, nullptr));
            ASSERT_TRUE(fnSameRows(fnRows(image), expected)) << bits << ", " << sigma;
        }
}

TEST_F(BlurTest, TheKernelsDeviationIsCloseToSigma) {
    for (double sigma = 0.3; sigma < 1000.0; sigma *= 1.07) {
        const BlurKernel kernel = fnMakeBlurKernel(sigma);
        const double pair = kernel.m_nPair;
        const double third = kernel.m_nThird;
        const double variance =
            (2.0 * pair * pair + third * third - 3.0) / 12.0 + kernel.m_nSide / 128.0;
        EXPECT_NEAR(std::sqrt(variance), sigma, 0.05 * sigma) << sigma;
        if (sigma < 20.0) {
            const Series plain = fnPlainKernel(sigma);
            EXPECT_NEAR(fnVariance(plain), variance, 1e-6) << sigma;
            EXPECT_EQ(q32GetBlurReach(sigma), plain.size() / 2) << sigma;
        }
    }
    EXPECT_EQ(q32GetBlurReach(0.0), 0u);
    EXPECT_EQ(q32GetBlurReach(-3.0), 0u);
    EXPECT_EQ(q32GetBlurReach(std::nan("")), 0u);
    EXPECT_EQ(q32GetBlurReach(5000.0), q32GetBlurReach(1000.0));
}

TEST_F(BlurTest, AnOpaquePictureGetsTheColorsOf24Bits) {
    CqImage flat(150, 140, 24, nullptr, 0);
    fnPaint(flat);
    CqImage deep(flat);
    deep.fnConvert(32, false, nullptr);
    ASSERT_TRUE(q32Blur(flat, 5.0, nullptr));
    ASSERT_TRUE(q32Blur(deep, 5.0, nullptr));
    flat.fnConvert(32, false, nullptr);
    EXPECT_TRUE(fnSameRows(fnRows(deep), fnRows(flat)));
}

TEST_F(BlurTest, TheColorOfTransparentPixelsDoesNotShow) {
    CqImage image(40, 40, 32, nullptr, 0);
    Rows rows(40);
    for (std::size_t y = 0; y < 40; ++y)
        for (std::size_t x = 0; x < 40; ++x)
            for (const unsigned char byte : x < 20 ? Bytes{255, 255, 0, 0} : Bytes{0, 0, 255, 0})
                rows[y].push_back(byte);
    fnSetRows(image, rows);
    ASSERT_TRUE(q32Blur(image, 4.0, nullptr));
    for (const Bytes& row : fnRows(image))
        for (std::size_t i = 0; i < row.size(); i += 4) {
            ASSERT_EQ(row[i + 1], row[i] == 0 ? 0 : 255);
            ASSERT_EQ(row[i + 2], 0);
        }
}

TEST_F(BlurTest, ARectangleWithItsReachIsBlurredAsInTheWholeImage) {
    for (const double sigma : {0.7, 3.3, 11.0}) {
        CqImage image(300, 270, 24, nullptr, 0);
        fnPaint(image);
        const CRect rect(120, 90, 190, 200);
        CRect around = rect;
        const auto reach = static_cast<LONG>(q32GetBlurReach(sigma));
        around.InflateRect(reach, reach);
        CqImage part;
        ASSERT_TRUE(q32Crop(image, around, part, nullptr));
        ASSERT_TRUE(q32Blur(part, sigma, nullptr));
        ASSERT_TRUE(q32Blur(image, sigma, nullptr));
        around.OffsetRect(-around.left, -around.top);
        around.InflateRect(-reach, -reach);
        ASSERT_TRUE(q32Crop(part, around, part, nullptr));
        ASSERT_TRUE(q32Crop(image, rect, image, nullptr));
        EXPECT_TRUE(fnSameRows(fnRows(part), fnRows(image))) << sigma;
    }
}

TEST_F(BlurTest, AFlatPictureStaysFlat) {
    for (const unsigned int bits : {8u, 24u, 32u})
        for (int value = 0; value < 256; value += 5) {
            CqImage image(30, 20, bits, q32GreyRamp, 0);
            fnSetAll(image, static_cast<unsigned char>(value));
            const Rows before = fnRows(image);
            ASSERT_TRUE(q32Blur(image, 0.5 + value, nullptr));
            ASSERT_TRUE(fnSameRows(fnRows(image), before)) << bits << ", " << value;
        }
}

TEST_F(BlurTest, OtherImagesAndSigmasAreRefused) {
    for (const unsigned int bits : {4u, 8u, 16u}) {
        CqImage image(9, 9, bits, nullptr, 0);
        EXPECT_FALSE(q32Blur(image, 2.0, nullptr)) << bits;
        EXPECT_FALSE(q32Sharpen(image, 2.0, 100, 0, nullptr)) << bits;
    }
    CqImage image(9, 9, 24, nullptr, 0);
    for (const double sigma : {0.0, -1.0, std::nan("")}) {
        EXPECT_FALSE(q32Blur(image, sigma, nullptr));
        EXPECT_FALSE(q32Sharpen(image, sigma, 100, 0, nullptr));
    }
    CqImage none;
    EXPECT_FALSE(q32Blur(none, 2.0, nullptr));
    EXPECT_FALSE(q32Sharpen(none, 2.0, 100, 0, nullptr));
}

TEST_F(BlurTest, SharpeningAddsAPartOfTheDifference) {
    for (int round = 0; round < fnRandomCases(60); ++round) {
        const unsigned int bits = fnDepth();
        CqImage image(1 + m_Random() % 200, 1 + m_Random() % 60, bits, q32GreyRamp, 0);
        fnPaint(image);
        const double sigma = 0.3 + 3.0 * fnUnit();
        const unsigned int amount = m_Random() % 10 ? m_Random() % 400 : 0xFFFFFFFFu;
        const unsigned int threshold = m_Random() % 2 ? m_Random() % 40 : m_Random() % 3;
        CqImage blurred(image);
        ASSERT_TRUE(q32Blur(blurred, sigma, nullptr));
        Rows expected = fnRows(image);
        const Rows soft = fnRows(blurred);
        for (std::size_t y = 0; y < expected.size(); ++y)
            for (std::size_t i = 0; i < expected[y].size(); ++i) {
                if (bits == 32 && (i % 4 == 0 || expected[y][i / 4 * 4] == 0))
                    continue;
                const int away = expected[y][i] - soft[y][i];
                if (std::abs(away) < static_cast<int>(threshold))
                    continue;
                const double part = away * static_cast<double>(std::min(amount, 10000u)) / 100.0;
                expected[y][i] = static_cast<unsigned char>(
                    std::clamp(expected[y][i] + std::round(part), 0.0, 255.0));
            }
        ASSERT_TRUE(q32Sharpen(image, sigma, amount, threshold, nullptr));
        ASSERT_TRUE(fnSameRows(fnRows(image), expected)) << bits << ", " << amount;
    }
}

TEST_F(BlurTest, AnAbortAtAnyCallKeepsTheImage) {
    for (const bool sharpen : {false, true}) {
        const auto run = [sharpen](CqImage& image, CqProgressDisplay* display) {
            return sharpen ? q32Sharpen(image, 2.0, 100, 0, display) : q32Blur(image, 2.0, display);
        };
        CqImage image(300, 140, 24, nullptr, 0);
        fnPaint(image);
        const Rows before = fnRows(image);
        const std::vector<unsigned int> percents =
            sharpen ? std::vector<unsigned int>{0, 8, 16, 24, 32, 35, 49, 64, 70, 97}
                    : std::vector<unsigned int>{0, 11, 22, 34, 45, 50, 71, 92};
        for (std::size_t stop = 0; stop < percents.size(); ++stop) {
            StepDisplay display(stop);
            EXPECT_FALSE(run(image, &display));
            EXPECT_EQ(display.m_Percents.size(), stop + 1);
            ASSERT_TRUE(fnSameRows(fnRows(image), before));
        }
        StepDisplay display;
        EXPECT_TRUE(run(image, &display));
        EXPECT_EQ(display.m_Percents, percents);
    }
}

class MaskEditTest : public BlurTest {
protected:
    /// The weights of a mask on an area, 0 where it doesn't cover it.
    static Rows fnWeights(CqMask& mask, const CRect& area) {
        Rows rows(static_cast<std::size_t>(area.Height()),
                  Bytes(static_cast<std::size_t>(area.Width())));
        const CRect& bound = mask.m_rectBound;
        const Rows own = mask.TileMap ? fnRows(mask) : Rows();
        for (LONG y = std::max(area.top, bound.top); y < std::min(area.bottom, bound.bottom); ++y)
            for (LONG x = std::max(area.left, bound.left); x < std::min(area.right, bound.right);
                 ++x)
                rows[static_cast<std::size_t>(y - area.top)]
                    [static_cast<std::size_t>(x - area.left)] =
                        own[static_cast<std::size_t>(y - bound.top)]
                           [static_cast<std::size_t>(x - bound.left)];
        return rows;
    }
};

TEST_F(MaskEditTest, FeatheringBlursOnBlackAndGrowsInsideTheArea) {
    for (int round = 0; round < fnRandomCases(60); ++round) {
        CqMask mask(1 + m_Random() % 60, 1 + m_Random() % 60);
        fnSetRandom(mask, m_Random);
        mask.fnSetPos(CPoint(fnBelow(m_Random, 80) - 10, fnBelow(m_Random, 80) - 10));
        const CRect area(0, 0, 140, 90);
        const double sigma = 0.2 + 5.0 * fnUnit();
        CRect shared;
        if (!shared.IntersectRect(mask.m_rectBound, area))
            continue;
        const Rows expected = fnPlainBlur(fnWeights(mask, area), 1, fnPlainKernel(sigma));
        const auto reach = static_cast<LONG>(q32GetBlurReach(sigma));
        CRect grown = mask.m_rectBound;
        grown.InflateRect(reach, reach);
        grown.IntersectRect(CRect(grown), area);
        ASSERT_TRUE(q32FeatherMask(mask, sigma, area, nullptr));
        ASSERT_TRUE(mask.m_rectBound == grown);
        ASSERT_TRUE(fnSameRows(fnWeights(mask, area), expected)) << sigma;
    }
}

TEST_F(MaskEditTest, AMaskThatSelectsEverythingStaysSoWhenFeathered) {
    CqMask mask(50, 40);
    fnSetAll(mask, 255);
    ASSERT_TRUE(q32FeatherMask(mask, 9.0, CRect(0, 0, 50, 40), nullptr));
    EXPECT_EQ(fnRows(mask), Rows(40, Bytes(50, 255)));
}

TEST_F(MaskEditTest, InvertingCoversExactlyTheArea) {
    for (int round = 0; round < fnRandomCases(60); ++round) {
        CqMask mask(fnRandomSide(m_Random), fnRandomSide(m_Random));
        fnSetRandom(mask, m_Random);
        mask.fnSetPos(CPoint(fnBelow(m_Random, 300) - 150, fnBelow(m_Random, 300) - 150));
        const int left = fnBelow(m_Random, 100) - 50;
        const CRect area(left, -20, left + 1 + fnBelow(m_Random, 200), 130);
        Rows expected = fnWeights(mask, area);
        for (Bytes& row : expected)
            for (unsigned char& weight : row)
                weight = static_cast<unsigned char>(255 - weight);
        ASSERT_TRUE(q32InvertMask(mask, area));
        ASSERT_TRUE(mask.m_rectBound == area);
        ASSERT_TRUE(fnSameRows(fnRows(mask), expected));
    }
    CqMask none;
    ASSERT_TRUE(q32InvertMask(none, CRect(3, 4, 7, 9)));
    EXPECT_EQ(fnRows(none), Rows(5, Bytes(4, 255)));
    EXPECT_TRUE(none.m_rectBound == CRect(3, 4, 7, 9));
}

TEST_F(MaskEditTest, WrongMasksAndAreasAreRefused) {
    const CRect area(0, 0, 30, 30);
    CqMask deep;
    deep.CqImage::fnAlloc(20, 20, 24, nullptr, 0);
    deep.m_rectBound = CRect(0, 0, 20, 20);
    EXPECT_FALSE(q32FeatherMask(deep, 2.0, area, nullptr));
    EXPECT_FALSE(q32InvertMask(deep, area));
    CqMask mask(20, 20);
    fnSetAll(mask, 7);
    EXPECT_FALSE(q32FeatherMask(mask, 0.0, area, nullptr));
    EXPECT_FALSE(q32FeatherMask(mask, 2.0, CRect(100, 0, 130, 30), nullptr));
    EXPECT_FALSE(q32FeatherMask(mask, 2.0, CRect(5, 5, 5, 9), nullptr));
    EXPECT_FALSE(q32InvertMask(mask, CRect(5, 5, 5, 9)));
    CqMask none;
    EXPECT_FALSE(q32FeatherMask(none, 2.0, area, nullptr));
    for (const std::size_t stop : {0u, 1u}) {
        StepDisplay display(stop);
        EXPECT_FALSE(q32FeatherMask(mask, 2.0, area, &display));
        EXPECT_EQ(display.m_Percents.size(), stop + 1);
    }
    EXPECT_TRUE(mask.m_rectBound == CRect(0, 0, 20, 20));
    EXPECT_EQ(fnRows(mask), Rows(20, Bytes(20, 7)));
}

} // namespace
} // namespace q32::test
