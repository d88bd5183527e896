// Freed memory that is held back.
#include "platforms/posix/CqPosixMemory_p.h"
#include "q32Base/q32Base.h"
#include "tests/platforms/PosixTestTools.h"
#include "tests/support/Sanitizers.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <map>
#include <random>
#include <string>
#include <sys/resource.h>
#include <vector>

using namespace q32::test;
using namespace std::chrono_literals;
using q32::posix::HeldRanges;

namespace {

constexpr std::size_t kMega = std::size_t{1} << 20;
constexpr std::size_t kPage = 4096;

HeldRanges::Time g_Now; ///< what the clock of the tests shows

HeldRanges::Time fnTestClock() {
    return g_Now;
}

/// The sum of a field of this process's status, in bytes.
std::size_t fnStatus(const std::string& key) {
    std::ifstream status("/proc/self/status");
    for (std::string word; status >> word;)
        if (word == key + ':') {
            std::size_t kilo = 0;
            status >> kilo;
            return kilo * 1024;
        }
    return 0;
}

class PosixHeldMemory : public testing::Test {
protected:
    char* fnMake(std::size_t size, int value = 1) {
        void* const block = m_Memory.fnReserve(size);
        EXPECT_TRUE(m_Memory.fnCommit(block, size)) << size;
        std::memset(block, value, size);
        return static_cast<char*>(block);
    }
    void fnDrop(void* block, std::size_t size) {
        m_Memory.fnDecommit(block, size);
        m_Memory.fnRelease(block, size);
    }
    bool fnHold(void* block, std::size_t size, std::uint64_t limit = 1024 * kMega) {
        return m_Memory.fnHoldBack(block, size, limit);
    }

    int m_nReports = 0;
    CqPosixMemory m_Memory{[] { return std::uint64_t{0}; }, [this] { ++m_nReports; }, fnTestClock};
};

TEST_F(PosixHeldMemory, AFreedRangeIsHandedOutAgain) {
    constexpr std::size_t kSize = 3 * kMega + 5;
    char* const block = fnMake(kSize);
    EXPECT_EQ(m_Memory.fnTakeHeld(kSize), nullptr);
    ASSERT_TRUE(fnHold(block, kSize));
    EXPECT_EQ(m_Memory.fnGetHeldBytes(), 3 * kMega + kPage);
    EXPECT_EQ(m_nReports, 1);
    ASSERT_EQ(m_Memory.fnTakeHeld(kSize), block);
    EXPECT_EQ(m_Memory.fnGetHeldBytes(), 0u);
    EXPECT_EQ(m_Memory.fnTakeHeld(kSize), nullptr) << "it is taken once";
    std::memset(block, 2, kSize);
    EXPECT_EQ(block[kSize - 1], 2);
    fnDrop(block, kSize);
}

TEST_F(PosixHeldMemory, ARangeIsOnlyTakenForARequestOfAboutItsSizeAndIsCutToThat) {
    char* const block = fnMake(5 * kMega);
    ASSERT_TRUE(fnHold(block, 5 * kMega));
    EXPECT_EQ(m_Memory.fnTakeHeld(5 * kMega + 1), nullptr) << "too small";
    EXPECT_EQ(m_Memory.fnTakeHeld(4 * kMega - kPage), nullptr) << "too large";
    ASSERT_EQ(m_Memory.fnTakeHeld(4 * kMega), block);
    EXPECT_EQ(m_Memory.fnGetHeldBytes(), 0u);
    std::memset(block, 2, 4 * kMega);
    fnDrop(block, 4 * kMega);
}

TEST_F(PosixHeldMemory, TheSmallestRangeThatFitsIsTaken) {
    char* const large = fnMake(1100 * 1024);
    char* const small = fnMake(1050 * 1024);
    ASSERT_TRUE(fnHold(small, 1050 * 1024));
    ASSERT_TRUE(fnHold(large, 1100 * 1024));
    EXPECT_EQ(m_Memory.fnTakeHeld(1 * kMega), small);
    EXPECT_EQ(m_Memory.fnTakeHeld(1 * kMega), large);
    fnDrop(small, 1 * kMega);
    fnDrop(large, 1 * kMega);
}

TEST_F(PosixHeldMemory, TheOldestRangesMakeSpaceForANewOne) {
    char* const first = fnMake(4 * kMega);
    char* const second = fnMake(3 * kMega);
    char* const third = fnMake(2 * kMega);
    ASSERT_TRUE(fnHold(first, 4 * kMega, 7 * kMega));
    ASSERT_TRUE(fnHold(second, 3 * kMega, 7 * kMega));
    ASSERT_TRUE(fnHold(third, 2 * kMega, 7 * kMega));
    EXPECT_EQ(m_Memory.fnGetHeldBytes(), 5 * kMega);
    EXPECT_EQ(m_Memory.fnTakeHeld(4 * kMega), nullptr);
    m_Memory.fnTrimHeld(2 * kMega);
    EXPECT_EQ(m_Memory.fnGetHeldBytes(), 2 * kMega);
    m_Memory.fnTrimHeld(2 * kMega - 1);
    EXPECT_EQ(m_Memory.fnGetHeldBytes(), 0u);
}

TEST_F(PosixHeldMemory, SmallRangesAndThoseBeyondTheLimitAreNotHeldBack) {
    for (const auto& [size, limit] :
         {std::pair{60 * kPage / 4, 100 * kMega}, {kMega, kMega - 1}, {kMega, std::size_t{0}}}) {
        char* const block = fnMake(size, 7);
        EXPECT_FALSE(fnHold(block, size, limit));
        EXPECT_EQ(block[size - 1], 7) << "it stays the caller's";
        fnDrop(block, size);
    }
    EXPECT_EQ(m_nReports, 0);
}

TEST_F(PosixHeldMemory, RangesAreReleasedByAge) {
    char* const first = fnMake(2 * kMega);
    char* const second = fnMake(3 * kMega);
    ASSERT_TRUE(fnHold(first, 2 * kMega));
    g_Now += 3s;
    ASSERT_TRUE(fnHold(second, 3 * kMega));
    EXPECT_EQ(m_Memory.fnReleaseHeld(4s), 1s) << "the first has 3 s";
    g_Now += 999500us;
    EXPECT_EQ(m_Memory.fnReleaseHeld(4s), 1ms) << "rounded up";
    EXPECT_EQ(m_Memory.fnGetHeldBytes(), 5 * kMega);
    g_Now += 500us;
    EXPECT_EQ(m_Memory.fnReleaseHeld(4s), 3s);
    EXPECT_EQ(m_Memory.fnGetHeldBytes(), 3 * kMega);
    g_Now += 3s;
    EXPECT_EQ(m_Memory.fnReleaseHeld(4s), 0s);
    EXPECT_EQ(m_Memory.fnGetHeldBytes(), 0u);
}

TEST_F(PosixHeldMemory, EachRequestReleasesWhatIsTooOld) {
    for (const bool take : {true, false}) {
        ASSERT_TRUE(fnHold(fnMake(2 * kMega), 2 * kMega));
        g_Now += kHeldMemoryAge;
        if (take)
            EXPECT_EQ(m_Memory.fnTakeHeld(2 * kMega), nullptr);
        else
            ASSERT_TRUE(fnHold(fnMake(1 * kMega), 1 * kMega));
        EXPECT_EQ(m_Memory.fnGetHeldBytes(), take ? 0 : 1 * kMega);
    }
}

TEST_F(PosixHeldMemory, ReleasedRangesGoBackToTheSystem) {
    const std::size_t before = fnStatus("VmSize");
    for (int i = 0; i < 200; ++i)
        ASSERT_TRUE(fnHold(fnMake(5 * kMega), 5 * kMega, 50 * kMega));
    EXPECT_LT(fnStatus("VmSize"), before + 64 * kMega);
    EXPECT_EQ(m_Memory.fnGetHeldBytes(), 50 * kMega);
    const std::size_t resident = fnStatus("VmRSS");
    g_Now += kHeldMemoryAge;
    EXPECT_EQ(m_Memory.fnReleaseHeld(kHeldMemoryAge), 0s);
    EXPECT_LT(fnStatus("VmSize"), before + 8 * kMega);
    EXPECT_LT(fnStatus("VmRSS") + 40 * kMega, resident);
}

TEST_F(PosixHeldMemory, WithManyRangesTheOldestGo) {
    for (int i = 0; i < 300; ++i)
        ASSERT_TRUE(fnHold(fnMake(64 * 1024), 64 * 1024));
    EXPECT_EQ(m_Memory.fnGetHeldBytes(), 64u * 64 * 1024);
    void* last = fnMake(96 * 1024);
    ASSERT_TRUE(fnHold(last, 96 * 1024));
    EXPECT_EQ(m_Memory.fnTakeHeld(96 * 1024), last);
    fnDrop(last, 96 * 1024);
}

TEST_F(PosixHeldMemory, RandomRequestsNeverShareAByteAndCountExactly) {
    struct Held {
        std::size_t m_nBytes;
        HeldRanges::Time m_Since;
    };
    struct Live {
        char* m_pBytes;
        std::size_t m_nSize;
        char m_nValue;
    };
    std::mt19937 random(7);
    std::vector<Held> held; // the oldest first
    std::vector<Live> live;
    const auto pagesOf = [](std::size_t size) { return (size + kPage - 1) / kPage * kPage; };
    const auto age = [&](std::chrono::milliseconds limit) {
        while (!held.empty() && g_Now - held.front().m_Since >= limit)
            held.erase(held.begin());
    };
    const auto bytesHeld = [&] {
        std::size_t bytes = 0;
        for (const Held& range : held)
            bytes += range.m_nBytes;
        return bytes;
    };
    for (int step = 0; step < 3000; ++step) {
        g_Now += std::chrono::milliseconds(random() % 40);
        const auto what = static_cast<unsigned>(random() % 100);
        if (what < 48 && live.size() < 40) {
            const std::size_t size = 1 + random() % (random() % 4 == 0 ? 3 * kMega : 300 * 1024);
            const std::size_t need = pagesOf(size);
            age(kHeldMemoryAge);
            auto best = held.end();
            for (auto at = held.begin(); at != held.end(); ++at)
                if (at->m_nBytes >= need && 4 * (at->m_nBytes - need) <= need &&
                    (best == held.end() || at->m_nBytes < best->m_nBytes))
                    best = at;
            void* block = m_Memory.fnTakeHeld(size);
            ASSERT_EQ(block != nullptr, best != held.end()) << step;
            if (block)
                held.erase(best);
            else
                block = fnMake(size);
            const auto value = static_cast<char>(random());
            std::memset(block, value, size);
            live.push_back({static_cast<char*>(block), size, value});
        } else if (what < 97 && !live.empty()) {
            const std::size_t index = random() % live.size();
            const auto [bytes, size, value] = live[index];
            live.erase(live.begin() + static_cast<std::ptrdiff_t>(index));
            ASSERT_EQ(std::count(bytes, bytes + size, value), static_cast<std::ptrdiff_t>(size));
            const std::size_t limit = random() % 3 == 0 ? random() % (8 * kMega) : 8 * kMega;
            const std::size_t need = pagesOf(size);
            const bool expected = need >= 64 * 1024 && need <= limit;
            ASSERT_EQ(fnHold(bytes, size, limit), expected) << step;
            if (!expected) {
                fnDrop(bytes, size);
            } else {
                age(kHeldMemoryAge);
                while (bytesHeld() > limit - need)
                    held.erase(held.begin());
                if (held.size() == 64)
                    held.erase(held.begin());
                held.push_back({need, g_Now});
            }
        } else if (what == 98) {
            const std::chrono::milliseconds limit(random() % 2000);
            age(limit);
            const auto left = m_Memory.fnReleaseHeld(limit);
            ASSERT_EQ(left.count(),
                      held.empty() ? 0 : (held.front().m_Since + limit - g_Now) / 1ms);
        } else if (what == 99) {
            const std::size_t limit = random() % (4 * kMega);
            m_Memory.fnTrimHeld(limit);
            while (bytesHeld() > limit)
                held.erase(held.begin());
        }
        ASSERT_EQ(m_Memory.fnGetHeldBytes(), bytesHeld()) << step;
    }
    for (const Live& block : live)
        fnDrop(block.m_pBytes, block.m_nSize);
}

TEST_F(PosixHeldMemory, WhatTheSystemRefusesIsRequestedAgainWithoutIt) {
    EXPECT_EQ(fnInChild([this]() -> std::string {
                  constexpr std::size_t kSize = 200 * kMega;
                  Q32_WANT(fnHold(fnMake(kSize), kSize));
                  const std::size_t data = fnStatus("VmData") + 100 * kMega;
                  const rlimit limit{data, data};
                  Q32_WANT(::setrlimit(RLIMIT_DATA, &limit) == 0);
                  void* const block = m_Memory.fnReserve(kSize + 50 * kMega);
                  Q32_WANT(block && m_Memory.fnCommit(block, kSize + 50 * kMega));
                  Q32_WANT(m_Memory.fnGetHeldBytes() == 0);
                  return "";
              }),
              "");
    EXPECT_EQ(fnInChild([this]() -> std::string {
                  constexpr std::size_t kSize = 200 * kMega;
                  Q32_WANT(fnHold(fnMake(kSize), kSize));
                  const std::size_t space = fnStatus("VmSize") + 100 * kMega;
                  const rlimit limit{space, space};
                  Q32_WANT(::setrlimit(RLIMIT_AS, &limit) == 0);
                  Q32_WANT(m_Memory.fnReserve(kSize + 50 * kMega) != nullptr);
                  Q32_WANT(m_Memory.fnGetHeldBytes() == 0);
                  return "";
              }),
              "");
}

TEST_F(PosixHeldMemory, AForkedChildAndItsParentHandOutCopiesOfTheirOwn) {
    char* const block = fnMake(4 * kMega);
    ASSERT_TRUE(fnHold(block, 4 * kMega));
    const Holder child([&]() -> std::string {
        Q32_WANT(m_Memory.fnTakeHeld(4 * kMega) == block);
        std::memset(block, 3, 4 * kMega);
        return "";
    });
    EXPECT_EQ(child.fnFound(), "");
    ASSERT_EQ(m_Memory.fnTakeHeld(4 * kMega), block);
    std::memset(block, 4, 4 * kMega);
    EXPECT_EQ(std::count(block, block + 4 * kMega, 4), static_cast<std::ptrdiff_t>(4 * kMega));
    fnDrop(block, 4 * kMega);
}

TEST_F(PosixHeldMemory, TheAddressSanitizerSeesTheUseOfAFreedRange) {
    char* const block = fnMake(4 * kMega);
    ASSERT_TRUE(fnHold(block, 4 * kMega));
    if (kAddressSanitizer) {
        EXPECT_DEATH(block[1000] = 1, "use-after-poison");
    }
    ASSERT_EQ(m_Memory.fnTakeHeld(4 * kMega), block);
    block[1000] = 1;
    fnDrop(block, 4 * kMega);
}

} // namespace
