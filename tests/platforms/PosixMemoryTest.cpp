#include "platforms/posix/CqPosixMemory_p.h"
#include "tests/platforms/PosixTestTools.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <new>
#include <sstream>
#include <sys/mman.h>
#include <sys/resource.h>
#include <unistd.h>

using namespace q32::test;

namespace {

constexpr std::size_t kMega = std::size_t{1} << 20;

CqMemoryService& fnMemory() {
    static const CqPlatform platform = q32PosixPlatform();
    return *platform.m_pMemory;
}

/// Bytes of a line "<key>: <n> kB" of a system file.
std::size_t fnKiloBytes(const char* file, const std::string& key) {
    std::ifstream facts(file);
    for (std::string word; facts >> word;)
        if (word == key + ':') {
            std::size_t kilo = 0;
            facts >> kilo;
            return kilo * 1024;
        }
    return 0;
}

/// The system's flags of the range that holds `address`.
std::string fnRangeFlags(const void* address) {
    std::ifstream maps("/proc/self/smaps");
    const auto expected = reinterpret_cast<std::uintptr_t>(address);
    bool inside = false;
    for (std::string line; std::getline(maps, line);) {
        std::uintptr_t begin = 0;
        std::uintptr_t end = 0;
        char dash = 0;
        std::istringstream head(line);
        if (head >> std::hex >> begin >> dash >> end && dash == '-')
            inside = begin <= expected && expected < end;
        else if (inside && line.starts_with("VmFlags:"))
            return line + ' ';
    }
    return "";
}

bool fnIsAll(const char* bytes, std::size_t count, char value) {
    return std::all_of(bytes, bytes + count, [=](char byte) { return byte == value; });
}

/// Whether a write there ends the process.
bool fnIsForbidden(void* address) {
    return fnInChild([=]() -> std::string {
               ::signal(SIGSEGV, SIG_DFL); // a sanitizer would print first
               *static_cast<volatile char*>(address) = 1;
               return "";
           }) == "killed by signal " + std::to_string(SIGSEGV);
}

} // namespace

TEST(PosixMemory, ACommittedRangeIsZeroedAndWritableToItsLastByte) {
    for (const std::size_t size :
         {std::size_t{1}, std::size_t{4096}, 2 * kMega - 1, 2 * kMega, 5 * kMega + 17}) {
        char* const range = static_cast<char*>(fnMemory().fnReserve(size));
        ASSERT_NE(range, nullptr) << size;
        ASSERT_TRUE(fnMemory().fnCommit(range, size)) << size;
        EXPECT_TRUE(fnIsAll(range, size, 0)) << size;
        std::memset(range, 7, size);
        EXPECT_TRUE(fnIsAll(range, size, 7)) << size;
        fnMemory().fnDecommit(range, size);
        EXPECT_TRUE(fnMemory().fnRelease(range, size)) << size;
    }
}

TEST(PosixMemory, ARangeBeginsOnAPageAndALargeOneOnALargePage) {
    const auto page = static_cast<std::uintptr_t>(::sysconf(_SC_PAGESIZE));
    void* const small = fnMemory().fnReserve(100);
    void* const large = fnMemory().fnReserve(3 * kMega);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(small) % page, 0u);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(large) % (2 * kMega), 0u);
    fnMemory().fnRelease(small, 100);
    fnMemory().fnRelease(large, 3 * kMega);
}

TEST(PosixMemory, ALargeRangeRequestsLargePagesWhereTheSystemHasThem) {
    const std::size_t size = 4 * kMega;
    void* const range = fnMemory().fnReserve(size);
    ASSERT_TRUE(fnMemory().fnCommit(range, size));
    const bool hasLargePages = std::filesystem::exists("/sys/kernel/mm/transparent_hugepage");
    EXPECT_EQ(fnRangeFlags(range).find(" hg ") != std::string::npos, hasLargePages);
    fnMemory().fnRelease(range, size);
}

TEST(PosixMemory, AReservedRangeIsInaccessibleUntilItIsCommitted) {
    const std::size_t size = 3 * kMega;
    void* const range = fnMemory().fnReserve(size);
    EXPECT_TRUE(fnIsForbidden(range));
    ASSERT_TRUE(fnMemory().fnCommit(range, size));
    EXPECT_FALSE(fnIsForbidden(range));
    fnMemory().fnRelease(range, size);
}

TEST(PosixMemory, ADecommittedRangeReturnsItsMemoryAndKeepsItsAddress) {
    const std::size_t size = 64 * kMega;
    char* const range = static_cast<char*>(fnMemory().fnReserve(size));
    ASSERT_TRUE(fnMemory().fnCommit(range, size));
    std::memset(range, 1, size);
    const std::size_t full = fnKiloBytes("/proc/self/status", "VmRSS");
    fnMemory().fnDecommit(range, size);
    EXPECT_LE(fnKiloBytes("/proc/self/status", "VmRSS") + size * 9 / 10, full);
    EXPECT_TRUE(fnIsForbidden(range));
    // The address stays reserved: a mapping at exactly that address is refused.
    void* const other =
        ::mmap(range, size, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED_NOREPLACE, -1, 0);
    EXPECT_EQ(other, MAP_FAILED);
    ASSERT_TRUE(fnMemory().fnCommit(range, size));
    EXPECT_TRUE(fnIsAll(range, size, 0));
    EXPECT_TRUE(fnMemory().fnRelease(range, size));
}

TEST(PosixMemory, AReleaseReturnsTheWholeRange) {
    const std::size_t before = fnKiloBytes("/proc/self/status", "VmSize");
    for (int i = 0; i < 1000; ++i)
        EXPECT_TRUE(fnMemory().fnRelease(fnMemory().fnReserve(5 * kMega + 1), 5 * kMega + 1));
    EXPECT_LT(fnKiloBytes("/proc/self/status", "VmSize"), before + 64 * kMega);
}

TEST(PosixMemory, NothingIsReservedForASizeOfZeroOrOneBeyondTheAddressSpace) {
    EXPECT_EQ(fnMemory().fnReserve(0), nullptr);
    EXPECT_EQ(fnMemory().fnReserve(SIZE_MAX), nullptr);
    EXPECT_EQ(fnMemory().fnReserve(SIZE_MAX - 4 * kMega), nullptr);
    EXPECT_EQ(fnMemory().fnReserve(SIZE_MAX / 2), nullptr);
}

TEST(PosixMemory, ANullAddressIsNotReleased) {
    EXPECT_FALSE(fnMemory().fnRelease(nullptr, 4096));
}

TEST(PosixMemory, ARefusedCommitLeavesTheRangeReserved) {
    EXPECT_EQ(fnInChild([]() -> std::string {
                  const std::size_t held = fnKiloBytes("/proc/self/status", "VmData");
                  const rlimit limit{held + 64 * kMega, held + 64 * kMega};
                  Q32_WANT(::setrlimit(RLIMIT_DATA, &limit) == 0);
                  const std::size_t size = 256 * kMega;
                  void* const range = fnMemory().fnReserve(size);
                  Q32_WANT(range != nullptr);
                  Q32_WANT(!fnMemory().fnCommit(range, size));
                  Q32_WANT(::mmap(range, 4096, PROT_NONE,
                                  MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED_NOREPLACE, -1,
                                  0) == MAP_FAILED);
                  Q32_WANT(fnMemory().fnRelease(range, size));
                  return "";
              }),
              "");
}

TEST(PosixMemory, PhysicalMemoryIsThatOfTheMachine) {
    EXPECT_EQ(fnMemory().fnGetPhysicalBytes(), fnKiloBytes("/proc/meminfo", "MemTotal"));
}

TEST(PosixMemory, TheLimitLastReadHoldsWhenThereIsNoMemoryToReadIt) {
    static bool exhausted;
    exhausted = false;
    CqPosixMemory memory([] {
        if (exhausted)
            throw std::bad_alloc();
        return std::uint64_t{8} << 30;
    });
    exhausted = true;
    EXPECT_EQ(memory.fnGetBlockLimit(), std::uint64_t{4} << 30);
}

TEST(PosixMemory, BlocksMayHoldHalfOfTheMemoryThatTheProcessMayUse) {
    const auto limitOf = [](std::uint64_t (*usable)()) {
        return CqPosixMemory(usable).fnGetBlockLimit();
    };
    EXPECT_EQ(limitOf([] { return std::uint64_t{3} << 30; }), std::uint64_t{3} << 29);
    EXPECT_EQ(limitOf([] { return std::uint64_t{24} << 30; }), std::uint64_t{12} << 30);
    EXPECT_EQ(limitOf([] { return std::uint64_t{0}; }), kNoMemoryLimit) << "unknown";
    EXPECT_EQ(fnMemory().fnGetBlockLimit(), q32PosixUsableMemory() / 2);
    EXPECT_LE(q32PosixUsableMemory(), fnMemory().fnGetPhysicalBytes());
}
