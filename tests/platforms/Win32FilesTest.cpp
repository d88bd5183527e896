#include "tests/platforms/Win32TestTools.h"

#include <gtest/gtest.h>

#include <ctime>

using namespace q32::test;

namespace {

class Win32Files : public testing::Test {
protected:
    static std::shared_ptr<CqFileService> fnFiles(UINT codePage) {
        CqWin32Options options;
        options.m_nCodePage = codePage;
        return q32Win32Platform(q32Win32Windows(), options).m_pFiles;
    }
    static CQ_FILE_CAUSE fnOpenCause(CqFileService& files, const std::string& name,
                                     const CqFileMode& mode = {}) {
        CQ_FILE_CAUSE cause = FILE_CAUSE_NONE;
        const auto stream = files.fnOpen(name.c_str(), mode, cause);
        EXPECT_EQ(stream == nullptr, cause != FILE_CAUSE_NONE);
        return cause;
    }

    Folder m_Folder;
    std::shared_ptr<CqFileService> m_pFiles = fnFiles(CP_UTF8);
};

TEST_F(Win32Files, APathMayBeLongerThanTheSystemsUsualLimit) {
    std::string directory = m_Folder.fnPath();
    for (int level = 0; level < 5; ++level) {
        directory += std::string(99, static_cast<char>('a' + level)) + '\\';
        ASSERT_TRUE(m_pFiles->fnCreateDirectory(directory.c_str())) << level;
    }
    const std::string name = directory + "a.txt";
    EXPECT_EQ(fnOpenCause(*m_pFiles, name, {true, true, true}), FILE_CAUSE_NONE);
    EXPECT_TRUE(m_pFiles->fnExists(name.c_str()));
    EXPECT_EQ(m_pFiles->fnFind((directory + "*").c_str()), std::vector<std::string>{"a.txt"});
    CqDiskSpace space;
    EXPECT_TRUE(m_pFiles->fnGetSpace(directory.c_str(), space));
    const auto put = [](std::string& text) {
        text = "long";
        return true;
    };
    EXPECT_TRUE(m_pFiles->fnUpdateText(name.c_str(), put));
    std::string text;
    EXPECT_TRUE(m_pFiles->fnReadText(name.c_str(), text));
    EXPECT_EQ(text, "long");
    EXPECT_TRUE(m_pFiles->fnDelete(name.c_str()));
}

TEST_F(Win32Files, ANameMayHaveAnyCharacterThatTheCodePageHas) {
    const std::string name = m_Folder.fnPath("\xE3\x82\xBD\xC3\xA4"); // in UTF-8
    EXPECT_EQ(fnOpenCause(*m_pFiles, name, {true, true, true}), FILE_CAUSE_NONE);
    EXPECT_EQ(m_Folder.fnList(), std::vector<std::wstring>{L"\u30BD\u00E4"});
    EXPECT_TRUE(m_pFiles->fnDelete(name.c_str()));
}

TEST_F(Win32Files, AFileWhoseNameHasNoFormInTheCodePageIsNotFound) {
    fnWriteFile(m_Folder.fnWide(L"\u30BD.x"), "");
    fnWriteFile(m_Folder.fnWide(L"\u00E4.x"), "");
    const std::string mask = m_Folder.fnPath("*.x");
    EXPECT_EQ(m_pFiles->fnFind(mask.c_str()),
              (std::vector<std::string>{"\xC3\xA4.x", "\xE3\x82\xBD.x"}));
    EXPECT_EQ(fnFiles(1252)->fnFind(mask.c_str()), std::vector<std::string>{"\xE4.x"});
    EXPECT_EQ(fnFiles(932)->fnFind(mask.c_str()), std::vector<std::string>{"\x83\x5C.x"});
}

TEST_F(Win32Files, APathThatIsNoTextLeadsNowhere) {
    const std::string name = m_Folder.fnPath("\xFF");
    EXPECT_EQ(fnOpenCause(*m_pFiles, name, {true, true, true}), FILE_CAUSE_BAD_PATH);
    EXPECT_FALSE(m_pFiles->fnExists(name.c_str()));
    EXPECT_FALSE(m_pFiles->fnCreateDirectory(name.c_str()));
    EXPECT_FALSE(m_pFiles->fnDelete(name.c_str()));
    EXPECT_TRUE(m_pFiles->fnFind(name.c_str()).empty());
    CqFileInfo info;
    EXPECT_FALSE(m_pFiles->fnGetInfo(name.c_str(), false, info));
    CqDiskSpace space;
    EXPECT_FALSE(m_pFiles->fnGetSpace(name.c_str(), space));
    CqDiskClusters clusters;
    EXPECT_FALSE(m_pFiles->fnGetClusters(name.c_str(), clusters));
    CQ_FILE_CAUSE cause = FILE_CAUSE_NONE;
    EXPECT_EQ(m_pFiles->fnOpenReplacement(name.c_str(), cause), nullptr);
    EXPECT_EQ(cause, FILE_CAUSE_BAD_PATH);
    std::string text;
    EXPECT_FALSE(m_pFiles->fnReadText(name.c_str(), text));
    EXPECT_FALSE(m_pFiles->fnUpdateText(name.c_str(), [](std::string&) { return true; }));
    EXPECT_TRUE(m_Folder.fnList().empty());
}

TEST_F(Win32Files, DirectoriesAndDevicesAreNotOpened) {
    EXPECT_EQ(fnOpenCause(*m_pFiles, m_Folder.fnPath()), FILE_CAUSE_ACCESS_DENIED);
    EXPECT_EQ(fnOpenCause(*m_pFiles, "NUL", {true, true}), FILE_CAUSE_ACCESS_DENIED);
}

TEST_F(Win32Files, ARecreatedFileKeepsNothingOfTheOldOne) {
    fnWriteFile(m_Folder.fnWide(L"a"), "a long text");
    EXPECT_EQ(fnOpenCause(*m_pFiles, m_Folder.fnPath("a"), {true, true, true}), FILE_CAUSE_NONE);
    EXPECT_EQ(fnReadFile(m_Folder.fnWide(L"a")), "");
}

TEST_F(Win32Files, AnOpenFileIsNotDeleted) {
    CQ_FILE_CAUSE cause = FILE_CAUSE_NONE;
    const auto stream = m_pFiles->fnOpen(m_Folder.fnPath("a").c_str(), {true, true, true}, cause);
    ASSERT_NE(stream, nullptr);
    EXPECT_FALSE(m_pFiles->fnDelete(m_Folder.fnPath("a").c_str()));
    EXPECT_EQ(::GetLastError(), DWORD{ERROR_SHARING_VIOLATION});
    EXPECT_EQ(stream->fnClose(), FILE_CAUSE_NONE);
    EXPECT_TRUE(m_pFiles->fnDelete(m_Folder.fnPath("a").c_str()));
}

TEST_F(Win32Files, TheTimeOfAFileIsThatOfItsLastWrite) {
    fnWriteFile(m_Folder.fnWide(L"a"), "now");
    CqFileInfo info;
    ASSERT_TRUE(m_pFiles->fnGetInfo(m_Folder.fnPath("a").c_str(), false, info));
    EXPECT_LT(std::abs(info.m_nLastWrite - std::time(nullptr)), 60);
    EXPECT_FALSE(m_pFiles->fnGetInfo(m_Folder.fnPath().c_str(), false, info)) << "a directory";
}

TEST_F(Win32Files, SpaceIsThatOfTheDiskOfADirectoryOrAFile) {
    fnWriteFile(m_Folder.fnWide(L"a"), "");
    CqDiskSpace directory;
    CqDiskSpace file;
    ASSERT_TRUE(m_pFiles->fnGetSpace(m_Folder.fnPath().c_str(), directory));
    ASSERT_TRUE(m_pFiles->fnGetSpace(m_Folder.fnPath("a").c_str(), file));
    EXPECT_EQ(directory.m_nTotal, file.m_nTotal);
    EXPECT_FALSE(m_pFiles->fnGetSpace(m_Folder.fnPath("missing\\").c_str(), directory));
}

TEST_F(Win32Files, TheDirectoryOfTheSettingsIsMadeWhenTheyAreWritten) {
    CqWin32Options options;
    options.m_nCodePage = CP_UTF8;
    options.m_szConfigDirectory = m_Folder.fnPath("one\\\xC3\xA4");
    const auto files = q32Win32Platform(q32Win32Windows(), options).m_pFiles;
    std::string directory;
    ASSERT_TRUE(files->fnGetConfigDirectory(directory));
    EXPECT_EQ(directory, m_Folder.fnPath("one\\\xC3\xA4\\"));
    EXPECT_FALSE(files->fnExists(directory.c_str()));
    EXPECT_TRUE(files->fnUpdateText((directory + "a.cfg").c_str(), [](std::string& text) {
        text = "x";
        return true;
    }));
    EXPECT_EQ(fnReadFile(m_Folder.fnWide(L"one\\\u00E4\\a.cfg")), "x");
}

TEST_F(Win32Files, TheDirectoryOfTheSettingsMayHaveAnyLength) {
    for (const std::size_t length : {190, 195, 199, 200, 235, 240, 245, 247, 248, 255}) {
        SCOPED_TRACE(length);
        CqWin32Options options;
        options.m_nCodePage = CP_UTF8;
        options.m_szConfigDirectory = m_Folder.fnPath();
        ASSERT_LT(options.m_szConfigDirectory.size() + 2, length);
        options.m_szConfigDirectory.resize(length - 1, 'x');
        const auto files = q32Win32Platform(q32Win32Windows(), options).m_pFiles;
        const std::string name = options.m_szConfigDirectory + "\\Qkz.cfg";
        const auto put = [](std::string& text) {
            text = "x";
            return true;
        };
        EXPECT_TRUE(files->fnUpdateText(name.c_str(), put));
        std::string text;
        EXPECT_TRUE(files->fnReadText(name.c_str(), text));
        EXPECT_EQ(text, "x");
    }
}

TEST_F(Win32Files, TheDirectoriesAreTheSystemsUnlessTheHostSetsThem) {
    std::string directory;
    ASSERT_TRUE(m_pFiles->fnGetConfigDirectory(directory));
    EXPECT_TRUE(directory.ends_with("\\q32Base\\")) << directory;
    CqWin32Options options;
    options.m_szTempDirectory = m_Folder.fnPath();
    ASSERT_TRUE(
        q32Win32Platform(q32Win32Windows(), options).m_pFiles->fnGetTempDirectory(directory));
    EXPECT_EQ(directory, m_Folder.fnPath());
}

} // namespace
