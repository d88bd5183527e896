#include "platforms/posix/CqPosixScratch_p.h"
#include "tests/platforms/PosixTestTools.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>
#include <vector>

using namespace q32::test;

namespace {

constexpr std::uint32_t kSize = 300001; // not a multiple of pages or blocks

std::shared_ptr<CqScratchService> fnNewService() {
    return q32PosixPlatform().m_pScratch;
}

template <std::uint64_t kMemory>
std::shared_ptr<CqScratchService> fnNewServiceOfMemory() {
    return std::make_shared<CqPosixScratch>(std::make_shared<q32::posix::CodePage>(""),
                                            [] { return kMemory; });
}

std::string fnNative(std::string name) {
    std::replace(name.begin(), name.end(), '\\', '/');
    return name;
}

struct stat fnFacts(const std::string& name) {
    struct stat facts {};
    ::stat(fnNative(name).c_str(), &facts);
    return facts;
}

bool fnStands(const std::string& name) {
    return std::filesystem::exists(std::filesystem::symlink_status(fnNative(name)));
}

std::size_t fnFreeBytes(const std::string& path) {
    struct statvfs facts {};
    ::statvfs(path.c_str(), &facts);
    return facts.f_bfree * facts.f_frsize;
}

/// A scratch buffer, created through all its steps.
struct Buffer {
    Buffer(CqScratchService& scratch, const std::string& directory, std::uint32_t size)
        : m_Scratch(scratch), m_nSize(size) {
        if (!scratch.fnCreateName(directory.c_str(), "~qd", m_Name))
            return;
        m_File = scratch.fnOpen(m_Name.c_str());
        if (!scratch.fnSetSize(m_File, size))
            return;
        m_File = scratch.fnReopen(m_File, m_Name.c_str());
        m_Mapping = scratch.fnCreateMapping(m_File, size);
        m_pView = static_cast<char*>(scratch.fnMapView(m_Mapping, size));
    }
    ~Buffer() {
        if (m_pView)
            m_Scratch.fnUnmapView(m_pView, m_nSize);
        m_Scratch.fnCloseMapping(m_Mapping);
        m_Scratch.fnClose(m_File);
        m_Scratch.fnDelete(m_Name.c_str());
    }

    CqScratchService& m_Scratch;
    std::uint32_t m_nSize;
    std::string m_Name;
    CqFileHandle m_File = kNoFile;
    CqMappingHandle m_Mapping = kNoMapping;
    char* m_pView = nullptr;
};

/// Shared by the tests of a real full disk and of the limit that simulates it.
std::string fnFailToReserve(const std::string& directory, std::uint32_t size) {
    const std::size_t before = fnFreeBytes(directory);
    const auto scratch = fnNewService();
    std::string name;
    Q32_WANT(scratch->fnCreateName((directory + '\\').c_str(), "~qd", name));
    const CqFileHandle file = scratch->fnOpen(name.c_str());
    Q32_WANT(file != kNoFile);
    Q32_WANT(!scratch->fnSetSize(file, size));
    Q32_WANT(fnFacts(name).st_size == 0);
    Q32_WANT(fnFacts(name).st_blocks == 0);
    // The handle is still usable, for a size that fits.
    Q32_WANT(scratch->fnSetSize(file, 4096));
    Q32_WANT(fnFacts(name).st_size == 4096);
    scratch->fnClose(file);
    Q32_WANT(scratch->fnDelete(name.c_str()));
    Q32_WANT(!fnStands(name));
    // Other processes write to the machine's disk meanwhile, but not to the small one.
    if (before < (std::size_t{64} << 20))
        Q32_WANT(fnFreeBytes(directory) == before);
    return "";
}

/// Writes out what this file system holds back.
void fnSyncDisk(const std::string& directory) {
    const int place = ::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    ::syncfs(place);
    ::close(place);
}

/// Writes to a disk until it takes no byte more, and then makes small files, which take the room of
/// its records.
std::string fnFillDisk(const std::string& directory) {
    const std::string big = directory + "/fill";
    const int file = ::open(big.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
    Q32_WANT(file >= 0);
    std::vector<char> bytes(1u << 20, 'f');
    for (std::size_t part = bytes.size(); part != 0; part /= 4)
        while (::write(file, bytes.data(), part) == static_cast<ssize_t>(part)) {
        }
    ::fsync(file);
    ::close(file);
    for (int i = 0; i < 3000; ++i) {
        const int small =
            ::open((big + std::to_string(i)).c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
        if (small < 0)
            break;
        const bool more = ::write(small, bytes.data(), 100) == 100;
        ::close(small);
        if (!more)
            break;
    }
    fnSyncDisk(directory);
    return "";
}

/// Writes a buffer again and again, each time out to its disk, that another process may have filled
/// after the buffer was made.
std::string fnWriteOften(const std::string& directory, std::uint32_t size, bool fill) {
    const auto scratch = fnNewServiceOfMemory<1>(); // touches nothing in advance
    const Buffer buffer(*scratch, directory + '\\', size);
    Q32_WANT(buffer.m_pView != nullptr);
    if (fill)
        Q32_WANT(fnInChild([&] { return fnFillDisk(directory); }).empty());
    for (int round = 1; round < 4; ++round) {
        std::memset(buffer.m_pView, round, size);
        Q32_WANT(::msync(buffer.m_pView, size, MS_SYNC) == 0);
        fnSyncDisk(directory);
        Q32_WANT(::madvise(buffer.m_pView, size, MADV_DONTNEED) == 0);
        Q32_WANT(std::all_of(buffer.m_pView, buffer.m_pView + size,
                             [=](char byte) { return byte == round; }));
    }
    return "";
}

} // namespace

TEST(PosixScratch, ABufferPassesThroughItsStepsAndLeavesNothing) {
    const Folder folder;
    const auto scratch = fnNewService();
    {
        Buffer buffer(*scratch, folder.fnName(), kSize);
        ASSERT_NE(buffer.m_pView, nullptr);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(buffer.m_pView) %
                      static_cast<std::uintptr_t>(::sysconf(_SC_PAGESIZE)),
                  0u);
        EXPECT_TRUE(std::all_of(buffer.m_pView, buffer.m_pView + kSize,
                                [](char byte) { return byte == 0; }));
        std::memset(buffer.m_pView, 'x', kSize);
        EXPECT_EQ(folder.fnCount(), 1u);
    }
    EXPECT_EQ(folder.fnCount(), 0u);
}

TEST(PosixScratch, PagesThatFitInMemoryStayAfterAWalk) {
    const Folder folder;
    const auto scratch = fnNewService();
    constexpr std::uint32_t kPages = 300;
    Buffer buffer(*scratch, folder.fnName(), kPages * 4096);
    ASSERT_NE(buffer.m_pView, nullptr);
    std::memset(buffer.m_pView, 'x', buffer.m_nSize);
    for (int i = 0; i < 100; ++i)
        scratch->fnAdvise(VIEW_DONE, buffer.m_pView, buffer.m_nSize);
    scratch->fnAdvise(VIEW_DONE, buffer.m_pView - 1, 1); // not part of a view
    std::vector<unsigned char> pages(kPages);
    ASSERT_EQ(::mincore(buffer.m_pView, buffer.m_nSize, pages.data()), 0);
    EXPECT_TRUE(std::all_of(pages.begin(), pages.end(), [](unsigned char p) { return p & 1; }));
}

TEST(PosixScratch, UnknownMemoryIsNoLimit) {
    const Folder folder;
    constexpr std::uint32_t kBytes = 40u << 20;
    const auto residentPages = [](const Buffer& buffer) {
        std::vector<unsigned char> pages(kBytes / 4096);
        EXPECT_EQ(::mincore(buffer.m_pView, kBytes, pages.data()), 0);
        return std::count_if(pages.begin(), pages.end(), [](unsigned char p) { return p & 1; });
    };
    const auto ample = fnNewServiceOfMemory<std::uint64_t{1} << 40>();
    const auto unknown = fnNewServiceOfMemory<0>();
    const auto scarce = fnNewServiceOfMemory<4u << 20>();
    std::vector<std::ptrdiff_t> touched;
    std::vector<std::ptrdiff_t> left;
    for (const auto& scratch : {ample, unknown, scarce}) {
        const Buffer buffer(*scratch, folder.fnName(), kBytes);
        ASSERT_NE(buffer.m_pView, nullptr);
        touched.push_back(residentPages(buffer));
        std::memset(buffer.m_pView, 'x', kBytes);
        for (std::uint32_t at = 0; at < kBytes; at += 1u << 20)
            scratch->fnAdvise(VIEW_DONE, buffer.m_pView + at, 1u << 20);
        left.push_back(residentPages(buffer));
    }
    EXPECT_EQ(touched[1], touched[0]);
    EXPECT_LE(touched[2], touched[0]);
    EXPECT_EQ(left[0], kBytes / 4096);
    EXPECT_EQ(left[1], kBytes / 4096);
}

TEST(PosixScratch, BytesWrittenToTheViewAreInTheFile) {
    const Folder folder;
    const auto scratch = fnNewService();
    const Buffer buffer(*scratch, folder.fnName(), kSize);
    ASSERT_NE(buffer.m_pView, nullptr);
    for (std::uint32_t i = 0; i < kSize; ++i)
        buffer.m_pView[i] = static_cast<char>(i * 7 + i / 251);
    const std::string inFile =
        folder.fnRead(std::filesystem::path(fnNative(buffer.m_Name)).filename());
    ASSERT_EQ(inFile.size(), kSize);
    EXPECT_EQ(std::memcmp(inFile.data(), buffer.m_pView, kSize), 0);
}

TEST(PosixScratch, ANameIsItsPrefixWithRandomDigitsAndTheEndingTmp) {
    const Folder folder;
    const auto scratch = fnNewService();
    std::string first;
    std::string second;
    ASSERT_TRUE(scratch->fnCreateName(folder.fnName().c_str(), "~qd", first));
    ASSERT_TRUE(scratch->fnCreateName(folder.fnName().c_str(), "~qd", second));
    EXPECT_NE(first, second);
    ASSERT_EQ(first.substr(0, folder.fnName().size()), folder.fnName());
    const std::string name = first.substr(folder.fnName().size());
    ASSERT_EQ(name.size(), 3U + 16U + 4U);
    EXPECT_EQ(name.substr(0, 3), "~qd");
    EXPECT_EQ(name.substr(3, 16).find_first_not_of("0123456789abcdef"), std::string::npos);
    EXPECT_EQ(name.substr(19), ".tmp");
}

TEST(PosixScratch, OnlyItsOwnerMayReadAScratchFile) {
    const Folder folder;
    const auto scratch = fnNewService();
    const mode_t before = ::umask(0);
    const Buffer buffer(*scratch, folder.fnName(), kSize);
    ::umask(before);
    EXPECT_EQ(fnFacts(buffer.m_Name).st_mode & 07777, 0600u);
}

TEST(PosixScratch, TheBlocksAreReservedBeforeAnythingIsWritten) {
    const Folder folder;
    const auto scratch = fnNewService();
    std::string name;
    ASSERT_TRUE(scratch->fnCreateName(folder.fnName().c_str(), "~qd", name));
    const CqFileHandle file = scratch->fnOpen(name.c_str());
    ASSERT_TRUE(scratch->fnSetSize(file, kSize));
    EXPECT_EQ(fnFacts(name).st_size, off_t{kSize});
    EXPECT_GE(fnFacts(name).st_blocks * 512, off_t{kSize});
    ASSERT_TRUE(scratch->fnSetSize(file, 5000)) << "smaller";
    EXPECT_EQ(fnFacts(name).st_size, 5000);
    ASSERT_TRUE(scratch->fnSetSize(file, 0));
    EXPECT_EQ(fnFacts(name).st_size, 0);
    scratch->fnClose(file);
    EXPECT_FALSE(scratch->fnSetSize(file, 1)) << "a closed handle";
}

TEST(PosixScratch, AFullDiskFailsAtTheReservationWhichFreesItsBlocks) {
    const Folder folder;
    const std::string disk = folder.fnPath("disk");
    std::filesystem::create_directory(disk);
    std::string found;
    // Without the right to mount, the limit of the next test simulates the full disk.
    if (!fnOnSmallDisk(
            disk, [&] { return fnFailToReserve(disk, 64u << 20); }, found))
        found = fnWithFileLimit(1u << 20, [&] { return fnFailToReserve(disk, 64u << 20); });
    EXPECT_EQ(found, "");
}

// scripts/test-filesystems runs this on the file systems that it mounts.
TEST(PosixScratch, ADiskThatAnotherProcessFillsKeepsTheBytesOfAReservedView) {
    if (const char* const disk = std::getenv("Q32_TEST_DISK")) {
        for (const bool fill : {false, true})
            EXPECT_EQ(fnInChild([&] { return fnWriteOften(disk, 64u << 20, fill); }), "") << fill;
        return;
    }
    const Folder folder;
    const std::string disk = folder.fnPath("disk");
    std::filesystem::create_directory(disk);
    std::string found;
    // Without the right to mount, the disk of the tests stays as full as it is.
    if (!fnOnSmallDisk(
            disk, [&] { return fnWriteOften(disk, 6u << 20, true); }, found))
        found = fnInChild([&] { return fnWriteOften(folder.fnPath(), 6u << 20, false); });
    EXPECT_EQ(found, "");
}

TEST(PosixScratch, AFileSizeLimitIsAFailureAndNotASignal) {
    const Folder folder;
    EXPECT_EQ(fnWithFileLimit(1u << 20, [&] { return fnFailToReserve(folder.fnPath(), 2u << 20); }),
              "");
}

TEST(PosixScratch, ANameReplacedByALinkIsNotFollowed) {
    const Folder folder;
    const auto scratch = fnNewService();
    folder.fnWrite("victim", "precious");
    std::string name;
    ASSERT_TRUE(scratch->fnCreateName(folder.fnName().c_str(), "~qd", name));
    ::unlink(fnNative(name).c_str());
    ASSERT_EQ(::symlink(folder.fnPath("victim").c_str(), fnNative(name).c_str()), 0);
    EXPECT_EQ(scratch->fnOpen(name.c_str()), kNoFile) << "as made";
    EXPECT_EQ(scratch->fnOpen(name.c_str()), kNoFile) << "afresh";
    EXPECT_EQ(folder.fnRead("victim"), "precious");
}

TEST(PosixScratch, ANameReplacedByAnotherFileIsRefused) {
    const Folder folder;
    const auto scratch = fnNewService();
    std::string name;
    ASSERT_TRUE(scratch->fnCreateName(folder.fnName().c_str(), "~qd", name));
    const std::string path = fnNative(name);
    const auto swap = [&] {
        folder.fnWrite("other", "other");
        std::filesystem::rename(folder.fnPath("other"), path);
    };
    swap();
    EXPECT_EQ(scratch->fnOpen(name.c_str()), kNoFile);

    ASSERT_TRUE(scratch->fnCreateName(folder.fnName().c_str(), "~qd", name));
    const CqFileHandle file = scratch->fnOpen(name.c_str());
    ASSERT_NE(file, kNoFile);
    std::filesystem::rename(fnNative(name), path);
    EXPECT_EQ(scratch->fnReopen(file, name.c_str()), kNoFile) << "gone";
    EXPECT_FALSE(scratch->fnSetSize(file, 1)) << "the old handle is closed all the same";
}

TEST(PosixScratch, AFileReopenedKeepsItsLengthAndTheOldHandleIsClosed) {
    const Folder folder;
    const auto scratch = fnNewService();
    std::string name;
    ASSERT_TRUE(scratch->fnCreateName(folder.fnName().c_str(), "~qd", name));
    const CqFileHandle file = scratch->fnOpen(name.c_str());
    ASSERT_TRUE(scratch->fnSetSize(file, kSize));
    const CqFileHandle again = scratch->fnReopen(file, name.c_str());
    ASSERT_NE(again, kNoFile);
    EXPECT_EQ(fnFacts(name).st_size, off_t{kSize});
    EXPECT_EQ(scratch->fnReopen(file, name.c_str()), kNoFile);
    EXPECT_TRUE(scratch->fnSetSize(again, 10));
    scratch->fnClose(again);
}

TEST(PosixScratch, AFileInUseCannotBeOpenedAgain) {
    const Folder folder;
    const auto scratch = fnNewService();
    const Buffer buffer(*scratch, folder.fnName(), kSize);
    ASSERT_NE(buffer.m_pView, nullptr);
    EXPECT_EQ(scratch->fnOpen(buffer.m_Name.c_str()), kNoFile);
    EXPECT_EQ(fnNewService()->fnOpen(buffer.m_Name.c_str()), kNoFile);
    EXPECT_EQ(fnNewService()->fnDelete(buffer.m_Name.c_str()), false);
    EXPECT_TRUE(fnStands(buffer.m_Name));
}

TEST(PosixScratch, AClosedFileCanBeOpenedAgain) {
    const Folder folder;
    const auto scratch = fnNewService();
    std::string name;
    ASSERT_TRUE(scratch->fnCreateName(folder.fnName().c_str(), "~qd", name));
    scratch->fnClose(scratch->fnOpen(name.c_str()));
    const CqFileHandle file = scratch->fnOpen(name.c_str());
    EXPECT_NE(file, kNoFile);
    scratch->fnClose(file);
    EXPECT_EQ(scratch->fnOpen(folder.fnName("missing").c_str()), kNoFile);
    EXPECT_EQ(scratch->fnOpen(folder.fnName().c_str()), kNoFile) << "a directory";
}

TEST(PosixScratch, AMappingNeverReachesBeyondItsFile) {
    const Folder folder;
    const auto scratch = fnNewService();
    std::string name;
    ASSERT_TRUE(scratch->fnCreateName(folder.fnName().c_str(), "~qd", name));
    const CqFileHandle file = scratch->fnOpen(name.c_str());
    ASSERT_TRUE(scratch->fnSetSize(file, kSize));
    EXPECT_EQ(scratch->fnCreateMapping(file, kSize + 1), kNoMapping);
    EXPECT_EQ(scratch->fnCreateMapping(file, 0), kNoMapping);
    EXPECT_EQ(scratch->fnCreateMapping(file + 1, kSize), kNoMapping) << "no such file";
    const CqMappingHandle mapping = scratch->fnCreateMapping(file, kSize);
    ASSERT_NE(mapping, kNoMapping);
    EXPECT_EQ(scratch->fnMapView(mapping, kSize + 1), nullptr);
    EXPECT_EQ(scratch->fnMapView(mapping, 0), nullptr);
    EXPECT_EQ(scratch->fnMapView(mapping + 1, kSize), nullptr) << "no such mapping";
    ASSERT_EQ(::truncate(fnNative(name).c_str(), 100), 0);
    EXPECT_EQ(scratch->fnMapView(mapping, kSize), nullptr) << "the file was cut meanwhile";
    scratch->fnCloseMapping(mapping);
    EXPECT_EQ(scratch->fnMapView(mapping, kSize), nullptr) << "closed";
    scratch->fnClose(file);
}

TEST(PosixScratch, BothSeparatorsAreAccepted) {
    const Folder folder;
    const auto scratch = fnNewService();
    for (const std::string& directory : {folder.fnPath() + '/', folder.fnPath() + '\\'}) {
        const Buffer buffer(*scratch, directory, kSize);
        EXPECT_NE(buffer.m_pView, nullptr) << directory;
        EXPECT_EQ(folder.fnCount(), 1u);
    }
}

TEST(PosixScratch, AMissingOrForbiddenDirectoryGivesNoName) {
    const Folder folder;
    std::string name = "as before";
    EXPECT_FALSE(fnNewService()->fnCreateName(folder.fnName("missing\\").c_str(), "~qd", name));
    EXPECT_EQ(name, "as before");
    ::chmod(folder.fnPath().c_str(), 0555);
    EXPECT_EQ(fnAsNobody([&]() -> std::string {
                  std::string made;
                  Q32_WANT(!fnNewService()->fnCreateName(folder.fnName().c_str(), "~qd", made));
                  return "";
              }),
              "");
    ::chmod(folder.fnPath().c_str(), 0700);
    EXPECT_EQ(folder.fnCount(), 0u);
}

TEST(PosixScratch, WithoutDescriptorsEverythingFailsAndNoFileRemains) {
    const Folder folder;
    EXPECT_EQ(fnInChild([&]() -> std::string {
                  const auto scratch = fnNewService();
                  const rlimit limit{3, 3};
                  Q32_WANT(::setrlimit(RLIMIT_NOFILE, &limit) == 0);
                  std::string name;
                  Q32_WANT(!scratch->fnCreateName(folder.fnName().c_str(), "~qd", name));
                  Q32_WANT(scratch->fnOpen(folder.fnName("any").c_str()) == kNoFile);
                  return "";
              }),
              "");
    EXPECT_EQ(folder.fnCount(), 0u);
}

TEST(PosixScratch, ABufferTakesOneDescriptorAndReleasesIt) {
    const Folder folder;
    const auto scratch = fnNewService();
    const auto open = [] {
        return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
    };
    const auto before = open();
    {
        const Buffer first(*scratch, folder.fnName(), kSize);
        const Buffer second(*scratch, folder.fnName(), kSize);
        EXPECT_EQ(open(), before + 2);
    }
    EXPECT_EQ(open(), before);
}

TEST(PosixScratch, ADeletedNameLeavesNoDescriptorBehind) {
    const Folder folder;
    const auto scratch = fnNewService();
    std::string name;
    ASSERT_TRUE(scratch->fnCreateName(folder.fnName().c_str(), "~qd", name));
    EXPECT_EQ(fnNewService()->fnDelete(name.c_str()), false) << "held from its creation on";
    EXPECT_TRUE(scratch->fnDelete(name.c_str()));
    EXPECT_FALSE(fnStands(name));
    EXPECT_FALSE(scratch->fnDelete(name.c_str())) << "gone";
}
