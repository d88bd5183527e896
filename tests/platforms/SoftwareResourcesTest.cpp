#include "platforms/software/CodePages_p.h"
#include "platforms/software/CqSoftwareResources.h"
#include "platforms/software/ResFile.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>

namespace {

/// Writes compiled resources as compilers do.
class ResWriter {
public:
    ResWriter() { fnAdd(fnNumber(0), fnNumber(0), "", 0); }

    static std::string fnNumber(unsigned number) {
        return std::string("\xFF\xFF", 2) + fnTo16(number);
    }
    static std::string fnText(std::string_view text) {
        std::string bytes;
        for (const char letter : text)
            bytes += fnTo16(static_cast<unsigned char>(letter));
        return bytes + fnTo16(0);
    }
    static std::string fnTo16(unsigned value) {
        return {static_cast<char>(value & 0xFF), static_cast<char>(value >> 8 & 0xFF)};
    }
    static std::string fnTo32(std::size_t value) {
        return fnTo16(static_cast<unsigned>(value & 0xFFFF)) +
               fnTo16(static_cast<unsigned>(value >> 16));
    }

    void fnAdd(const std::string& type, const std::string& name, std::string_view data,
               unsigned language) {
        m_Bytes.resize((m_Bytes.size() + 3) / 4 * 4);
        std::string head = type + name;
        head.resize((head.size() + 3) / 4 * 4);
        head += fnTo32(0) + fnTo16(0x1030) + fnTo16(language) + fnTo32(0) + fnTo32(0);
        m_Bytes += fnTo32(data.size()) + fnTo32(head.size() + 8) + head;
        m_Bytes += data;
    }

    std::string m_Bytes;
};

/// A string block with one text at the given index.
std::string fnBlock(unsigned place, const std::u16string& text) {
    std::string bytes;
    for (unsigned i = 0; i < 16; ++i) {
        bytes += ResWriter::fnTo16(i == place ? static_cast<unsigned>(text.size()) : 0);
        for (std::size_t k = 0; i == place && k < text.size(); ++k)
            bytes += ResWriter::fnTo16(text[k]);
    }
    return bytes;
}

std::string fnSample() {
    ResWriter writer;
    writer.fnAdd(ResWriter::fnNumber(2), ResWriter::fnNumber(300), "bitmap", 0x409);
    writer.fnAdd(ResWriter::fnText("WAVE"), ResWriter::fnText("NAMEDWAVE"), "riff!", 0x409);
    writer.fnAdd(ResWriter::fnText("MYTYPE"), ResWriter::fnNumber(402), "x", 0x409);
    writer.fnAdd(ResWriter::fnNumber(6), ResWriter::fnNumber(2), fnBlock(3, u"caf\u00E9 \u4E2D"),
                 0x409);
    writer.fnAdd(ResWriter::fnNumber(2), ResWriter::fnNumber(300), "german", 0x407);
    return writer.m_Bytes;
}

std::string fnToText(const CqResourceData& data) {
    return {static_cast<const char*>(data.m_pBytes), data.m_nSize};
}

struct SoftwareResources : testing::Test {
    CqSoftwareResources m_Resources{1252};
    HINSTANCE m_hHost = m_Resources.fnGetHostModule();

    std::string fnFind(HINSTANCE module, CqResourceId type, CqResourceId name) {
        CqResourceData data;
        return m_Resources.fnFind(module, type, name, data) ? fnToText(data) : "(missing)";
    }
    std::string fnLoad(HINSTANCE module, UINT id) {
        std::string text;
        return m_Resources.fnLoadString(module, id, text) ? text : "(missing)";
    }
};

} // namespace

TEST(ResFile, ReadsNumbersNamesAndData) {
    const std::string file = fnSample();
    // Header sizes are as published: 32 with two numbers, 44 and 56 with names.
    EXPECT_EQ(file[32 + 4], 32);
    std::vector<q32::software::ResEntry> entries;
    ASSERT_TRUE(q32::software::fnReadResFile(file, entries));
    ASSERT_EQ(entries.size(), 5u);
    EXPECT_EQ(entries[0].m_Type.m_nNumber, 2);
    EXPECT_EQ(entries[0].m_Name.m_nNumber, 300);
    EXPECT_EQ(entries[0].m_nLanguage, 0x409);
    EXPECT_EQ(entries[0].m_Data, "bitmap");
    EXPECT_EQ(entries[1].m_Type.m_szText, "WAVE");
    EXPECT_EQ(entries[1].m_Name.m_szText, "NAMEDWAVE");
    EXPECT_EQ(entries[1].m_Data, "riff!");
    EXPECT_EQ(entries[2].m_Type.m_szText, "MYTYPE");
    EXPECT_EQ(entries[2].m_Name.m_nNumber, 402);
    EXPECT_EQ(entries[4].m_nLanguage, 0x407);
}

TEST(ResFile, DoesNotInsistOnPaddingAtTheEnd) {
    ResWriter writer;
    writer.fnAdd(ResWriter::fnNumber(10), ResWriter::fnNumber(1), "abcde", 0);
    std::vector<q32::software::ResEntry> entries;
    ASSERT_NE(writer.m_Bytes.size() % 4, 0u);
    EXPECT_TRUE(q32::software::fnReadResFile(writer.m_Bytes, entries));
    writer.m_Bytes += std::string(3, '\0');
    EXPECT_TRUE(q32::software::fnReadResFile(writer.m_Bytes, entries));
    ASSERT_EQ(entries.size(), 1u);
    EXPECT_EQ(entries[0].m_Data, "abcde");
}

TEST(ResFile, EveryTruncatedFileIsReadUpToItsEnd) {
    const std::string file = fnSample();
    std::vector<q32::software::ResEntry> entries;
    std::size_t whole = 0;
    for (std::size_t size = 0; size < file.size(); ++size) {
        const std::vector<char> cut(file.begin(), file.begin() + static_cast<std::ptrdiff_t>(size));
        const bool read = q32::software::fnReadResFile({cut.data(), cut.size()}, entries);
        EXPECT_LT(entries.size(), 5u);
        EXPECT_GE(entries.size(), read ? whole : 0);
        whole = std::max(whole, entries.size());
    }
    EXPECT_EQ(whole, 4u);
    EXPECT_FALSE(q32::software::fnReadResFile("", entries));
    EXPECT_FALSE(q32::software::fnReadResFile(std::string(32, '\0'), entries)) << "no marker";
}

TEST(ResFile, DamagedFilesGiveNoBytesFromOutside) {
    const std::string file = fnSample();
    std::mt19937 random(11);
    std::vector<q32::software::ResEntry> entries;
    std::u16string text;
    for (int round = 0; round < 20000; ++round) {
        std::vector<char> spoiled(file.begin(), file.end());
        for (unsigned changes = random() % 4 + 1; changes > 0; --changes) {
            const auto kind = random() % 3;
            spoiled[random() % spoiled.size()] = static_cast<char>(kind == 0   ? 0xFF
                                                                   : kind == 1 ? 0
                                                                               : random());
        }
        if (random() % 4 == 0)
            spoiled.resize(random() % spoiled.size());
        q32::software::fnReadResFile({spoiled.data(), spoiled.size()}, entries);
        for (const q32::software::ResEntry& entry : entries) {
            // An empty view may be at the very end.
            ASSERT_GE(entry.m_Data.data(), spoiled.data());
            ASSERT_LE(entry.m_Data.data() + entry.m_Data.size(), spoiled.data() + spoiled.size());
            const std::vector<char> block(entry.m_Data.begin(), entry.m_Data.end());
            for (UINT id = 0; id < 16; ++id)
                q32::software::fnReadStringBlock({block.data(), block.size()}, id, text);
        }
    }
}

TEST(CodePages, TextBecomesBytesOfTheCodePage) {
    EXPECT_EQ(q32::software::fnFromUtf16(u"a\u00E9\u4E2D", 1252), "a\xE9?");
    EXPECT_EQ(q32::software::fnFromUtf16(u"a\u00E9\u0085", 1252), "a\xE9?");
    EXPECT_EQ(q32::software::fnFromUtf16(u"a\u00E9", 932), "a?");
    EXPECT_EQ(q32::software::fnFromUtf16(u"a\u00E9\u4E2D\U0001F600", 65001),
              "a\xC3\xA9\xE4\xB8\xAD\xF0\x9F\x98\x80");
    EXPECT_EQ(q32::software::fnFromUtf16(u"\U0001F600!", 1252), "?!");
    EXPECT_EQ(q32::software::fnFromUtf16(std::u16string{u'x', 0xD800, u'y'}, 65001), "x?y");
}

TEST_F(SoftwareResources, CompiledFilesAreFoundByNumberAndByNameInAnyCase) {
    ASSERT_TRUE(m_Resources.fnAddCompiled(m_hHost, fnSample()));
    EXPECT_EQ(fnFind(m_hHost, RT_BITMAP_ID, WORD{300}), "bitmap") << "the first language is kept";
    EXPECT_EQ(fnFind(nullptr, "wave", "NamedWave"), "riff!");
    EXPECT_EQ(fnFind(nullptr, "WAVE", WORD{300}), "(missing)");
    EXPECT_EQ(fnFind(nullptr, RT_BITMAP_ID, WORD{301}), "(missing)");
}

TEST_F(SoftwareResources, ABrokenCompiledFileAddsNothing) {
    const std::string file = fnSample();
    EXPECT_FALSE(m_Resources.fnAddCompiled(m_hHost, file.substr(0, file.size() - 1)));
    EXPECT_EQ(fnFind(m_hHost, RT_BITMAP_ID, WORD{300}), "(missing)");
    EXPECT_FALSE(m_Resources.fnAddCompiled(nullptr, file));
}

TEST_F(SoftwareResources, StringsComeFromBlocksOfSixteen) {
    ASSERT_TRUE(m_Resources.fnAddCompiled(m_hHost, fnSample()));
    EXPECT_EQ(fnLoad(nullptr, 19), "caf\xE9 ?");
    EXPECT_EQ(fnLoad(nullptr, 18), "(missing)");
    EXPECT_EQ(fnLoad(nullptr, 3), "(missing)");
    EXPECT_EQ(fnLoad(nullptr, 0x10000 + 19), "(missing)");
}

TEST_F(SoftwareResources, ResourcesCanBeAddedAndRemovedAtRunTime) {
    ASSERT_TRUE(m_Resources.fnAdd(m_hHost, "WAVE", WORD{1}, "sound"));
    ASSERT_TRUE(m_Resources.fnAddString(m_hHost, 5, "text"));
    EXPECT_EQ(fnFind(nullptr, "WAVE", WORD{1}), "sound");
    EXPECT_EQ(fnLoad(m_hHost, 5), "text");
    EXPECT_TRUE(m_Resources.fnRemove(m_hHost, "wave", WORD{1}));
    EXPECT_FALSE(m_Resources.fnRemove(m_hHost, "wave", WORD{1}));
    EXPECT_TRUE(m_Resources.fnRemoveString(m_hHost, 5));
    EXPECT_FALSE(m_Resources.fnRemoveString(m_hHost, 5));
    EXPECT_EQ(fnFind(nullptr, "WAVE", WORD{1}), "(missing)");
    EXPECT_EQ(fnLoad(m_hHost, 5), "(missing)");
}

TEST_F(SoftwareResources, TheHostsModulesAreSearchedInTheirOrder) {
    const HINSTANCE second = m_Resources.fnAddModule();
    m_Resources.fnAdd(second, RT_BITMAP_ID, WORD{1}, "second");
    EXPECT_EQ(fnFind(nullptr, RT_BITMAP_ID, WORD{1}), "second");
    m_Resources.fnAdd(m_hHost, RT_BITMAP_ID, WORD{1}, "first");
    EXPECT_EQ(fnFind(nullptr, RT_BITMAP_ID, WORD{1}), "first");
    EXPECT_EQ(fnFind(second, RT_BITMAP_ID, WORD{1}), "second");
    EXPECT_TRUE(m_Resources.fnRemoveModule(second));
    EXPECT_FALSE(m_Resources.fnRemoveModule(second));
    EXPECT_EQ(fnFind(second, RT_BITMAP_ID, WORD{1}), "(missing)");
}

TEST_F(SoftwareResources, OnlyTheLibrarysModuleHoldsItsVersion) {
    const std::string version = fnFind(q32::fnModuleInstance(), RT_VERSION_ID, WORD{1});
    ASSERT_EQ(version.size(), 92u); // 6 + 32 of the key, 2 of padding, 52 of the fixed part
    EXPECT_EQ(version[0], 92);
    EXPECT_EQ(version[2], 52);
    EXPECT_EQ(version.substr(40, 4), "\xBD\x04\xEF\xFE");
    EXPECT_EQ(version.substr(56, 4), std::string("\0\0\1\0", 4)) << "product version 1.0";
    EXPECT_EQ(fnFind(nullptr, RT_VERSION_ID, WORD{1}), "(missing)");
}
