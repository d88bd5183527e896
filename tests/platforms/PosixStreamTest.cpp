#include "platforms/posix/FileAccess_p.h"
#include "tests/platforms/PosixTestTools.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdint>
#include <filesystem>
#include <string>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace q32::test;

namespace {

constexpr CqFileMode kRead{true, false, false, false};
constexpr CqFileMode kWrite{false, true, false, false};
constexpr CqFileMode kUpdate{true, true, false, false};
constexpr CqFileMode kCreate{true, true, true, false};
constexpr CqFileMode kReadAlone{true, false, false, true};
constexpr CqFileMode kCreateAlone{true, true, true, true};

std::unique_ptr<CqFileStream> fnOpen(const std::string& name, const CqFileMode& mode,
                                     CQ_FILE_CAUSE* cause = nullptr) {
    static const auto files = q32PosixPlatform().m_pFiles;
    CQ_FILE_CAUSE ignored{};
    return files->fnOpen(name.c_str(), mode, cause ? *cause : ignored);
}

/// The cause of a failed open; none if it succeeds.
CQ_FILE_CAUSE fnCause(const std::string& name, const CqFileMode& mode) {
    CQ_FILE_CAUSE cause = FILE_CAUSE_END_OF_FILE;
    const bool open = fnOpen(name, mode, &cause) != nullptr;
    EXPECT_EQ(open, cause == FILE_CAUSE_NONE);
    return cause;
}

std::string fnReadAll(CqFileStream& stream, std::size_t most) {
    std::string text(most, '?');
    std::size_t done = 0;
    EXPECT_EQ(stream.fnRead(text.data(), most, done), FILE_CAUSE_NONE);
    text.resize(done);
    return text;
}

/// Writes until the disk is full, and expects that to be reported.
std::string fnFill(const std::string& name, CQ_FILE_CAUSE expected) {
    const auto stream = fnOpen(name, kCreate);
    Q32_WANT(stream != nullptr);
    const std::string block(1 << 20, 'x');
    CQ_FILE_CAUSE cause = FILE_CAUSE_NONE;
    for (int i = 0; i < 100 && cause == FILE_CAUSE_NONE; ++i)
        cause = stream->fnWrite(block.data(), block.size());
    Q32_WANT(cause == expected);
    return "";
}

} // namespace

TEST(PosixStream, BytesAreReadBackWhereTheyWereWritten) {
    const Folder folder;
    const auto stream = fnOpen(folder.fnName("file"), kCreate);
    ASSERT_TRUE(stream);
    EXPECT_EQ(stream->fnWrite("abcdef", 6), FILE_CAUSE_NONE);
    EXPECT_EQ(stream->fnSeek(2), FILE_CAUSE_NONE);
    EXPECT_EQ(fnReadAll(*stream, 3), "cde");
    EXPECT_EQ(stream->fnWrite("XY", 2), FILE_CAUSE_NONE) << "behind what was read";
    std::uint64_t length = 0;
    EXPECT_EQ(stream->fnGetLength(length), FILE_CAUSE_NONE);
    EXPECT_EQ(length, 7u);
    EXPECT_EQ(folder.fnRead("file"), "abcdeXY");
}

TEST(PosixStream, AReadAtTheEndIsShortAndNotAFailure) {
    const Folder folder;
    folder.fnWrite("file", "abc");
    const auto stream = fnOpen(folder.fnName("file"), kRead);
    EXPECT_EQ(fnReadAll(*stream, 10), "abc");
    EXPECT_EQ(fnReadAll(*stream, 10), "");
    EXPECT_EQ(stream->fnSeek(1000), FILE_CAUSE_NONE);
    EXPECT_EQ(fnReadAll(*stream, 10), "");
}

TEST(PosixStream, AWriteBeyondTheEndLeavesZerosBetween) {
    const Folder folder;
    const auto stream = fnOpen(folder.fnName("file"), kCreate);
    stream->fnSeek(3);
    EXPECT_EQ(stream->fnWrite("x", 1), FILE_CAUSE_NONE);
    EXPECT_EQ(folder.fnRead("file"), std::string("\0\0\0x", 4));
}

TEST(PosixStream, AnImpossiblePositionIsABadSeek) {
    const Folder folder;
    const auto stream = fnOpen(folder.fnName("file"), kCreate);
    EXPECT_EQ(stream->fnSeek(UINT64_MAX), FILE_CAUSE_BAD_SEEK);
    EXPECT_EQ(stream->fnWrite("a", 1), FILE_CAUSE_NONE) << "and the old one stays";
    EXPECT_EQ(folder.fnRead("file"), "a");
}

TEST(PosixStream, CreatingTruncatesAndOpeningDoesNot) {
    const Folder folder;
    folder.fnWrite("file", "abc");
    EXPECT_EQ(fnCause(folder.fnName("file"), kUpdate), FILE_CAUSE_NONE);
    EXPECT_EQ(folder.fnRead("file"), "abc");
    EXPECT_EQ(fnCause(folder.fnName("file"), kCreate), FILE_CAUSE_NONE);
    EXPECT_EQ(folder.fnRead("file"), "");
    folder.fnWrite("file", "abc");
    CqFileMode createForReading = kRead;
    createForReading.m_bCreate = true;
    EXPECT_EQ(fnCause(folder.fnName("file"), createForReading), FILE_CAUSE_NONE);
    EXPECT_EQ(folder.fnRead("file"), "");
}

TEST(PosixStream, AModeIsEnforced) {
    const Folder folder;
    folder.fnWrite("file", "abc");
    char byte = 0;
    std::size_t done = 7;
    EXPECT_EQ(fnOpen(folder.fnName("file"), kRead)->fnWrite("x", 1), FILE_CAUSE_ACCESS_DENIED);
    EXPECT_EQ(fnOpen(folder.fnName("file"), kWrite)->fnRead(&byte, 1, done),
              FILE_CAUSE_ACCESS_DENIED);
    EXPECT_EQ(done, 0u);
    CqFileMode createForReading = kRead;
    createForReading.m_bCreate = true;
    EXPECT_EQ(fnOpen(folder.fnName("file"), createForReading)->fnWrite("x", 1),
              FILE_CAUSE_ACCESS_DENIED);
    EXPECT_EQ(fnCause(folder.fnName("file"), {false, false, false, false}), FILE_CAUSE_INVALID);
}

TEST(PosixStream, AnExclusiveStreamAndAnyOtherExcludeEachOther) {
    const Folder folder;
    const std::string name = folder.fnName("file");
    folder.fnWrite("file", "abc");
    {
        const auto alone = fnOpen(name, kReadAlone);
        ASSERT_TRUE(alone);
        EXPECT_EQ(fnCause(name, kRead), FILE_CAUSE_SHARING_VIOLATION);
        EXPECT_EQ(fnCause(name, kReadAlone), FILE_CAUSE_SHARING_VIOLATION);
        EXPECT_EQ(fnCause(name, kCreate), FILE_CAUSE_SHARING_VIOLATION);
        EXPECT_EQ(folder.fnRead("file"), "abc") << "refused before it was emptied";
    }
    const auto shared = fnOpen(name, kRead);
    EXPECT_EQ(fnCause(name, kUpdate), FILE_CAUSE_NONE);
    EXPECT_EQ(fnCause(name, kCreateAlone), FILE_CAUSE_SHARING_VIOLATION);
    EXPECT_EQ(folder.fnRead("file"), "abc");
}

TEST(PosixStream, AnotherProcessIsExcludedTooAndItsDeathReleasesTheFile) {
    const Folder folder;
    const std::string name = folder.fnName("file");
    Holder holder([&]() -> std::string {
        static std::unique_ptr<CqFileStream> stream = fnOpen(name, kCreateAlone);
        Q32_WANT(stream != nullptr);
        return "";
    });
    ASSERT_EQ(holder.fnFound(), "");
    EXPECT_EQ(fnCause(name, kRead), FILE_CAUSE_SHARING_VIOLATION);
    holder.fnKill();
    EXPECT_EQ(fnCause(name, kRead), FILE_CAUSE_NONE);
}

TEST(PosixStream, AFailedOpenReportsItsCause) {
    const Folder folder;
    folder.fnWrite("file", "");
    EXPECT_EQ(fnCause(folder.fnName("missing"), kRead), FILE_CAUSE_NOT_FOUND);
    EXPECT_EQ(fnCause(folder.fnName("missing\\file"), kCreate), FILE_CAUSE_BAD_PATH);
    EXPECT_EQ(fnCause(folder.fnName("file\\below"), kRead), FILE_CAUSE_BAD_PATH);
    EXPECT_EQ(fnCause(folder.fnName(std::string(300, 'x')), kCreate), FILE_CAUSE_BAD_PATH);
    EXPECT_EQ(fnCause(folder.fnName(), kRead), FILE_CAUSE_ACCESS_DENIED);
    EXPECT_EQ(fnCause(folder.fnName(), kCreate), FILE_CAUSE_ACCESS_DENIED);
    EXPECT_EQ(fnCause("", kRead), FILE_CAUSE_NOT_FOUND);
    std::filesystem::create_symlink("loop", folder.fnPath("loop"));
    EXPECT_EQ(fnCause(folder.fnName("loop"), kRead), FILE_CAUSE_BAD_PATH);
}

TEST(PosixStream, APipeIsRefusedWithoutBlocking) {
    const Folder folder;
    ASSERT_EQ(::mkfifo(folder.fnPath("pipe").c_str(), 0600), 0);
    EXPECT_EQ(fnCause(folder.fnName("pipe"), kRead), FILE_CAUSE_ACCESS_DENIED);
    EXPECT_EQ(fnCause(folder.fnName("pipe"), kUpdate), FILE_CAUSE_ACCESS_DENIED);
    EXPECT_EQ(fnCause("/dev\\null", kRead), FILE_CAUSE_ACCESS_DENIED);
}

TEST(PosixStream, AForbiddenFileIsAccessDenied) {
    const Folder folder;
    folder.fnWrite("file", "abc");
    ::chmod(folder.fnPath("file").c_str(), 0);
    ::chmod(folder.fnPath().c_str(), 0555);
    EXPECT_EQ(fnAsNobody([&]() -> std::string {
                  Q32_WANT(fnCause(folder.fnName("file"), kRead) == FILE_CAUSE_ACCESS_DENIED);
                  Q32_WANT(fnCause(folder.fnName("new"), kCreate) == FILE_CAUSE_ACCESS_DENIED);
                  return "";
              }),
              "");
    ::chmod(folder.fnPath().c_str(), 0700);
}

TEST(PosixStream, WithoutDescriptorsThereAreTooManyOpenFiles) {
    const Folder folder;
    folder.fnWrite("file", "abc");
    EXPECT_EQ(fnInChild([&]() -> std::string {
                  const rlimit limit{3, 3};
                  Q32_WANT(::setrlimit(RLIMIT_NOFILE, &limit) == 0);
                  Q32_WANT(fnCause(folder.fnName("file"), kRead) == FILE_CAUSE_TOO_MANY_OPEN);
                  return "";
              }),
              "");
}

TEST(PosixStream, AWriteOnAFullDiskReportsIt) {
    const Folder folder;
    const std::string disk = folder.fnPath("disk");
    std::filesystem::create_directory(disk);
    std::string found;
    if (!fnOnSmallDisk(
            disk, [&] { return fnFill(disk + "\\file", FILE_CAUSE_DISK_FULL); }, found))
        found = fnWithFileLimit(1000, [&] { return fnFill(disk + "\\file", FILE_CAUSE_GENERIC); });
    EXPECT_EQ(found, "");
}

TEST(PosixStream, AWriteBeyondTheFileSizeLimitIsAFailureAndNotASignal) {
    const Folder folder;
    EXPECT_EQ(
        fnWithFileLimit(100000, [&] { return fnFill(folder.fnName("file"), FILE_CAUSE_GENERIC); }),
        "");
}

TEST(PosixStream, AClosedStreamDoesNothingMore) {
    const Folder folder;
    const auto stream = fnOpen(folder.fnName("file"), kCreate);
    EXPECT_EQ(stream->fnClose(), FILE_CAUSE_NONE);
    char byte = 0;
    std::size_t done = 7;
    std::uint64_t length = 7;
    EXPECT_NE(stream->fnClose(), FILE_CAUSE_NONE);
    EXPECT_NE(stream->fnRead(&byte, 1, done), FILE_CAUSE_NONE);
    EXPECT_NE(stream->fnWrite("x", 1), FILE_CAUSE_NONE);
    EXPECT_NE(stream->fnSeek(0), FILE_CAUSE_NONE);
    EXPECT_NE(stream->fnGetLength(length), FILE_CAUSE_NONE);
    EXPECT_EQ(folder.fnRead("file"), "");
}

TEST(PosixStream, ErrorsOfTheSystemHaveTheirCauses) {
    using q32::posix::fnFileCause;
    EXPECT_EQ(fnFileCause(0), FILE_CAUSE_NONE);
    EXPECT_EQ(fnFileCause(ENFILE), FILE_CAUSE_TOO_MANY_OPEN);
    EXPECT_EQ(fnFileCause(EPERM), FILE_CAUSE_ACCESS_DENIED);
    EXPECT_EQ(fnFileCause(EROFS), FILE_CAUSE_ACCESS_DENIED);
    EXPECT_EQ(fnFileCause(ETXTBSY), FILE_CAUSE_SHARING_VIOLATION);
    EXPECT_EQ(fnFileCause(EDQUOT), FILE_CAUSE_DISK_FULL);
    EXPECT_EQ(fnFileCause(EIO), FILE_CAUSE_HARD_IO);
    EXPECT_EQ(fnFileCause(ENODEV), FILE_CAUSE_GENERIC);
}
