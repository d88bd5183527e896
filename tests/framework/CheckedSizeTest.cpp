#include "q32Base/framework/CheckedSize_p.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>

namespace {

using q32::CheckedSize;

constexpr std::uint64_t kMax = std::numeric_limits<std::uint64_t>::max();

TEST(CheckedSize, ResultsWithin64BitsAreExact) {
    EXPECT_EQ((CheckedSize(1431655766u) * 3).fnGet(), 4294967298u) << "32 bits would wrap to 2";
    EXPECT_EQ((CheckedSize(kMax - 1) + 1).fnGet<std::uint64_t>(), kMax);
    EXPECT_EQ((CheckedSize(kMax) - kMax).fnGet(), 0u);
    EXPECT_EQ((CheckedSize(kMax) * 0).fnGet(), 0u);
    EXPECT_EQ((0 * CheckedSize(kMax)).fnGet(), 0u);
    EXPECT_EQ((CheckedSize(0xFFFFFFFFu) * 0xFFFFFFFFu).fnGet<std::uint64_t>(), 0xFFFFFFFE00000001u);
}

TEST(CheckedSize, AResultThatWouldWrapIsInvalid) {
    EXPECT_FALSE((CheckedSize(kMax) + 1).fnGet<std::uint64_t>());
    EXPECT_FALSE((CheckedSize(2) - 3).fnGet<std::uint64_t>());
    EXPECT_FALSE((CheckedSize(kMax / 2 + 1) * 2).fnGet<std::uint64_t>());
    EXPECT_FALSE((CheckedSize(std::uint64_t{1} << 32) * (std::uint64_t{1} << 32)).fnGet());
}

TEST(CheckedSize, ANegativeOperandIsInvalid) {
    EXPECT_FALSE(CheckedSize(-1).fnGet());
    EXPECT_FALSE((CheckedSize(5) * -1).fnGet());
    EXPECT_FALSE((CheckedSize(5) + std::int64_t{-5}).fnGet());
}

TEST(CheckedSize, AnInvalidSizeStaysInvalid) {
    const CheckedSize bad = CheckedSize(kMax) + 1;
    EXPECT_FALSE((bad * 0).fnGet());
    EXPECT_FALSE((0 * bad).fnGet());
    EXPECT_FALSE((bad - bad).fnGet());
    EXPECT_FALSE((1 + bad).fnGet());
    EXPECT_FALSE((1 - bad).fnGet());
    EXPECT_FALSE(bad.fnDivideUp(8).fnGet());
    EXPECT_FALSE(CheckedSize(8).fnDivideUp(bad).fnGet());
    EXPECT_FALSE(bad.fnAlignUp(4).fnGet());
    EXPECT_FALSE(bad.fnIsWithin(kMax));
}

TEST(CheckedSize, DivisionAndAlignmentRoundUp) {
    EXPECT_EQ(CheckedSize(0).fnDivideUp(8).fnGet(), 0u);
    EXPECT_EQ(CheckedSize(8).fnDivideUp(8).fnGet(), 1u);
    EXPECT_EQ(CheckedSize(9).fnDivideUp(8).fnGet(), 2u);
    EXPECT_EQ(CheckedSize(kMax).fnDivideUp(8).fnGet<std::uint64_t>(), kMax / 8 + 1);
    EXPECT_EQ(CheckedSize(0).fnAlignUp(4).fnGet(), 0u);
    EXPECT_EQ(CheckedSize(4).fnAlignUp(4).fnGet(), 4u);
    EXPECT_EQ(CheckedSize(5).fnAlignUp(4).fnGet(), 8u);
    EXPECT_FALSE(CheckedSize(kMax).fnAlignUp(4).fnGet<std::uint64_t>());
    EXPECT_FALSE(CheckedSize(5).fnDivideUp(0).fnGet());
}

TEST(CheckedSize, ATypeThatIsTooNarrowGivesNothing) {
    EXPECT_EQ(CheckedSize(UINT32_MAX).fnGet<std::uint32_t>(), UINT32_MAX);
    EXPECT_FALSE((CheckedSize(UINT32_MAX) + 1).fnGet<std::uint32_t>());
    EXPECT_FALSE(CheckedSize(UINT32_MAX).fnGet<std::int32_t>());
    EXPECT_FALSE(CheckedSize(kMax).fnGet<std::int64_t>());
}

TEST(CheckedSize, ALimitIncludesItself) {
    EXPECT_TRUE(CheckedSize(7).fnIsWithin(7));
    EXPECT_FALSE(CheckedSize(8).fnIsWithin(7));
    EXPECT_TRUE(CheckedSize(kMax).fnIsWithin(kMax));
}

TEST(CheckedSize, AnInvalidSizeRaisesTheMemoryExceptionWhereOneIsNeeded) {
    EXPECT_EQ((CheckedSize(3) * 4).fnGetOrThrow(), 12u);
    const auto raises = [](CheckedSize size) {
        try {
            size.fnGetOrThrow<std::uint32_t>();
        } catch (CMemoryException* exception) {
            exception->Delete();
            return true;
        }
        return false;
    };
    EXPECT_TRUE(raises(CheckedSize(kMax) * 2));
    EXPECT_TRUE(raises(CheckedSize(UINT32_MAX) + 1));
    EXPECT_FALSE(raises(UINT32_MAX));
}

TEST(CheckedSize, ConstantsAreComputedAtCompileTime) {
    static_assert(CheckedSize(3).fnDivideUp(2).fnGet() == 2u);
    static_assert((CheckedSize(3) * 5).fnGetOrThrow<int>() == 15);
    static_assert(!(CheckedSize(kMax) + 1).fnGet());
}

} // namespace
