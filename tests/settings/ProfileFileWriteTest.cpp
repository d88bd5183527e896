#include "q32Base/settings/ProfileFile_p.h"
#include "tests/support/FailingAllocator.h"

#include <gtest/gtest.h>

#include <iterator>
#include <new>
#include <random>
#include <string>
#include <string_view>
#include <utility>

using namespace std::string_view_literals;
using q32::PROFILE_EDIT;

namespace {

const std::string kStart = "; head\r\n\r\n[A]\r\n; about k\r\nk = 1 \r\nj=2\r\n\r\n; tail\r\n\r\n"
                           "[B]\r\nx=9\r\n";

/// The text after a write that must change it.
std::string fnWrite(std::string text, std::string_view section, std::string_view key,
                    std::string_view value) {
    EXPECT_EQ(q32::fnWriteProfileString(text, section, key, value), PROFILE_EDIT::CHANGED);
    return text;
}

void fnExpectUnchanged(const std::string& start, std::string_view section, std::string_view key,
                       std::string_view value) {
    std::string text = start;
    EXPECT_EQ(q32::fnWriteProfileString(text, section, key, value), PROFILE_EDIT::UNCHANGED);
    EXPECT_EQ(text, start);
}

std::string fnReplaced(std::string text, std::string_view from, std::string_view to) {
    return text.replace(text.find(from), from.size(), to);
}

std::string fnRead(std::string_view text, std::string_view section, std::string_view key) {
    std::string buffer(text.size() + 3, 'x');
    buffer.resize(q32::fnReadProfileString(text, section, key, "D", buffer.data(), buffer.size()));
    return buffer;
}

} // namespace

TEST(ProfileWrite, AnEmptyFileGetsSectionAndKey) {
    EXPECT_EQ(fnWrite("", "A", "k", "v"), "[A]\r\nk=v\r\n");
}

TEST(ProfileWrite, AValueIsReplacedInPlaceAndTheKeyKeepsItsSpelling) {
    EXPECT_EQ(fnWrite(kStart, "A", "k", "NEW"), fnReplaced(kStart, "k = 1 ", "k=NEW"));
    EXPECT_EQ(fnWrite(kStart, "a", "K", "NEW"), fnReplaced(kStart, "k = 1 ", "k=NEW"));
    EXPECT_EQ(fnWrite(kStart, " A ", " k ", "NEW"), fnReplaced(kStart, "k = 1 ", "k=NEW"));
}

TEST(ProfileWrite, TheSameValueChangesNothing) {
    fnExpectUnchanged(kStart, "A", "k", "1");
    fnExpectUnchanged(kStart, "A", "k", " 1 ");
    fnExpectUnchanged(kStart, "B", "x", "9");
    fnExpectUnchanged("[A]\nk=", "A", "k", "");
    fnExpectUnchanged("[A]\nk=\"q\"", "A", "k", "\"q\"");
}

TEST(ProfileWrite, AValueThatReadsTheSameButIsSpelledDifferentlyIsWritten) {
    EXPECT_EQ(fnWrite("[A]\nk=q", "A", "k", "\"q\""), "[A]\nk=\"q\"");
    EXPECT_EQ(fnWrite("[A]\nk=Q", "A", "k", "q"), "[A]\nk=q");
}

TEST(ProfileWrite, ANewKeyFollowsTheLastNonBlankLineOfItsSection) {
    EXPECT_EQ(fnWrite(kStart, "A", "m", "5"),
              fnReplaced(kStart, "; tail\r\n", "; tail\r\nm=5\r\n"));
    EXPECT_EQ(fnWrite(kStart, "B", "m", "5"), kStart + "m=5\r\n");
    EXPECT_EQ(fnWrite("[A]\n\n[B]\n", "A", "m", "5"), "[A]\nm=5\n\n[B]\n");
    EXPECT_EQ(fnWrite("[A]\n \t\x1a\n", "A", "m", "5"), "[A]\nm=5\n \t\x1a\n");
}

TEST(ProfileWrite, ANewSectionIsAddedAtTheEnd) {
    EXPECT_EQ(fnWrite(kStart, "C", "m", "5"), kStart + "[C]\r\nm=5\r\n");
    EXPECT_EQ(fnWrite("[A]\nk=1\n\n\n", "C", "m", "5"), "[A]\nk=1\n\n\n[C]\nm=5\n")
        << "blank lines stay";
}

TEST(ProfileWrite, ALastLineWithoutAnEndGetsOne) {
    EXPECT_EQ(fnWrite("[A]\r\nk=1", "A", "m", "5"), "[A]\r\nk=1\r\nm=5\r\n");
    EXPECT_EQ(fnWrite("[A]\nk=1", "C", "m", "5"), "[A]\nk=1\n[C]\nm=5\n");
    EXPECT_EQ(fnWrite("[A]", "A", "m", "5"), "[A]\r\nm=5\r\n");
    EXPECT_EQ(fnWrite("[A]\nk=1\n\x1a", "C", "m", "5"), "[A]\nk=1\n\x1a\n[C]\nm=5\n");
}

TEST(ProfileWrite, NewLinesEndAsTheFirstLineDoes) {
    EXPECT_EQ(fnWrite("[A]\nk=1\r\n", "A", "m", "5"), "[A]\nk=1\r\nm=5\n");
    EXPECT_EQ(fnWrite("[A]\rk=1\r", "A", "m", "5"), "[A]\rk=1\rm=5\r");
    EXPECT_EQ(fnWrite("[A]\rk=1\r", "B", "m", "5"), "[A]\rk=1\r[B]\rm=5\r");
    EXPECT_EQ(fnWrite("\n\r[A]\n\r", "A", "m", "5"), "\n\r[A]\nm=5\n\r");
}

TEST(ProfileWrite, TheFirstOfEqualKeysIsChanged) {
    EXPECT_EQ(fnWrite("[A]\nk=1\nk=2\n", "A", "k", "N"), "[A]\nk=N\nk=2\n");
}

TEST(ProfileWrite, TheFirstOfEqualSectionsIsChanged) {
    EXPECT_EQ(fnWrite("[A]\na=1\n[B]\nb=1\n[A]\nk=2\n", "A", "k", "N"),
              "[A]\na=1\nk=N\n[B]\nb=1\n[A]\nk=2\n");
}

TEST(ProfileWrite, ABareLineOfTheNameGetsTheValue) {
    EXPECT_EQ(fnWrite("[A]\nk\nj=1\n", "A", "k", "N"), "[A]\nk=N\nj=1\n");
    EXPECT_EQ(fnWrite("[A]\nk\n", "A", "k", ""), "[A]\nk=\n");
}

TEST(ProfileWrite, ValuesAreWrittenVerbatimExceptForLeadingBlanks) {
    EXPECT_EQ(fnWrite("", "A", "k", ""), "[A]\r\nk=\r\n");
    EXPECT_EQ(fnWrite("", "A", "k", "  v  "), "[A]\r\nk=v  \r\n");
    EXPECT_EQ(fnWrite("", "A", "k", "\t"), "[A]\r\nk=\r\n");
    EXPECT_EQ(fnWrite("", "A", "k", "\"v\""), "[A]\r\nk=\"v\"\r\n");
    EXPECT_EQ(fnWrite("", "A", "k", "a=b"), "[A]\r\nk=a=b\r\n");
    EXPECT_EQ(fnWrite("", "A", "k", "a;b"), "[A]\r\nk=a;b\r\n");
    EXPECT_EQ(fnWrite("", "A", "k", "\xfc"), "[A]\r\nk=\xfc\r\n");
    EXPECT_EQ(fnWrite("", "A", "k", "[x]"), "[A]\r\nk=[x]\r\n");
    const std::string longValue(70000, 'v');
    EXPECT_EQ(fnWrite("", "A", "k", longValue), "[A]\r\nk=" + longValue + "\r\n");
}

TEST(ProfileWrite, AValueEndsAtALineBreakSoThatItAddsNoLine) {
    EXPECT_EQ(fnWrite("", "A", "k", "v\r\nw=2"), "[A]\r\nk=v\r\n");
    EXPECT_EQ(fnWrite("", "A", "k", "v\n[B]"), "[A]\r\nk=v\r\n");
    EXPECT_EQ(fnWrite("", "A", "k", "v\0w"sv), "[A]\r\nk=v\r\n");
    EXPECT_EQ(fnWrite("", "A\n[B]", "k\nl=1", "v"), "[A]\r\nk=v\r\n");
}

TEST(ProfileWrite, OddNamesAreWrittenByTheSameRules) {
    EXPECT_EQ(fnWrite("[A]\n", "A", "", "v"), "[A]\n=v\n");
    EXPECT_EQ(fnWrite("[A]\n", "A", "p=q", "v"), "[A]\np=q=v\n");
    EXPECT_EQ(fnWrite("[A]\n", "A", ";k", "v"), "[A]\n;k=v\n");
    EXPECT_EQ(fnWrite("[A]\n", "A]B", "k", "v"), "[A]\n[A]B]\nk=v\n");
    EXPECT_EQ(fnWrite("x=1\n\n[A]\n", "", "k", "v"), "x=1\nk=v\n\n[A]\n");
    EXPECT_EQ(fnWrite("[A]\n", "", "k", "v"), "k=v\n[A]\n");
    EXPECT_EQ(fnWrite("", "", "k", "v"), "k=v\r\n");
}

TEST(ProfileWrite, AZeroByteInTheOldLineIsReplacedWithTheLine) {
    EXPECT_EQ(fnWrite(std::string("[A]\nk=1\0junk\nj=\0\n"sv), "A", "k", "2"),
              "[A]\nk=2\nj=\0\n"sv);
}

TEST(ProfileWrite, AUtf8MarkStaysFirst) {
    EXPECT_EQ(fnWrite("\xef\xbb\xbf[A]\nk=1\n", "A", "k", "2"), "\xef\xbb\xbf[A]\nk=2\n");
    EXPECT_EQ(fnWrite("\xef\xbb\xbf", "A", "k", "2"), "\xef\xbb\xbf[A]\r\nk=2\r\n");
    EXPECT_EQ(fnWrite("\xef\xbb\xbf[A]\n", "", "k", "2"), "\xef\xbb\xbfk=2\n[A]\n");
}

TEST(ProfileWrite, AUtf16TextIsRefused) {
    for (const auto mark : {"\xff\xfe"sv, "\xfe\xff"sv}) {
        const std::string start = std::string(mark) + "\n[A]\nk=1\n";
        std::string text = start;
        EXPECT_EQ(q32::fnWriteProfileString(text, "A", "k", "2"), PROFILE_EDIT::REFUSED);
        EXPECT_EQ(q32::fnDeleteProfileKey(text, "A", "k"), PROFILE_EDIT::REFUSED);
        EXPECT_EQ(q32::fnDeleteProfileSection(text, "A"), PROFILE_EDIT::REFUSED);
        EXPECT_EQ(text, start);
    }
}

TEST(ProfileWrite, WhatIsWrittenIsReadBack) {
    const std::pair<const char*, const char*> cases[] = {
        {"  lead", "lead"},     {"trail  ", "trail"}, {"\"q\"", "q"}, {"'q'", "q"},
        {"\"\"q\"\"", "\"q\""}, {"\t", ""},           {"a;b", "a;b"}, {"\" v \"", " v "},
    };
    for (const auto& [written, read] : cases)
        EXPECT_EQ(fnRead(fnWrite(kStart, "B", "new", written), "B", "new"), read);
}

TEST(ProfileDelete, AKeysLineIsRemoved) {
    std::string text = kStart;
    EXPECT_EQ(q32::fnDeleteProfileKey(text, "A", "K"), PROFILE_EDIT::CHANGED);
    EXPECT_EQ(text, fnReplaced(kStart, "k = 1 \r\n", ""));
    text = "[A]\nk=1\nk=2";
    EXPECT_EQ(q32::fnDeleteProfileKey(text, "A", "k"), PROFILE_EDIT::CHANGED);
    EXPECT_EQ(text, "[A]\nk=2");
    EXPECT_EQ(q32::fnDeleteProfileKey(text, "A", "k"), PROFILE_EDIT::CHANGED);
    EXPECT_EQ(text, "[A]\n");
}

TEST(ProfileDelete, AMissingKeyOrSectionChangesNothing) {
    std::string text = kStart;
    EXPECT_EQ(q32::fnDeleteProfileKey(text, "A", "zz"), PROFILE_EDIT::UNCHANGED);
    EXPECT_EQ(q32::fnDeleteProfileKey(text, "Z", "k"), PROFILE_EDIT::UNCHANGED);
    EXPECT_EQ(q32::fnDeleteProfileSection(text, "Z"), PROFILE_EDIT::UNCHANGED);
    EXPECT_EQ(text, kStart);
    text = "[A]\n";
    EXPECT_EQ(q32::fnDeleteProfileSection(text, ""), PROFILE_EDIT::UNCHANGED);
    EXPECT_EQ(text, "[A]\n");
}

TEST(ProfileDelete, ASectionIsRemovedWithAllItsLinesAndComments) {
    std::string text = kStart;
    EXPECT_EQ(q32::fnDeleteProfileSection(text, "a"), PROFILE_EDIT::CHANGED);
    EXPECT_EQ(text, "; head\r\n\r\n[B]\r\nx=9\r\n");
    EXPECT_EQ(q32::fnDeleteProfileSection(text, "B"), PROFILE_EDIT::CHANGED);
    EXPECT_EQ(text, "; head\r\n\r\n");
    EXPECT_EQ(q32::fnDeleteProfileSection(text, ""), PROFILE_EDIT::CHANGED);
    EXPECT_EQ(text, "");
    text = "[A]\na=1\n[B]\nb=1\n[A]\nk=2\n";
    EXPECT_EQ(q32::fnDeleteProfileSection(text, "A"), PROFILE_EDIT::CHANGED);
    EXPECT_EQ(text, "[B]\nb=1\n[A]\nk=2\n") << "the first one alone";
}

TEST(ProfileWrite, FailedAllocationsLeaveTheText) {
    const std::string value(300, 'v');
    for (const char* section : {"A", "C"}) {
        for (const char* key : {"k", "a new key whose name doesn't fit into a short string"}) {
            std::string text = kStart;
            text.shrink_to_fit();
            const auto failed = fnFailEachAllocation([&](CqAllocationFailure& failure) {
                const auto outstanding = CqAllocationFailure::fnOutstanding();
                bool threw = false;
                try {
                    q32::fnWriteProfileString(text, section, key, value);
                } catch (const std::bad_alloc&) {
                    threw = true;
                }
                failure.fnEnd();
                EXPECT_EQ(threw, failure.fnHappened());
                if (threw) {
                    EXPECT_EQ(text, kStart);
                    EXPECT_EQ(CqAllocationFailure::fnOutstanding(), outstanding);
                }
            });
            EXPECT_GE(failed, 2u);
            EXPECT_EQ(fnRead(text, section, key), value);
        }
    }
}

TEST(ProfileWrite, RandomWritesAreReadBackAndTouchNoOtherKey) {
    std::mt19937 random(20);
    const std::string pieces[] = {"[A]",  "[B]", "[a] x", "[",     "]",
                                  "k",    "K=",  "j =",   "=",     ";k=1",
                                  "\"",   " ",   "\t",    "\x1a",  std::string(1, '\0'),
                                  "\r\n", "\n",  "\r",    "value", "\n",
                                  "\n"};
    const std::string_view sections[] = {"A", "B", "C"};
    const std::string_view keys[] = {"k", "j", "l"};
    const std::string_view values[] = {"", "1", "two words", "\"q\"", "a=b", "[A]", "x]"};
    const auto pick = [&random](const auto& from) { return from[random() % std::size(from)]; };
    for (int round = 0; round < 20000; ++round) {
        std::string text = random() % 8 == 0 ? "\xef\xbb\xbf" : "";
        for (auto count = random() % 30; count > 0; --count)
            text += pick(pieces);
        const std::string before = text;
        const auto section = pick(sections);
        const auto key = pick(keys);
        const auto value = pick(values);
        const auto edit = q32::fnWriteProfileString(text, section, key, value);
        EXPECT_EQ(edit == PROFILE_EDIT::UNCHANGED, text == before);
        ASSERT_EQ(fnRead(text, section, key), value == "\"q\"" ? "q" : value) << before;
        std::string again = text;
        ASSERT_EQ(q32::fnWriteProfileString(again, section, key, value), PROFILE_EDIT::UNCHANGED);
        for (const auto otherSection : sections) {
            for (const auto otherKey : keys) {
                if (otherSection == section && otherKey == key)
                    continue;
                ASSERT_EQ(fnRead(text, otherSection, otherKey),
                          fnRead(before, otherSection, otherKey))
                    << before;
            }
        }
    }
}
