#include "q32Base/memory/PixelBuffer_p.h"
#include "tests/support/AttachedTest.h"
#include "tests/support/FailingAllocator.h"

#include <cstring>
#include <vector>

namespace {

class PixelBufferTest : public AttachedTest {
protected:
    struct Buffer {
        unsigned char* m_pBytes = nullptr;
        std::uint32_t m_nSize = 0;
        CqFileHandle m_File = 0;
        CqMappingHandle m_Mapping = 77;
        CString m_strName;
    };

    static Buffer fnAlloc(std::uint32_t size) {
        Buffer buffer;
        buffer.m_nSize = size;
        buffer.m_strName = "old";
        buffer.m_pBytes = AllocPixelBuffer(size, buffer.m_File, buffer.m_Mapping, buffer.m_strName);
        return buffer;
    }

    static void fnFree(Buffer& buffer) {
        FreePixelBuffer(buffer.m_pBytes, buffer.m_nSize, &buffer.m_File, &buffer.m_Mapping,
                        &buffer.m_strName);
        EXPECT_EQ(buffer.m_File, kNoFile);
        EXPECT_EQ(buffer.m_Mapping, kNoMapping);
        EXPECT_TRUE(buffer.m_strName.IsEmpty());
    }

    static bool fnCantAlloc(std::uint32_t size) {
        return fnRaisesMemoryException([size] { fnAlloc(size); });
    }

    std::vector<std::string> fnFiles() { return m_World->m_pDisks->fnGetFiles(); }
    std::uint64_t fnFree() { return m_World->m_pDisks->fnGetFree("C:\\"); }
    CqVMPolicy& fnPolicy() { return *q32GetVMPolicy(); }
};

TEST_F(PixelBufferTest, IsInRamWithinTheLimit) {
    fnPolicy().fnSetRamLimit(5000);
    Buffer buffer = fnAlloc(5000);
    EXPECT_EQ(buffer.m_File, kNoFile);
    EXPECT_EQ(buffer.m_Mapping, kNoMapping);
    EXPECT_TRUE(buffer.m_strName.IsEmpty());
    EXPECT_EQ(fnPolicy().fnGetRamUsed(), 5000u);
    std::memset(buffer.m_pBytes, 1, 5000);
    fnFree(buffer);
    EXPECT_EQ(fnPolicy().fnGetRamUsed(), 0u);
    EXPECT_EQ(m_World->m_pMemory->fnGetReservedRanges(), 0u);
}

TEST_F(PixelBufferTest, IsInAScratchFileBeyondTheLimit) {
    fnPolicy().fnSetRamLimit(5000);
    const std::uint64_t before = fnFree();
    Buffer buffer = fnAlloc(5001);
    ASSERT_EQ(fnFiles().size(), 1u);
    EXPECT_EQ(fnFiles()[0], std::string(buffer.m_strName));
    EXPECT_EQ(std::string(buffer.m_strName).rfind("C:\\Temp\\~qd", 0), 0u);
    EXPECT_EQ(std::string(buffer.m_strName.Right(4)), ".tmp");
    EXPECT_NE(buffer.m_File, kNoFile);
    EXPECT_NE(buffer.m_Mapping, kNoMapping);
    EXPECT_EQ(fnPolicy().fnGetRamUsed(), 0u);
    EXPECT_EQ(before - fnFree(), 5001u);
    std::memset(buffer.m_pBytes, 1, 5001);
    fnFree(buffer);
    EXPECT_TRUE(fnFiles().empty());
    EXPECT_EQ(fnFree(), before);
}

TEST_F(PixelBufferTest, NothingPassesTheHostsLimitWhereTheSettledSumWraps) {
    fnPolicy().fnSetRamLimit(21u << 20);
    Buffer little = fnAlloc(100);
    m_World->m_pDisks->fnSetFree("C:\\", 1000);
    EXPECT_TRUE(fnCantAlloc(0xFFFF'FFFFu)) << "with the 100 bytes, 99 modulo 4 GiB";
    EXPECT_EQ(fnPolicy().fnGetRamBytes(), 100u);
    EXPECT_EQ(m_World->m_pMemory->fnGetCommittedBytes(), 100u);
    fnFree(little);
}

TEST_F(PixelBufferTest, NothingPassesTheMemoryServicesLimitAndTheDisksTakeTheRest) {
    m_World->m_pMemory->fnSetPhysicalBytes(1'000'000);
    m_World->m_pMemory->fnSetBlockLimit(1000);
    ASSERT_TRUE(fnPolicy().fnSerialize(true));
    ASSERT_EQ(fnPolicy().fnGetRamLimit(), 1'000'000u);
    Buffer first = fnAlloc(600);
    Buffer second = fnAlloc(401);
    Buffer third = fnAlloc(400);
    EXPECT_EQ(first.m_File, kNoFile);
    EXPECT_NE(second.m_File, kNoFile);
    EXPECT_EQ(third.m_File, kNoFile);
    EXPECT_EQ(fnPolicy().fnGetRamBytes(), 1000u);
    fnFree(first);
    fnFree(second);
    fnFree(third);
    EXPECT_EQ(fnPolicy().fnGetRamBytes(), 0u);
}

TEST_F(PixelBufferTest, MoreThan4GiBMayBeInRamUnderAHostsLimitOf64Bits) {
    fnPolicy().fnSetRamLimit(std::uint64_t{9} << 30);
    std::vector<Buffer> buffers;
    for (int i = 0; i < 3; ++i)
        buffers.push_back(fnAlloc(3u << 30));
    for (const Buffer& buffer : buffers)
        EXPECT_EQ(buffer.m_File, kNoFile);
    EXPECT_EQ(fnPolicy().fnGetRamBytes(), std::uint64_t{9} << 30);
    Buffer further = fnAlloc(1);
    EXPECT_NE(further.m_File, kNoFile);
    fnFree(further);
    for (Buffer& buffer : buffers)
        fnFree(buffer);
    EXPECT_EQ(fnPolicy().fnGetRamBytes(), 0u);
    EXPECT_EQ(fnPolicy().fnGetRamUsed(), 0u);
}

TEST_F(PixelBufferTest, SlackCanBeWrittenAndCountsNowhere) {
    for (const std::uint32_t size : {15u, 4095u, 4096u, 8192u}) {
        for (const bool ram : {true, false}) {
            fnPolicy().fnSetRamLimit(ram ? size : size - 1);
            m_World->m_pDisks->fnSetFree("C:\\", size + 1);
            Buffer buffer;
            buffer.m_pBytes =
                AllocPixelBuffer(size, buffer.m_File, buffer.m_Mapping, buffer.m_strName, 1);
            EXPECT_EQ(buffer.m_File == kNoFile, ram);
            buffer.m_pBytes[size] = 0xAB;
            EXPECT_EQ(buffer.m_pBytes[size], 0xAB);
            EXPECT_EQ(fnPolicy().fnGetRamBytes(), ram ? size : 0);
            EXPECT_EQ(fnPolicy().fnGetDiskUsage(0).m_nBytes, ram ? 0 : size);
            FreePixelBuffer(buffer.m_pBytes, size, &buffer.m_File, &buffer.m_Mapping,
                            &buffer.m_strName, 1);
            EXPECT_EQ(m_World->m_pMemory->fnGetReservedRanges(), 0u);
            EXPECT_TRUE(fnFiles().empty());
        }
    }
}

TEST_F(PixelBufferTest, TheCountersReportTheBytesOnEachDisk) {
    fnPolicy().fnSetRamLimit(0);
    fnPolicy().fnSetDisk(1, "C:\\other");
    Buffer first = fnAlloc(1000);
    Buffer second = fnAlloc(500);
    EXPECT_EQ(fnPolicy().fnGetDiskUsage(0).m_nBytes, 1500u);
    EXPECT_EQ(fnPolicy().fnGetDiskUsage(0).m_nFiles, 2u);
    EXPECT_EQ(fnPolicy().fnGetDiskUsage(1).m_nFiles, 0u);
    EXPECT_EQ(fnPolicy().fnGetDiskUsage(3).m_nFiles, 0u);
    fnFree(first);
    EXPECT_EQ(fnPolicy().fnGetDiskUsage(0).m_nBytes, 500u);
    EXPECT_EQ(fnPolicy().fnGetDiskUsage(0).m_nFiles, 1u);
    fnFree(second);
    EXPECT_EQ(fnPolicy().fnGetDiskUsage(0).m_nFiles, 0u);
}

TEST_F(PixelBufferTest, AHundredSmallBuffersLeaveTheRamInUseUnchanged) {
    Buffer kept = fnAlloc(123);
    const std::uint32_t before = fnPolicy().fnGetRamUsed();
    std::vector<Buffer> buffers;
    for (std::uint32_t i = 1; i <= 100; ++i)
        buffers.push_back(fnAlloc(i));
    EXPECT_EQ(fnPolicy().fnGetRamUsed(), before + 5050);
    for (Buffer& buffer : buffers)
        fnFree(buffer);
    EXPECT_EQ(fnPolicy().fnGetRamUsed(), before);
    fnFree(kept);
}

TEST_F(PixelBufferTest, AFailedReservationFallsBackToAScratchFile) {
    m_World->m_pMemory->m_Reserve.fnFail(1);
    Buffer buffer = fnAlloc(100);
    EXPECT_NE(buffer.m_File, kNoFile);
    EXPECT_EQ(fnPolicy().fnGetRamUsed(), 0u);
    fnFree(buffer);
}

TEST_F(PixelBufferTest, AFailedCommitFallsBackToAScratchFileAndKeepsItsAddressSpace) {
    m_World->m_pMemory->m_Commit.fnFail(1);
    Buffer buffer = fnAlloc(100);
    EXPECT_NE(buffer.m_File, kNoFile);
    EXPECT_EQ(m_World->m_pMemory->fnGetReservedRanges(), 1u);
    EXPECT_EQ(m_World->m_pMemory->fnGetCommittedRanges(), 0u);
    fnFree(buffer);
    EXPECT_EQ(m_World->m_pMemory->fnGetReservedRanges(), 1u);
}

TEST_F(PixelBufferTest, WithoutAnyDiskAFailedReservationRaisesTheMemoryException) {
    fnPolicy().fnEnableDisk(0, false);
    m_World->m_pMemory->m_Reserve.fnFail(1);
    EXPECT_TRUE(fnCantAlloc(100));
}

TEST_F(PixelBufferTest, WithNeitherRamNorDiskTheMemoryExceptionIsRaised) {
    fnPolicy().fnSetRamLimit(0);
    m_World->m_pDisks->fnSetFree("C:\\", 100);
    EXPECT_TRUE(fnCantAlloc(100));
    EXPECT_TRUE(fnFiles().empty());
    EXPECT_EQ(fnFree(), 100u);
}

TEST_F(PixelBufferTest, ADiskThatFillsUpAfterTheSearchLeavesNoFile) {
    fnPolicy().fnSetRamLimit(0);
    const std::uint64_t before = fnFree();
    m_World->m_pScratch->m_SetSize.fnFail(1);
    EXPECT_TRUE(fnCantAlloc(1000));
    EXPECT_TRUE(fnFiles().empty());
    EXPECT_EQ(fnFree(), before);
}

TEST_F(PixelBufferTest, EachFailedFileStepRaisesTheMemoryExceptionAndLeavesNothingOpen) {
    fnPolicy().fnSetRamLimit(0);
    CqHeadlessScratch& scratch = *m_World->m_pScratch;
    for (CqHeadlessCalls* step :
         {&scratch.m_CreateName, &scratch.m_Open, &scratch.m_SetSize, &scratch.m_Reopen,
          &scratch.m_CreateMapping, &scratch.m_MapView}) {
        step->fnFail(1);
        EXPECT_TRUE(fnCantAlloc(1000));
        EXPECT_EQ(scratch.fnGetHandles(), 0u);
        EXPECT_EQ(scratch.fnGetMappings(), 0u);
        // A file that was created but can't be opened remains, empty; otherwise none does.
        const std::size_t left = step == &scratch.m_Open ? 1 : 0;
        ASSERT_EQ(fnFiles().size(), left);
        if (left) {
            EXPECT_EQ(m_World->m_pDisks->fnGetFile(fnFiles()[0])->size(), 0u);
            EXPECT_TRUE(scratch.fnDelete(fnFiles()[0].c_str()));
        }
        EXPECT_EQ(fnPolicy().fnGetDiskUsage(0).m_nFiles, 0u);
    }
}

TEST_F(PixelBufferTest, EachFailedAllocationRaisesTheMemoryExceptionAndLeavesNothingOpen) {
    fnPolicy().fnSetRamLimit(0);
    const std::size_t failures = fnFailEachAllocation([&](CqAllocationFailure& failure) {
        Buffer buffer; // its name is empty and takes no memory
        const bool raised = fnRaisesMemoryException([&] {
            buffer.m_pBytes =
                AllocPixelBuffer(1000, buffer.m_File, buffer.m_Mapping, buffer.m_strName);
        });
        failure.fnEnd();
        if (raised) {
            EXPECT_EQ(m_World->m_pScratch->fnGetHandles(), 0u);
            EXPECT_EQ(fnPolicy().fnGetDiskUsage(0).m_nFiles, 0u);
            EXPECT_TRUE(fnFiles().empty());
        } else {
            buffer.m_nSize = 1000;
            fnFree(buffer);
        }
    });
    EXPECT_GE(failures, 2u);
}

} // namespace
