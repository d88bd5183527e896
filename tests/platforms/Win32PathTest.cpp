#include "platforms/win32/FileTime_p.h"
#include "platforms/win32/Path_p.h"
#include "tests/platforms/Win32TestTools.h"

#include <gtest/gtest.h>

using namespace q32::win32;

namespace {

const CodePage kUtf8(CP_UTF8);
const CodePage kWestern(1252);
const CodePage kJapanese(932);

} // namespace

TEST(Win32Path, APathBecomesAbsolute) {
    EXPECT_EQ(fnNativePath(kUtf8, "C:\\a\\b.txt"), L"C:\\a\\b.txt");
    EXPECT_EQ(fnNativePath(kUtf8, "C:/a/./c/../b.txt"), L"C:\\a\\b.txt");
    EXPECT_EQ(fnNativePath(kUtf8, "C:\\a\\"), L"C:\\a\\");
    const std::wstring relative = fnNativePath(kUtf8, "b.txt");
    EXPECT_TRUE(relative.ends_with(L"\\b.txt"));
    EXPECT_GT(relative.size(), 6u);
}

TEST(Win32Path, ALongPathGetsThePrefixThatLiftsTheLimit) {
    const std::string name(196, 'x');
    const std::wstring wide(name.begin(), name.end());
    EXPECT_EQ(fnNativePath(kUtf8, "C:\\" + name), L"C:\\" + wide);
    EXPECT_EQ(fnNativePath(kUtf8, "C:\\abc/" + name), L"\\\\?\\C:\\abc\\" + wide);
    EXPECT_EQ(fnNativePath(kUtf8, "\\\\server\\share\\" + name),
              L"\\\\?\\UNC\\server\\share\\" + wide);
    EXPECT_EQ(fnNativePath(kUtf8, "\\\\?\\C:\\abc\\" + name), L"\\\\?\\C:\\abc\\" + wide);
}

TEST(Win32Path, WhatIsAppendedToAPathWithoutThePrefixStaysBelowTheLimit) {
    for (std::size_t length = 150; length < 300; ++length) {
        const std::wstring path = fnNativePath(kUtf8, "C:\\" + std::string(length - 4, 'x') + '\\');
        const bool hasPrefix = path.starts_with(L"\\\\?\\");
        EXPECT_EQ(fnPlainPath(path), L"C:\\" + std::wstring(length - 4, L'x') + L'\\') << length;
        EXPECT_TRUE(hasPrefix || length + kMaxAppended + 12 < MAX_PATH) << length;
        EXPECT_EQ(hasPrefix, length >= kMinLongPath) << length;
    }
    EXPECT_EQ(fnPlainPath(L"\\\\?\\UNC\\server\\share\\a"), L"\\\\server\\share\\a");
    EXPECT_EQ(fnPlainPath(L"\\\\server\\share\\a"), L"\\\\server\\share\\a");
}

TEST(Win32Path, WhatIsNoTextOfTheCodePageIsNoPath) {
    EXPECT_EQ(fnNativePath(kUtf8, "C:\\\xC3\xA4"), L"C:\\\u00E4");
    EXPECT_EQ(fnNativePath(kUtf8, "C:\\\xE4"), L"");
    EXPECT_EQ(::GetLastError(), DWORD{ERROR_NO_UNICODE_TRANSLATION});
    EXPECT_EQ(fnNativePath(kWestern, "C:\\\xE4"), L"C:\\\u00E4");
    EXPECT_EQ(fnNativePath(kUtf8, ""), L"");
    EXPECT_EQ(fnNativePath(kUtf8, "C:\\" + std::string(40'000, 'x')), L"");
    EXPECT_EQ(::GetLastError(), DWORD{ERROR_FILENAME_EXCED_RANGE});
}

TEST(Win32Path, ABackslashByteInsideACharacterIsNoSeparator) {
    EXPECT_EQ(fnNativePath(kJapanese, "C:\\\x83\x5C"), L"C:\\\u30BD");
}

TEST(Win32Path, APathInTheLibrarysFormHasEveryCharacterOrIsNone) {
    std::string path = "before";
    EXPECT_TRUE(fnLibraryPath(kUtf8, L"C:\\\u30BD", path));
    EXPECT_EQ(path, "C:\\\xE3\x82\xBD");
    EXPECT_TRUE(fnLibraryPath(kUtf8, L"\\\\?\\C:\\a", path));
    EXPECT_EQ(path, "C:\\a");
    EXPECT_FALSE(fnLibraryPath(kWestern, L"C:\\none such\\\u30BD", path));
    EXPECT_EQ(path, "C:\\a");
}

TEST(Win32Path, ADirectoryThatIsYetToBeMadeHasTheShortNamesOfTheOneThatHoldsIt) {
    const q32::test::Folder folder;
    ASSERT_TRUE(::CreateDirectoryW(folder.fnWide(L"\u30BD \u30BD").c_str(), nullptr));
    const std::wstring missing = folder.fnWide(L"\u30BD \u30BD\\q32Base\\");
    CqWin32Options options;
    options.m_nCodePage = 1252;
    ASSERT_TRUE(fnLibraryPath(kWestern, missing, options.m_szConfigDirectory));
    EXPECT_TRUE(options.m_szConfigDirectory.ends_with("\\q32Base\\"))
        << options.m_szConfigDirectory;
    const auto files = q32Win32Platform(q32Win32Windows(), options).m_pFiles;
    const std::string name = options.m_szConfigDirectory + "a.cfg";
    EXPECT_TRUE(files->fnUpdateText(name.c_str(), [](std::string& text) {
        text = "x";
        return true;
    }));
    EXPECT_EQ(q32::test::fnReadFile(missing + L"a.cfg"), "x");
}

TEST(Win32Path, AMaskMatchesWholeNamesWhateverTheirCase) {
    EXPECT_TRUE(fnMatches(L"~qd*.tmp", L"~QD12.TMP"));
    EXPECT_TRUE(fnMatches(L"*", L""));
    EXPECT_TRUE(fnMatches(L"a*b*c", L"aXbYbZc"));
    EXPECT_FALSE(fnMatches(L"a*b*c", L"aXbYbZ"));
    EXPECT_TRUE(fnMatches(L"?.x", L"\u00C4.X"));
    EXPECT_FALSE(fnMatches(L"a?.x", L"a.x"));
    EXPECT_FALSE(fnMatches(L"*.tmp", L"a.tmpfile"));
    EXPECT_FALSE(fnMatches(L"", L"a"));
}

TEST(Win32Path, APathIsSplitBehindItsLastSeparator) {
    EXPECT_EQ(fnSplitPath(L"C:\\a/b").m_szDirectory, L"C:\\a/");
    EXPECT_EQ(fnSplitPath(L"C:\\a/b").m_szName, L"b");
    EXPECT_EQ(fnSplitPath(L"b").m_szDirectory, L"");
}

TEST(Win32CodePage, CharactersHaveTheBytesOfTheirCodePage) {
    EXPECT_EQ(kWestern.fnGetCharBytes("\xE4\xB6", 2), 1u);
    EXPECT_EQ(kJapanese.fnGetCharBytes("\x83\x5C", 2), 2u);
    EXPECT_EQ(kJapanese.fnGetCharBytes("\x83", 1), 1u) << "cut";
    EXPECT_EQ(kJapanese.fnGetCharBytes("\xB1\x5C", 2), 1u) << "a letter of one byte";
    EXPECT_EQ(kUtf8.fnGetCharBytes("\xC3\xA4", 2), 2u);
    EXPECT_EQ(kUtf8.fnGetCharBytes("\xE3\x82\xBD", 3), 3u);
    EXPECT_EQ(kUtf8.fnGetCharBytes("\xF0\x9F\x98\x80", 4), 4u);
    EXPECT_EQ(kUtf8.fnGetCharBytes("\xF0\x9F\x98\x80", 3), 1u) << "cut";
    EXPECT_EQ(kUtf8.fnGetCharBytes("\xC3\x41", 2), 1u) << "no second byte";
    EXPECT_EQ(kUtf8.fnGetCharBytes("\xED\xA0\x80", 3), 1u) << "half of a pair";
}

TEST(Win32CodePage, AnUnknownNumberGivesTheProcesssOwn) {
    EXPECT_EQ(CodePage(4711).fnGetNumber(), ::GetACP());
    EXPECT_EQ(CodePage().fnGetNumber(), ::GetACP());
    EXPECT_EQ(kJapanese.fnGetNumber(), 932u);
    CPINFO info;
    ASSERT_TRUE(::GetCPInfo(CP_UTF7, &info));
    for (const UINT page : {UINT{CP_UTF7}, 54936u, 50220u, 52936u})
        EXPECT_EQ(CodePage(page).fnGetNumber(), ::GetACP()) << page << ", with longer characters";
}

TEST(Win32CodePage, TextsAreConvertedExactlyOrNotAtAll) {
    std::string text = "before";
    EXPECT_TRUE(kWestern.fnFromWide(L"\u00E4\u20AC", text));
    EXPECT_EQ(text, "\xE4\x80");
    EXPECT_FALSE(kWestern.fnFromWide(L"\u30BD", text));
    EXPECT_FALSE(kWestern.fnFromWide(L"\u0100", text)) << "resembles A, but is none";
    EXPECT_EQ(text, "\xE4\x80");
    EXPECT_TRUE(kUtf8.fnFromWide(L"", text));
    EXPECT_EQ(text, "");
    EXPECT_FALSE(kUtf8.fnFromWide(std::wstring(1, wchar_t{0xD800}), text));
    EXPECT_EQ(kUtf8.fnToWideAnyhow("a\xC3\xA4"), L"a\u00E4");
    EXPECT_EQ(kUtf8.fnToWideAnyhow(""), L"");
    EXPECT_EQ(kWestern.fnFromWideAnyhow(L"a\u30BD"), "a?");
}

TEST(Win32FileTime, SecondsSince1970AreUnitsSince1601) {
    FILETIME time{};
    ASSERT_TRUE(fnToFileTime(0, time));
    EXPECT_EQ(time.dwHighDateTime, 0x019DB1DEu);
    EXPECT_EQ(time.dwLowDateTime, 0xD53E8000u);
    for (const std::int64_t seconds : {-11'644'473'600ll, -1ll, 0ll, 1'000'000'000ll}) {
        ASSERT_TRUE(fnToFileTime(seconds, time));
        EXPECT_EQ(fnFromFileTime(time), seconds);
    }
    EXPECT_FALSE(fnToFileTime(-11'644'473'601, time));
    EXPECT_FALSE(fnToFileTime(INT64_MAX, time));
}
