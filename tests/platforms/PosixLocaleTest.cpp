#include "tests/platforms/PosixTestTools.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cstdlib>
#include <ctime>
#include <filesystem>

using namespace q32::test;

/// The C library leaks a list of folders each time that it looks for a locale under LOCPATH.
// NOLINTNEXTLINE(bugprone-reserved-identifier): the leak checker asks for this name.
extern "C" __attribute__((visibility("default"))) const char* __lsan_default_suppressions() {
    return "leak:argz_add_sep\n";
}

namespace {

/// Expected times are taken from the definitions of the languages.
class PosixLocale : public testing::Test {
protected:
    void SetUp() override { ::setenv("LOCPATH", Q32_TEST_LOCALES, 1); }
    void TearDown() override { ::unsetenv("LOCPATH"); }

    static CqPlatform fnPlatform(const std::string& locale) {
        CqPosixOptions options;
        options.m_szLocale = locale;
        return q32PosixPlatform(options);
    }

    static std::string fnDate(const std::string& locale, const SYSTEMTIME& time) {
        std::string text;
        return fnPlatform(locale).m_pLocale->fnFormatDate(time, text) ? text : "(none)";
    }

    static std::string fnTime(const std::string& locale, const SYSTEMTIME& time, UINT flags = 0) {
        std::string text;
        return fnPlatform(locale).m_pLocale->fnFormatTime(time, flags, text) ? text : "(none)";
    }

    static std::size_t fnBytes(const std::string& locale, const std::string& text) {
        return fnPlatform(locale).m_pLocale->fnGetCharBytes(text.data(), text.size());
    }
};

/// 2024-03-07, a Thursday, 14:05:09.
constexpr SYSTEMTIME kTime{2024, 3, 4, 7, 14, 5, 9, 0};

} // namespace

TEST_F(PosixLocale, ADateIsInTheShortFormOfTheLanguage) {
    EXPECT_EQ(fnDate("C", kTime), "03/07/24");
    EXPECT_EQ(fnDate("POSIX", kTime), "03/07/24");
    EXPECT_EQ(fnDate("C.UTF-8", kTime), "03/07/24");
    EXPECT_EQ(fnDate("en_US.UTF-8", kTime), "03/07/2024");
    EXPECT_EQ(fnDate("de_DE.UTF-8", kTime), "07.03.2024");
    EXPECT_EQ(fnDate("ja_JP.UTF-8", kTime), "2024年03月07日");
    // The same characters in Shift-JIS: 94 4E, 8C 8E, 93 FA.
    EXPECT_EQ(fnDate("ja_JP.SJIS", kTime), "2024\x94\x4E"
                                           "03\x8C\x8E"
                                           "07\x93\xFA");
}

TEST_F(PosixLocale, ATimeIsInTheFormOfTheLanguage) {
    EXPECT_EQ(fnTime("C", kTime), "14:05:09");
    EXPECT_EQ(fnTime("C.UTF-8", kTime), "14:05:09");
    EXPECT_EQ(fnTime("en_US.UTF-8", kTime), "02:05:09 PM");
    EXPECT_EQ(fnTime("de_DE.UTF-8", kTime), "14:05:09");
    EXPECT_EQ(fnTime("ja_JP.UTF-8", kTime), "14時05分09秒");
}

TEST_F(PosixLocale, TheTwentyFourHourClockCanBeForced) {
    EXPECT_EQ(fnTime("en_US.UTF-8", kTime, kTimeForce24Hour), "14:05:09");
    EXPECT_EQ(fnTime("de_DE.UTF-8", kTime, kTimeForce24Hour), "14:05:09");
    EXPECT_EQ(fnTime("ja_JP.UTF-8", kTime, kTimeForce24Hour), "14時05分09秒");
    constexpr SYSTEMTIME kMidnight{2024, 3, 4, 7, 0, 0, 0, 0};
    EXPECT_EQ(fnTime("en_US.UTF-8", kMidnight), "12:00:00 AM");
    EXPECT_EQ(fnTime("en_US.UTF-8", kMidnight, kTimeForce24Hour), "00:00:00");
}

TEST_F(PosixLocale, SecondsCanBeOmittedWithTheirMarkOrUnit) {
    EXPECT_EQ(fnTime("C", kTime, kTimeNoSeconds), "14:05");
    EXPECT_EQ(fnTime("en_US.UTF-8", kTime, kTimeNoSeconds), "02:05 PM");
    EXPECT_EQ(fnTime("en_US.UTF-8", kTime, kTimeNoSeconds | kTimeForce24Hour), "14:05");
    EXPECT_EQ(fnTime("de_DE.UTF-8", kTime, kTimeNoSeconds), "14:05");
    EXPECT_EQ(fnTime("ja_JP.UTF-8", kTime, kTimeNoSeconds), "14時05分");
    EXPECT_EQ(fnTime("ja_JP.SJIS", kTime, kTimeNoSeconds), "14\x8E\x9E"
                                                           "05\x95\xAA");
}

TEST_F(PosixLocale, AnImpossibleTimeIsRefused) {
    for (const SYSTEMTIME& wrong :
         {SYSTEMTIME{2023, 2, 0, 29, 0, 0, 0, 0}, SYSTEMTIME{2024, 0, 0, 1, 0, 0, 0, 0},
          SYSTEMTIME{2024, 13, 0, 1, 0, 0, 0, 0}, SYSTEMTIME{2024, 4, 0, 31, 0, 0, 0, 0},
          SYSTEMTIME{2024, 4, 0, 0, 0, 0, 0, 0}, SYSTEMTIME{1600, 12, 0, 31, 0, 0, 0, 0},
          SYSTEMTIME{30828, 1, 0, 1, 0, 0, 0, 0}})
        EXPECT_EQ(fnDate("C", wrong), "(none)") << wrong.wYear << wrong.wMonth << wrong.wDay;
    EXPECT_EQ(fnDate("C", {2024, 2, 0, 29, 99, 99, 99, 0}), "02/29/24") << "the clock is not asked";
    EXPECT_EQ(fnTime("C", {2024, 3, 4, 7, 24, 0, 0, 0}), "(none)");
    EXPECT_EQ(fnTime("C", {2024, 3, 4, 7, 23, 60, 0, 0}), "(none)");
    EXPECT_EQ(fnTime("C", {2024, 3, 4, 7, 23, 59, 60, 0}), "(none)");
    EXPECT_EQ(fnTime("C", {0, 0, 0, 0, 23, 59, 59, 0}), "23:59:59") << "nor the calendar";
}

TEST_F(PosixLocale, CharactersAreThoseOfTheCodePage) {
    EXPECT_EQ(fnBytes("C", "\xC3\xA4"), 1u);
    EXPECT_EQ(fnBytes("C.UTF-8", "\xC3\xA4"), 2u);
    EXPECT_EQ(fnBytes("C.UTF-8", "\xE6\x99\x82x"), 3u);
    EXPECT_EQ(fnBytes("C.UTF-8", "\xF0\x9F\x8C\x8A"), 4u);
    EXPECT_EQ(fnBytes("C.UTF-8", "a\xC3"), 1u);
    EXPECT_EQ(fnBytes("de_DE.ISO-8859-1", "\xC3\xA4"), 1u);
    EXPECT_EQ(fnBytes("ja_JP.SJIS", "\x95\x5C"), 2u) << "its second byte looks like a backslash";
    EXPECT_EQ(fnBytes("ja_JP.SJIS", "\x5C\x95"), 1u);
    EXPECT_EQ(fnBytes("ja_JP.SJIS", "\xB1\x5C"), 1u) << "a half-width sign";
    EXPECT_EQ(fnBytes("ja_JP.EUC-JP", "\xC9\xBD"), 2u);
    EXPECT_EQ(fnBytes("ja_JP.EUC-JP", "\x8F\xA2\xAF"), 3u);
}

TEST_F(PosixLocale, AnInvalidCharacterIsASingleByte) {
    EXPECT_EQ(fnBytes("C.UTF-8", "\xC3"), 1u) << "cut";
    EXPECT_EQ(fnBytes("C.UTF-8", "\xC3x"), 1u) << "not continued";
    EXPECT_EQ(fnBytes("C.UTF-8", "\xA4\xC3"), 1u) << "not begun";
    EXPECT_EQ(fnBytes("ja_JP.SJIS", "\x95"), 1u);
    EXPECT_EQ(fnBytes("ja_JP.SJIS", "\x95\x01"), 1u);
    EXPECT_EQ(fnBytes("C.UTF-8", std::string(1, '\0')), 1u);
}

TEST_F(PosixLocale, ABackslashInsideACharacterIsNotASeparator) {
    const Folder folder;
    const std::string name = "\x95\x5C.bmp"; // one character, a dot, three letters
    folder.fnWrite(name, "x");
    EXPECT_TRUE(fnPlatform("ja_JP.SJIS").m_pFiles->fnExists(folder.fnName(name).c_str()));
    EXPECT_FALSE(fnPlatform("C").m_pFiles->fnExists(folder.fnName(name).c_str()));
}

TEST_F(PosixLocale, AnUnknownLanguageIsTheCLanguage) {
    EXPECT_EQ(fnDate("xx_XX.NONE", kTime), "03/07/24");
}

TEST_F(PosixLocale, TheProcessLocaleIsNeitherReadNorChanged) {
    ::setenv("LC_ALL", "de_DE.UTF-8", 1);
    EXPECT_EQ(fnDate("", kTime), "07.03.2024") << "the user's";
    ::unsetenv("LC_ALL");
    const std::string before = ::setlocale(LC_ALL, nullptr);
    const locale_t threadBefore = ::uselocale(nullptr);
    EXPECT_EQ(fnBytes("ja_JP.SJIS", "\x95\x5C"), 2u);
    EXPECT_EQ(::setlocale(LC_ALL, nullptr), before);
    EXPECT_EQ(::uselocale(nullptr), threadBefore);
}

TEST_F(PosixLocale, LocalTimeIsThatOfTheProcessTimeZone) {
    SYSTEMTIME time{};
    ::setenv("TZ", "XXX-2", 1); // two hours east
    ASSERT_TRUE(fnPlatform("C").m_pLocale->fnGetLocalTime(1709813109, time));
    EXPECT_EQ(time.wYear, 2024);
    EXPECT_EQ(time.wMonth, 3);
    EXPECT_EQ(time.wDay, 7);
    EXPECT_EQ(time.wDayOfWeek, 4);
    EXPECT_EQ(time.wHour, 14);
    EXPECT_EQ(time.wMinute, 5);
    EXPECT_EQ(time.wSecond, 9);
    ::setenv("TZ", "UTC0", 1);
    ASSERT_TRUE(fnPlatform("C").m_pLocale->fnGetLocalTime(-1, time));
    EXPECT_EQ(time.wYear, 1969);
    EXPECT_EQ(time.wHour, 23);
    EXPECT_EQ(time.wSecond, 59);
    EXPECT_FALSE(fnPlatform("C").m_pLocale->fnGetLocalTime(INT64_MAX, time));
    EXPECT_FALSE(fnPlatform("C").m_pLocale->fnGetLocalTime(-12000000000, time)) << "1589";
    ::unsetenv("TZ");
    ::tzset();
}
