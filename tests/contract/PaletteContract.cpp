#include "tests/contract/ContractBackEnd.h"
#include "tests/support/Random.h"

#include <cstring>
#include <memory>
#include <vector>

namespace {

/// Palettes by themselves.
class PaletteContract : public ContractTest {
protected:
    std::unique_ptr<CqPaletteObject> fnMake(const std::vector<PALETTEENTRY>& entries,
                                            WORD version = 0x300) {
        std::vector<std::uint8_t> block(sizeof(LOGPALETTE) + entries.size() * sizeof(PALETTEENTRY));
        auto* log = reinterpret_cast<LOGPALETTE*>(block.data());
        log->palVersion = version;
        log->palNumEntries = static_cast<WORD>(entries.size());
        if (!entries.empty())
            std::memcpy(block.data() + offsetof(LOGPALETTE, palPalEntry), entries.data(),
                        entries.size() * sizeof(PALETTEENTRY));
        return m_Screen.fnCreatePalette(*log);
    }
    static std::vector<PALETTEENTRY> fnMakeEntries(std::size_t count) {
        Random random(static_cast<std::uint32_t>(count));
        std::vector<PALETTEENTRY> entries(count);
        for (PALETTEENTRY& entry : entries) {
            const std::uint32_t bits = random();
            std::memcpy(&entry, &bits, sizeof(entry));
        }
        return entries;
    }
    static bool fnAreSame(const std::vector<PALETTEENTRY>& a, const std::vector<PALETTEENTRY>& b) {
        return a.size() == b.size() &&
               std::memcmp(a.data(), b.data(), a.size() * sizeof(PALETTEENTRY)) == 0;
    }

    CqScreenService& m_Screen = *m_World.m_Platform.m_pScreen;
};

TEST_P(PaletteContract, APaletteHoldsItsEntriesWithTheirFlags) {
    for (const std::size_t count : {1u, 16u, 256u, 257u, 65535u}) {
        const std::vector<PALETTEENTRY> entries = fnMakeEntries(count);
        const auto palette = fnMake(entries);
        ASSERT_NE(palette, nullptr) << count;
        EXPECT_TRUE(fnAreSame(palette->fnGetEntries(), entries)) << count;
    }
}

TEST_P(PaletteContract, NoEntriesAndOtherVersionsMakeNoPalette) {
    EXPECT_EQ(fnMake({}), nullptr);
    for (const WORD version : {WORD{0}, WORD{0x2FF}, WORD{0x301}, WORD{0x0003}})
        EXPECT_EQ(fnMake(fnMakeEntries(2), version), nullptr) << version;
}

TEST_P(PaletteContract, OnlyExistingEntriesAreReplaced) {
    std::vector<PALETTEENTRY> expected = fnMakeEntries(20);
    const std::vector<PALETTEENTRY> others = fnMakeEntries(50);
    const auto palette = fnMake(expected);
    ASSERT_NE(palette, nullptr);
    const struct {
        UINT m_nFirst, m_nCount, m_nReplaced;
    } kCases[] = {{3, 4, 4},  {0, 0, 0},          {19, 1, 1},          {15, 50, 5},
                  {20, 1, 0}, {0xFFFFFFFF, 2, 0}, {1, 0xFFFFFFFF, 19}, {0, 20, 20}};
    for (const auto& [first, count, replaced] : kCases) {
        SCOPED_TRACE(testing::Message() << first << ", " << count);
        EXPECT_EQ(palette->fnSetEntries(first, count, others.data()), replaced);
        std::copy_n(others.begin(), replaced,
                    expected.begin() + (replaced == 0 ? 0 : static_cast<std::ptrdiff_t>(first)));
        EXPECT_TRUE(fnAreSame(palette->fnGetEntries(), expected));
        expected = fnMakeEntries(20);
        EXPECT_EQ(palette->fnSetEntries(0, 20, expected.data()), 20u);
    }
}

TEST_P(PaletteContract, PalettesAreIndependent) {
    const std::vector<PALETTEENTRY> entries = fnMakeEntries(4);
    const auto one = fnMake(entries);
    const auto other = fnMake(entries);
    ASSERT_TRUE(one && other);
    const PALETTEENTRY changed{1, 2, 3, 4};
    one->fnSetEntries(0, 1, &changed);
    EXPECT_TRUE(fnAreSame(other->fnGetEntries(), entries));
}

} // namespace

Q32_CONTRACT(PaletteContract, PALETTES);
