#include "tests/support/AttachedTest.h"
#include "tests/support/FailingAllocator.h"

#include <string>

namespace {

class CqVMPolicyTest : public AttachedTest {
protected:
    CqVMPolicyTest() : AttachedTest(fnOptions()) {}

    static CqHeadlessOptions fnOptions() {
        CqHeadlessOptions options;
        options.m_Volumes = {fnVolume("C:\\", 1'000'000), fnVolume("D:\\", 2'000'000)};
        return options;
    }

    static CqHeadlessVolume fnVolume(const char* root, std::uint64_t free) {
        CqHeadlessVolume volume;
        volume.m_szRoot = root;
        volume.m_nTotal = 10'000'000'000u;
        volume.m_nFree = free;
        return volume;
    }

    CqVMPolicy& fnPolicy() { return *q32GetVMPolicy(); }

    /// The directory for a block that may not be in RAM; "none" where there is no space.
    std::string fnSearch(unsigned long size) {
        CString path("old");
        return fnPolicy().fnSearchAvail(size, false, path) ? std::string(path) : "none";
    }

    void fnReadSettings(const char* keys) {
        m_World->fnSetSettings(std::string("[VMPolicy]\r\n") + keys);
        EXPECT_TRUE(fnPolicy().fnSerialize(true));
    }
};

TEST_F(CqVMPolicyTest, StartsWithOnlyTheTemporaryDirectory) {
    EXPECT_STREQ(fnPolicy().fnGetDisk(0), "C:\\Temp\\");
    EXPECT_TRUE(fnPolicy().fnIsDiskEnabled(0));
    for (unsigned int i = 1; i < 4; ++i) {
        EXPECT_STREQ(fnPolicy().fnGetDisk(i), "");
        EXPECT_FALSE(fnPolicy().fnIsDiskEnabled(i));
    }
    EXPECT_TRUE(fnPolicy().fnIsAnyDiskEnabled());
    EXPECT_EQ(fnPolicy().fnGetMemUsage(), 100u);
    EXPECT_FALSE(fnPolicy().fnIsMemEnabled());
    EXPECT_EQ(fnPolicy().fnGetRamUsed(), 0u);
}

TEST_F(CqVMPolicyTest, ANewPolicyMayUseAllPhysicalMemoryTruncatedTo32Bits) {
    m_World->m_pMemory->fnSetPhysicalBytes(0x1'2345'6789u);
    EXPECT_EQ(CqVMPolicy().fnGetRamLimit(), 0x2345'6789u);
}

TEST_F(CqVMPolicyTest, TheLimitReadFromTheSettingsWrapsBeforeTheDivision) {
    // 256 MiB x 100 = 6,400 x 2^22 = 26,843,545,600; minus 6 x 2^32: 1,073,741,824.
    EXPECT_EQ(fnPolicy().fnGetRamLimit(), 10'737'418u);
}

TEST_F(CqVMPolicyTest, NoLimitFromTheSettingsPasses42949672) {
    for (const std::uint64_t bytes : {0xFFFF'FFFFull, 0x3'7FFF'FFFFull, 64ull << 30}) {
        m_World->m_pMemory->fnSetPhysicalBytes(bytes);
        fnReadSettings("");
        EXPECT_LE(fnPolicy().fnGetRamLimit(), 42'949'672u);
    }
}

TEST_F(CqVMPolicyTest, ThePercentageCountsOnlyWhenItIsEnabled) {
    m_World->m_pMemory->fnSetPhysicalBytes(1'000'000);
    fnReadSettings("MemEnabled=0\r\nMemPercent=50\r\n");
    EXPECT_EQ(fnPolicy().fnGetRamLimit(), 1'000'000u);
    EXPECT_EQ(fnPolicy().fnGetMemUsage(), 50u);
    fnReadSettings("MemEnabled=1\r\nMemPercent=50\r\n");
    EXPECT_EQ(fnPolicy().fnGetRamLimit(), 500'000u);
    fnReadSettings("MemEnabled=2\r\nMemPercent=400\r\n");
    EXPECT_FALSE(fnPolicy().fnIsMemEnabled());
    EXPECT_EQ(fnPolicy().fnGetMemUsage(), 400u);
    EXPECT_EQ(fnPolicy().fnGetRamLimit(), 1'000'000u);
}

TEST_F(CqVMPolicyTest, ChangingThePercentageTakesEffectAtTheNextReadOfTheSettings) {
    m_World->m_pMemory->fnSetPhysicalBytes(1'000'000);
    fnReadSettings("");
    fnPolicy().fnSetMemUsage(25);
    fnPolicy().fnEnableMemUsage(true);
    EXPECT_EQ(fnPolicy().fnGetRamLimit(), 1'000'000u);
    EXPECT_TRUE(fnPolicy().fnSerialize(false));
    EXPECT_EQ(fnPolicy().fnGetRamLimit(), 1'000'000u);
    EXPECT_TRUE(fnPolicy().fnSerialize(true));
    EXPECT_EQ(fnPolicy().fnGetRamLimit(), 250'000u);
}

TEST_F(CqVMPolicyTest, ALimitSetOutrightHoldsUntilTheSettingsAreRead) {
    const std::uint32_t settled = fnPolicy().fnGetRamLimit();
    fnPolicy().fnSetRamLimit(4'000'000'000u);
    EXPECT_EQ(fnPolicy().fnGetRamLimit(), 4'000'000'000u);
    EXPECT_TRUE(fnPolicy().fnSerialize(false));
    EXPECT_TRUE(fnPolicy().fnSerialize(true));
    EXPECT_EQ(fnPolicy().fnGetRamLimit(), settled);
}

TEST_F(CqVMPolicyTest, AFlagWithoutAPathMeansTheTemporaryDirectoryOnTheFirstDiskOnly) {
    fnReadSettings("ScratchFlag1=1\r\nScratchFlag2=1\r\n");
    EXPECT_STREQ(fnPolicy().fnGetDisk(0), "C:\\Temp\\");
    EXPECT_TRUE(fnPolicy().fnIsDiskEnabled(0));
    EXPECT_STREQ(fnPolicy().fnGetDisk(1), "");
    EXPECT_FALSE(fnPolicy().fnIsDiskEnabled(1));
}

TEST_F(CqVMPolicyTest, OnlyTheNumberOneSetsAScratchFlag) {
    fnReadSettings("ScratchFlag1=2\r\nScratchFlag2= 1x\r\nScratchPath2=D:\\\r\n");
    EXPECT_FALSE(fnPolicy().fnIsDiskEnabled(0));
    EXPECT_TRUE(fnPolicy().fnIsDiskEnabled(1));
    EXPECT_TRUE(fnPolicy().fnIsAnyDiskEnabled());
}

TEST_F(CqVMPolicyTest, AnEmptyFlagCountsAsMissingAndKeepsTheDisksState) {
    fnPolicy().fnSetDisk(1, "D:\\scratch");
    fnPolicy().fnEnableDisk(1, true);
    fnReadSettings("ScratchFlag2=\r\nScratchPath2=D:\\other\r\n");
    EXPECT_TRUE(fnPolicy().fnIsDiskEnabled(1));
    EXPECT_STREQ(fnPolicy().fnGetDisk(1), "D:\\other\\");
}

TEST_F(CqVMPolicyTest, ReadingUpdatesWhetherAnyDiskIsEnabled) {
    fnReadSettings("ScratchFlag1=0\r\n");
    EXPECT_FALSE(fnPolicy().fnIsAnyDiskEnabled());
    fnReadSettings("ScratchFlag1=0\r\nScratchFlag4=1\r\nScratchPath4=D:\\a\r\n");
    EXPECT_TRUE(fnPolicy().fnIsAnyDiskEnabled());
}

TEST_F(CqVMPolicyTest, EachAllocationOfAReadMayFail) {
    m_World->fnSetSettings("[VMPolicy]\r\nScratchFlag1=1\r\nScratchPath1=C:\\new\r\n"
                           "ScratchFlag2=1\r\nScratchPath2=D:\\new\r\nMemPercent=50\r\n");
    std::size_t kept = 0;
    for (std::size_t nth = 1;; ++nth) {
        CqVMPolicy policy;
        policy.fnSetDisk(1, "D:\\old");
        policy.fnSetRamLimit(1);
        CqAllocationFailure failure(nth);
        const bool read = policy.fnSerialize(true);
        const bool happened = failure.fnHappened();
        failure.fnEnd();
        EXPECT_TRUE(read);
        EXPECT_NE(policy.fnGetRamLimit(), 1u);
        const std::string first(policy.fnGetDisk(0));
        const std::string second(policy.fnGetDisk(1));
        EXPECT_TRUE(first == "C:\\new\\" || first == "C:\\Temp\\") << first;
        // An unread key counts as missing, which empties the path.
        EXPECT_TRUE(second == "D:\\new\\" ||
                    ((second.empty() || second == "D:\\old\\") && happened))
            << second;
        EXPECT_TRUE(policy.fnIsAnyDiskEnabled());
        kept += second == "D:\\old\\";
        if (!happened)
            break;
    }
    EXPECT_GE(kept, 1u) << "without memory to store what was read";
}

TEST_F(CqVMPolicyTest, WhatIsWrittenIsReadBack) {
    fnPolicy().fnSetDisk(0, "D:\\first");
    fnPolicy().fnSetDisk(3, "C:\\last\\");
    fnPolicy().fnEnableDisk(0, false);
    fnPolicy().fnEnableDisk(3, true);
    fnPolicy().fnSetMemUsage(70);
    fnPolicy().fnEnableMemUsage(true);
    ASSERT_TRUE(fnPolicy().fnSerialize(false));
    CqVMPolicy other;
    ASSERT_TRUE(other.fnSerialize(true));
    EXPECT_STREQ(other.fnGetDisk(0), "D:\\first\\");
    EXPECT_STREQ(other.fnGetDisk(3), "C:\\last\\");
    EXPECT_FALSE(other.fnIsDiskEnabled(0));
    EXPECT_TRUE(other.fnIsDiskEnabled(3));
    EXPECT_EQ(other.fnGetMemUsage(), 70u);
    EXPECT_TRUE(other.fnIsMemEnabled());
}

TEST_F(CqVMPolicyTest, WritingStopsAtTheFirstFailureAndKeepsTheExistingKeys) {
    for (std::uint64_t n = 1; n <= 10; ++n) {
        m_World->fnSetSettings("");
        fnPolicy().fnSetDisk(1, "D:\\b");
        m_World->m_pFiles->m_UpdateText.fnFail(n);
        EXPECT_FALSE(fnPolicy().fnSerialize(false)) << n;
        const std::string text = *m_World->fnGetSettings();
        EXPECT_EQ(text.find("ScratchFlag1=") != std::string::npos, n > 1) << text;
        EXPECT_EQ(text.find("MemPercent=") != std::string::npos, n > 9) << text;
        EXPECT_EQ(text.find("MemEnabled="), std::string::npos) << text;
    }
    EXPECT_TRUE(fnPolicy().fnSerialize(false));
}

TEST_F(CqVMPolicyTest, ASetPathEndsInOneBackslash) {
    fnPolicy().fnSetDisk(2, "D:\\a");
    EXPECT_STREQ(fnPolicy().fnGetDisk(2), "D:\\a\\");
    fnPolicy().fnSetDisk(2, "D:\\b\\");
    EXPECT_STREQ(fnPolicy().fnGetDisk(2), "D:\\b\\");
    EXPECT_FALSE(fnPolicy().fnIsDiskEnabled(2));
}

TEST_F(CqVMPolicyTest, AnEmptyPathDisablesTheDiskButNotTheRecordThatAnyIsEnabled) {
    fnPolicy().fnSetDisk(0, "");
    EXPECT_FALSE(fnPolicy().fnIsDiskEnabled(0));
    EXPECT_TRUE(fnPolicy().fnIsAnyDiskEnabled());
    fnPolicy().fnEnableDisk(1, false);
    EXPECT_FALSE(fnPolicy().fnIsAnyDiskEnabled());
}

TEST_F(CqVMPolicyTest, APathThatIsTooLongIsRefused) {
    fnPolicy().fnSetDisk(1, "D:\\kept");
    const std::string fits = "D:\\" + std::string(255, 'a'); // 258 bytes, and the backslash
    fnPolicy().fnSetDisk(1, (fits + "a").c_str());
    EXPECT_STREQ(fnPolicy().fnGetDisk(1), "D:\\kept\\");
    fnPolicy().fnSetDisk(1, fits.c_str());
    EXPECT_EQ(fnPolicy().fnGetDisk(1).GetLength(), 259);
}

TEST_F(CqVMPolicyTest, RamComesFirstWhileTheLimitHolds) {
    fnPolicy().fnSetRamLimit(1000);
    fnPolicy().fnConsumeRAM(400);
    CString path("old");
    EXPECT_TRUE(fnPolicy().fnSearchAvail(600, true, path));
    EXPECT_TRUE(path.IsEmpty());
    EXPECT_TRUE(fnPolicy().fnSearchAvail(601, true, path));
    EXPECT_STREQ(path, "C:\\Temp\\");
    fnPolicy().fnReleaseRAM(400);
}

TEST_F(CqVMPolicyTest, TheSumWithTheRamInUseMayWrap) {
    fnPolicy().fnSetRamLimit(1000);
    fnPolicy().fnConsumeRAM(0xFFFF'FF00u);
    CString path;
    EXPECT_TRUE(fnPolicy().fnSearchAvail(0x200, true, path));
    EXPECT_TRUE(path.IsEmpty());
    fnPolicy().fnReleaseRAM(0xFFFF'FF00u);
}

TEST_F(CqVMPolicyTest, RamInUseIsCountedIn64BitsToo) {
    EXPECT_EQ(fnPolicy().fnGetRamBytes(), 0u);
    fnPolicy().fnConsumeRAM(0xFFFF'FF00u);
    fnPolicy().fnConsumeRAM(0x200);
    EXPECT_EQ(fnPolicy().fnGetRamUsed(), 0x100u);
    EXPECT_EQ(fnPolicy().fnGetRamBytes(), 0x1'0000'0100u);
    fnPolicy().fnReleaseRAM(0x200);
    fnPolicy().fnReleaseRAM(0xFFFF'FF00u);
    EXPECT_EQ(fnPolicy().fnGetRamBytes(), 0u);
}

TEST_F(CqVMPolicyTest, TheHostsLimitHas64BitsAndCountsAllRamInUse) {
    fnPolicy().fnSetRamLimit(6'000'000'000u);
    EXPECT_EQ(fnPolicy().fnGetRamBound(), 6'000'000'000u);
    EXPECT_EQ(fnPolicy().fnGetRamLimit(), 0xFFFF'FFFFu);
    fnPolicy().fnConsumeRAM(4'000'000'000u);
    EXPECT_TRUE(fnPolicy().fnFitsRam(2'000'000'000u));
    EXPECT_FALSE(fnPolicy().fnFitsRam(2'000'000'001u));
    fnPolicy().fnSetRamLimit(1000);
    EXPECT_FALSE(fnPolicy().fnFitsRam(0)) << "already passed by";
    fnPolicy().fnReleaseRAM(4'000'000'000u);
    EXPECT_TRUE(fnPolicy().fnFitsRam(1000));
    EXPECT_FALSE(fnPolicy().fnFitsRam(1001));
    EXPECT_FALSE(fnPolicy().fnFitsRam(UINT64_MAX));
}

TEST_F(CqVMPolicyTest, WithoutAHostsLimitTheBoundIsThatOfTheMemoryService) {
    EXPECT_EQ(CqVMPolicy().fnGetRamBound(), kNoMemoryLimit);
    m_World->m_pMemory->fnSetBlockLimit(123'456'789'012u);
    EXPECT_EQ(CqVMPolicy().fnGetRamBound(), 123'456'789'012u);
    fnPolicy().fnSetRamLimit(1000);
    fnReadSettings("");
    EXPECT_EQ(fnPolicy().fnGetRamBound(), 123'456'789'012u);
}

TEST_F(CqVMPolicyTest, ThePercentageInTheSettingsBoundsRamIn64Bits) {
    m_World->m_pMemory->fnSetPhysicalBytes(20'000'000'000u);
    m_World->m_pMemory->fnSetBlockLimit(10'000'000'000u);
    fnReadSettings("MemPercent=30\r\nMemEnabled=1\r\n");
    EXPECT_EQ(fnPolicy().fnGetRamBound(), 6'000'000'000u);
    EXPECT_EQ(fnPolicy().fnGetRamLimit(), 30 * 20'000'000'000u % 0x1'0000'0000u / 100) << "as ever";
    fnReadSettings("MemPercent=90\r\nMemEnabled=1\r\n");
    EXPECT_EQ(fnPolicy().fnGetRamBound(), 10'000'000'000u);
    fnReadSettings("MemPercent=30\r\nMemEnabled=0\r\n");
    EXPECT_EQ(fnPolicy().fnGetRamBound(), 10'000'000'000u);
}

TEST_F(CqVMPolicyTest, ABlockWhoseSumWithRamInUseWrapsDoesNotPassThePercentage) {
    m_World->m_pMemory->fnSetPhysicalBytes(1'000'000'000u);
    fnReadSettings("MemPercent=50\r\nMemEnabled=1\r\n");
    fnPolicy().fnConsumeRAM(0x1000);
    CString path;
    EXPECT_TRUE(fnPolicy().fnSearchAvail(0xFFFF'F800u, true, path) && path.IsEmpty()) << "wraps";
    EXPECT_FALSE(fnPolicy().fnFitsRam(0xFFFF'F800u));
    fnPolicy().fnReleaseRAM(0x1000);
}

TEST_F(CqVMPolicyTest, ADiskIsTakenOnlyWithMoreSpaceThanTheBlock) {
    m_World->m_pDisks->fnSetFree("C:\\", 5000);
    EXPECT_EQ(fnSearch(5000), "none");
    EXPECT_EQ(fnSearch(4999), "C:\\Temp\\");
}

TEST_F(CqVMPolicyTest, ADiskWith4GiBFreeIsTakenForAnySize) {
    m_World->m_pDisks->fnSetFree("C:\\", 0x1'0000'0000u);
    EXPECT_EQ(fnSearch(0xFFFF'FFFFu), "C:\\Temp\\");
}

TEST_F(CqVMPolicyTest, TheFirstDiskWithSpaceIsTaken) {
    fnPolicy().fnSetDisk(2, "D:\\");
    fnPolicy().fnEnableDisk(2, true);
    EXPECT_EQ(fnSearch(999'999), "C:\\Temp\\");
    EXPECT_EQ(fnSearch(1'000'000), "D:\\");
    EXPECT_EQ(fnSearch(2'000'000), "none");
}

TEST_F(CqVMPolicyTest, DisksWithoutAPathOrAFlagAreSkipped) {
    fnPolicy().fnSetDisk(0, "");
    fnPolicy().fnEnableDisk(0, true);
    fnPolicy().fnSetDisk(1, "C:\\");
    EXPECT_EQ(fnSearch(1), "none");
    fnPolicy().fnSetDisk(3, "D:\\");
    fnPolicy().fnEnableDisk(3, true);
    EXPECT_EQ(fnSearch(1), "D:\\");
}

TEST_F(CqVMPolicyTest, AMissingScratchDirectoryIsCreatedOneLevelDeep) {
    fnPolicy().fnSetDisk(0, "C:\\scratch");
    EXPECT_EQ(fnSearch(1), "C:\\scratch\\");
    EXPECT_TRUE(m_World->m_pDisks->fnIsDirectory("C:\\scratch"));
}

TEST_F(CqVMPolicyTest, ADirectoryThatCannotBeCreatedEndsTheSearchBeforeLaterDisks) {
    fnPolicy().fnSetDisk(0, "C:\\missing\\scratch");
    fnPolicy().fnSetDisk(1, "D:\\");
    fnPolicy().fnEnableDisk(1, true);
    EXPECT_EQ(fnSearch(1), "none");
}

TEST_F(CqVMPolicyTest, AFailedQueryCountsAsNoSpace) {
    m_World->m_pFiles->m_GetSpace.fnFail(1);
    EXPECT_EQ(fnSearch(1), "none");
    EXPECT_EQ(m_World->m_pFiles->m_GetClusters.fnGetCount(), 0u);
}

TEST_F(CqVMPolicyTest, TheOldQueryWrapsIn32Bits) {
    m_World->m_pFiles->fnSetWideSpaceQuery(false);
    // 0x10000 sectors x 512 bytes x 129 clusters = 4,328,521,728; minus 2^32: 33,554,432.
    m_World->m_pDisks->fnSetClusters("C:\\", {0x10000, 512, 129, 1000});
    EXPECT_EQ(fnSearch(33'554'432), "none");
    EXPECT_EQ(fnSearch(33'554'431), "C:\\Temp\\");
    EXPECT_EQ(m_World->m_pFiles->m_GetSpace.fnGetCount(), 0u);
    m_World->m_pFiles->m_GetClusters.fnFail(1);
    EXPECT_EQ(fnSearch(1), "none");
}

TEST_F(CqVMPolicyTest, TheSearchQueriesTheRootOfThePath) {
    m_World->m_pDisks->fnAddVolume(fnVolume("\\\\server\\", 9000));
    fnPolicy().fnSetDisk(0, "\\\\server\\share\\");
    m_World->m_pDisks->fnPutDirectory("\\\\server\\share");
    EXPECT_EQ(fnSearch(8000), "\\\\server\\share\\");
    fnPolicy().fnSetDisk(0, "noslash"); // becomes "noslash\", whose root is itself
    EXPECT_EQ(fnSearch(1), "none");
}

TEST_F(CqVMPolicyTest, FreeSpaceFallsBackOnTheOldQuery) {
    ULARGE_INTEGER space{};
    m_World->m_pDisks->fnSetFree("C:\\", 0x2'0000'0001u);
    fnPolicy().fnGetDiskFreeSpace(0, space);
    EXPECT_EQ(space.QuadPart, 0x2'0000'0001u);
    m_World->m_pDisks->fnSetClusters("C:\\", {8, 512, 3, 10});
    m_World->m_pFiles->m_GetSpace.fnFail(1);
    fnPolicy().fnGetDiskFreeSpace(0, space);
    EXPECT_EQ(space.QuadPart, 8u * 512 * 3);
    m_World->m_pFiles->m_GetSpace.fnFail(1);
    m_World->m_pFiles->m_GetClusters.fnFail(1);
    fnPolicy().fnGetDiskFreeSpace(0, space);
    EXPECT_EQ(space.QuadPart, 0u);
}

TEST_F(CqVMPolicyTest, LeftOverFilesAreDeletedOnlyByTheirBareNames) {
    CqHeadlessDisks& disks = *m_World->m_pDisks;
    fnPolicy().fnSetDisk(1, "D:\\s");
    fnPolicy().fnEnableDisk(1, false);
    disks.fnPutFile("D:\\s\\~qd1.tmp", "x");
    disks.fnPutFile("D:\\s\\~qd2.tmp", "x");
    disks.fnPutFile("D:\\s\\other.tmp", "x");
    disks.fnPutFile("C:\\here\\~qd2.tmp", "x");
    disks.fnPutFile("C:\\here\\other.tmp", "x");
    disks.fnSetCurrentDirectory("C:\\here");
    fnPolicy().fnDeleteVMFiles();
    EXPECT_TRUE(disks.fnIsFile("D:\\s\\~qd1.tmp"));
    EXPECT_TRUE(disks.fnIsFile("D:\\s\\~qd2.tmp"));
    EXPECT_FALSE(disks.fnIsFile("C:\\here\\~qd2.tmp"));
    EXPECT_TRUE(disks.fnIsFile("C:\\here\\other.tmp"));
}

} // namespace
