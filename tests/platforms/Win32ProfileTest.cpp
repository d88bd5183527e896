/// @file The rules of the settings file beside the system's own calls for such files.

#include "q32Base/settings/ProfileFile_p.h"
#include "tests/platforms/Win32TestTools.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace q32::test;

namespace {

/// What the system's calls and the library's rules make of the same file.
struct Both {
    std::string m_szSystem;
    std::string m_szLibrary;
};

/// An edit of a file. Without a value the key is removed, without a key the section.
struct Edit {
    const char* m_szSection;
    const char* m_szKey;
    const char* m_szValue;
};

class Win32Profile : public testing::Test {
protected:
    Both fnRead(const std::string& file, const char* section = "a", const char* key = "k",
                std::size_t size = 64, const char* fallback = "none") const {
        fnPut(file);
        char system[64] = "untouched";
        char library[64] = "untouched";
        const DWORD length = ::GetPrivateProfileStringA(section, key, fallback, system,
                                                        static_cast<DWORD>(size), m_szPath.c_str());
        const std::size_t own =
            q32::fnReadProfileString(file, section, key, fallback, library, size);
        return {std::to_string(length) + ": " + system, std::to_string(own) + ": " + library};
    }
    void fnExpectSameRead(const std::string& file, const char* section = "a", const char* key = "k",
                          std::size_t size = 64, const char* fallback = "none") const {
        const Both answers = fnRead(file, section, key, size, fallback);
        EXPECT_EQ(answers.m_szLibrary, answers.m_szSystem)
            << testing::PrintToString(file) << ", [" << section << "] " << key << ", " << size
            << " bytes, fallback \"" << fallback << '"';
    }
    /// The whole file after an edit.
    Both fnWrite(const std::string& file, const Edit& edit) const {
        fnPut(file);
        EXPECT_TRUE(::WritePrivateProfileStringA(edit.m_szSection, edit.m_szKey, edit.m_szValue,
                                                 m_szPath.c_str()));
        std::string text = file;
        if (!edit.m_szKey)
            q32::fnDeleteProfileSection(text, edit.m_szSection);
        else if (!edit.m_szValue)
            q32::fnDeleteProfileKey(text, edit.m_szSection, edit.m_szKey);
        else
            q32::fnWriteProfileString(text, edit.m_szSection, edit.m_szKey, edit.m_szValue);
        return {fnReadFile(m_Folder.fnWide(L"a.cfg")), text};
    }

private:
    void fnPut(const std::string& file) const {
        fnWriteFile(m_Folder.fnWide(L"a.cfg"), file);
        ::WritePrivateProfileStringA(nullptr, nullptr, nullptr, m_szPath.c_str()); // read it again
    }

    const Folder m_Folder;
    const std::string m_szPath = m_Folder.fnPath("a.cfg");
};

TEST_F(Win32Profile, TheSystemReadsEveryFormOfALineAsTheLibraryDoes) {
    const char* const files[] = {
        "",
        "[a]\r\nk=v\r\n",
        "[A]\nK=v",
        "[a]\rk=v",
        "  [ a ]  \r\n\t k \t=\t v w \t\r\n",
        "[a]\r\nk=\r\n",
        "[a]\r\nk\r\n",
        "[a]\r\nk=1=2\r\n",
        "[a]\r\nk=\"v\"\r\n",
        "[a]\r\nk='v'\r\n",
        "[a]\r\nk=\"v'\r\n",
        "[a]\r\nk=\"\r\n",
        "[a]\r\nk=\" v \"\r\n",
        "[a]\r\n;k=c\r\nk=v\r\n",
        "[a]\r\nk=v ; c\r\n",
        "[a]\r\nk=v\r\nk=w\r\n",
        "[a]\r\nx=1\r\n[a]\r\nk=v\r\n",
        "[a]b]\r\nk=v\r\n[a]\r\nk=w\r\n",
        "[a] text\r\nk=v\r\n",
        "[a\r\nk=v\r\n",
        "k=v\r\n",
        "x[a]\r\nk=v\r\n",
        "[a]\r\n[b]\r\nk=v\r\n",
        "[a]\r\nk=v\x1a\r\n",
        "[a]\r\n\x1a\r\nk=v\r\n",
        "[a]\r\n=v\r\nk=w",
        "[a]\r\n\r\n\r\nk=v\r\n",
        "\xEF\xBB\xBF[a]\r\nk=v\r\n",
    };
    for (const char* file : files)
        fnExpectSameRead(file);
    const std::string withNul("[a]\r\nk=v\0w\r\nl=x\r\n", 18);
    fnExpectSameRead(withNul);
    fnExpectSameRead(withNul, "a", "l");
    fnExpectSameRead("[a]\r\nk=v\r\n", " A ", " K ");
}

TEST_F(Win32Profile, TheSystemTruncatesAValueAsTheLibraryDoes) {
    for (const char* value : {"abcd", "\"abcd\"", "'ab'", "\"\""})
        for (std::size_t size = 0; size < 9; ++size)
            fnExpectSameRead(std::string("[a]\r\nk=") + value + "\r\n", "a", "k", size);
    for (const char* fallback : {"", " ", " x ", "x  ", "\"x\"", "\"x\" "})
        fnExpectSameRead("[a]\r\n", "a", "k", 64, fallback);
}

const std::vector<std::string> kFiles = {
    "",
    "[a]\r\n",
    "[a]\r\nk=v\r\n",
    "[a]\r\nK = v\r\n",
    "; c\r\n[a]\r\nk=v ; d\r\n\r\n[b]\r\nx=1\r\n",
    "[a]\nx=1\n",
    "[a]\r\nx=1",
    "[a]\r\n\r\n\r\n[b]\r\nx = 1 \r\n",
    "text\r\n[a]\r\n",
    "[A]\r\nk=v\r\nk=w\r\n",
    "[a]\rx=1\r",
    "\xEF\xBB\xBF[a]\r\n",
    "  [a] t\r\n  x  =  1\r\n",
};

TEST_F(Win32Profile, WhatOneWritesTheOtherReads) {
    const Edit edits[] = {{"a", "k", "new"},   {"a", "k", " new "},    {"a", "k", ""},
                          {"a", "k", "\"q\""}, {"a", "k", nullptr},    {"a", "x", "2"},
                          {"c", "k", "new"},   {"a", nullptr, nullptr}};
    for (const std::string& file : kFiles)
        for (const Edit& edit : edits) {
            SCOPED_TRACE(testing::PrintToString(file) + (edit.m_szValue ? edit.m_szValue : ""));
            const Both written = fnWrite(file, edit);
            for (const char* section : {"a", "b", "c"})
                for (const char* key : {"k", "x"}) {
                    fnExpectSameRead(written.m_szLibrary, section, key);
                    fnExpectSameRead(written.m_szSystem, section, key);
                    EXPECT_EQ(fnRead(written.m_szLibrary, section, key).m_szLibrary,
                              fnRead(written.m_szSystem, section, key).m_szLibrary)
                        << "the same value by both";
                }
        }
}

// The differences, as docs/windows.md lists them.

TEST_F(Win32Profile, WineWritesTheWholeFileInItsOwnForm) {
    const Edit edit{"a", "k", "new"};
    const Both blanks = fnWrite("[a]\r\nx = 1\r\n\r\n[b]\r\n  y=2\r\n", edit);
    EXPECT_EQ(blanks.m_szLibrary, "[a]\r\nx = 1\r\nk=new\r\n\r\n[b]\r\n  y=2\r\n");
    EXPECT_EQ(blanks.m_szSystem, "[a]\r\nx=1\r\nk=new\r\n[b]\r\ny=2\r\n");
    const Both ends = fnWrite("[a] text\nx=1\n", edit);
    EXPECT_EQ(ends.m_szLibrary, "[a] text\nx=1\nk=new\n");
    EXPECT_EQ(ends.m_szSystem, "[a]\r\nx=1\r\nk=new\r\n");
}

TEST_F(Win32Profile, OnlyTheSystemReadsUtf16) {
    const Both answers = fnRead(std::string("\xFF\xFE[\0a\0]\0\r\0\n\0k\0=\0v\0", 18));
    EXPECT_EQ(answers.m_szSystem, "1: v");
    EXPECT_EQ(answers.m_szLibrary, "4: none");
}

TEST_F(Win32Profile, OnlyWineTakesAVerticalTabForABlank) {
    const Both answers = fnRead("[a]\r\nk=\vv\r\n");
    EXPECT_EQ(answers.m_szSystem, "1: v");
    EXPECT_EQ(answers.m_szLibrary, "2: \vv");
}

} // namespace
