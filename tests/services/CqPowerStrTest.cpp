/// @file
/// Paths, segments and construction.

#include "tests/support/AttachedTest.h"
#include "tests/support/FailingAllocator.h"

#include <string>

namespace {

class PowerStr : public AttachedTest {
protected:
    static std::string fnPath(const char* path) {
        return fnSplit(&CqPowerStr::fnSplitPathName, path);
    }
    static std::string fnFile(const char* path) {
        return fnSplit(&CqPowerStr::fnSplitFileName, path);
    }
    static std::string fnTitle(const char* path) {
        return fnSplit(&CqPowerStr::fnSplitFileTitle, path);
    }
    static std::string fnExt(const char* path) {
        return fnSplit(&CqPowerStr::fnSplitExtName, path);
    }
    static std::string fnRoot(const char* path) {
        return fnSplit(&CqPowerStr::fnSplitRootName, path);
    }
    static std::string fnFile(const std::string& path) { return fnFile(path.c_str()); }
    static std::string fnPath(const std::string& path) { return fnPath(path.c_str()); }
    static std::string fnTitle(const std::string& path) { return fnTitle(path.c_str()); }
    static std::string fnRoot(const std::string& path) { return fnRoot(path.c_str()); }

    static std::string fnSplit(void (CqPowerStr::*split)(const char*), const char* path) {
        CqPowerStr text("old content");
        (text.*split)(path);
        return std::string(text, static_cast<std::size_t>(text.GetLength()));
    }
    /// The complete content with its embedded zeros.
    static std::string fnBytes(const CqPowerStr& text) {
        return std::string(text, static_cast<std::size_t>(text.GetLength()));
    }
    static const char* fnEntry(std::uintptr_t number) {
        return reinterpret_cast<const char*>(number);
    }
};

std::string fnTimes(std::size_t count, char c) {
    return std::string(count, c);
}

} // namespace

TEST_F(PowerStr, APathIsSplitIntoItsParts) {
    struct Case {
        const char *m_szPath, *m_szDirectory, *m_szFile, *m_szTitle, *m_szExt, *m_szRoot;
    };
    const Case cases[] = {
        {"C:\\dir\\a.b.txt", "C:\\dir\\", "a.b.txt", "a", "txt", "C:\\"},
        {"a.txt", "", "a.txt", "", "txt", ""},
        {"C:\\", "C:\\", "", "", "", "C:\\"},
        {"C:\\x.y\\name", "C:\\x.y\\", "name", "name", "y\\name", "C:\\"},
        {"\\\\server\\share\\f", "\\\\server\\share\\", "f", "f", "", "\\\\server\\"},
        {"\\\\server", "\\\\", "server", "server", "", ""},
        {"\\\\", "\\\\", "", "", "", ""},
        {"\\", "\\", "", "", "", "\\"},
        {"C:\\dir\\.hidden", "C:\\dir\\", ".hidden", "", "hidden", "C:\\"},
        {"C:\\dir\\name.", "C:\\dir\\", "name.", "name", "", "C:\\"},
        {"/srv/scratch\\f.bmp", "/srv/scratch\\", "f.bmp", "f", "bmp", "/srv/scratch\\"},
        {"a/b", "", "a/b", "", "", ""},
        {"", "", "", "", "", ""},
        {nullptr, "", "", "", "", ""},
    };
    for (const Case& c : cases) {
        const std::string what = c.m_szPath ? c.m_szPath : "(null)";
        EXPECT_EQ(fnPath(c.m_szPath), c.m_szDirectory) << what;
        EXPECT_EQ(fnFile(c.m_szPath), c.m_szFile) << what;
        EXPECT_EQ(fnTitle(c.m_szPath), c.m_szTitle) << what;
        EXPECT_EQ(fnExt(c.m_szPath), c.m_szExt) << what;
        EXPECT_EQ(fnRoot(c.m_szPath), c.m_szRoot) << what;
    }
}

TEST_F(PowerStr, ALongPathIsTruncatedTo519BytesBeforeItsDirectoryIsSought) {
    const std::string path = "C:\\" + fnTimes(400, 'a') + "\\" + fnTimes(200, 'b') + "\\c";
    EXPECT_EQ(fnPath(path), "C:\\" + fnTimes(400, 'a') + "\\");
    EXPECT_EQ(fnPath(fnTimes(518, 'a') + "\\b"), fnTimes(518, 'a') + "\\");
    EXPECT_EQ(fnPath(fnTimes(519, 'a') + "\\b"), "");
}

TEST_F(PowerStr, ATitleAndARootReadOnly259Bytes) {
    EXPECT_EQ(fnTitle("C:\\" + fnTimes(300, 'a')), fnTimes(256, 'a'));
    EXPECT_EQ(fnTitle(fnTimes(258, 'a') + "\\b"), "");
    EXPECT_EQ(fnTitle("C:\\" + fnTimes(255, 'a') + ".txt"), fnTimes(255, 'a'));
    EXPECT_EQ(fnTitle("C:\\" + fnTimes(250, 'a') + "\\bcdefgh"), "bcdef") << "253 bytes lead";
    EXPECT_EQ(fnTitle(fnTimes(259, 'a') + "\\b"), "");
    EXPECT_EQ(fnRoot(fnTimes(258, 'a') + "\\b"), fnTimes(258, 'a') + "\\");
    EXPECT_EQ(fnRoot(fnTimes(259, 'a') + "\\b"), "");
}

TEST_F(PowerStr, AFileNameAndAnExtensionHaveNoLimit) {
    EXPECT_EQ(fnFile("C:\\" + fnTimes(5000, 'a')), fnTimes(5000, 'a'));
    EXPECT_EQ(fnExt((fnTimes(5000, 'a') + "." + fnTimes(5000, 'b')).c_str()), fnTimes(5000, 'b'));
}

TEST_F(PowerStr, ATrailByteIsNotASeparatorInADoubleByteCodePage) {
    // 83 5C is one character of code page 932; 5C alone is the backslash.
    const std::string so = "\x83\x5c";
    const std::string path = "C:\\" + so + "x\\" + so + "." + so + "t";
    m_World->m_pLocale->fnSetCodePage(932);
    EXPECT_EQ(fnPath(path), "C:\\" + so + "x\\");
    EXPECT_EQ(fnFile(path), so + "." + so + "t");
    EXPECT_EQ(fnTitle(path), so);
    EXPECT_EQ(fnExt(path.c_str()), so + "t");
    EXPECT_EQ(fnRoot(so + "\\a"), so + "\\");
    m_World->m_pLocale->fnSetCodePage(1252);
    EXPECT_EQ(fnFile(path), "t") << "here the same byte is a backslash";
    EXPECT_EQ(fnRoot(so + "\\a"), so);
}

TEST_F(PowerStr, Utf8PathsAreSplitBetweenCharacters) {
    m_World->m_pLocale->fnSetCodePage(65001);
    const std::string path = "C:\\Bücher\\größe.ext\xC3";
    EXPECT_EQ(fnPath(path), "C:\\Bücher\\");
    EXPECT_EQ(fnTitle(path), "größe");
    EXPECT_EQ(fnExt(path.c_str()), "ext\xC3") << "a byte that begins no character stands alone";
    EXPECT_EQ(fnFile("\xE3\\a"), "a") << "an unfinished character ends ahead of the backslash";
}

TEST_F(PowerStr, TruncationSplitsNoCharacter) {
    m_World->m_pLocale->fnSetCodePage(932);
    const std::string so = "\x83\x5c";
    // 258 bytes, then a character across the limit.
    EXPECT_EQ(fnTitle("C:\\" + fnTimes(255, 'a') + so + "b"), fnTimes(255, 'a'));
    EXPECT_EQ(fnTitle("C:\\" + fnTimes(254, 'a') + so + "b"), fnTimes(254, 'a') + so);
    m_World->m_pLocale->fnSetCodePage(65001);
    EXPECT_EQ(fnTitle("C:\\" + fnTimes(254, 'a') + "€"), fnTimes(254, 'a'));
}

TEST_F(PowerStr, AStringMayBeSplitIntoItself) {
    CqPowerStr text("C:\\dir\\a.b.txt");
    const CqPowerStr copy(text);
    text.fnSplitFileName(text);
    EXPECT_STREQ(text, "a.b.txt");
    text.fnSplitExtName(text);
    EXPECT_STREQ(text, "txt");
    text = copy;
    text.fnSplitPathName(text);
    EXPECT_STREQ(text, "C:\\dir\\");
    text.fnSplitRootName(text);
    EXPECT_STREQ(text, "C:\\");
    text = copy;
    text.fnSplitFileTitle(text);
    EXPECT_STREQ(text, "a");
    EXPECT_STREQ(copy, "C:\\dir\\a.b.txt");
}

TEST_F(PowerStr, OneBackslashIsAppendedAtMost) {
    CqPowerStr text;
    text.fnAppendSlash();
    EXPECT_STREQ(text, "\\");
    text = "C:";
    text.fnAppendSlash();
    text.fnAppendSlash();
    EXPECT_STREQ(text, "C:\\");
    m_World->m_pLocale->fnSetCodePage(932);
    text = "C:\\\x83\x5c";
    text.fnAppendSlash();
    EXPECT_STREQ(text, "C:\\\x83\x5c\\");
}

TEST_F(PowerStr, RemovingABackslashLeavesTheLength) {
    CqPowerStr text("C:\\dir\\");
    text.fnRemoveSlash();
    EXPECT_STREQ(text, "C:\\dir");
    EXPECT_EQ(text.GetLength(), 7);
    text.fnRemoveSlash();
    EXPECT_STREQ(text, "C:\\dir");
}

TEST_F(PowerStr, RemovingABackslashChangesTheCopiesToo) {
    CqPowerStr text("C:\\dir\\");
    const CqPowerStr copy(text);
    const CString other(text);
    text.fnRemoveSlash();
    EXPECT_STREQ(copy, "C:\\dir");
    EXPECT_STREQ(other, "C:\\dir");
    EXPECT_EQ(other.GetLength(), 7);
}

TEST_F(PowerStr, OnlyATrailingBackslashIsRemoved) {
    for (const char* path : {"", "C:\\dir", "a/"}) {
        CqPowerStr text(path);
        text.fnRemoveSlash();
        EXPECT_STREQ(text, path);
    }
    CqPowerStr two("a\\\\");
    two.fnRemoveSlash();
    EXPECT_STREQ(two, "a\\");
    m_World->m_pLocale->fnSetCodePage(932);
    CqPowerStr trail("C:\\\x83\x5c");
    trail.fnRemoveSlash();
    EXPECT_STREQ(trail, "C:\\\x83\x5c");
}

TEST_F(PowerStr, ARemovedBackslashCanBePutBack) {
    CqPowerStr text("C:\\dir\\");
    const CqPowerStr copy(text);
    text.fnRemoveSlash();
    text.fnAppendSlash();
    EXPECT_STREQ(text, "C:\\dir\\");
    EXPECT_EQ(text.GetLength(), 7);
    EXPECT_STREQ(copy, "C:\\dir") << "the copies keep what they have";
}

TEST_F(PowerStr, ABackslashIsPutBackAlsoWhereSeveralWereRemoved) {
    CqPowerStr text("C:\\dir\\\\\\");
    for (int i = 0; i < 3; ++i)
        text.fnRemoveSlash();
    EXPECT_STREQ(text, "C:\\dir");
    EXPECT_EQ(text.GetLength(), 9);
    text.fnAppendSlash();
    EXPECT_STREQ(text, "C:\\dir\\");
    EXPECT_EQ(text.GetLength(), 7);
    text = "\\\\";
    text.fnRemoveSlash();
    text.fnRemoveSlash();
    EXPECT_STREQ(text, "");
    text.fnAppendSlash();
    EXPECT_STREQ(text, "\\");
}

TEST_F(PowerStr, SegmentsMakeTheFilterOfAFileDialog) {
    CqPowerStr filter;
    filter.fnSegmentConcat("Plain Text File (txt)");
    EXPECT_EQ(filter.GetLength(), 21);
    EXPECT_EQ(filter.GetAllocLength(), 22);
    filter.fnSegmentConcat("*.txt");
    filter.fnSegmentConcat(nullptr);
    const char bytes[] = "Plain Text File (txt)\0*.txt\0";
    EXPECT_EQ(std::string(filter, 29), std::string(bytes, sizeof(bytes))) << "ended by two zeros";
    EXPECT_EQ(filter.GetLength(), 28);
    EXPECT_EQ(filter.GetAllocLength(), 29);
}

TEST_F(PowerStr, NoSegmentAtAllIsAnEmptyList) {
    CqPowerStr filter;
    filter.fnSegmentConcat(nullptr);
    EXPECT_EQ(filter.GetLength(), 0);
    EXPECT_EQ(filter.GetAllocLength(), 1);
    EXPECT_EQ(std::string(filter, 2), std::string(2, '\0'));
}

TEST_F(PowerStr, ASegmentIsAppendedAfterTheSpareCapacity) {
    CqPowerStr text("abcdef");
    text.GetBuffer(0)[3] = 0;
    text.ReleaseBuffer();
    ASSERT_EQ(text.GetAllocLength(), 6);
    text.fnSegmentConcat("x");
    EXPECT_EQ(text.GetLength(), 7);
    EXPECT_EQ(fnBytes(text), std::string("abc\0efx", 7));
}

TEST_F(PowerStr, AddingASegmentLeavesASharedStringUnchanged) {
    CqPowerStr text;
    text.fnSegmentConcat("one");
    const CqPowerStr copy(text);
    text.fnSegmentConcat(text);
    EXPECT_EQ(fnBytes(text), std::string("one\0one", 7));
    EXPECT_EQ(fnBytes(copy), "one");
}

TEST_F(PowerStr, ANumberInsteadOfATextLoadsThatEntry) {
    EXPECT_STREQ(CqPowerStr(fnEntry(105)), "~qd");
    m_World->m_pResources->fnAddString(m_World->m_pResources->fnGetHostModule(), 4000,
                                       "the host's own");
    EXPECT_STREQ(CqPowerStr(fnEntry(4000)), "the host's own");
    EXPECT_STREQ(CqPowerStr(fnEntry(0xFFFF)), "") << "no such entry";
    EXPECT_STREQ(CqPowerStr(nullptr), "");
}

TEST_F(PowerStr, AssignmentCopiesTextsAndNull) {
    CqPowerStr text("abc");
    const CqPowerStr shared(text);
    text = "longer than that";
    EXPECT_STREQ(text, "longer than that");
    EXPECT_STREQ(shared, "abc") << "a shared block is not written to";
    text = static_cast<const char*>(nullptr);
    EXPECT_TRUE(text.IsEmpty());
    text = shared;
    EXPECT_STREQ(text, "abc");
    EXPECT_EQ(static_cast<const char*>(text), static_cast<const char*>(shared)) << "one block";
}

TEST_F(PowerStr, WithoutMemoryAStringKeepsItsContent) {
    const struct {
        const char* m_szName;
        void (*m_pRun)(CqPowerStr&);
    } operations[] = {
        {"path", [](CqPowerStr& text) { text.fnSplitPathName("C:\\a long directory\\f"); }},
        {"file", [](CqPowerStr& text) { text.fnSplitFileName("C:\\a long file name"); }},
        {"title", [](CqPowerStr& text) { text.fnSplitFileTitle("C:\\a long file name"); }},
        {"ext", [](CqPowerStr& text) { text.fnSplitExtName("C:\\a.long extension"); }},
        {"root", [](CqPowerStr& text) { text.fnSplitRootName("/srv/scratch\\name"); }},
        {"append", [](CqPowerStr& text) { text.fnAppendSlash(); }},
        {"segment", [](CqPowerStr& text) { text.fnSegmentConcat("x"); }},
        {"assign", [](CqPowerStr& text) { text = "quite long"; }},
    };
    for (const auto& operation : operations) {
        CqPowerStr text("old");
        const CqPowerStr shared(text);
        CqAllocationFailure failure(1);
        EXPECT_TRUE(fnRaisesMemoryException([&] { operation.m_pRun(text); })) << operation.m_szName;
        failure.fnEnd();
        EXPECT_STREQ(text, "old") << operation.m_szName;
        EXPECT_STREQ(shared, "old") << operation.m_szName;
    }
}

TEST_F(PowerStr, SplitsAllocateOnlyForTheResult) {
    CqPowerStr text("with room for all results");
    const std::size_t before = CqAllocationFailure::fnCount();
    text.fnSplitPathName("C:\\dir\\a.txt");
    text.fnSplitFileName("C:\\dir\\a.txt");
    text.fnSplitFileTitle("C:\\dir\\a.txt");
    text.fnSplitExtName("C:\\dir\\a.txt");
    EXPECT_EQ(CqAllocationFailure::fnCount(), before);
}

TEST(PowerStrAlone, PathsWorkWithoutAnAttachedLibrary) {
    CqPowerStr text;
    text.fnSplitFileName("C:\\dir\\a.txt");
    EXPECT_STREQ(text, "a.txt");
    text.fnDiskSpace("C:\\", true);
    EXPECT_STREQ(text, "0 KB");
    text.fnDiskSpaceRatio("C:\\", true);
    EXPECT_STREQ(text, "0%");
    text.fnFileSize("C:\\a.txt");
    EXPECT_STREQ(text, "0 KB");
    text.fnFileDateTime("C:\\a.txt", true, true);
    text.fnDateTimeString(CTime(0), true, true);
    text.fnDateTimeString(SYSTEMTIME{2000, 1, 6, 1, 0, 0, 0, 0}, true, true);
    EXPECT_STREQ(text, "0 KB") << "dates leave the string as it was";
    EXPECT_STREQ(CqPowerStr(reinterpret_cast<const char*>(std::uintptr_t{105})), "~qd");
    EXPECT_STREQ(CqPowerStr(reinterpret_cast<const char*>(std::uintptr_t{4000})), "");
}
