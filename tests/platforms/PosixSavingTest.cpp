/// @file
/// Files are replaced whole or not at all, whatever fails. Kills are in tests/faults/KillTest.cpp.

#include "tests/platforms/PosixScratchTools.h"
#include "tests/support/FailingAllocator.h"
#include "tests/support/FailingCalls.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <sys/stat.h>
#include <unistd.h>

using namespace q32::test;

namespace {

std::shared_ptr<CqFileService> fnFiles() {
    return q32PosixPlatform().m_pFiles;
}

/// Begins to replace a file.
std::unique_ptr<CqFileReplacement> fnBegin(const std::string& name, const std::string& text,
                                           CQ_FILE_CAUSE* cause = nullptr) {
    CQ_FILE_CAUSE found = FILE_CAUSE_NONE;
    auto made = fnFiles()->fnOpenReplacement(name.c_str(), found);
    if (made && found == FILE_CAUSE_NONE)
        found = made->fnGetStream().fnWrite(text.data(), text.size());
    if (cause)
        *cause = found;
    return made;
}

CQ_FILE_CAUSE fnSave(const std::string& name, const std::string& text) {
    CQ_FILE_CAUSE cause = FILE_CAUSE_NONE;
    const auto made = fnBegin(name, text, &cause);
    return made && cause == FILE_CAUSE_NONE ? made->fnCommit() : cause;
}

bool fnPut(const std::string& name, const std::string& text) {
    return fnFiles()->fnUpdateText(name.c_str(), [&](std::string& all) {
        all = text;
        return true;
    });
}

mode_t fnMode(const std::string& path) {
    struct stat facts {};
    return ::stat(path.c_str(), &facts) == 0 ? facts.st_mode & 07777 : 0;
}

/// The names of new files that haven't taken their place, or never will.
std::vector<std::string> fnHidden(const Folder& folder) {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder.fnPath()))
        if (entry.path().filename().string().starts_with(".q32save-"))
            names.push_back(entry.path().filename().string());
    return names;
}

std::ptrdiff_t fnCountDescriptors() {
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
}

/// Sets the umask, and restores it.
class Umask {
public:
    explicit Umask(mode_t mask) : m_nBefore(::umask(mask)) {}
    ~Umask() { ::umask(m_nBefore); }
    Umask(const Umask&) = delete;
    Umask& operator=(const Umask&) = delete;

private:
    mode_t m_nBefore;
};

void fnPrepare(const Folder& folder, bool exists) {
    std::filesystem::remove(folder.fnPath("a"));
    if (exists)
        folder.fnWrite("a", "old");
}

bool fnSaveEither(const Folder& folder, bool settings) {
    return settings ? fnPut(folder.fnName("a"), "new")
                    : fnSave(folder.fnName("a"), "new") == FILE_CAUSE_NONE;
}

/// The calls of the system that saving makes.
std::vector<std::string> fnCalled(const Folder& folder, bool settings, bool exists) {
    fnPrepare(folder, exists);
    std::vector<std::string> called;
    const CallCount count;
    EXPECT_TRUE(fnSaveEither(folder, settings));
    const auto functions = fnFailingFunctions();
    for (std::size_t i = 0; i < functions.size(); ++i)
        if (!functions[i].m_bMemory && CallCount::fnOf(i) != 0)
            called.emplace_back(functions[i].m_szName);
    return called;
}

constexpr char kLeftover[] = ".q32save-0123456789abcdef";

} // namespace

TEST(PosixSaving, TheNewFileIsTheUsersAloneUntilItTakesThePlace) {
    const Folder folder;
    const Umask umask(0);
    folder.fnWrite("a.png", "old");
    ::chmod(folder.fnPath("a.png").c_str(), 0640);
    const auto made = fnBegin(folder.fnName("a.png"), "new");
    ASSERT_EQ(fnHidden(folder).size(), 1u);
    EXPECT_EQ(fnMode(folder.fnPath(fnHidden(folder)[0])), 0600u);
    EXPECT_EQ(folder.fnRead("a.png"), "old");
    EXPECT_EQ(made->fnCommit(), FILE_CAUSE_NONE);
    EXPECT_EQ(fnMode(folder.fnPath("a.png")), 0640u);
    EXPECT_EQ(folder.fnRead("a.png"), "new");
    EXPECT_EQ(folder.fnCount(), 1u);
    EXPECT_EQ(made->fnCommit(), FILE_CAUSE_INVALID) << "only once";
}

TEST(PosixSaving, AFileAtAFreeNameHasTheModeOfAnyNewFile) {
    const Folder folder;
    for (const mode_t mask : {0022u, 0077u, 0027u, 0u}) {
        const Umask umask(mask);
        const std::string name = "a" + std::to_string(mask);
        EXPECT_EQ(fnSave(folder.fnName(name), "x"), FILE_CAUSE_NONE);
        EXPECT_EQ(fnMode(folder.fnPath(name)), 0666u & ~mask);
        EXPECT_TRUE(fnPut(folder.fnName("settings"), "x"));
        EXPECT_EQ(fnMode(folder.fnPath("settings")), 0600u);
        std::filesystem::remove(folder.fnPath("settings"));
    }
    EXPECT_TRUE(fnHidden(folder).empty());
}

TEST(PosixSaving, WhoMayNotKeepOwnerAndGroupGrantsNobodyMore) {
    const Folder folder;
    struct Case {
        mode_t m_nOld;
        mode_t m_nNew;
    };
    for (const Case& mode :
         {Case{06775, 0755}, Case{0640, 0600}, Case{01664, 01644}, Case{0606, 0606}}) {
        folder.fnWrite("a", "old");
        ::chmod(folder.fnPath("a").c_str(), mode.m_nOld);
        {
            const CallFault fault("fchown", 1, EPERM, true);
            EXPECT_EQ(fnSave(folder.fnName("a"), "new"), FILE_CAUSE_NONE);
        }
        EXPECT_EQ(fnMode(folder.fnPath("a")), mode.m_nNew) << mode.m_nOld;
    }
    // The group alone may be kept.
    ::chmod(folder.fnPath("a").c_str(), 06775);
    const CallFault fault("fchown", 1, EPERM);
    EXPECT_EQ(fnSave(folder.fnName("a"), "new"), FILE_CAUSE_NONE);
    EXPECT_EQ(fnMode(folder.fnPath("a")), 0775u);
}

TEST(PosixSaving, ALinkStaysAndItsTargetIsReplacedEvenOnAnotherDisk) {
    const Folder folder;
    std::filesystem::create_directory(folder.fnPath("deep"));
    folder.fnWrite("deep/real", "old");
    std::filesystem::create_symlink("deep/real", folder.fnPath("link"));
    EXPECT_EQ(fnSave(folder.fnName("link"), "new"), FILE_CAUSE_NONE);
    EXPECT_EQ(folder.fnRead("deep/real"), "new");
    EXPECT_TRUE(std::filesystem::is_symlink(folder.fnPath("link")));

    const std::string shared = "/dev/shm/q32saving" + std::to_string(::getpid());
    std::ofstream(shared) << "old";
    std::filesystem::create_symlink(shared, folder.fnPath("far"));
    EXPECT_EQ(fnSave(folder.fnName("far"), "new"), FILE_CAUSE_NONE);
    std::string text;
    std::ifstream(shared) >> text;
    EXPECT_EQ(text, "new");
    std::filesystem::remove(shared);

    std::filesystem::create_symlink("ring", folder.fnPath("ring"));
    EXPECT_EQ(fnSave(folder.fnName("ring"), "new"), FILE_CAUSE_BAD_PATH);
}

TEST(PosixSaving, WithoutACommitNothingIsLeft) {
    const Folder folder;
    folder.fnWrite("a", "old");
    fnBegin(folder.fnName("a"), "new").reset();
    EXPECT_EQ(folder.fnCount(), 1u);
    const auto made = fnBegin(folder.fnName("a"), "new");
    EXPECT_EQ(made->fnGetStream().fnClose(), FILE_CAUSE_NONE);
    EXPECT_EQ(made->fnCommit(), FILE_CAUSE_INVALID);
    EXPECT_EQ(folder.fnRead("a"), "old");
}

TEST(PosixSaving, TwoReplacementsOfOneFileDoNotMeet) {
    const Folder folder;
    const auto first = fnBegin(folder.fnName("a"), "first");
    const auto second = fnBegin(folder.fnName("a"), "second");
    EXPECT_EQ(fnHidden(folder).size(), 2u) << "and neither takes the other for a leftover";
    EXPECT_EQ(second->fnCommit(), FILE_CAUSE_NONE);
    EXPECT_EQ(first->fnCommit(), FILE_CAUSE_NONE);
    EXPECT_EQ(folder.fnRead("a"), "first");
    EXPECT_EQ(folder.fnCount(), 1u);
}

TEST(PosixSaving, WhatAKilledProcessLeftIsDeletedByTheNextSave) {
    const Folder folder;
    {
        Holder holder([&]() -> std::string {
            static std::unique_ptr<CqFileReplacement> held;
            held = fnBegin(folder.fnName("a"), "half a pic");
            return held ? "" : "not begun";
        });
        ASSERT_EQ(holder.fnFound(), "");
        EXPECT_EQ(fnSave(folder.fnName("b"), "x"), FILE_CAUSE_NONE);
        EXPECT_EQ(fnHidden(folder).size(), 1u) << "it is still being written";
    }
    EXPECT_EQ(fnHidden(folder).size(), 1u);
    EXPECT_EQ(fnSave(folder.fnName("b"), "x"), FILE_CAUSE_NONE);
    EXPECT_TRUE(fnHidden(folder).empty());
    folder.fnWrite(kLeftover, "half a te");
    EXPECT_TRUE(fnPut(folder.fnName("Qkz.cfg"), "text"));
    EXPECT_TRUE(fnHidden(folder).empty());
}

TEST(PosixSaving, OnlyLeftoversAreDeleted) {
    const Folder folder;
    for (const char* name :
         {".q32save-", ".q32save-0123456789abcde", ".q32save-0123456789abcdeg",
          ".q32save-0123456789abcdef0", ".q32save-0123456789ABCDEF", "x.q32save-0123456789abcdef"})
        folder.fnWrite(name, "somebody's");
    folder.fnWrite("victim", "precious");
    std::filesystem::create_symlink("victim", folder.fnPath(".q32save-1111111111111111"));
    std::filesystem::create_directory(folder.fnPath(".q32save-2222222222222222"));
    ASSERT_EQ(::mkfifo(folder.fnPath(".q32save-3333333333333333").c_str(), 0600), 0);
    folder.fnWrite(".q32save-4444444444444444", "another user's");
    const bool other =
        ::chown(folder.fnPath(".q32save-4444444444444444").c_str(), 65534, 65534) == 0;
    const std::size_t before = folder.fnCount();
    EXPECT_EQ(fnSave(folder.fnName("a"), "x"), FILE_CAUSE_NONE);
    EXPECT_EQ(folder.fnCount(), before + (other ? 1 : 0));
    EXPECT_EQ(folder.fnRead("victim"), "precious");
}

TEST(PosixSaving, WorksOnAFileSystemWithoutLocks) {
    const Folder folder;
    folder.fnWrite("a", "old");
    for (const int error : {ENOLCK, EOPNOTSUPP, ENOSYS, EINVAL}) {
        const CallFault fault("flock", 1, error, true);
        for (int i = 0; i < (error == ENOLCK ? 101 : 2); ++i)
            ASSERT_EQ(fnSave(folder.fnName("a"), std::to_string(i)), FILE_CAUSE_NONE);
        EXPECT_EQ(folder.fnRead("a"), error == ENOLCK ? "100" : "1");
        EXPECT_EQ(folder.fnCount(), 1u);
        EXPECT_TRUE(fnPut(folder.fnName("Qkz.cfg"), "text"));
        EXPECT_EQ(folder.fnRead("Qkz.cfg"), "text");
        EXPECT_EQ(folder.fnCount(), 3u) << "with the lock's own file";
        std::filesystem::remove(folder.fnPath("Qkz.cfg"));
        std::filesystem::remove(folder.fnPath("Qkz.cfg.lock"));

        // There a file that nobody holds can't be distinguished from one that is being written.
        folder.fnWrite(kLeftover, "half a pic");
        ASSERT_EQ(fnSave(folder.fnName("a"), "x"), FILE_CAUSE_NONE);
        EXPECT_EQ(fnHidden(folder).size(), 1u);
        const timespec yesterday[2] = {{::time(nullptr) - 90000, 0}, {::time(nullptr) - 90000, 0}};
        ::utimensat(AT_FDCWD, folder.fnPath(kLeftover).c_str(), yesterday, 0);
        ASSERT_EQ(fnSave(folder.fnName("a"), "x"), FILE_CAUSE_NONE);
        EXPECT_TRUE(fnHidden(folder).empty());
    }
}

TEST(PosixSaving, EachFailedCallKeepsTheOldFileOrSavesTheNewOne) {
    const Folder folder;
    for (const bool settings : {false, true}) {
        for (const bool exists : {false, true}) {
            int failed = 0;
            int saved = 0;
            for (const std::string& function : fnCalled(folder, settings, exists)) {
                constexpr int kErrors[] = {EIO, ENOSPC, EACCES, EINTR, ENOENT, EMFILE};
                for (std::size_t first = 0; first < 2; ++first) {
                    for (std::size_t nth = 1;; ++nth) {
                        const int error = kErrors[(first * 3 + nth) % std::size(kErrors)];
                        fnPrepare(folder, exists);
                        const std::ptrdiff_t open = fnCountDescriptors();
                        bool done = false;
                        bool happened = false;
                        {
                            const CallFault fault(function.c_str(), nth, error);
                            done = fnSaveEither(folder, settings);
                            happened = fault.fnHappened();
                        }
                        const std::string what =
                            function + " " + std::to_string(nth) + " by " + std::to_string(error);
                        ASSERT_EQ(folder.fnRead("a"), done ? "new" : exists ? "old" : "") << what;
                        ASSERT_EQ(std::filesystem::exists(folder.fnPath("a")), done || exists);
                        ASSERT_EQ(fnCountDescriptors(), open) << what;
                        if (function == "unlinkat") { // what remains is swept
                            ASSERT_EQ(fnSave(folder.fnName("a"), "next"), FILE_CAUSE_NONE);
                        }
                        ASSERT_TRUE(fnHidden(folder).empty()) << what;
                        if (!happened) {
                            ASSERT_TRUE(done) << what;
                            break;
                        }
                        ++(done ? saved : failed);
                    }
                }
            }
            EXPECT_GT(failed, 15);
            EXPECT_GT(saved, 5);
        }
    }
}

TEST(PosixSaving, AFailureAfterTheRenameIsNone) {
    const Folder folder;
    const auto made = fnBegin(folder.fnName("a"), "new");
    const CallFault fault("fsync", 2, EIO);
    EXPECT_EQ(made->fnCommit(), FILE_CAUSE_NONE);
    EXPECT_TRUE(fault.fnHappened()) << "the directory";
    EXPECT_EQ(folder.fnRead("a"), "new");
}

TEST(PosixSaving, EachFailedAllocationKeepsTheOldFileAndLeavesNothing) {
    const Folder folder;
    const auto files = fnFiles();
    const std::string name = folder.fnName("a");
    for (const bool settings : {false, true}) {
        const std::size_t failures = fnFailEachAllocation(
            [&] { folder.fnWrite("a", "old"); },
            [&](CqAllocationFailure& failure) {
                bool done = false;
                try {
                    CQ_FILE_CAUSE cause = FILE_CAUSE_NONE;
                    if (settings) {
                        done = files->fnUpdateText(name.c_str(), [](std::string& all) {
                            all = "new";
                            return true;
                        });
                    } else if (const auto made = files->fnOpenReplacement(name.c_str(), cause)) {
                        done = made->fnGetStream().fnWrite("new", 3) == FILE_CAUSE_NONE &&
                               made->fnCommit() == FILE_CAUSE_NONE;
                    }
                } catch (const std::bad_alloc&) {
                }
                const bool happened = failure.fnHappened();
                failure.fnEnd();
                EXPECT_EQ(done, !happened);
                EXPECT_EQ(folder.fnRead("a"), done ? "new" : "old");
                EXPECT_TRUE(fnHidden(folder).empty());
            });
        EXPECT_GE(failures, 2u);
    }
}

TEST(PosixSaving, AFullDiskKeepsTheOldFile) {
    const Folder folder;
    std::filesystem::create_directory(folder.fnPath("disk"));
    std::string found;
    const auto work = [&]() -> std::string {
        const std::string name = folder.fnPath("disk") + "\\a";
        Q32_WANT(fnSave(name, "old") == FILE_CAUSE_NONE);
        Q32_WANT(fnSave(name, std::string(40 << 20, 'x')) == FILE_CAUSE_DISK_FULL);
        Q32_WANT(folder.fnRead("disk/a") == "old");
        Q32_WANT(fnSave(name, "new") == FILE_CAUSE_NONE);
        Q32_WANT(folder.fnRead("disk/a") == "new");
        return "";
    };
    if (!fnOnSmallDisk(folder.fnPath("disk"), work, found))
        found = fnWithFileLimit(1 << 20, [&]() -> std::string {
            Q32_WANT(fnSave(folder.fnName("b"), "old") == FILE_CAUSE_NONE);
            Q32_WANT(fnSave(folder.fnName("b"), std::string(2 << 20, 'x')) != FILE_CAUSE_NONE);
            Q32_WANT(folder.fnRead("b") == "old");
            return "";
        });
    EXPECT_EQ(found, "");
    EXPECT_TRUE(fnHidden(folder).empty());
}

TEST(PosixSaving, ADirectoryThatCannotBeListedIsSavedTo) {
    const Folder folder;
    ::chmod(folder.fnPath().c_str(), 0333);
    EXPECT_EQ(fnAsNobody([&]() -> std::string {
                  Q32_WANT(fnSave(folder.fnName("a"), "old") == FILE_CAUSE_NONE);
                  Q32_WANT(fnSave(folder.fnName("a"), "new") == FILE_CAUSE_NONE);
                  return "";
              }),
              "");
    EXPECT_EQ(folder.fnRead("a"), "new");
    ::chmod(folder.fnPath().c_str(), 0555);
    EXPECT_EQ(fnAsNobody([&]() -> std::string {
                  Q32_WANT(fnSave(folder.fnName("b"), "x") == FILE_CAUSE_ACCESS_DENIED);
                  return "";
              }),
              "");
    ::chmod(folder.fnPath().c_str(), 0755);
}

TEST(PosixSaving, AFileThatIsNotWritableOrNotRegularIsKept) {
    const Folder folder;
    ::chmod(folder.fnPath().c_str(), 0777);
    folder.fnWrite("a", "old");
    ::chmod(folder.fnPath("a").c_str(), 0444);
    EXPECT_EQ(fnAsNobody([&]() -> std::string {
                  Q32_WANT(fnSave(folder.fnName("a"), "new") == FILE_CAUSE_ACCESS_DENIED);
                  return "";
              }),
              "");
    EXPECT_EQ(folder.fnRead("a"), "old");
    std::filesystem::create_directory(folder.fnPath("folder"));
    ASSERT_EQ(::mkfifo(folder.fnPath("pipe").c_str(), 0600), 0);
    EXPECT_NE(fnSave(folder.fnName("folder"), "new"), FILE_CAUSE_NONE);
    EXPECT_NE(fnSave(folder.fnName("pipe"), "new"), FILE_CAUSE_NONE);
    EXPECT_EQ(fnSave(folder.fnName("none\\a"), "new"), FILE_CAUSE_BAD_PATH);
    EXPECT_EQ(folder.fnCount(), 3u);
}

TEST(PosixScratchFailures, AFileThatCannotBeDeletedGivesItsSpaceBackAndIsSwept) {
    const Folder folder;
    const auto scratch = fnNewService();
    std::string name;
    const CallFault fault("unlink", 1, EACCES);
    {
        const Buffer buffer(*scratch, folder.fnName(), 1 << 20);
        ASSERT_NE(buffer.m_pView, nullptr);
        name = buffer.m_Name;
    }
    EXPECT_TRUE(fault.fnHappened());
    ASSERT_TRUE(fnStands(name));
    EXPECT_EQ(fnFacts(name).st_size, 0);
    EXPECT_EQ(q32PosixSweepScratchFiles(folder.fnPath().c_str()), 1u);
}
