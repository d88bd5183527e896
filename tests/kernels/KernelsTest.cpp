#include "q32Base/kernels/StreamPixels_p.h"
#include "tests/kernels/KernelsTestTools.h"

#include <algorithm>
#include <cstdlib>
#include <numeric>
#include <string>

namespace q32::test {
namespace {

std::uint8_t fnByte(unsigned value) {
    return static_cast<std::uint8_t>(value);
}

// The plain rules, one pixel at a time.

struct Rgb {
    std::uint8_t red, green, blue;
};

Rgb fnRgbOf565(const std::uint8_t* p) {
    return {fnByte(p[0] & 0xF8u), fnByte((unsigned{p[0]} * 256 + p[1]) / 8 & 0xFC),
            fnByte(p[1] * 8u)};
}

Bytes fn565ToBgr24(const std::uint8_t* p) {
    const Rgb c = fnRgbOf565(p);
    return {c.blue, c.green, c.red};
}
Bytes fn565ToBgrx32(const std::uint8_t* p) {
    const Rgb c = fnRgbOf565(p);
    return {c.blue, c.green, c.red, 0};
}
Bytes fn565ToRgb24(const std::uint8_t* p) {
    const Rgb c = fnRgbOf565(p);
    return {c.red, c.green, c.blue};
}
Bytes fn565ToArgb32(const std::uint8_t* p) {
    const Rgb c = fnRgbOf565(p);
    return {255, c.red, c.green, c.blue};
}
Bytes fn24ToBgr24(const std::uint8_t* p) {
    return {p[2], p[1], p[0]};
}
Bytes fn24ToBgrx32(const std::uint8_t* p) {
    return {p[2], p[1], p[0], 0};
}
Bytes fn24ToArgb32(const std::uint8_t* p) {
    return {255, p[0], p[1], p[2]};
}
Bytes fn32ToBgr24(const std::uint8_t* p) {
    return {p[3], p[2], p[1]};
}
Bytes fn32ToRgb24(const std::uint8_t* p) {
    return {p[1], p[2], p[3]};
}
Bytes fn32ToBgra32(const std::uint8_t* p) {
    return {p[3], p[2], p[1], p[0]};
}
Bytes fnSwapped16(const std::uint8_t* p) {
    return {p[1], p[0]};
}
Bytes fn555To565(const std::uint8_t* p) {
    const unsigned v = p[0] + 256u * p[1];
    const unsigned red = v / 1024 % 32, green = v / 32 % 32, blue = v % 32;
    const unsigned w = red * 2048 + green * 2 * 32 + blue;
    return {fnByte(w / 256), fnByte(w % 256)};
}
Bytes fn565To555(const std::uint8_t* p) {
    const unsigned v = 256u * p[0] + p[1];
    const unsigned red = v / 2048, green = v / 32 % 64 / 2, blue = v % 32;
    const unsigned w = red * 1024 + green * 32 + blue;
    return {fnByte(w % 256), fnByte(w / 256)};
}

struct FormatCase {
    const char* name;
    PixelRun Kernels::*kernel;
    std::size_t sourceBytes, targetBytes;
    bool inPlace;
    Bytes (*rule)(const std::uint8_t* pixel);
};

const FormatCase kFormatCases[] = {
    {"565 to BGR 24", &Kernels::fnRgb565ToBgr24, 2, 3, false, fn565ToBgr24},
    {"565 to BGRX 32", &Kernels::fnRgb565ToBgrx32, 2, 4, false, fn565ToBgrx32},
    {"565 to RGB 24", &Kernels::fnRgb565ToRgb24, 2, 3, false, fn565ToRgb24},
    {"565 to ARGB 32", &Kernels::fnRgb565ToArgb32, 2, 4, false, fn565ToArgb32},
    {"RGB 24 to BGR 24", &Kernels::fnRgb24ToBgr24, 3, 3, true, fn24ToBgr24},
    {"RGB 24 to BGRX 32", &Kernels::fnRgb24ToBgrx32, 3, 4, false, fn24ToBgrx32},
    {"RGB 24 to ARGB 32", &Kernels::fnRgb24ToArgb32, 3, 4, false, fn24ToArgb32},
    {"ARGB 32 to BGR 24", &Kernels::fnArgb32ToBgr24, 4, 3, false, fn32ToBgr24},
    {"ARGB 32 to RGB 24", &Kernels::fnArgb32ToRgb24, 4, 3, false, fn32ToRgb24},
    {"ARGB 32 to BGRA 32", &Kernels::fnArgb32ToBgra32, 4, 4, true, fn32ToBgra32},
    {"swap 16", &Kernels::fnSwap16, 2, 2, true, fnSwapped16},
    {"555 to 565", &Kernels::fnRgb555LeToRgb565, 2, 2, true, fn555To565},
    {"565 to 555", &Kernels::fnRgb565ToRgb555Le, 2, 2, true, fn565To555},
};

Bytes fnByRule(const FormatCase& format, const Bytes& source) {
    Bytes result;
    for (std::size_t i = 0; i < source.size(); i += format.sourceBytes) {
        const Bytes pixel = format.rule(source.data() + i);
        result.insert(result.end(), pixel.begin(), pixel.end());
    }
    return result;
}

TEST(Kernels, TheScalarLevelIsOnEveryMachine) {
    ASSERT_NE(fnKernelsOfLevel(KernelLevel::SCALAR), nullptr);
    EXPECT_EQ(fnKernelsOfLevel(KernelLevel::SCALAR)->m_eLevel, KernelLevel::SCALAR);
}

// CTest runs it at each cap, which proves that the environment is read.
TEST(Kernels, TheActiveTableIsTheHighestLevelThatMachineAndEnvironmentAllow) {
    const char* variable = std::getenv("Q32_KERNELS");
    const std::string cap = variable ? variable : "";
    const KernelLevel allowed = cap == "scalar" ? KernelLevel::SCALAR
                                : cap == "avx2" ? KernelLevel::AVX2
                                                : KernelLevel::AVX512;
    const KernelLevel expected = std::min(allowed, fnLevelsHere().back());
    EXPECT_EQ(fnKernels().m_eLevel, expected);
    EXPECT_EQ(&fnKernels(), fnKernelsOfLevel(expected));
    EXPECT_EQ(&fnKernels(), &fnKernels());
}

TEST(Kernels, ACapLowersTheProcessorsLevelAndNeverRaisesIt) {
    using enum KernelLevel;
    for (const KernelLevel highest : {SCALAR, AVX2, AVX512}) {
        EXPECT_EQ(fnChooseLevel("scalar", highest), SCALAR);
        EXPECT_EQ(fnChooseLevel("avx2", highest), highest == SCALAR ? SCALAR : AVX2);
        EXPECT_EQ(fnChooseLevel("avx512", highest), highest);
    }
}

TEST(Kernels, NoCapOrAnUnknownOneLeavesTheProcessorsLevel) {
    using enum KernelLevel;
    for (const KernelLevel highest : {SCALAR, AVX2, AVX512})
        for (const char* cap : {static_cast<const char*>(nullptr), "", "Scalar", "avx", "avx2 ",
                                "avx51", "avx5120", "0", "sse2"})
            EXPECT_EQ(fnChooseLevel(cap, highest), highest) << (cap ? cap : "no variable");
}

class KernelsFormat : public KernelsAtEachLevel {};
Q32_AT_EACH_LEVEL(KernelsFormat);

TEST_P(KernelsFormat, FollowsTheRuleAndTouchesNothingElse) {
    for (const FormatCase& format : kFormatCases)
        fnForManyRuns(m_Random, [&](std::size_t count, std::size_t misalignment) {
            const Bytes content = fnRandomBytes(m_Random, count * format.sourceBytes);
            const SourceBytes source(content, misalignment);
            TargetBytes target(count * format.targetBytes, m_Random() % 32);
            (m_Kernels.*format.kernel)(source.fnGetData(), target.fnGetData(), count);
            ASSERT_TRUE(target.fnHolds(fnByRule(format, content)))
                << format.name << ", " << count << " pixels, misaligned by " << misalignment;
        });
}

TEST_P(KernelsFormat, WorksInPlaceWhereDeclared) {
    for (const FormatCase& format : kFormatCases)
        if (format.inPlace)
            fnForManyRuns(m_Random, [&](std::size_t count, std::size_t misalignment) {
                const Bytes content = fnRandomBytes(m_Random, count * format.sourceBytes);
                TargetBytes pixels(content, misalignment);
                (m_Kernels.*format.kernel)(pixels.fnGetData(), pixels.fnGetData(), count);
                ASSERT_TRUE(pixels.fnHolds(fnByRule(format, content)))
                    << format.name << ", " << count << " pixels, misaligned by " << misalignment;
            });
}

TEST_P(KernelsFormat, FollowsTheRuleForEvery16BitValue) {
    Bytes all;
    for (unsigned value = 0; value < 65536; ++value)
        all.insert(all.end(), {fnByte(value >> 8), fnByte(value)});
    for (const FormatCase& format : kFormatCases)
        if (format.sourceBytes == 2) {
            TargetBytes target(65536 * format.targetBytes, 0);
            (m_Kernels.*format.kernel)(all.data(), target.fnGetData(), 65536);
            EXPECT_TRUE(target.fnHolds(fnByRule(format, all))) << format.name;
        }
}

TEST_P(KernelsFormat, ShortChannelsStayInTheHighBits) {
    const Bytes white(2 * 40, 0xFF);
    TargetBytes target(3 * 40, 0);
    m_Kernels.fnRgb565ToRgb24(white.data(), target.fnGetData(), 40);
    Bytes expected;
    for (int i = 0; i < 40; ++i)
        expected.insert(expected.end(), {0xF8, 0xFC, 0xF8});
    EXPECT_TRUE(target.fnHolds(expected));
}

struct PaletteCase {
    const char* name;
    PaletteRun Kernels::*kernel;
    std::size_t targetBytes;
    Bytes (*rule)(const std::uint8_t* entry);
};

const PaletteCase kPaletteCases[] = {
    {"to BGR 24", &Kernels::fnIndex8ToBgr24, 3,
     [](const std::uint8_t* e) -> Bytes {
         return {e[0], e[1], e[2]};
     }},
    {"to BGRX 32", &Kernels::fnIndex8ToBgrx32, 4,
     [](const std::uint8_t* e) -> Bytes {
         return {e[0], e[1], e[2], e[3]};
     }},
    {"to RGB 24", &Kernels::fnIndex8ToRgb24, 3,
     [](const std::uint8_t* e) -> Bytes {
         return {e[2], e[1], e[0]};
     }},
    {"to ARGB 32", &Kernels::fnIndex8ToArgb32, 4,
     [](const std::uint8_t* e) -> Bytes {
         return {255, e[2], e[1], e[0]};
     }},
};

Bytes fnByRule(const PaletteCase& look, const Bytes& source, const Bytes& palette) {
    const std::uint8_t black[4] = {};
    Bytes result;
    for (const std::uint8_t index : source) {
        const bool inside = std::size_t{4} * index < palette.size();
        const Bytes pixel = look.rule(inside ? palette.data() + 4 * index : black);
        result.insert(result.end(), pixel.begin(), pixel.end());
    }
    return result;
}

class KernelsPalette : public KernelsAtEachLevel {};
Q32_AT_EACH_LEVEL(KernelsPalette);

TEST_P(KernelsPalette, LooksUpEveryIndexAndTouchesNothingElse) {
    const Bytes palette = fnRandomBytes(m_Random, 4 * 256);
    const SourceBytes entries(palette, 1);
    for (const PaletteCase& look : kPaletteCases)
        fnForManyRuns(m_Random, [&](std::size_t count, std::size_t misalignment) {
            const Bytes content = fnRandomBytes(m_Random, count);
            const SourceBytes source(content, misalignment);
            TargetBytes target(count * look.targetBytes, m_Random() % 32);
            (m_Kernels.*look.kernel)(source.fnGetData(), target.fnGetData(), count,
                                     entries.fnGetData(), 256);
            ASSERT_TRUE(target.fnHolds(fnByRule(look, content, palette)))
                << look.name << ", " << count << " pixels, misaligned by " << misalignment;
        });
}

TEST_P(KernelsPalette, AnIndexBeyondThePaletteIsBlackAndReadsNothing) {
    for (const PaletteCase& look : kPaletteCases)
        for (const std::size_t paletteCount :
             {0u, 1u, 2u, 7u, 8u, 9u, 15u, 16u, 100u, 216u, 252u, 255u, 256u})
            for (const std::size_t count : {40u, 256u, 768u}) {
                const Bytes palette = fnRandomBytes(m_Random, 4 * paletteCount);
                const SourceBytes entries(palette, 0); // ends with the allocation
                Bytes content(count);
                std::iota(content.begin(), content.end(), std::uint8_t{0});
                TargetBytes target(content.size() * look.targetBytes, 0);
                (m_Kernels.*look.kernel)(content.data(), target.fnGetData(), content.size(),
                                         entries.fnGetData(), paletteCount);
                EXPECT_TRUE(target.fnHolds(fnByRule(look, content, palette)))
                    << look.name << ", " << paletteCount << " entries";
            }
}

TEST_P(KernelsPalette, APaletteOfMoreThan256EntriesIsReadUpTo256) {
    const Bytes palette = fnRandomBytes(m_Random, 4 * 300);
    Bytes content(256);
    std::iota(content.begin(), content.end(), std::uint8_t{0});
    for (const PaletteCase& look : kPaletteCases) {
        TargetBytes target(256 * look.targetBytes, 0);
        (m_Kernels.*look.kernel)(content.data(), target.fnGetData(), 256, palette.data(), 300);
        EXPECT_TRUE(target.fnHolds(fnByRule(look, content, palette))) << look.name;
    }
}

TEST_P(KernelsPalette, APackedByteGivesItsHighNibbleFirstAndAnOddWidthOnlyThat) {
    fnForManyRuns(m_Random, [&](std::size_t count, std::size_t misalignment) {
        const Bytes content = fnRandomBytes(m_Random, (count + 1) / 2);
        const SourceBytes source(content, misalignment);
        TargetBytes target(count, m_Random() % 32);
        m_Kernels.fnIndex4ToIndex8(source.fnGetData(), target.fnGetData(), count);
        Bytes expected;
        for (const std::uint8_t byte : content)
            expected.insert(expected.end(), {fnByte(byte / 16u), fnByte(byte % 16u)});
        expected.resize(count);
        ASSERT_TRUE(target.fnHolds(expected)) << count << " pixels";
    });
}

class KernelsCurve : public KernelsAtEachLevel {};
Q32_AT_EACH_LEVEL(KernelsCurve);

TEST_P(KernelsCurve, ChangesEveryByteOf24BitPixels) {
    const Bytes curve = fnRandomBytes(m_Random, 256);
    const SourceBytes table(curve, 1);
    fnForManyRuns(m_Random, [&](std::size_t count, std::size_t misalignment) {
        Bytes expected = fnRandomBytes(m_Random, 3 * count);
        TargetBytes pixels(expected, misalignment);
        m_Kernels.fnCurve24(pixels.fnGetData(), count, table.fnGetData());
        for (std::uint8_t& byte : expected)
            byte = curve[byte];
        ASSERT_TRUE(pixels.fnHolds(expected)) << count << " pixels, misaligned by " << misalignment;
    });
}

TEST_P(KernelsCurve, KeepsTheFourthByteOf32BitPixels) {
    const Bytes curve = fnRandomBytes(m_Random, 256);
    const SourceBytes table(curve, 1);
    fnForManyRuns(m_Random, [&](std::size_t count, std::size_t misalignment) {
        Bytes expected = fnRandomBytes(m_Random, 4 * count);
        TargetBytes pixels(expected, misalignment);
        m_Kernels.fnCurve32(pixels.fnGetData(), count, table.fnGetData());
        for (std::size_t i = 0; i < expected.size(); ++i)
            expected[i] = i % 4 == 3 ? expected[i] : curve[expected[i]];
        ASSERT_TRUE(pixels.fnHolds(expected)) << count << " pixels, misaligned by " << misalignment;
    });
}

TEST_P(KernelsCurve, LooksUpAll256Values) {
    const Bytes curve = fnRandomBytes(m_Random, 256);
    Bytes all(3 * 256);
    std::iota(all.begin(), all.end(), std::uint8_t{0});
    TargetBytes pixels(all, 0);
    m_Kernels.fnCurve24(pixels.fnGetData(), 256, curve.data());
    for (std::uint8_t& byte : all)
        byte = curve[byte];
    EXPECT_TRUE(pixels.fnHolds(all));
}

class KernelsStream : public KernelsAtEachLevel {};
Q32_AT_EACH_LEVEL(KernelsStream);

TEST_P(KernelsStream, CopiesEveryByteAndTouchesNothingElse) {
    for (std::size_t count = 0; count <= 300; ++count)
        for (const std::size_t misalignment : {0u, 1u, 3u, 16u, 31u}) {
            const Bytes content = fnRandomBytes(m_Random, count);
            const SourceBytes source(content, m_Random() % 32);
            TargetBytes target(count, misalignment);
            m_Kernels.fnStreamCopy(source.fnGetData(), target.fnGetData(), count);
            m_Kernels.fnStreamEnd();
            ASSERT_TRUE(target.fnHolds(content)) << count << " bytes to " << misalignment;
        }
}

TEST_P(KernelsStream, AStreamedRunEqualsTheKernelsOutput) {
    for (const std::size_t count : {0u, 1u, 255u, 256u, 257u, 511u, 512u, 513u, 4000u})
        for (const FormatCase& format : kFormatCases) {
            const Bytes content = fnRandomBytes(m_Random, count * format.sourceBytes);
            const SourceBytes source(content, 1);
            TargetBytes target(count * format.targetBytes, 5);
            fnStreamPixels(m_Kernels, source.fnGetData(), format.sourceBytes, target.fnGetData(),
                           format.targetBytes, count, m_Kernels.*format.kernel);
            EXPECT_TRUE(target.fnHolds(fnByRule(format, content)))
                << format.name << ", " << count << " pixels";
        }
}

} // namespace
} // namespace q32::test
