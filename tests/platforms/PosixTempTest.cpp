#include "platforms/posix/TempDirectory_p.h"
#include "tests/platforms/PosixTestTools.h"
#include "tests/support/FailingCalls.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <sys/stat.h>
#include <vector>

using namespace q32::test;

namespace {

const q32::posix::CodePage& fnCodePage() {
    static const q32::posix::CodePage codePage{std::string()};
    return codePage;
}

/// What is chosen for `$TMPDIR`, and what is said about it; in a process of its own, since only the
/// first sentence is said.
std::string fnChoose(const std::string& variable) {
    return fnInChild([&] {
        std::string said;
        const std::string chosen = q32::posix::fnChooseTempDirectory(
            fnCodePage(), variable, [&](const std::string& text) { said += " | " + text; });
        return chosen + said;
    });
}

std::string fnFallBack(const std::string& variable, const std::string& why) {
    return "/var/tmp\\ | temporary files go to /var/tmp, since " + variable +
           " can't be used: " + why;
}

} // namespace

TEST(PosixTemp, AUsableDirectoryIsTakenAndNothingIsSaid) {
    const Folder folder;
    EXPECT_EQ(fnChoose(folder.fnPath()), folder.fnName());
    EXPECT_EQ(fnChoose(folder.fnPath() + "//"), folder.fnName());
    EXPECT_EQ(fnChoose(""), "/var/tmp\\");
}

TEST(PosixTemp, AMissingDirectoryIsTakenIfItCanBeCreated) {
    const Folder folder;
    EXPECT_EQ(fnChoose(folder.fnPath("new")), folder.fnPath("new") + "\\");
    const std::string deep = folder.fnPath("new/deeper");
    EXPECT_EQ(fnChoose(deep), fnFallBack(deep, "No such file or directory"));
}

TEST(PosixTemp, AnUnusableDirectoryIsReplacedByTheNextKnownOne) {
    const Folder folder;
    const std::string name = folder.fnPath("a\\b");
    std::filesystem::create_directory(name);
    EXPECT_EQ(fnChoose(name), fnFallBack(name, "its name has a backslash"));
    const std::string tooLong =
        folder.fnPath() + std::string(120, 'a') + '/' + std::string(120, 'b');
    EXPECT_EQ(fnChoose(tooLong), fnFallBack(tooLong, "its name is too long"));
    folder.fnWrite("file", "");
    EXPECT_EQ(fnChoose(folder.fnPath("file")),
              fnFallBack(folder.fnPath("file"), "Not a directory"));
    const std::string forbidden = folder.fnPath("forbidden");
    std::filesystem::create_directory(forbidden);
    ::chmod(forbidden.c_str(), 0500);
    ::chmod(folder.fnPath().c_str(), 0755);
    EXPECT_EQ(fnAsNobody([&] { return fnChoose(forbidden); }),
              fnFallBack(forbidden, "Permission denied"));
}

TEST(PosixTemp, ADirectoryWhoseFilesCannotBeLockedIsReplacedByTheNextKnownOne) {
    const Folder folder;
    for (const int error : {ENOLCK, EOPNOTSUPP})
        for (const char* name : {"", "missing"}) {
            const std::string path = folder.fnPath(name);
            const CallFault fault("flock", 1, error);
            EXPECT_EQ(fnChoose(path), fnFallBack(path, std::string("its files can't be locked: ") +
                                                           std::strerror(error)));
        }
    { // a sweep may hold the lock just then
        const CallFault fault("flock", 1, EWOULDBLOCK);
        EXPECT_EQ(fnChoose(folder.fnPath()), folder.fnName());
    }
    { // a disk may be full at present
        const CallFault fault("open", 1, ENOSPC);
        EXPECT_EQ(fnChoose(folder.fnPath()), folder.fnName());
    }
    EXPECT_EQ(folder.fnCount(), 0u);
}

TEST(PosixTemp, TheLongestNameThatFitsIsTaken) {
    const Folder folder;
    const std::size_t left = 258 - folder.fnPath().size() - 1;
    const std::string longest = folder.fnPath(std::string(left, 'a'));
    ASSERT_EQ(longest.size(), 258u);
    EXPECT_EQ(fnChoose(longest), longest + '\\');
    EXPECT_EQ(fnChoose(longest + 'a'), fnFallBack(longest + 'a', "its name is too long"));
}

TEST(PosixTemp, TheReasonIsSaidOnce) {
    EXPECT_EQ(fnInChild([]() -> std::string {
                  int said = 0;
                  for (int i = 0; i < 3; ++i)
                      Q32_WANT(q32::posix::fnChooseTempDirectory(
                                   fnCodePage(), "/missing/deep",
                                   [&](const std::string&) { ++said; }) == "/var/tmp\\");
                  Q32_WANT(said == 1);
                  return "";
              }),
              "");
}

TEST(PosixTemp, AHostGetsTheReasonAndItsImagesGoToTheNextDirectory) {
    EXPECT_EQ(fnInChild([]() -> std::string {
                  ::setenv("TMPDIR", "/missing/deep", 1);
                  std::string said;
                  CqPosixOptions options;
                  options.m_Report = [&](const std::string& text) { said = text; };
                  std::string directory;
                  Q32_WANT(q32PosixPlatform(options).m_pFiles->fnGetTempDirectory(directory));
                  Q32_WANT(directory == "/var/tmp\\");
                  Q32_WANT(said.find("/missing/deep") != std::string::npos);
                  return "";
              }),
              "");
}
