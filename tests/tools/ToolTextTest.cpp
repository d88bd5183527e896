// What the tool says: help, manual page, completions, JSON, and the recipes of its page.
#include "plugins/WaveFile.h"
#include "q32Base/sound/CqWave.h"
#include "tests/tools/ToolTest.h"
#include "tools/q32/Json.h"
#include "tools/q32/Texts.h"
#include "tools/q32/Words.h"

#include <fstream>
#include <sstream>

namespace {

using namespace tool;

class ToolTextTest : public ToolTest {
protected:
    /// The words that bash offers behind these.
    std::string fnComplete(const std::string& words) {
        EXPECT_EQ(fnShell("q32 --completion bash >complete && . ./complete && COMP_WORDS=(" +
                          words +
                          ") && COMP_CWORD=$((${#COMP_WORDS[@]} - 1)) && _q32_words && echo "
                          "\"${COMPREPLY[*]}\""),
                  0)
            << m_Errors;
        EXPECT_EQ(m_Errors, "");
        return m_Said.substr(0, m_Said.find('\n'));
    }

    /// A value of a JSON text, by the names and indices that lead to it.
    std::string fnRead(const std::string& json, const std::string& path) {
        fnPut("json", json);
        EXPECT_EQ(
            fnShell("'" Q32_CMAKE "' -DFILE=json '-DPATH=" + path + "' -P '" Q32_READ_JSON "'"), 0)
            << m_Errors;
        return m_Errors.substr(0, m_Errors.find('\n'));
    }
};

void fnForArguments(const std::function<void(const Command&, const Argument&)>& visit) {
    for (const Command& command : fnGetCommands()) {
        for (const Argument& argument : command.m_Words)
            visit(command, argument);
        for (const Argument& argument : command.m_Options)
            visit(command, argument);
        for (const Argument& argument : fnGetCommonOptions())
            visit(command, argument);
    }
}

bool fnIsOption(const Argument& argument) {
    return *argument.m_pszName >= 'a';
}

TEST_F(ToolTextTest, HelpNamesEveryCommandAndArgument) {
    const std::string all = fnMakeHelp();
    for (const Command& command : fnGetCommands()) {
        EXPECT_NE(all.find(command.m_pszName), std::string::npos) << command.m_pszName;
        EXPECT_EQ(fnRun({command.m_pszName, "--help"}), 0) << m_Errors;
        EXPECT_EQ(m_Said, fnMakeHelp(command));
        EXPECT_EQ(fnRun({"help", command.m_pszName}), 0) << m_Errors;
        EXPECT_EQ(m_Said, fnMakeHelp(command));
    }
    fnForArguments([](const Command& command, const Argument& argument) {
        const std::string name =
            fnIsOption(argument) ? fnNameOption(argument) : std::string(argument.m_pszName);
        EXPECT_NE(fnMakeHelp(command).find("  " + name), std::string::npos) << name;
    });
    for (const std::string& line : fnSplitText(all, '\n'))
        EXPECT_LE(line.size(), 80U) << line;
    EXPECT_EQ(fnRun({"--help"}), 0);
    EXPECT_EQ(m_Said, all);
    EXPECT_EQ(fnRun({"--version"}), 0);
    EXPECT_EQ(m_Said.substr(0, 4), "q32 ");
}

TEST_F(ToolTextTest, DefaultsAreValuesOfTheirArguments) {
    fnForArguments([](const Command& command, const Argument& argument) {
        const bool valid = *argument.m_pszDefault == '\0' ||
                           fnFindComplaint(argument, argument.m_pszDefault).empty();
        EXPECT_TRUE(valid) << command.m_pszName << ' ' << argument.m_pszName;
    });
}

TEST_F(ToolTextTest, TheManualNamesEveryCommandAndArgumentAndRendersWithoutWarnings) {
    ASSERT_EQ(fnShell("q32 --manual >q32.1 && groff -man -Tascii -ww -P-c -P-b -P-u q32.1"), 0)
        << m_Errors;
    EXPECT_EQ(m_Errors, "");
    // Lines are broken and filled: compare the words alone.
    std::string text;
    for (const std::string& line : fnSplitText(m_Said, '\n'))
        for (const std::string& word : fnSplitText(line, ' '))
            text += word + ' ';
    for (const Command& command : fnGetCommands())
        EXPECT_NE(text.find(fnMakeSynopsis(command)), std::string::npos) << command.m_pszName;
    fnForArguments([&](const Command&, const Argument& argument) {
        const std::string name =
            fnIsOption(argument) ? fnNameOption(argument) : std::string(argument.m_pszName);
        EXPECT_NE(text.find(name), std::string::npos) << name;
    });
}

TEST_F(ToolTextTest, BashCompletesCommandsOptionsChoicesAndFiles) {
    fnPut("photo.png", "");
    EXPECT_EQ(fnComplete("q32 re"), "resize");
    EXPECT_EQ(fnComplete("q32 m"), "merge montage");
    EXPECT_EQ(fnComplete("q32 resize --ne"), "--nearest");
    EXPECT_EQ(fnComplete("q32 resize ph"), "photo.png");
    EXPECT_EQ(fnComplete("q32 resize photo.png 5x + r"), "resize rotate");
    EXPECT_EQ(fnComplete("q32 resize photo.png 5x + i"), "") << "info can't be chained";
    EXPECT_EQ(fnComplete("q32 resize photo.png 5x + adjust --b"),
              "--brightness --blue --background");
    EXPECT_EQ(fnComplete("q32 merge --rule k"), "key");
    EXPECT_EQ(fnComplete("q32 resize --compression d"), "deflate");
    EXPECT_EQ(fnComplete("q32 filter photo.png em"), "emboss");
    EXPECT_EQ(fnComplete("q32 help th"), "thumbnail");
    for (const Command& command : fnGetCommands()) {
        const std::string offered =
            " " + fnComplete(std::string("q32 ") + command.m_pszName + " --") + " ";
        for (const auto options : {command.m_Options, fnGetCommonOptions()})
            for (const Argument& option : options)
                EXPECT_NE(offered.find(std::string(" --") + option.m_pszName + " "),
                          std::string::npos)
                    << command.m_pszName << ' ' << option.m_pszName;
    }
}

TEST_F(ToolTextTest, AllCompletionsNameEveryOption) {
    for (const char* shell : {"bash", "zsh", "fish"}) {
        const std::string script = fnMakeCompletion(shell);
        fnForArguments([&](const Command& command, const Argument& argument) {
            EXPECT_NE(script.find(command.m_pszName), std::string::npos) << shell;
            const bool named =
                !fnIsOption(argument) || script.find(argument.m_pszName) != std::string::npos;
            EXPECT_TRUE(named) << shell << ' ' << argument.m_pszName;
        });
    }
}

TEST_F(ToolTextTest, InfoDescribesPicturesAndSoundsInJson) {
    fnMake("in.png", 20, 10, 24);
    fnMake("odd \"name\"\n.tif", 5, 6, 8);
    CqWave wave(2, 16, 8000, 4000, true);
    ASSERT_TRUE(q32WriteWave(fnPath("tone.wav").c_str(), wave).fnIsDone());
    ASSERT_EQ(fnRun({"info", "--json", "in.png", "odd \"name\"\n.tif", "tone.wav"}), 0) << m_Errors;
    const std::string json = m_Said;
    const auto read = [&](const char* path) { return fnRead(json, path); };
    EXPECT_EQ(read("0;format"), "PNG");
    EXPECT_EQ(read("0;width"), "20");
    EXPECT_EQ(read("0;height"), "10");
    EXPECT_EQ(read("0;bits"), "24");
    EXPECT_EQ(read("0;complete"), "ON");
    EXPECT_EQ(read("0;bytes"), std::to_string(std::filesystem::file_size(fnPath("in.png"))));
    EXPECT_EQ(read("1;grey"), "ON");
    EXPECT_EQ(read("1;file"), "odd \"name\""); // its first line
    EXPECT_EQ(read("2;seconds"), "0.5");
    EXPECT_EQ(read("2;channels"), "2");
}

TEST_F(ToolTextTest, InfoReportsFailuresInJsonToo) {
    fnMake("in.png", 20, 10, 24);
    ASSERT_EQ(fnRun({"info", "--json", "missing.png", "in.png"}), 1);
    EXPECT_NE(m_Errors.find("missing.png"), std::string::npos);
    const std::string json = m_Said;
    EXPECT_NE(fnRead(json, "0;error").find("No such file"), std::string::npos);
    EXPECT_EQ(fnRead(json, "1;width"), "20");
}

TEST_F(ToolTextTest, JsonStringsAreUtf8WhateverTheBytes) {
    EXPECT_EQ(fnQuoteJson("a\"b\\c\n\x01"), "\"a\\\"b\\\\c\\u000a\\u0001\"");
    EXPECT_EQ(fnQuoteJson("gr\xC3\xBC\xC3\x9F"), "\"gr\xC3\xBC\xC3\x9F\"");
    for (const char* broken :
         {"\xFF", "\xC3", "\xE2\x82", "\xC0\xAF", "\xED\xA0\x80", "\xF4\x90\x80\x80", "\x80"})
        EXPECT_EQ(fnQuoteJson(broken).substr(0, 7), "\"\\ufffd") << broken;
    EXPECT_EQ(fnQuoteJson("\xF0\x9F\x96\xBC"), "\"\xF0\x9F\x96\xBC\"");
}

TEST_F(ToolTextTest, InfoDescribesForPeople) {
    fnMake("in.png", 20, 10, 8);
    ASSERT_EQ(fnRun({"info", "in.png"}), 0) << m_Errors;
    EXPECT_EQ(m_Said.find("in.png: PNG, 20 x 10 pixels, 8 bits of grey, "), 0U) << m_Said;
}

TEST_F(ToolTextTest, TheRecipesOfThePageWork) {
    fnMake("photo.jpg", 300, 200, 24, 1);
    fnMake("scan.tif", 100, 150, 24, 2);
    fnMake("logo.png", 40, 20, 32, 3);
    fnMake("holiday-1.jpg", 300, 200, 24, 4);
    fnMake("holiday-2.jpg", 200, 300, 24, 5);
    std::filesystem::create_directory(fnPath("thumbnails"));
    std::ifstream page(Q32_TOOL_PAGE);
    int recipes = 0;
    for (std::string line; std::getline(page, line);) {
        if (!line.starts_with("    q32 ") && !line.starts_with("    for "))
            continue;
        ++recipes;
        EXPECT_EQ(fnShell(line.substr(4)), 0) << line << '\n' << m_Errors;
    }
    EXPECT_GE(recipes, 10);
    for (const char* example : fnGetExamples())
        EXPECT_EQ(std::string(example).substr(0, 4), "q32 ");
}

TEST(ToolValuesTest, ParsesOnlyEntireWords) {
    EXPECT_EQ(fnParseBytes("512M"), std::uint64_t{512} << 20);
    EXPECT_EQ(fnParseBytes("3"), 3U);
    EXPECT_EQ(fnParseBytes("16777215T"), std::uint64_t{16777215} << 40);
    for (const char* wrong : {"", "M", "1.5G", "-1M", "0", "16777216T", "1MB", " 1"})
        EXPECT_FALSE(fnParseBytes(wrong)) << wrong;
    EXPECT_EQ(fnParseColor("#0a1")->m_Green, 0xAA);
    EXPECT_EQ(fnParseColor("#01020304")->m_Alpha, 4);
    for (const char* wrong :
         {"", "#", "#12", "#12345", "#1234567", "#ggg", "red", "#-12345", "0a1"})
        EXPECT_FALSE(fnParseColor(wrong)) << wrong;
    EXPECT_EQ(fnParseSize("12x")->m_nWidth, 12U);
    EXPECT_EQ(fnParseSize("x12")->m_nHeight, 12U);
    EXPECT_EQ(fnParseSize("12.5%")->m_fPercent, 12.5);
    for (const char* wrong : {"", "x", "12", "0x5", "-1x5", "5x-1", "1.5x2", "0%", "-1%", "%",
                              "1x2x3", "99999999999x1", "1e9%"})
        EXPECT_FALSE(fnParseSize(wrong)) << wrong;
    EXPECT_EQ(fnParsePlace("-3,4")->m_nX, -3);
    for (const char* wrong : {"", ",", "1", "1,", ",1", "1,2,3", "1;2", "-2147483648,0"})
        EXPECT_FALSE(fnParsePlace(wrong)) << wrong;
    EXPECT_FALSE(fnParseNumber("inf"));
    EXPECT_FALSE(fnParseNumber("nan"));
    EXPECT_FALSE(fnParseNumber("1,5"));
    EXPECT_FALSE(fnParseInteger("2147483648"));
    EXPECT_FALSE(fnParseWeights("1,2,3,4,5,6,7,8"));
    EXPECT_FALSE(fnParseWeights("1,2,3,4,5,6,7,8,x"));
    EXPECT_EQ(fnParseWeights("1,2,3,4,5,6,7,8,-9")->size(), 9U);
}

} // namespace
