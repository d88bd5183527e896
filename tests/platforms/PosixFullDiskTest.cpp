/// @file
/// Scratch files on disks that are full, or that another process fills.

#include "tests/platforms/PosixScratchTools.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>
#include <vector>

using namespace q32::test;

namespace {

std::size_t fnFreeBytes(const std::string& path) {
    struct statvfs facts {};
    ::statvfs(path.c_str(), &facts);
    return facts.f_bfree * facts.f_frsize;
}

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
