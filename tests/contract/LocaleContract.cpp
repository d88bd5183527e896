#include "tests/contract/ContractBackEnd.h"

#include <cstdint>
#include <string>

namespace {

class LocaleContract : public ContractTest {
protected:
    CqLocaleService& m_Locale = *m_World.m_Platform.m_pLocale;

    static SYSTEMTIME fnMoment() {
        SYSTEMTIME time{};
        time.wYear = 2001;
        time.wMonth = 2;
        time.wDayOfWeek = 6;
        time.wDay = 3;
        time.wHour = 13;
        time.wMinute = 5;
        time.wSecond = 9;
        return time;
    }
};

TEST_P(LocaleContract, AsciiCharactersAreSingleBytes) {
    for (int byte = 1; byte < 128; ++byte) {
        const char text[] = {static_cast<char>(byte), 'a', 'b', 'c'};
        EXPECT_EQ(m_Locale.fnGetCharBytes(text, sizeof(text)), 1u) << byte;
    }
}

TEST_P(LocaleContract, ACharacterIsNeverLongerThanTheText) {
    for (int first = 0; first < 256; ++first)
        for (int second = 0; second < 256; ++second)
            for (std::size_t count = 1; count <= 4; ++count) {
                const char text[] = {static_cast<char>(first), static_cast<char>(second),
                                     static_cast<char>(second), static_cast<char>(second)};
                const std::size_t bytes = m_Locale.fnGetCharBytes(text, count);
                ASSERT_GE(bytes, 1u);
                ASSERT_LE(bytes, count);
            }
}

TEST_P(LocaleContract, ADateAndATimeAreFormatted) {
    std::string date;
    ASSERT_TRUE(m_Locale.fnFormatDate(fnMoment(), date));
    EXPECT_NE(date.find('3'), std::string::npos) << date;
    std::string time;
    ASSERT_TRUE(m_Locale.fnFormatTime(fnMoment(), 0, time));
    EXPECT_NE(time.find("05"), std::string::npos) << time;
    EXPECT_NE(time.find("09"), std::string::npos) << time;
}

TEST_P(LocaleContract, TheFlagsOfATimeAreHonoured) {
    std::string time;
    ASSERT_TRUE(m_Locale.fnFormatTime(fnMoment(), kTimeForce24Hour, time));
    EXPECT_NE(time.find("13"), std::string::npos) << time;
    EXPECT_NE(time.find("09"), std::string::npos) << time;
    ASSERT_TRUE(m_Locale.fnFormatTime(fnMoment(), kTimeForce24Hour | kTimeNoSeconds, time));
    EXPECT_NE(time.find("13"), std::string::npos) << time;
    EXPECT_EQ(time.find("09"), std::string::npos) << time;
}

TEST_P(LocaleContract, AnImpossibleDateIsRefused) {
    std::string text = "before";
    SYSTEMTIME time = fnMoment();
    time.wMonth = 13;
    EXPECT_FALSE(m_Locale.fnFormatDate(time, text));
    time = fnMoment();
    time.wDay = 29; // 2001 was not a leap year
    EXPECT_FALSE(m_Locale.fnFormatDate(time, text));
    time = fnMoment();
    time.wMinute = 60;
    EXPECT_FALSE(m_Locale.fnFormatTime(time, 0, text));
}

TEST_P(LocaleContract, LocalTimeIsWithinADayOfUtc) {
    SYSTEMTIME time{};
    ASSERT_TRUE(m_Locale.fnGetLocalTime(981201909, time)); // 2001-02-03 12:05:09 UTC, a Saturday
    EXPECT_EQ(time.wYear, 2001);
    EXPECT_EQ(time.wMonth, 2);
    EXPECT_GE(time.wDay, 2);
    EXPECT_LE(time.wDay, 4);
    EXPECT_EQ(time.wDayOfWeek, (6 + time.wDay - 3 + 7) % 7);
    EXPECT_EQ(time.wSecond, 9);
    EXPECT_EQ(time.wMilliseconds, 0);
}

} // namespace

Q32_CONTRACT(LocaleContract, LOCALE);
