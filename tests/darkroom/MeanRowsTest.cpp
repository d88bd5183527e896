#include "examples/darkroom/model/MeanRows.h"

#include "tests/darkroom/PictureTools.h"
#include "tests/support/AttachedTest.h"

#include <algorithm>
#include <cmath>

namespace {

class DarkroomMeanRows : public AttachedTest {
protected:
    /// How much of pixel `i` lies in part `part` of an axis.
    static double fnShare(unsigned int length, unsigned int parts, unsigned int part,
                          unsigned int i) {
        const double from = static_cast<double>(length) * part / parts;
        const double to = static_cast<double>(length) * (part + 1) / parts;
        return std::max(0.0, std::min(i + 1.0, to) - std::max<double>(i, from));
    }
};

} // namespace

TEST_F(DarkroomMeanRows, ASampleIsTheMeanOverItsPartOfThePictureOnWhite) {
    constexpr unsigned int kWidth = 31;
    constexpr unsigned int kHeight = 23;
    for (const unsigned int bits : {24u, 32u}) {
        CqImage image;
        fnFillNoise(image, kWidth, kHeight, bits, bits);
        for (const auto& [width, height] :
             {std::pair(31u, 23u), std::pair(12u, 23u), std::pair(30u, 7u), std::pair(1u, 1u)}) {
            darkroom::MeanRows rows(image, width, height);
            std::vector<std::uint32_t> row(width);
            for (unsigned int y = 0; y < height; ++y) {
                rows.fnMake(y, row.data());
                for (unsigned int x = 0; x < width; ++x) {
                    double sum = 0;
                    double weights = 0;
                    for (unsigned int j = 0; j < kHeight; ++j)
                        for (unsigned int i = 0; i < kWidth; ++i) {
                            const double weight =
                                fnShare(kWidth, width, x, i) * fnShare(kHeight, height, y, j);
                            const CqColor pixel =
                                image.fnGetPixelColor(static_cast<int>(i), static_cast<int>(j));
                            const double alpha = bits == 32 ? pixel.m_Alpha / 255.0 : 1;
                            sum += weight * (alpha * pixel.m_Green + (1 - alpha) * 255);
                            weights += weight;
                        }
                    ASSERT_NEAR(row[x] >> 8 & 0xFF, sum / weights, 0.5 + 1e-6)
                        << width << ": " << x << ", " << y;
                    ASSERT_EQ(row[x] >> 24, 255u);
                }
            }
        }
    }
}

TEST_F(DarkroomMeanRows, WithoutReductionThePixelsStayAtEachDepth) {
    const RGBQUAD palette[2] = {{10, 20, 30, 0}, {40, 50, 60, 0}};
    for (const unsigned int bits : {4u, 8u, 24u}) {
        CqImage image;
        if (bits == 24)
            fnFillNoise(image, 9, 4, 24, 1);
        else {
            image.fnAlloc(9, 4, bits, palette, 2);
            image.fnFill(CqColor(60, 50, 40, 255), nullptr, false);
        }
        darkroom::MeanRows rows(image, 9, 4);
        std::vector<std::uint32_t> row(9);
        for (unsigned int y = 0; y < 4; ++y) {
            rows.fnMake(y, row.data());
            for (unsigned int x = 0; x < 9; ++x) {
                const CqColor pixel =
                    image.fnGetPixelColor(static_cast<int>(x), static_cast<int>(y));
                ASSERT_EQ(row[x], 0xFF000000u | static_cast<unsigned int>(pixel.m_Red) << 16 |
                                      static_cast<unsigned int>(pixel.m_Green) << 8 | pixel.m_Blue);
            }
        }
    }
}
