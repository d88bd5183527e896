#include "tests/contract/ContractBackEnd.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <vector>

namespace {

class MemoryContract : public ContractTest {
protected:
    CqMemoryService& m_Memory = *m_World.m_Platform.m_pMemory;

    static bool fnIsZero(const void* address, std::size_t size) {
        const auto* bytes = static_cast<const std::uint8_t*>(address);
        return std::all_of(bytes, bytes + size, [](std::uint8_t byte) { return byte == 0; });
    }
};

TEST_P(MemoryContract, ACommittedRangeIsPageAlignedZeroedAndWritable) {
    for (const std::size_t size : {std::size_t{1}, std::size_t{4096}, std::size_t{1000001}}) {
        void* address = m_Memory.fnReserve(size);
        ASSERT_NE(address, nullptr);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(address) % 4096, 0u);
        ASSERT_TRUE(m_Memory.fnCommit(address, size));
        EXPECT_TRUE(fnIsZero(address, size));
        std::memset(address, 0xA5, size);
        EXPECT_EQ(static_cast<std::uint8_t*>(address)[size - 1], 0xA5);
        m_Memory.fnDecommit(address, size);
        EXPECT_TRUE(m_Memory.fnRelease(address, size));
    }
}

TEST_P(MemoryContract, ARangeCommittedAgainIsZeroAgain) {
    constexpr std::size_t kSize = 300000;
    void* address = m_Memory.fnReserve(kSize);
    ASSERT_NE(address, nullptr);
    ASSERT_TRUE(m_Memory.fnCommit(address, kSize));
    std::memset(address, 0x5A, kSize);
    m_Memory.fnDecommit(address, kSize);
    ASSERT_TRUE(m_Memory.fnCommit(address, kSize));
    EXPECT_TRUE(fnIsZero(address, kSize));
    m_Memory.fnDecommit(address, kSize);
    EXPECT_TRUE(m_Memory.fnRelease(address, kSize));
}

TEST_P(MemoryContract, ZeroBytesCantBeReserved) {
    EXPECT_EQ(m_Memory.fnReserve(0), nullptr);
}

TEST_P(MemoryContract, MoreThanTheAddressSpaceCantBeReserved) {
    EXPECT_EQ(m_Memory.fnReserve(SIZE_MAX), nullptr);
    EXPECT_EQ(m_Memory.fnReserve(SIZE_MAX / 2), nullptr);
}

TEST_P(MemoryContract, ANullAddressIsNotReleased) {
    EXPECT_FALSE(m_Memory.fnRelease(nullptr, 4096));
    EXPECT_FALSE(m_Memory.fnRelease(nullptr, 0));
}

TEST_P(MemoryContract, AReservedRangeThatWasNeverCommittedIsReleased) {
    void* address = m_Memory.fnReserve(123456);
    ASSERT_NE(address, nullptr);
    EXPECT_TRUE(m_Memory.fnRelease(address, 123456));
}

TEST_P(MemoryContract, RangesDontOverlap) {
    constexpr std::size_t kSize = 50000;
    std::vector<std::uint8_t*> ranges;
    for (std::uint8_t i = 0; i < 50; ++i) {
        auto* address = static_cast<std::uint8_t*>(m_Memory.fnReserve(kSize));
        ASSERT_NE(address, nullptr);
        ASSERT_TRUE(m_Memory.fnCommit(address, kSize));
        std::memset(address, i, kSize);
        ranges.push_back(address);
    }
    for (std::size_t i = 0; i < ranges.size(); ++i) {
        EXPECT_TRUE(std::all_of(ranges[i], ranges[i] + kSize,
                                [&](std::uint8_t byte) { return byte == i; }));
        m_Memory.fnDecommit(ranges[i], kSize);
        EXPECT_TRUE(m_Memory.fnRelease(ranges[i], kSize));
    }
}

TEST_P(MemoryContract, ARangeHeldBackIsHandedOutOnceAndAnotherStaysTheCallers) {
    constexpr std::size_t kSize = 1u << 20;
    for (const std::uint64_t limit : {std::uint64_t{0}, std::uint64_t{64} << 20}) {
        void* address = m_Memory.fnReserve(kSize);
        ASSERT_TRUE(m_Memory.fnCommit(address, kSize));
        std::memset(address, 0x5A, kSize);
        if (m_Memory.fnHoldBack(address, kSize, limit)) {
            EXPECT_NE(limit, 0u);
            EXPECT_GE(m_Memory.fnGetHeldBytes(), kSize);
            address = m_Memory.fnTakeHeld(kSize);
            ASSERT_NE(address, nullptr);
        } else {
            EXPECT_EQ(static_cast<std::uint8_t*>(address)[kSize - 1], 0x5A);
        }
        EXPECT_EQ(m_Memory.fnTakeHeld(kSize), nullptr);
        EXPECT_EQ(m_Memory.fnGetHeldBytes(), 0u);
        std::memset(address, 0xA5, kSize);
        m_Memory.fnDecommit(address, kSize);
        EXPECT_TRUE(m_Memory.fnRelease(address, kSize));
    }
}

TEST_P(MemoryContract, WhatIsHeldBackIsReleasedOnRequest) {
    constexpr std::size_t kSize = 1u << 20;
    for (const bool byAge : {false, true}) {
        void* address = m_Memory.fnReserve(kSize);
        ASSERT_TRUE(m_Memory.fnCommit(address, kSize));
        if (!m_Memory.fnHoldBack(address, kSize, kSize)) {
            m_Memory.fnDecommit(address, kSize);
            EXPECT_TRUE(m_Memory.fnRelease(address, kSize));
        } else {
            EXPECT_GT(m_Memory.fnReleaseHeld(std::chrono::hours(1)).count(), 0);
        }
        if (byAge)
            EXPECT_EQ(m_Memory.fnReleaseHeld({}).count(), 0);
        else
            m_Memory.fnTrimHeld(0);
        EXPECT_EQ(m_Memory.fnGetHeldBytes(), 0u);
    }
}

TEST_P(MemoryContract, TheMachineHasMemory) {
    EXPECT_GE(m_Memory.fnGetPhysicalBytes(), 1u << 20);
}

} // namespace

Q32_CONTRACT(MemoryContract, MEMORY);
