#include "tests/platforms/PosixTestTools.h"
#include "tests/support/Sanitizers.h"

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace q32::test;

namespace {

constexpr std::uint32_t kSize = 100000;

/// Creates a buffer as the library does, and keeps it for the lifetime of the service.
std::string fnHoldBuffer(CqScratchService& scratch, const Folder& folder) {
    std::string name;
    Q32_WANT(scratch.fnCreateName(folder.fnName().c_str(), "~qd", name));
    CqFileHandle file = scratch.fnOpen(name.c_str());
    Q32_WANT(scratch.fnSetSize(file, kSize));
    file = scratch.fnReopen(file, name.c_str());
    Q32_WANT(scratch.fnMapView(scratch.fnCreateMapping(file, kSize), kSize) != nullptr);
    return "";
}

std::size_t fnSweep(const Folder& folder) {
    return q32PosixSweepScratchFiles(folder.fnName().c_str());
}

} // namespace

TEST(PosixSweep, FilesOfAKilledProcessAreDeletedAndThoseOfALiveOneStay) {
    const Folder folder;
    const auto hold = [&]() -> std::string {
        static std::shared_ptr<CqScratchService> scratch = q32PosixPlatform().m_pScratch;
        return fnHoldBuffer(*scratch, folder) + fnHoldBuffer(*scratch, folder);
    };
    Holder killed(hold);
    const Holder live(hold);
    ASSERT_EQ(killed.fnFound() + live.fnFound(), "");
    EXPECT_EQ(folder.fnCount(), 4u);
    EXPECT_EQ(fnSweep(folder), 0u) << "both live";
    killed.fnKill();
    EXPECT_EQ(folder.fnCount(), 4u) << "nobody tidied up";
    EXPECT_EQ(fnSweep(folder), 2u);
    EXPECT_EQ(folder.fnCount(), 2u);
}

TEST(PosixSweep, AFileIsSafeFromItsCreationToItsLastHandle) {
    const Folder folder;
    const auto scratch = q32PosixPlatform().m_pScratch;
    std::string name;
    ASSERT_TRUE(scratch->fnCreateName(folder.fnName().c_str(), "~qd", name));
    EXPECT_EQ(fnSweep(folder), 0u) << "named";
    CqFileHandle file = scratch->fnOpen(name.c_str());
    EXPECT_EQ(fnSweep(folder), 0u) << "open";
    ASSERT_TRUE(scratch->fnSetSize(file, kSize));
    file = scratch->fnReopen(file, name.c_str());
    EXPECT_EQ(fnSweep(folder), 0u) << "reopened";
    const CqMappingHandle mapping = scratch->fnCreateMapping(file, kSize);
    scratch->fnClose(file);
    EXPECT_EQ(fnSweep(folder), 0u) << "mapped only";
    scratch->fnCloseMapping(mapping);
    EXPECT_EQ(fnSweep(folder), 1u) << "let go";
    EXPECT_EQ(folder.fnCount(), 0u);
}

TEST(PosixSweep, OnlyOwnRegularFilesOfThatNameAreDeleted) {
    const Folder folder;
    folder.fnWrite("~qd1.tmp", "left over");
    folder.fnWrite("~qd.tmp", "left over");
    folder.fnWrite("~qd1.tmp.bak", "other ending");
    folder.fnWrite("x~qd1.tmp", "other beginning");
    folder.fnWrite("~QD1.TMP", "other case");
    folder.fnWrite("target", "led to by a link");
    ASSERT_EQ(::symlink("target", folder.fnPath("~qd2.tmp").c_str()), 0);
    ASSERT_EQ(::mkdir(folder.fnPath("~qd3.tmp").c_str(), 0700), 0);
    ASSERT_EQ(::mkfifo(folder.fnPath("~qd4.tmp").c_str(), 0600), 0);
    EXPECT_EQ(fnSweep(folder), 2u);
    EXPECT_EQ(folder.fnCount(), 7u);
    EXPECT_FALSE(std::filesystem::exists(folder.fnPath("~qd1.tmp")));
    EXPECT_EQ(folder.fnRead("target"), "led to by a link");
}

TEST(PosixSweep, AnotherUsersFilesStay) {
    // The file belongs to the user of the test, and the sweep is run by another user. An
    // ordinary user has no second account, and provides a file that it may not open instead.
    const Folder folder;
    ::chmod(folder.fnPath().c_str(), 0777);
    folder.fnWrite("~qd1.tmp", "somebody's");
    ::chmod(folder.fnPath("~qd1.tmp").c_str(), ::getuid() == 0 ? 0666 : 0);
    EXPECT_EQ(fnAsNobody([&]() -> std::string {
                  Q32_WANT(fnSweep(folder) == 0);
                  return "";
              }),
              "");
    EXPECT_EQ(folder.fnCount(), 1u);
}

TEST(PosixSweep, SeveralDirectoriesAreSweptAndEmptyOrMissingOnesSkipped) {
    const Folder first;
    const Folder second;
    first.fnWrite("~qd1.tmp", "");
    second.fnWrite("~qd1.tmp", "");
    second.fnWrite("~qd2.tmp", "");
    const std::string directories[] = {first.fnName(), "", first.fnName("missing"),
                                       second.fnPath()};
    EXPECT_EQ(q32PosixSweepScratchFiles(directories), 3u);
}

TEST(PosixSweep, AConstantlyRunningSweepTakesNoFileFromItsCreator) {
    const Folder folder;
    const pid_t child = ::fork();
    if (child == 0) {
        for (;;)
            fnSweep(folder);
    }
    const auto scratch = q32PosixPlatform().m_pScratch;
    int lost = 0;
    for (int i = 0; i < fnRandomCases(2000); ++i) {
        std::string name;
        CqFileHandle file = kNoFile;
        if (scratch->fnCreateName(folder.fnName().c_str(), "~qd", name) &&
            (file = scratch->fnOpen(name.c_str())) != kNoFile && scratch->fnSetSize(file, 4096))
            file = scratch->fnReopen(file, name.c_str());
        else
            file = kNoFile;
        lost += file == kNoFile;
        scratch->fnClose(file);
        scratch->fnDelete(name.c_str()); // unless the sweep does
    }
    ::kill(child, SIGKILL);
    ::waitpid(child, nullptr, 0);
    EXPECT_EQ(lost, 0);
    fnSweep(folder);
    EXPECT_EQ(folder.fnCount(), 0u);
}
