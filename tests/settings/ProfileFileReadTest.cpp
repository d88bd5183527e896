#include "q32Base/settings/ProfileFile_p.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <string_view>

using namespace std::string_view_literals;

namespace {

/// Reads into a buffer with space to spare; "D" means that the default was returned.
std::string fnRead(std::string_view text, std::string_view key, std::string_view section = "Main",
                   std::string_view fallback = "D") {
    std::string buffer(100000, 'x');
    const auto length =
        q32::fnReadProfileString(text, section, key, fallback, buffer.data(), buffer.size());
    EXPECT_EQ(buffer[length], 0);
    return buffer.substr(0, length);
}

std::string fnReadLine(std::string_view line, std::string_view key) {
    return fnRead("[Main]\r\n" + std::string(line) + "\r\n", key);
}

struct Cut {
    std::string m_Text;
    std::size_t m_nLength;
};

Cut fnReadInto(std::string_view text, std::string_view key, std::string_view fallback,
               std::size_t size) {
    char buffer[16] = "xxxxxxxxxxxxxxx";
    const auto length = q32::fnReadProfileString(text, "Main", key, fallback, buffer, size);
    for (std::size_t i = size; i < 15; ++i)
        EXPECT_EQ(buffer[i], 'x') << "written past the size " << size;
    return {buffer, length};
}

} // namespace

TEST(ProfileRead, BlanksAroundKeyAndValueAreRemoved) {
    EXPECT_EQ(fnReadLine("a=1", "a"), "1");
    EXPECT_EQ(fnReadLine("b = 2", "b"), "2");
    EXPECT_EQ(fnReadLine("  c  =  3  ", "c"), "3");
    EXPECT_EQ(fnReadLine("p\t=\ttab\t", "p"), "tab");
    EXPECT_EQ(fnReadLine("z=1\x1a", "z"), "1");
    EXPECT_EQ(fnReadLine("\x1az\x1a=\x1a"
                         "1\x1a",
                         "z"),
              "1");
}

TEST(ProfileRead, AnEmptyValueIsNotTheDefault) {
    EXPECT_EQ(fnReadLine("d=", "d"), "");
    EXPECT_EQ(fnReadLine("x= ", "x"), "");
}

TEST(ProfileRead, ALineWithoutAnEqualsSignGivesTheDefault) {
    EXPECT_EQ(fnReadLine("e", "e"), "D");
    EXPECT_EQ(fnReadLine("b\r\nb=2", "b"), "D") << "the bare line wins";
}

TEST(ProfileRead, OnePairOfMatchingQuotesIsRemoved) {
    EXPECT_EQ(fnReadLine("f=\"quoted\"", "f"), "quoted");
    EXPECT_EQ(fnReadLine("g='single'", "g"), "single");
    EXPECT_EQ(fnReadLine("w=  \"sp q\"  ", "w"), "sp q");
    EXPECT_EQ(fnReadLine("j=\" spaced \"", "j"), " spaced ");
    EXPECT_EQ(fnReadLine("v=\"'both'\"", "v"), "'both'");
    EXPECT_EQ(fnReadLine("v=\"\"q\"\"", "v"), "\"q\"");
    EXPECT_EQ(fnReadLine("q=\"\"", "q"), "");
}

TEST(ProfileRead, OtherQuotesAreKept) {
    EXPECT_EQ(fnReadLine("h=\"un", "h"), "\"un");
    EXPECT_EQ(fnReadLine("h='un\"", "h"), "'un\"");
    EXPECT_EQ(fnReadLine("i=x\"y\"z", "i"), "x\"y\"z");
    EXPECT_EQ(fnReadLine("t=\"a\" b", "t"), "\"a\" b");
    EXPECT_EQ(fnReadLine("u='it''s'", "u"), "it''s");
    EXPECT_EQ(fnReadLine("r=\"", "r"), "\"");
    EXPECT_EQ(fnReadLine("s='", "s"), "'");
}

TEST(ProfileRead, NothingButTheFirstEqualsSignIsSpecialInALine) {
    EXPECT_EQ(fnReadLine("k=val ; trailing", "k"), "val ; trailing");
    EXPECT_EQ(fnReadLine("b=;v", "b"), ";v");
    EXPECT_EQ(fnReadLine("n=a=b", "n"), "a=b");
    EXPECT_EQ(fnReadLine("o==x", "o"), "=x");
    EXPECT_EQ(fnReadLine("b;c=1", "b;c"), "1");
    EXPECT_EQ(fnReadLine("b=1\\", "b"), "1\\");
    EXPECT_EQ(fnReadLine("b=%TEMP%", "b"), "%TEMP%");
    EXPECT_EQ(fnReadLine("key with space = yes", "key with space"), "yes");
    EXPECT_EQ(fnReadLine("\r\n=novalue", ""), "novalue");
    EXPECT_EQ(fnReadLine("hi=caf\xe9", "hi"), "caf\xe9");
}

TEST(ProfileRead, ACommentIsFoundOnlyByItsLiteralName) {
    EXPECT_EQ(fnReadLine(";l=comm", "l"), "D");
    EXPECT_EQ(fnReadLine(";l=comm", ";l"), "comm");
    EXPECT_EQ(fnReadLine("  ;b=1\r\nb=2", "b"), "2");
    EXPECT_EQ(fnReadLine("#m=hash", "m"), "D");
    EXPECT_EQ(fnReadLine("#m=hash", "#m"), "hash");
}

TEST(ProfileRead, TheFirstKeyWins) {
    EXPECT_EQ(fnReadLine("dup=first\r\ndup=second", "dup"), "first");
}

TEST(ProfileRead, CaseAndPaddingOfTheQueryAreIgnored) {
    EXPECT_EQ(fnReadLine("CaseKey=1", "casekey"), "1");
    EXPECT_EQ(fnReadLine("casekey=1", "CASEKEY"), "1");
    EXPECT_EQ(fnRead("[Main]\na=1", "a", "mAIN"), "1");
    EXPECT_EQ(fnReadLine("a=1", "a "), "1");
    EXPECT_EQ(fnReadLine("a=1", " a"), "1");
    EXPECT_EQ(fnRead("[Main]\na=1", "a", " Main"), "1");
    EXPECT_EQ(fnReadLine("caf\xc9=1", "caf\xe9"), "D") << "ASCII letters alone";
    EXPECT_EQ(fnReadLine("[=1", "{"), "D");
}

TEST(ProfileRead, MissingKeysAndSectionsGiveTheDefault) {
    EXPECT_EQ(fnRead("[Main]\r\na=1\r\n", "b"), "D");
    EXPECT_EQ(fnRead("[Main]\r\na=1\r\n", "a", "Other"), "D");
    EXPECT_EQ(fnRead("", "a"), "D");
    EXPECT_EQ(fnRead("", "a", "Main", ""), "");
    EXPECT_EQ(fnReadLine("aa=1", "a"), "D");
    EXPECT_EQ(fnReadLine("a=1", "aa"), "D");
}

TEST(ProfileRead, TheDefaultLosesTrailingSpacesAndAPairOfQuotes) {
    const auto fallback = [](std::string_view text) { return fnRead("", "a", "Main", text); };
    EXPECT_EQ(fallback("abc   "), "abc");
    EXPECT_EQ(fallback("abc\t"), "abc\t");
    EXPECT_EQ(fallback("   abc"), "   abc");
    EXPECT_EQ(fallback("   "), " ");
    EXPECT_EQ(fallback(" "), " ");
    EXPECT_EQ(fallback("\"abc\""), "abc");
    EXPECT_EQ(fallback("'abc'"), "abc");
    EXPECT_EQ(fallback(" \"a\""), " \"a\"");
    EXPECT_EQ(fallback("'a\""), "'a\"");
    EXPECT_EQ(fallback("\"\""), "");
    EXPECT_EQ(fallback("\""), "\"");
}

TEST(ProfileRead, SectionNamesLieBetweenTheFirstAndTheLastBracket) {
    const auto text = " [Indented]\na=1\n[Trail] junk\na=2\n[ Spaced ]\na=3\n[Sect;c]\na=4\n"
                      "[Br]ack]\na=5\n\t[Tab]\na=6\n"sv;
    EXPECT_EQ(fnRead(text, "a", "Indented"), "1");
    EXPECT_EQ(fnRead(text, "a", "Trail"), "2");
    EXPECT_EQ(fnRead(text, "a", "Spaced"), "3");
    EXPECT_EQ(fnRead(text, "a", " Spaced "), "3");
    EXPECT_EQ(fnRead(text, "a", "Sect;c"), "4");
    EXPECT_EQ(fnRead(text, "a", "Br]ack"), "5");
    EXPECT_EQ(fnRead(text, "a", "Br"), "D");
    EXPECT_EQ(fnRead(text, "a", "Tab"), "6");
}

TEST(ProfileRead, AnUnclosedBracketBeginsNoSection) {
    const auto text = "[Main]\na=1\n[noclose\nb=2\n"sv;
    EXPECT_EQ(fnRead(text, "b"), "2");
    EXPECT_EQ(fnRead(text, "b", "noclose"), "D");
}

TEST(ProfileRead, OnlyTheFirstSectionOfANameIsSearched) {
    EXPECT_EQ(fnRead("[Main]\na=1\n[Main]\nb=2\n", "b"), "D");
    EXPECT_EQ(fnRead("[Main]\n[main]\nb=2\n", "b"), "D");
    EXPECT_EQ(fnRead("[Main]\na=1\n[X]\n[Main]\na=2\n", "a"), "1");
}

TEST(ProfileRead, TheEmptySectionIsTheHeadOfTheFile) {
    EXPECT_EQ(fnRead("x=1\n[Main]\n", "x", ""), "1");
    EXPECT_EQ(fnRead("x=1\n[Main]\n", "x", "Main"), "D");
    EXPECT_EQ(fnRead("[]\nx=1\n", "x", ""), "D");
    EXPECT_EQ(fnRead("x=1\n[ ]\ny=2\n", "y", " "), "D");
}

TEST(ProfileRead, EveryLineEndIsAccepted) {
    for (const auto end : {"\r\n"sv, "\n"sv, "\r"sv, "\n\r"sv, "\r\r\n"sv, "\r\n\r\n"sv}) {
        std::string text;
        for (const auto line : {"[Other]"sv, "a=0"sv, "[Main]"sv, "a=1"sv, "b=2"sv})
            text += std::string(line) + std::string(end);
        EXPECT_EQ(fnRead(text, "a"), "1");
        EXPECT_EQ(fnRead(text, "b"), "2");
    }
    EXPECT_EQ(fnRead("[Main]\r\na=1", "a"), "1") << "no line end at the end";
}

TEST(ProfileRead, LinesAfterAnEndOfFileCharacterAreStillRead) {
    EXPECT_EQ(fnRead("[Main]\r\na=1\x1a\r\n\x1a\r\nb=2\x1a", "a"), "1");
    EXPECT_EQ(fnRead("[Main]\r\na=1\x1a\r\n\x1a\r\nb=2\x1a", "b"), "2");
}

TEST(ProfileRead, AZeroByteEndsOnlyItsOwnLine) {
    const auto text = "[Main]\r\na=1\0junk\r\nb=2\r\n\0c=3\r\n[X]\0]\r\nd=4"sv;
    EXPECT_EQ(fnRead(text, "a"), "1");
    EXPECT_EQ(fnRead(text, "b"), "2");
    EXPECT_EQ(fnRead(text, "c"), "D");
    EXPECT_EQ(fnRead(text, "d", "X"), "4");
}

TEST(ProfileRead, AUtf8MarkIsSkipped) {
    EXPECT_EQ(fnRead("\xef\xbb\xbf[Main]\r\na=1", "a"), "1");
    EXPECT_EQ(fnRead("\xef\xbb\xbfx=1", "x", ""), "1");
    EXPECT_EQ(fnRead("\xef\xbb\xbf", "x", ""), "D");
    EXPECT_EQ(fnRead("\xef\xbb", "x", ""), "D");
}

TEST(ProfileRead, AUtf16TextHasNoKeys) {
    const auto low = "\xff\xfe[\0M\0a\0i\0n\0]\0\n\0a\0=\0001\0"sv;
    EXPECT_EQ(fnRead(low, "a"), "D");
    EXPECT_EQ(fnRead("\xff\xfe\n[Main]\na=1\n", "a"), "D");
    EXPECT_EQ(fnRead("\xfe\xff\n[Main]\na=1\n", "a"), "D");
}

TEST(ProfileRead, LongLinesAreReadCompletely) {
    for (const std::size_t length : {300u, 5000u, 70000u}) {
        const std::string value(length, 'v');
        EXPECT_EQ(fnReadLine("a=" + value, "a"), value);
        EXPECT_EQ(fnReadLine(value + "=1", value), "1");
    }
    std::string buffer(100, 'x');
    EXPECT_EQ(q32::fnReadProfileString("[Main]\na=" + std::string(70000, 'v'), "Main", "a", "",
                                       buffer.data(), buffer.size()),
              99u);
}

TEST(ProfileRead, AValueIsTruncatedToTheBuffer) {
    const auto text = "[Main]\nf=quoted\nq=\"abc\"\ne=\"\"\n"sv;
    EXPECT_EQ(fnReadInto(text, "f", "", 0).m_nLength, 0u);
    EXPECT_EQ(fnReadInto(text, "f", "", 0).m_Text[0], 'x');
    EXPECT_EQ(fnReadInto(text, "f", "", 1).m_Text, "");
    EXPECT_EQ(fnReadInto(text, "f", "", 2).m_Text, "q");
    EXPECT_EQ(fnReadInto(text, "f", "", 6).m_Text, "quote");
    EXPECT_EQ(fnReadInto(text, "f", "", 7).m_Text, "quoted");
    EXPECT_EQ(fnReadInto(text, "z", "abcdef", 4).m_Text, "abc");
    EXPECT_EQ(fnReadInto(text, "z", "abcdef", 4).m_nLength, 3u);
    EXPECT_EQ(fnReadInto(text, "e", "", 1).m_Text, "");
    EXPECT_EQ(fnReadInto(text, "e", "", 2).m_Text, "");
}

TEST(ProfileRead, AQuotedValueNeedsOneByteMoreThanItsText) {
    const auto text = "[Main]\nq=\"abc\"\n"sv;
    EXPECT_EQ(fnReadInto(text, "q", "", 3).m_Text, "ab");
    EXPECT_EQ(fnReadInto(text, "q", "", 4).m_Text, "ab");
    EXPECT_EQ(fnReadInto(text, "q", "", 5).m_Text, "abc");
    EXPECT_EQ(fnReadInto(text, "q", "", 6).m_Text, "abc");
}

TEST(ProfileRead, KeyAndDefaultMayLieInTheBuffer) {
    char buffer[16] = "f";
    q32::fnReadProfileString("[Main]\nf=quoted\n", "Main", buffer, "", buffer, sizeof(buffer));
    EXPECT_STREQ(buffer, "quoted");
    char fallback[16] = "'abc'";
    q32::fnReadProfileString("", "Main", "f", fallback, fallback, sizeof(fallback));
    EXPECT_STREQ(fallback, "abc");
}

TEST(ProfileRead, LargeTextsTakeTimeInProportionToTheirSize) {
    // Each would take hours if a line were read more often than a few times.
    constexpr std::size_t kBytes = 10u << 20;
    std::string brackets(kBytes, '[');
    std::string opened = "[Main]\n";
    while (opened.size() < kBytes)
        opened += "[x\n";
    std::string blanks = "[Main]\n" + std::string(kBytes, ' ') + "a=1";
    std::string ends(kBytes, '\r');
    std::string zeros(kBytes, '\0');
    std::string equals = "[Main]\n" + std::string(kBytes, '=');
    for (const auto* text : {&brackets, &opened, &ends, &zeros, &equals})
        EXPECT_EQ(fnRead(*text, "a"), "D");
    EXPECT_EQ(fnRead(blanks, "a"), "1");
}
