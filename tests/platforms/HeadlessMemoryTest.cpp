#include "platforms/headless/CqHeadlessMemory.h"

#include <gtest/gtest.h>

#include <memory>

namespace {

struct HeadlessMemory : testing::Test {
    std::shared_ptr<CqHeadlessMisuses> m_pMisuses = std::make_shared<CqHeadlessMisuses>();
    CqHeadlessMemory m_Memory{1000, m_pMisuses};
};

} // namespace

TEST_F(HeadlessMemory, TheNthReservationFails) {
    m_Memory.m_Reserve.fnFail(2);
    void* first = m_Memory.fnReserve(10);
    EXPECT_NE(first, nullptr);
    EXPECT_EQ(m_Memory.fnReserve(10), nullptr);
    void* third = m_Memory.fnReserve(10);
    EXPECT_NE(third, nullptr);
    EXPECT_EQ(m_Memory.m_Reserve.fnGetCount(), 3u);
    EXPECT_EQ(m_Memory.m_Reserve.fnGetFailed(), 1u);
    EXPECT_TRUE(m_Memory.fnRelease(first, 10));
    EXPECT_TRUE(m_Memory.fnRelease(third, 10));
}

TEST_F(HeadlessMemory, ARangeWhoseCommitFailedStaysReservedAndShowsAsALeak) {
    void* range = m_Memory.fnReserve(5000);
    m_Memory.m_Commit.fnFail();
    EXPECT_FALSE(m_Memory.fnCommit(range, 5000));
    EXPECT_FALSE(m_Memory.fnRelease(nullptr, 5000));
    EXPECT_EQ(m_Memory.fnGetReservedRanges(), 1u);
    EXPECT_EQ(m_Memory.fnGetCommittedRanges(), 0u);
    EXPECT_EQ(m_Memory.fnGetReleased(), 0u);
    EXPECT_TRUE(m_pMisuses->fnGetAll().empty());
    EXPECT_TRUE(m_Memory.fnRelease(range, 5000));
    EXPECT_EQ(m_Memory.fnGetReservedRanges(), 0u);
    EXPECT_EQ(m_Memory.fnGetReleased(), 1u);
}

TEST_F(HeadlessMemory, CommittedBytesAreCounted) {
    void* range = m_Memory.fnReserve(5000);
    EXPECT_EQ(m_Memory.fnGetCommittedBytes(), 0u);
    EXPECT_TRUE(m_Memory.fnCommit(range, 5000));
    EXPECT_EQ(m_Memory.fnGetCommittedBytes(), 5000u);
    m_Memory.fnDecommit(range, 5000);
    EXPECT_EQ(m_Memory.fnGetCommittedBytes(), 0u);
    EXPECT_TRUE(m_Memory.fnRelease(range, 5000));
}

TEST_F(HeadlessMemory, MisusesAreReported) {
    int outside = 0;
    EXPECT_FALSE(m_Memory.fnCommit(&outside, 4));
    EXPECT_FALSE(m_Memory.fnRelease(&outside, 4));
    void* range = m_Memory.fnReserve(100);
    EXPECT_FALSE(m_Memory.fnRelease(range, 99));
    EXPECT_TRUE(m_Memory.fnRelease(range, 100));
    EXPECT_FALSE(m_Memory.fnRelease(range, 100));
    EXPECT_EQ(m_pMisuses->fnGetAll().size(), 4u);
}

TEST_F(HeadlessMemory, PhysicalMemoryIsWhatTheScriptSets) {
    EXPECT_EQ(m_Memory.fnGetPhysicalBytes(), 1000u);
    m_Memory.fnSetPhysicalBytes(0x1'0000'0000u);
    EXPECT_EQ(m_Memory.fnGetPhysicalBytes(), 0x1'0000'0000u);
}

TEST(HeadlessCalls, PermanentFailureEndsOnRequest) {
    CqHeadlessCalls calls;
    EXPECT_TRUE(calls.fnPass());
    calls.fnFail(2, CqHeadlessCalls::kForever);
    EXPECT_TRUE(calls.fnPass());
    EXPECT_FALSE(calls.fnPass());
    EXPECT_FALSE(calls.fnPass());
    calls.fnFailNever();
    EXPECT_TRUE(calls.fnPass());
    EXPECT_EQ(calls.fnGetCount(), 5u);
    EXPECT_EQ(calls.fnGetFailed(), 2u);
}
