/// @file
/// The replaced functions themselves.

#include "tests/support/FailingCalls.h"

#include "tests/platforms/PosixTestTools.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace q32::test {
namespace {

int fnOpen(const Folder& folder) {
    return ::open(folder.fnPath("a").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
}

TEST(FailingCalls, TheChosenCallAloneFailsWithItsError) {
    const Folder folder;
    const CallFault fault("open", 2, EMFILE);
    const int first = fnOpen(folder);
    EXPECT_GE(first, 0);
    EXPECT_FALSE(fault.fnHappened());
    EXPECT_EQ(fnOpen(folder), -1);
    EXPECT_EQ(errno, EMFILE);
    EXPECT_TRUE(fault.fnHappened());
    const int third = fnOpen(folder);
    EXPECT_GE(third, 0);
    ::close(first);
    ::close(third);
}

TEST(FailingCalls, EachLaterCallFailsTooIfAllAreTo) {
    const Folder folder;
    const CallFault fault("open", 1, EACCES, true);
    EXPECT_EQ(fnOpen(folder), -1);
    EXPECT_EQ(fnOpen(folder), -1);
    CallFault::fnEnd();
    const int file = fnOpen(folder);
    EXPECT_GE(file, 0);
    ::close(file);
}

TEST(FailingCalls, AShortTransferIsHalf) {
    const Folder folder;
    const int file = fnOpen(folder);
    {
        const CallFault fault("pwrite", 1, kShortTransfer);
        EXPECT_EQ(::pwrite(file, "abcde", 5, 0), 3);
        EXPECT_EQ(::pwrite(file, "abcde", 5, 0), 5);
    }
    ::close(file);
}

TEST(FailingCalls, AFailedCloseHasClosedTheFile) {
    const Folder folder;
    const int file = fnOpen(folder);
    {
        const CallFault fault("close", 1, EIO);
        EXPECT_EQ(::close(file), -1);
        EXPECT_EQ(errno, EIO);
    }
    EXPECT_EQ(::fcntl(file, F_GETFD), -1);
}

TEST(FailingCalls, OtherThreadsAreLeftAlone) {
    const Folder folder;
    const CallFault fault("open", 1, EMFILE);
    int file = -1;
    std::thread([&] { file = fnOpen(folder); }).join();
    EXPECT_GE(file, 0);
    EXPECT_FALSE(fault.fnHappened());
    ::close(file);
}

TEST(FailingCalls, BlocksAndMappingsAreCounted) {
    const std::size_t blocks = fnCountBlocks();
    const std::int64_t mapped = fnCountMapped();
    void* volatile block = std::malloc(100);
    void* const range = ::mmap(nullptr, 8192, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    EXPECT_EQ(fnCountBlocks(), blocks + 1);
    EXPECT_EQ(fnCountMapped(), mapped + 8192);
    std::free(block);
    ::munmap(range, 8192);
    EXPECT_EQ(fnCountBlocks(), blocks);
    EXPECT_EQ(fnCountMapped(), mapped);
    const CallFault fault("malloc", 1, ENOMEM);
    void* volatile none = std::malloc(100);
    EXPECT_EQ(none, nullptr);
}

TEST(FailingCalls, AProcessIsKilledBeforeOrAfterItsCall) {
    const Folder folder;
    for (const bool after : {false, true}) {
        const pid_t child = ::fork();
        if (child == 0) {
            const std::string path = folder.fnPath(after ? "after" : "before");
            fnKillAtCall(2, after);
            ::access("/", F_OK);
            ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
            ::_exit(0);
        }
        int status = 0;
        ASSERT_EQ(::waitpid(child, &status, 0), child);
        EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL);
        EXPECT_EQ(folder.fnCount(), after ? 1u : 0u);
    }
}

TEST(FailingCalls, EveryFunctionHasAnError) {
    std::size_t memory = 0;
    for (const FailingFunction& function : fnFailingFunctions()) {
        EXPECT_FALSE(function.m_Errors.empty()) << function.m_szName;
        memory += function.m_bMemory;
    }
    EXPECT_EQ(memory, 3u);
}

} // namespace
} // namespace q32::test
