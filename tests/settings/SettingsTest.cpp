#include "q32Base/settings/Settings_p.h"
#include "tests/support/FailingAllocator.h"
#include "tests/support/FakePlatform.h"

#include <gtest/gtest.h>

#include <climits>
#include <string>

namespace {

constexpr const char* kPath = "C:\\Windows\\Qkz.cfg";

class Settings : public ::testing::Test {
protected:
    std::string& fnText() { return m_World.m_pFiles->m_Texts[kPath]; }
    /// Reads MemPercent as text.
    std::string fnRead(const char* fallback = nullptr, std::size_t size = q32::kSettingBytes) {
        char buffer[400];
        const auto length = q32::fnReadSetting(q32::STRING_SECTION_VM_POLICY,
                                               q32::STRING_KEY_MEM_PERCENT, fallback, buffer, size);
        EXPECT_EQ(std::string(buffer).size(), length);
        return buffer;
    }
    std::optional<int> fnReadNumber(std::size_t size = q32::kSettingBytes) {
        return q32::fnReadSettingNumber(q32::STRING_SECTION_VM_POLICY, q32::STRING_KEY_MEM_PERCENT,
                                        size);
    }
    template <typename Value>
    bool fnWrite(Value value) {
        return q32::fnWriteSetting(q32::STRING_SECTION_VM_POLICY, q32::STRING_KEY_MEM_PERCENT,
                                   value);
    }
    CqFakeWorld m_World;
};

} // namespace

TEST_F(Settings, TheFileIsInTheConfigurationDirectory) {
    CString path;
    EXPECT_TRUE(q32::GetSettingsPath(path));
    EXPECT_STREQ(path, kPath);
    m_World.m_pFiles->m_ConfigDirectory = "D:\\conf\\";
    EXPECT_TRUE(q32::GetSettingsPath(path));
    EXPECT_STREQ(path, "D:\\conf\\Qkz.cfg");
    m_World.m_pFiles->m_ConfigDirectory = "/etc/q32Base";
    EXPECT_TRUE(q32::GetSettingsPath(path));
    EXPECT_STREQ(path, "/etc/q32Base\\Qkz.cfg");
}

TEST_F(Settings, ThePathIsAvailableEvenWithoutAConfigurationDirectory) {
    m_World.m_pFiles->m_ConfigDirectory.reset();
    CString path("before");
    EXPECT_TRUE(q32::GetSettingsPath(path));
    EXPECT_STREQ(path, "\\Qkz.cfg");
}

TEST_F(Settings, ATrailByteOfTheDirectoryIsNotTakenForABackslash) {
    m_World.m_pLocale->m_bDoubleByte = true;
    m_World.m_pFiles->m_ConfigDirectory = "D:\\\x83\x5c";
    CString path;
    EXPECT_TRUE(q32::GetSettingsPath(path));
    EXPECT_STREQ(path, "D:\\\x83\x5c\\Qkz.cfg");
}

TEST_F(Settings, AMissingFileHasNoKeys) {
    EXPECT_EQ(fnRead(), "");
    EXPECT_EQ(fnRead("fallback"), "fallback");
    EXPECT_EQ(fnReadNumber(), std::nullopt);
}

TEST_F(Settings, AValueIsFoundByTheNumbersOfSectionAndKey) {
    fnText() = "[DispProp]\r\nMemPercent=1\r\n[VMPolicy]\r\nMemPercent=40\r\n";
    EXPECT_EQ(fnRead("x"), "40");
    EXPECT_EQ(fnReadNumber(), 40);
}

TEST_F(Settings, AnEmptyValueIsNotANumber) {
    fnText() = "[VMPolicy]\r\nMemPercent=\r\n";
    EXPECT_EQ(fnRead("x"), "");
    EXPECT_EQ(fnReadNumber(), std::nullopt);
    fnText() = "[VMPolicy]\r\nMemPercent=\"\"\r\n";
    EXPECT_EQ(fnReadNumber(), std::nullopt);
}

TEST_F(Settings, AValueIsTruncatedToTheBuffer) {
    fnText() = "[VMPolicy]\r\nMemPercent=" + std::string(300, '7') + "\r\n";
    EXPECT_EQ(fnRead(), std::string(259, '7'));
    EXPECT_EQ(fnRead(nullptr, 32), std::string(31, '7'));
}

TEST_F(Settings, ANumberIsTruncatedToItsBufferBeforeItIsParsed) {
    fnText() = "[VMPolicy]\r\nMemPercent=" + std::string(30, '0') + "12\r\n";
    EXPECT_EQ(fnReadNumber(q32::kShortSettingBytes), 1);
    EXPECT_EQ(fnReadNumber(q32::kSettingBytes), 12);
    EXPECT_EQ(fnReadNumber(100000), 12);
}

TEST_F(Settings, EveryCallReachesTheFile) {
    fnText() = "[VMPolicy]\r\nMemPercent=1\r\n";
    EXPECT_EQ(fnReadNumber(), 1);
    fnText() = "[VMPolicy]\r\nMemPercent=2\r\n";
    EXPECT_EQ(fnReadNumber(), 2);
    EXPECT_EQ(m_World.m_pFiles->m_nReads, 2);
}

TEST_F(Settings, AnUnreadableFileHasNoKeys) {
    fnText() = "[VMPolicy]\r\nMemPercent=1\r\n";
    m_World.m_pFiles->m_bReadFails = true;
    EXPECT_EQ(fnRead("x"), "x");
    EXPECT_EQ(fnReadNumber(), std::nullopt);
}

TEST_F(Settings, AWriteReplacesOrAddsTheKey) {
    EXPECT_TRUE(fnWrite("40"));
    EXPECT_EQ(fnText(), "[VMPolicy]\r\nMemPercent=40\r\n");
    fnText() += "; mine\n[Other]\na = 1\n";
    EXPECT_TRUE(fnWrite(50));
    EXPECT_EQ(fnText(), "[VMPolicy]\r\nMemPercent=50\r\n; mine\n[Other]\na = 1\n");
    EXPECT_EQ(fnReadNumber(), 50);
}

TEST_F(Settings, NumbersAreWrittenInDecimal) {
    for (const int number : {0, 1, -1, 180, INT_MAX, INT_MIN}) {
        EXPECT_TRUE(fnWrite(number));
        EXPECT_EQ(fnRead(), std::to_string(number));
        EXPECT_EQ(fnReadNumber(), number);
    }
}

TEST_F(Settings, WritingTheSameValueTouchesNoFile) {
    EXPECT_TRUE(fnWrite(40));
    EXPECT_EQ(m_World.m_pFiles->m_nWrites, 1);
    EXPECT_TRUE(fnWrite(40));
    EXPECT_EQ(m_World.m_pFiles->m_nWrites, 1);
    m_World.m_pFiles->m_bWriteFails = true;
    EXPECT_TRUE(fnWrite(40));
}

TEST_F(Settings, AFailedWriteReturnsFalse) {
    m_World.m_pFiles->m_bWriteFails = true;
    EXPECT_FALSE(fnWrite(40));
    EXPECT_FALSE(fnWrite("40"));
    EXPECT_EQ(fnText(), "");
}

TEST_F(Settings, AFileInUtf16IsNeitherReadNorDamaged) {
    const std::string start = "\xff\xfe\n[VMPolicy]\nMemPercent=7\n";
    fnText() = start;
    EXPECT_EQ(fnReadNumber(), std::nullopt);
    EXPECT_FALSE(fnWrite(40));
    EXPECT_EQ(fnText(), start);
}

TEST_F(Settings, ExhaustedMemoryReadsAsNoKeysAndFailsAWrite) {
    fnText() = "[VMPolicy]\r\nMemPercent=1\r\n";
    m_World.m_pFiles->m_bMemoryFails = true;
    EXPECT_EQ(fnRead("x"), "x");
    EXPECT_EQ(fnReadNumber(), std::nullopt);
    EXPECT_FALSE(fnWrite(40));
    m_World.m_pFiles->m_bMemoryFails = false;
    m_World.m_pLocale->m_bMemoryFails = true;
    EXPECT_EQ(fnRead("x"), "x");
    EXPECT_FALSE(fnWrite(40));
}

TEST_F(Settings, EachAllocationOfAReadMayFail) {
    fnText() = "[VMPolicy]\r\nMemPercent=" + std::string(200, '0') + "7\r\n";
    std::optional<int> last;
    const auto failed = fnFailEachAllocation([&](CqAllocationFailure& failure) {
        const auto outstanding = CqAllocationFailure::fnOutstanding();
        last = fnReadNumber();
        failure.fnEnd();
        EXPECT_EQ(last.has_value(), !failure.fnHappened());
        EXPECT_EQ(CqAllocationFailure::fnOutstanding(), outstanding);
    });
    EXPECT_GE(failed, 3u);
    EXPECT_EQ(last, 7);
}

TEST_F(Settings, EachAllocationOfAWriteMayFail) {
    const std::string start = "[VMPolicy]\r\nMemPercent=" + std::string(200, '0') + "7\r\n";
    fnText() = start;
    const auto failed = fnFailEachAllocation([&](CqAllocationFailure& failure) {
        const bool written = fnWrite(40);
        failure.fnEnd();
        EXPECT_EQ(written, !failure.fnHappened());
        EXPECT_EQ(fnText() == start, failure.fnHappened());
    });
    EXPECT_GE(failed, 3u);
    EXPECT_EQ(fnReadNumber(), 40);
}

TEST(SettingsWithoutAPlatform, HaveNoKeysAndFailWrites) {
    char buffer[8];
    EXPECT_EQ(q32::fnReadSetting(213, 208, "x", buffer, sizeof(buffer)), 1u);
    EXPECT_STREQ(buffer, "x");
    EXPECT_FALSE(q32::fnWriteSetting(213, 208, 1));
}

TEST(ParseInt, ReadsADecimalNumberAfterBlanksAndASign) {
    const std::pair<const char*, int> cases[] = {
        {"12", 12},  {"-5", -5},    {"+7", 7},     {" \t\n\v\f\r42", 42},
        {"010", 10}, {"12abc", 12}, {"3.9", 3},    {"abc", 0},
        {"", 0},     {"-", 0},      {"--5", 0},    {"- 5", 0},
        {"+-5", 0},  {"0x1F", 0},   {"\"15\"", 0}, {"1,2", 1},
        {"\xff", 0}, {"1\xa0", 1},
    };
    for (const auto& [text, number] : cases)
        EXPECT_EQ(q32::fnParseInt(text), number) << text;
}

TEST(ParseInt, WrapsBeyond32Bits) {
    const std::pair<const char*, int> cases[] = {
        {"2147483647", INT_MAX}, {"2147483648", INT_MIN}, {"-2147483648", INT_MIN},
        {"4294967295", -1},      {"4294967296", 0},       {"-4294967295", 1},
        {"42949672970", 10},
    };
    for (const auto& [text, number] : cases)
        EXPECT_EQ(q32::fnParseInt(text), number) << text;
    EXPECT_EQ(q32::fnParseInt(std::string(500, '9').c_str()),
              q32::fnParseInt(std::string(600, '9').c_str())) // 10^500 and 10^600 are 0 in 32 bits
        << "any length will do";
}
