#include "platforms/headless/headless.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <random>

namespace {

namespace fs = std::filesystem;

CqHeadlessOptions fnTwoDisks() {
    CqHeadlessOptions options;
    options.m_Volumes = {
        {.m_szRoot = "C:\\", .m_nTotal = 100000, .m_nFree = 10000},
        {.m_szRoot = "\\\\server\\", .m_nTotal = 0x3'0000'0000, .m_nFree = 0x2'0000'0001}};
    return options;
}

struct HeadlessDisks : testing::Test {
    std::shared_ptr<CqHeadlessWorld> m_pWorld = q32HeadlessWorld(fnTwoDisks());
    CqHeadlessDisks& m_Disks = *m_pWorld->m_pDisks;
    CqHeadlessScratch& m_Scratch = *m_pWorld->m_pScratch;
    CqHeadlessFiles& m_Files = *m_pWorld->m_pFiles;

    CqFileHandle fnOpenNew(std::string& name) {
        EXPECT_TRUE(m_Scratch.fnCreateName("C:\\Temp\\", "~qd", name));
        return m_Scratch.fnOpen(name.c_str());
    }
    std::vector<std::string> fnGetMisuses() const { return m_pWorld->m_pMisuses->fnGetAll(); }
};

} // namespace

TEST_F(HeadlessDisks, VolumesReportTheirSpaceIn64Bits) {
    CqDiskSpace space;
    ASSERT_TRUE(m_Files.fnGetSpace("\\\\server\\", space));
    EXPECT_EQ(space.m_nAvailable, 0x2'0000'0001u);
    EXPECT_EQ(space.m_nTotal, 0x3'0000'0000u);
    ASSERT_TRUE(m_Files.fnGetSpace("c:/temp/", space));
    EXPECT_EQ(space.m_nAvailable, 10000u);
    EXPECT_FALSE(m_Files.fnGetSpace("E:\\", space));
}

TEST_F(HeadlessDisks, TheOldQueryReportsFullClustersIn32Bits) {
    CqDiskClusters clusters;
    ASSERT_TRUE(m_Files.fnGetClusters("C:\\", clusters));
    EXPECT_EQ(clusters.m_nSectorsPerCluster, 8u);
    EXPECT_EQ(clusters.m_nBytesPerSector, 512u);
    EXPECT_EQ(clusters.m_nFreeClusters, 2u); // of 4096 bytes, in 10000
    EXPECT_EQ(clusters.m_nTotalClusters, 24u);
    ASSERT_TRUE(m_Disks.fnSetClusters("C:\\", {1, 2, 3, 4}));
    ASSERT_TRUE(m_Files.fnGetClusters("C:\\", clusters));
    EXPECT_EQ(clusters.m_nFreeClusters, 3u);
}

TEST_F(HeadlessDisks, QueriesFailOnDemandAndTheWideOneCanBeMissing) {
    CqDiskSpace space;
    CqDiskClusters clusters;
    m_Files.m_GetSpace.fnFail();
    m_Files.m_GetClusters.fnFail();
    EXPECT_FALSE(m_Files.fnGetSpace("C:\\", space));
    EXPECT_FALSE(m_Files.fnGetClusters("C:\\", clusters));
    EXPECT_TRUE(m_Files.fnGetSpace("C:\\", space));
    EXPECT_TRUE(m_Files.fnHasWideSpaceQuery());
    m_Files.fnSetWideSpaceQuery(false);
    EXPECT_FALSE(m_Files.fnHasWideSpaceQuery());
}

TEST_F(HeadlessDisks, FreeSpaceFallsAndRisesWithAScratchFile) {
    std::string name;
    const CqFileHandle file = fnOpenNew(name);
    ASSERT_TRUE(m_Scratch.fnSetSize(file, 4000));
    EXPECT_EQ(m_Disks.fnGetFree("C:\\"), 6000u);
    ASSERT_TRUE(m_Scratch.fnSetSize(file, 1000));
    EXPECT_EQ(m_Disks.fnGetFree("C:\\"), 9000u);
    m_Scratch.fnClose(file);
    EXPECT_TRUE(m_Scratch.fnDelete(name.c_str()));
    EXPECT_EQ(m_Disks.fnGetFree("C:\\"), 10000u);
}

TEST_F(HeadlessDisks, AFullDiskFailsTheResizeWithNothingReserved) {
    std::string name;
    const CqFileHandle file = fnOpenNew(name);
    EXPECT_FALSE(m_Scratch.fnSetSize(file, 10001));
    EXPECT_EQ(m_Disks.fnGetFree("C:\\"), 10000u);
    EXPECT_TRUE(m_Scratch.fnSetSize(file, 10000));
    EXPECT_EQ(m_Disks.fnGetFree("C:\\"), 0u);
    m_Scratch.fnClose(file);
}

TEST_F(HeadlessDisks, AFullDiskFailsAWriteAndARewrittenText) {
    ASSERT_TRUE(m_Disks.fnSetFree("C:\\", 3));
    CQ_FILE_CAUSE cause = FILE_CAUSE_NONE;
    const auto stream = m_Files.fnOpen("C:\\a", {true, true, true, false}, cause);
    ASSERT_NE(stream, nullptr);
    EXPECT_EQ(stream->fnWrite("abcd", 4), FILE_CAUSE_DISK_FULL);
    EXPECT_EQ(stream->fnWrite("ab", 2), FILE_CAUSE_NONE);
    EXPECT_FALSE(m_Files.fnUpdateText("C:\\b", [](std::string& text) {
        text = "xy";
        return true;
    }));
    EXPECT_FALSE(m_Files.fnExists("C:\\b"));
}

TEST_F(HeadlessDisks, EachStepOfAScratchFileCanFail) {
    CqHeadlessCalls* const steps[] = {
        &m_Scratch.m_CreateName,    &m_Scratch.m_Open,    &m_Scratch.m_SetSize, &m_Scratch.m_Reopen,
        &m_Scratch.m_CreateMapping, &m_Scratch.m_MapView, &m_Scratch.m_Delete};
    for (std::size_t failing = 0; failing < std::size(steps); ++failing) {
        steps[failing]->fnFail();
        std::string name;
        std::size_t passed = m_Scratch.fnCreateName("C:\\Temp\\", "~qd", name) ? 1 : 0;
        CqFileHandle file = passed == 1 ? m_Scratch.fnOpen(name.c_str()) : kNoFile;
        passed += file != kNoFile ? 1u : 0u;
        passed += passed == 2 && m_Scratch.fnSetSize(file, 100) ? 1u : 0u;
        if (passed == 3)
            file = m_Scratch.fnReopen(file, name.c_str());
        passed += passed == 3 && file != kNoFile ? 1u : 0u;
        const CqMappingHandle mapping =
            passed == 4 ? m_Scratch.fnCreateMapping(file, 100) : kNoMapping;
        passed += mapping != kNoMapping ? 1u : 0u;
        void* view = passed == 5 ? m_Scratch.fnMapView(mapping, 100) : nullptr;
        passed += view ? 1u : 0u;
        EXPECT_EQ(passed, std::min<std::size_t>(failing, 6));
        if (view)
            m_Scratch.fnUnmapView(view, 100);
        if (mapping != kNoMapping)
            m_Scratch.fnCloseMapping(mapping);
        if (file != kNoFile)
            m_Scratch.fnClose(file);
        if (failing > 0) {
            EXPECT_EQ(m_Scratch.fnDelete(name.c_str()), failing != 6);
            m_Scratch.fnDelete(name.c_str()); // the file that the failed call left
        }
        EXPECT_EQ(m_Disks.fnGetFree("C:\\"), 10000u);
    }
    EXPECT_EQ(m_Disks.fnGetOpenFiles(), 0u);
    EXPECT_TRUE(fnGetMisuses().empty());
    EXPECT_TRUE(m_Disks.fnGetFiles().empty());
}

TEST_F(HeadlessDisks, HandlesThatAreClosedTwiceOrUnknownAreMisuses) {
    std::string name;
    const CqFileHandle file = fnOpenNew(name);
    ASSERT_TRUE(m_Scratch.fnSetSize(file, 10));
    const CqMappingHandle mapping = m_Scratch.fnCreateMapping(file, 10);
    void* view = m_Scratch.fnMapView(mapping, 10);
    m_Scratch.fnUnmapView(view, 10);
    m_Scratch.fnCloseMapping(mapping);
    m_Scratch.fnClose(file);
    EXPECT_TRUE(fnGetMisuses().empty());
    m_Scratch.fnUnmapView(view, 10);
    m_Scratch.fnCloseMapping(mapping);
    m_Scratch.fnClose(file);
    EXPECT_FALSE(m_Scratch.fnSetSize(file, 1));
    EXPECT_EQ(m_Scratch.fnReopen(kNoFile, name.c_str()), kNoFile);
    EXPECT_EQ(m_Scratch.fnCreateMapping(file, 1), kNoMapping);
    EXPECT_EQ(m_Scratch.fnMapView(mapping, 10), nullptr);
    EXPECT_EQ(fnGetMisuses().size(), 7u);
}

TEST_F(HeadlessDisks, AMappedFileKeepsItsSizeAndIsNotDeleted) {
    std::string name;
    const CqFileHandle file = fnOpenNew(name);
    ASSERT_TRUE(m_Scratch.fnSetSize(file, 10));
    const CqMappingHandle mapping = m_Scratch.fnCreateMapping(file, 10);
    EXPECT_FALSE(m_Scratch.fnSetSize(file, 20));
    m_Scratch.fnClose(file);
    EXPECT_FALSE(m_Scratch.fnDelete(name.c_str()));
    EXPECT_EQ(m_Disks.fnGetOpenFiles(), 1u);
    m_Scratch.fnCloseMapping(mapping);
    EXPECT_TRUE(m_Scratch.fnDelete(name.c_str()));
}

TEST_F(HeadlessDisks, BareNamesAreResolvedInTheCurrentDirectory) {
    ASSERT_TRUE(m_Disks.fnPutFile("C:\\here\\~qd1.tmp", "x"));
    EXPECT_FALSE(m_Scratch.fnDelete("~qd1.tmp"));
    m_Disks.fnSetCurrentDirectory("C:\\here");
    EXPECT_TRUE(m_Scratch.fnDelete("~qd1.tmp"));
    EXPECT_FALSE(m_Files.fnExists("C:\\here\\~qd1.tmp"));
}

TEST_F(HeadlessDisks, CreatingANamedFileFailsWithItsCause) {
    m_Disks.fnFailCreate("C:\\out.bin", FILE_CAUSE_ACCESS_DENIED);
    CQ_FILE_CAUSE cause = FILE_CAUSE_NONE;
    EXPECT_EQ(m_Files.fnOpen("c:/OUT.BIN", {true, true, true, false}, cause), nullptr);
    EXPECT_EQ(cause, FILE_CAUSE_ACCESS_DENIED);
    EXPECT_NE(m_Files.fnOpen("C:\\other.bin", {true, true, true, false}, cause), nullptr);
    m_Disks.fnFailCreate("C:\\out.bin", FILE_CAUSE_NONE);
    EXPECT_NE(m_Files.fnOpen("C:\\out.bin", {true, true, true, false}, cause), nullptr);
}

TEST_F(HeadlessDisks, EachCallOfAStreamFailsOnDemand) {
    CQ_FILE_CAUSE cause = FILE_CAUSE_NONE;
    m_Files.m_Open.fnFail();
    EXPECT_EQ(m_Files.fnOpen("C:\\a", {true, true, true, false}, cause), nullptr);
    EXPECT_EQ(cause, FILE_CAUSE_GENERIC);
    const auto stream = m_Files.fnOpen("C:\\a", {true, true, true, false}, cause);
    ASSERT_NE(stream, nullptr);
    auto& calls = *m_Files.m_pStream;
    for (CqHeadlessCalls* call :
         {&calls.m_Read, &calls.m_Write, &calls.m_Seek, &calls.m_GetLength, &calls.m_Close})
        call->fnFail();
    char byte = 'x';
    std::size_t done = 0;
    std::uint64_t length = 0;
    EXPECT_EQ(stream->fnRead(&byte, 1, done), FILE_CAUSE_HARD_IO);
    EXPECT_EQ(stream->fnWrite(&byte, 1), FILE_CAUSE_HARD_IO);
    EXPECT_EQ(stream->fnSeek(1), FILE_CAUSE_HARD_IO);
    EXPECT_EQ(stream->fnGetLength(length), FILE_CAUSE_HARD_IO);
    EXPECT_EQ(stream->fnClose(), FILE_CAUSE_HARD_IO);
    EXPECT_EQ(m_Disks.fnGetOpenFiles(), 0u);
}

TEST_F(HeadlessDisks, FilesCarryTheTimeOfTheirLastWrite) {
    m_Disks.fnSetNow(1000);
    ASSERT_TRUE(m_Disks.fnPutFile("C:\\a", "1"));
    CqFileInfo info;
    ASSERT_TRUE(m_Files.fnGetInfo("C:\\a", false, info));
    EXPECT_EQ(info.m_nLastWrite, 1000);
    ASSERT_TRUE(m_Disks.fnSetTime("C:\\a", 77));
    ASSERT_TRUE(m_Files.fnGetInfo("C:\\a", false, info));
    EXPECT_EQ(info.m_nLastWrite, 77);
    EXPECT_FALSE(m_Disks.fnSetTime("C:\\none", 77));
}

TEST_F(HeadlessDisks, TheScriptCanListTheFiles) {
    ASSERT_TRUE(m_Disks.fnPutFile("\\\\server\\share\\b.txt", "two"));
    ASSERT_TRUE(m_Disks.fnPutFile("C:\\A.txt", "one"));
    EXPECT_EQ(m_Disks.fnGetFiles(),
              (std::vector<std::string>{"C:\\A.txt", "\\\\server\\share\\b.txt"}));
    EXPECT_EQ(m_Disks.fnGetFile("c:\\x\\..\\a.TXT"), "one");
    EXPECT_EQ(m_Disks.fnGetFile("C:\\none"), std::nullopt);
    EXPECT_FALSE(m_Disks.fnPutFile("E:\\a", "no such volume"));
    EXPECT_FALSE(m_Disks.fnPutFile("C:\\A.txt\\b", "a file is in the way"));
}

TEST_F(HeadlessDisks, SettingsCanBeReadAndSetAtAnyTime) {
    EXPECT_EQ(m_pWorld->fnGetSettings(), std::nullopt);
    ASSERT_TRUE(m_pWorld->fnSetSettings("[A]\r\n"));
    std::string directory;
    ASSERT_TRUE(m_Files.fnGetConfigDirectory(directory));
    std::string text;
    ASSERT_TRUE(m_Files.fnReadText((directory + "Qkz.cfg").c_str(), text));
    EXPECT_EQ(text, "[A]\r\n");
    m_Files.m_UpdateText.fnFail();
    const auto edit = [](std::string& old) {
        old += "k=1\r\n";
        return true;
    };
    EXPECT_FALSE(m_Files.fnUpdateText((directory + "Qkz.cfg").c_str(), edit));
    EXPECT_EQ(m_pWorld->fnGetSettings(), "[A]\r\n");
    EXPECT_TRUE(m_Files.fnUpdateText((directory + "Qkz.cfg").c_str(), edit));
    EXPECT_EQ(m_pWorld->fnGetSettings(), "[A]\r\nk=1\r\n");
}

TEST_F(HeadlessDisks, OtherFileCallsFailOnDemand) {
    std::string text;
    CqFileInfo info;
    ASSERT_TRUE(m_Disks.fnPutFile("C:\\a", "1"));
    for (CqHeadlessCalls* call :
         {&m_Files.m_GetTempDirectory, &m_Files.m_GetConfigDirectory, &m_Files.m_CreateDirectory,
          &m_Files.m_Delete, &m_Files.m_GetInfo, &m_Files.m_ReadText})
        call->fnFail();
    EXPECT_FALSE(m_Files.fnGetTempDirectory(text));
    EXPECT_FALSE(m_Files.fnGetConfigDirectory(text));
    EXPECT_FALSE(m_Files.fnCreateDirectory("C:\\new"));
    EXPECT_FALSE(m_Files.fnDelete("C:\\a"));
    EXPECT_FALSE(m_Files.fnGetInfo("C:\\a", false, info));
    EXPECT_FALSE(m_Files.fnReadText("C:\\a", text));
    EXPECT_FALSE(m_Files.fnExists("C:\\new"));
    EXPECT_TRUE(m_Files.fnReadText("C:\\a", text));
}

TEST_F(HeadlessDisks, AVolumeMayHaveARootOfTheOtherKind) {
    m_Disks.fnAddVolume({.m_szRoot = "/srv/", .m_nTotal = 50, .m_nFree = 40});
    ASSERT_TRUE(m_Disks.fnPutFile("/srv/scratch\\a", "12345"));
    EXPECT_TRUE(m_Files.fnExists("/srv/scratch/a"));
    EXPECT_EQ(m_Disks.fnGetFree("/srv/scratch\\"), 35u);
    EXPECT_FALSE(m_Files.fnExists("/other"));
}

TEST(HeadlessFolder, FilesOfAFolderAreRealFiles) {
    const fs::path folder =
        fs::temp_directory_path() / ("q32folder" + std::to_string(std::random_device()()));
    fs::create_directories(folder / "in");
    std::ofstream(folder / "in" / "Sea.txt") << "waves";
#ifndef _WIN32 // where only some users may make links
    fs::create_symlink("/etc", folder / "link");
#endif
    CqHeadlessOptions options;
    options.m_Volumes[0].m_szFolder = folder.string();
    {
        const auto world = q32HeadlessWorld(options);
        CqHeadlessFiles& files = *world->m_pFiles;
        std::string text;
        EXPECT_TRUE(files.fnReadText("C:\\in\\Sea.txt", text));
        EXPECT_EQ(text, "waves");
        EXPECT_FALSE(files.fnExists("C:\\link"));
        EXPECT_FALSE(files.fnExists("C:\\link\\passwd"));
        EXPECT_FALSE(files.fnExists("C:\\..\\..\\etc\\passwd"));
        CQ_FILE_CAUSE cause = FILE_CAUSE_NONE;
        const auto stream = files.fnOpen("C:\\in\\new.txt", {true, true, true, false}, cause);
        ASSERT_NE(stream, nullptr);
        EXPECT_EQ(stream->fnWrite("fresh", 5), FILE_CAUSE_NONE);
        EXPECT_EQ(stream->fnClose(), FILE_CAUSE_NONE);
        std::string line;
        std::getline(std::ifstream(folder / "in" / "new.txt"), line);
        EXPECT_EQ(line, "fresh");
        EXPECT_EQ(world->m_pDisks->fnGetFiles(),
                  (std::vector<std::string>{"C:\\in\\Sea.txt", "C:\\in\\new.txt"}));
        EXPECT_TRUE(files.fnDelete("C:\\in\\Sea.txt"));
        EXPECT_FALSE(fs::exists(folder / "in" / "Sea.txt"));
    }
    fs::remove_all(folder);
}
