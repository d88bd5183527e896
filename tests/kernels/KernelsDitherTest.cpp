#include "tests/kernels/KernelsTestTools.h"

namespace q32::test {
namespace {

// The 8 by 8 thresholds of the 256-colour screen.
const std::uint8_t kThresholds[64] = {
    0,  38, 9,  47, 2,  40, 11, 50, 25, 12, 35, 22, 27, 15, 37, 24, 6,  44, 3,  41, 8,  47,
    5,  43, 31, 19, 28, 15, 34, 21, 31, 18, 1,  39, 11, 49, 0,  39, 10, 48, 27, 14, 36, 23,
    26, 13, 35, 23, 7,  46, 4,  43, 7,  45, 3,  42, 33, 20, 30, 17, 32, 19, 29, 16,
};

// The 4 by 4 pattern of the 16-bit screen.
const std::uint8_t kPattern[16] = {0, 12, 3, 15, 8, 4, 11, 7, 2, 14, 1, 13, 10, 6, 9, 5};

struct Rgb {
    unsigned red, green, blue;
};

// Steps of the first, second and third component, 0 to 5 each, and the spare byte. A level
// of 6 reads the byte after its six.
std::uint8_t fnIndexByRule(const Rgb& pixel, const std::uint8_t* thresholds, int x, int y) {
    const std::uint8_t steps[19] = {0,  36, 72, 108, 144, 180, 0, 6, 12, 18,
                                    24, 30, 0,  1,   2,   3,   4, 5, 0};
    const unsigned threshold = thresholds[(y & 7) * 8 + (x & 7)];
    const auto level = [&](unsigned c) { return c / 51 + (c % 51 >= threshold ? 1 : 0); };
    return static_cast<std::uint8_t>(steps[level(pixel.red)] + steps[6 + level(pixel.green)] +
                                     steps[12 + level(pixel.blue)]);
}

Rgb fnFrom16(const std::uint8_t* p) {
    return {p[0] & 0xF8u, ((unsigned{p[0]} << 8 | p[1]) & 0x07E0) >> 3, p[1] * 8u & 0xFF};
}
Rgb fnFrom24(const std::uint8_t* p) {
    return {p[0], p[1], p[2]};
}
Rgb fnFrom32(const std::uint8_t* p) {
    return {p[1], p[2], p[3]};
}

struct DitherCase {
    const char* name;
    DitherRun Kernels::*kernel;
    std::size_t sourceBytes;
    Rgb (*pixel)(const std::uint8_t* p);
};

const DitherCase kDitherCases[] = {
    {"16 bits", &Kernels::fnDither16, 2, fnFrom16},
    {"24 bits", &Kernels::fnDither24, 3, fnFrom24},
    {"32 bits", &Kernels::fnDither32, 4, fnFrom32},
};

Bytes fnByRule(const DitherCase& dither, const Bytes& source, const std::uint8_t* thresholds, int x,
               int y) {
    Bytes result;
    for (std::size_t i = 0; i < source.size(); i += dither.sourceBytes, ++x)
        result.push_back(fnIndexByRule(dither.pixel(source.data() + i), thresholds, x, y));
    return result;
}

class KernelsDither : public KernelsAtEachLevel {
protected:
    void fnCheck(const DitherCase& dither, const Bytes& content, std::size_t misalignment,
                 const std::uint8_t* thresholds, int x, int y) {
        const std::size_t count = content.size() / dither.sourceBytes;
        const SourceBytes source(content, misalignment);
        TargetBytes target(count, m_Random() % 32);
        (m_Kernels.*dither.kernel)(source.fnGetData(), target.fnGetData(), count, thresholds, x, y);
        ASSERT_TRUE(target.fnHolds(fnByRule(dither, content, thresholds, x, y)))
            << dither.name << ", " << count << " pixels at " << x << ", " << y;
    }
};
Q32_AT_EACH_LEVEL(KernelsDither);

TEST_P(KernelsDither, FollowsTheRuleAtEveryPhaseAndTouchesNothingElse) {
    for (const DitherCase& dither : kDitherCases)
        fnForManyRuns(m_Random, [&](std::size_t count, std::size_t misalignment) {
            const int x = static_cast<int>(m_Random() % 100) - 50;
            const int y = static_cast<int>(m_Random() % 100) - 50;
            fnCheck(dither, fnRandomBytes(m_Random, count * dither.sourceBytes), misalignment,
                    kThresholds, x, y);
        });
}

TEST_P(KernelsDither, FollowsTheRuleForEveryValueInEveryCellOfEachComponent) {
    for (const std::size_t bytes : {3u, 4u})
        for (std::size_t component = 0; component < 3; ++component)
            for (int y = 0; y < 8; ++y)
                for (int x = 0; x < 8; ++x) {
                    Bytes content = fnRandomBytes(m_Random, 256 * bytes);
                    for (std::size_t value = 0; value < 256; ++value)
                        content[value * bytes + (bytes - 3) + component] =
                            static_cast<std::uint8_t>(value);
                    fnCheck(kDitherCases[bytes - 2], content, 0, kThresholds, x, y);
                }
}

TEST_P(KernelsDither, FollowsTheRuleForEvery16BitValueInEveryCell) {
    Bytes all;
    for (unsigned value = 0; value < 65536; ++value)
        all.insert(all.end(),
                   {static_cast<std::uint8_t>(value >> 8), static_cast<std::uint8_t>(value)});
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 8; ++x)
            fnCheck(kDitherCases[0], all, 0, kThresholds, x, y);
}

TEST_P(KernelsDither, FollowsTheRuleForEveryThresholdFrom0To50) {
    for (unsigned threshold = 0; threshold <= 50; ++threshold) {
        const Bytes same(64, static_cast<std::uint8_t>(threshold));
        Bytes greys;
        for (unsigned value = 0; value < 256; ++value)
            greys.insert(greys.end(), 3, static_cast<std::uint8_t>(value));
        fnCheck(kDitherCases[1], greys, 0, same.data(), 0, 0);
    }
}

TEST_P(KernelsDither, BlackInTheFirstCellIsIndex43) {
    const Bytes black(3 * 64, 0);
    TargetBytes target(64, 0);
    m_Kernels.fnDither24(black.data(), target.fnGetData(), 64, kThresholds, 0, 0);
    for (std::size_t x = 0; x < 64; ++x)
        EXPECT_EQ(target.fnContent()[x], x % 8 == 0 ? 43 : 0) << x;
}

TEST_P(KernelsDither, WhiteIsIndex0InTheTwoCellsOfThreshold0And215Elsewhere) {
    const Bytes white(4 * 64, 255);
    for (const DitherCase& dither : {kDitherCases[1], kDitherCases[2]})
        for (int y = 0; y < 8; ++y) {
            TargetBytes target(64, 0);
            (m_Kernels.*dither.kernel)(white.data(), target.fnGetData(), 64, kThresholds, 0, y);
            for (int x = 0; x < 64; ++x) {
                const bool zero = (y == 0 && x % 8 == 0) || (y == 4 && x % 8 == 4);
                EXPECT_EQ(target.fnContent()[static_cast<std::size_t>(x)], zero ? 0 : 215)
                    << dither.name << " at " << x << ", " << y;
            }
        }
}

class KernelsHiColorDither : public KernelsAtEachLevel {
protected:
    static std::uint8_t fnByRule(unsigned value, unsigned threshold) {
        if ((value & 7) <= threshold)
            return static_cast<std::uint8_t>(value & 0xF8);
        return static_cast<std::uint8_t>(std::min((value & 0xF8) + 8, 255u));
    }

    void fnCheck(Bytes content, std::size_t misalignment, int x, int y) {
        TargetBytes pixels(content, misalignment);
        m_Kernels.fnHiColorDither(pixels.fnGetData(), content.size() / 3, kPattern, x, y);
        for (std::size_t i = 0; i < content.size(); ++i)
            content[i] =
                fnByRule(content[i], kPattern[(y & 3) * 4 + ((x + static_cast<int>(i / 3)) & 3)]);
        ASSERT_TRUE(pixels.fnHolds(content))
            << content.size() / 3 << " pixels at " << x << ", " << y;
    }
};
Q32_AT_EACH_LEVEL(KernelsHiColorDither);

TEST_P(KernelsHiColorDither, FollowsTheRuleAtEveryPhaseAndTouchesNothingElse) {
    fnForManyRuns(m_Random, [&](std::size_t count, std::size_t misalignment) {
        const int x = static_cast<int>(m_Random() % 100) - 50;
        const int y = static_cast<int>(m_Random() % 100) - 50;
        fnCheck(fnRandomBytes(m_Random, 3 * count), misalignment, x, y);
    });
}

TEST_P(KernelsHiColorDither, FollowsTheRuleForEveryValueInEveryCell) {
    Bytes greys;
    for (unsigned value = 0; value < 256; ++value)
        greys.insert(greys.end(), 3, static_cast<std::uint8_t>(value));
    for (int y = 0; y < 4; ++y)
        for (int x = 0; x < 4; ++x)
            fnCheck(greys, 0, x, y);
}

TEST_P(KernelsHiColorDither, NineOfTheSixteenCellsNeverRoundUp) {
    int never = 0;
    for (int y = 0; y < 4; ++y)
        for (int x = 0; x < 4; ++x) {
            Bytes sevens(3 * 40, 7);
            m_Kernels.fnHiColorDither(sevens.data(), 40, kPattern, x, y);
            never += sevens[0] == 0 ? 1 : 0;
        }
    EXPECT_EQ(never, 9);
}

TEST_P(KernelsHiColorDither, RoundingUpStopsAt255) {
    Bytes bright(3 * 40, 255);
    m_Kernels.fnHiColorDither(bright.data(), 40, kPattern, 0, 0);
    EXPECT_EQ(bright[0], 255);  // threshold 0: rounds up
    EXPECT_EQ(bright[3], 0xF8); // threshold 12: rounds down
}

} // namespace
} // namespace q32::test
