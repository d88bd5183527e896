#include "q32Base/memory/PixelBlock.h"

#include "q32Base/memory/PixelBuffer_p.h"
#include "tests/support/AttachedTest.h"
#include "tests/support/FailingAllocator.h"

#include <cstring>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace {

using q32::PixelBlock;

static_assert(!std::is_copy_constructible_v<PixelBlock>);
static_assert(!std::is_copy_assignable_v<PixelBlock>);
static_assert(std::is_nothrow_move_constructible_v<PixelBlock>);
static_assert(std::is_nothrow_move_assignable_v<PixelBlock>);

class PixelBlockTest : public AttachedTest {
protected:
    /// Whether no part of a block is left in RAM or on disk.
    void fnExpectNothingHeld() {
        EXPECT_EQ(fnPolicy().fnGetRamUsed(), 0u);
        EXPECT_EQ(fnPolicy().fnGetDiskUsage(0).m_nFiles, 0u);
        EXPECT_EQ(m_World->m_pMemory->fnGetReservedRanges(), 0u);
        EXPECT_EQ(m_World->m_pScratch->fnGetHandles(), 0u);
        EXPECT_EQ(m_World->m_pScratch->fnGetMappings(), 0u);
    }
    static void fnExpectEmpty(const PixelBlock& block) {
        EXPECT_EQ(block.fnGetBytes(), nullptr);
        EXPECT_EQ(block.fnGetSize(), 0u);
        EXPECT_EQ(block.fnGetFile(), kNoFile);
        EXPECT_EQ(block.fnGetMapping(), kNoMapping);
        EXPECT_TRUE(block.fnGetFileName().IsEmpty());
        EXPECT_FALSE(block.fnIsOnDisk());
    }

    std::vector<std::string> fnFiles() { return m_World->m_pDisks->fnGetFiles(); }
    CqVMPolicy& fnPolicy() { return *q32GetVMPolicy(); }
};

TEST_F(PixelBlockTest, AnEmptyBlockHoldsNothing) {
    fnExpectEmpty(PixelBlock());
    fnExpectEmpty(PixelBlock(nullptr, 0, kNoFile, kNoMapping, CString()));
    fnExpectNothingHeld();
}

TEST_F(PixelBlockTest, ABlockInRamIsReleasedWithItsOwner) {
    {
        const PixelBlock block(5000);
        EXPECT_EQ(block.fnGetSize(), 5000u);
        EXPECT_FALSE(block.fnIsOnDisk());
        EXPECT_TRUE(block.fnGetFileName().IsEmpty());
        EXPECT_EQ(fnPolicy().fnGetRamUsed(), 5000u);
        std::memset(block.fnGetBytes(), 1, 5000);
    }
    fnExpectNothingHeld();
}

TEST_F(PixelBlockTest, ABlockOnDiskDeletesItsFile) {
    fnPolicy().fnSetRamLimit(0);
    {
        const PixelBlock block(5000);
        EXPECT_TRUE(block.fnIsOnDisk());
        EXPECT_NE(block.fnGetFile(), kNoFile);
        EXPECT_NE(block.fnGetMapping(), kNoMapping);
        ASSERT_EQ(fnFiles().size(), 1u);
        EXPECT_EQ(fnFiles()[0], std::string(block.fnGetFileName()));
        std::memset(block.fnGetBytes(), 1, 5000);
    }
    EXPECT_TRUE(fnFiles().empty());
    fnExpectNothingHeld();
}

TEST_F(PixelBlockTest, MovingTransfersTheBlockAndLeavesTheSourceEmpty) {
    fnPolicy().fnSetRamLimit(0);
    {
        PixelBlock from(100);
        unsigned char* bytes = from.fnGetBytes();
        const std::string name(from.fnGetFileName());
        const PixelBlock to(std::move(from));
        fnExpectEmpty(from); // NOLINT(bugprone-use-after-move): that is the rule
        EXPECT_EQ(to.fnGetBytes(), bytes);
        EXPECT_EQ(to.fnGetSize(), 100u);
        EXPECT_EQ(std::string(to.fnGetFileName()), name);
        EXPECT_EQ(fnFiles().size(), 1u);
    }
    fnExpectNothingHeld();
}

TEST_F(PixelBlockTest, AssigningReleasesThePreviousBlock) {
    {
        PixelBlock block(1000);
        fnPolicy().fnSetRamLimit(0);
        PixelBlock onDisk(100);
        unsigned char* bytes = onDisk.fnGetBytes();
        block = std::move(onDisk);
        fnExpectEmpty(onDisk); // NOLINT(bugprone-use-after-move): that is the rule
        EXPECT_EQ(block.fnGetBytes(), bytes);
        EXPECT_EQ(fnPolicy().fnGetRamUsed(), 0u);
        EXPECT_EQ(fnFiles().size(), 1u);
        block = PixelBlock();
        EXPECT_TRUE(fnFiles().empty());
    }
    fnExpectNothingHeld();
}

TEST_F(PixelBlockTest, SelfMoveAssignmentKeepsTheBlock) {
    PixelBlock block(100);
    unsigned char* bytes = block.fnGetBytes();
    PixelBlock& same = block;
    block = std::move(same);
    EXPECT_EQ(block.fnGetBytes(), bytes);
    EXPECT_EQ(fnPolicy().fnGetRamUsed(), 100u);
}

TEST_F(PixelBlockTest, AnAdoptedBlockIsOwned) {
    fnPolicy().fnSetRamLimit(0);
    CqFileHandle file = kNoFile;
    CqMappingHandle mapping = kNoMapping;
    CString name;
    unsigned char* bytes = AllocPixelBuffer(100, file, mapping, name);
    {
        const PixelBlock block(bytes, 100, file, mapping, name);
        EXPECT_EQ(block.fnGetBytes(), bytes);
        EXPECT_EQ(block.fnGetSize(), 100u);
        EXPECT_EQ(block.fnGetFile(), file);
        EXPECT_EQ(block.fnGetMapping(), mapping);
        EXPECT_EQ(block.fnGetFileName(), name);
    }
    EXPECT_TRUE(fnFiles().empty());
    fnExpectNothingHeld();
}

TEST_F(PixelBlockTest, EachFailedStorageStepRaisesTheMemoryExceptionAndLeavesNothing) {
    fnPolicy().fnSetRamLimit(0);
    CqHeadlessScratch& scratch = *m_World->m_pScratch;
    for (CqHeadlessCalls* step : {&scratch.m_CreateName, &scratch.m_SetSize, &scratch.m_Reopen,
                                  &scratch.m_CreateMapping, &scratch.m_MapView}) {
        step->fnFail(1);
        PixelBlock kept;
        EXPECT_TRUE(fnRaisesMemoryException([&] { kept = PixelBlock(1000); }));
        fnExpectEmpty(kept);
        EXPECT_TRUE(fnFiles().empty());
        fnExpectNothingHeld();
    }
}

TEST_F(PixelBlockTest, EachFailedAllocationRaisesTheMemoryExceptionAndLeaksNothing) {
    fnPolicy().fnSetRamLimit(0);
    { const PixelBlock first(1000); } // the world's lasting allocations happen here
    const std::size_t failures = fnFailEachAllocation([&](CqAllocationFailure& failure) {
        fnRaisesMemoryException([] { PixelBlock(1000); });
        failure.fnEnd();
        fnExpectNothingHeld();
    });
    EXPECT_GE(failures, 2u);
}

} // namespace
