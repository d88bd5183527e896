#include "platforms/common/Descriptor_p.h"
#include "platforms/posix/ViewPages_p.h"
#include "tests/platforms/PosixTestTools.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <fcntl.h>
#include <linux/magic.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <sys/vfs.h>
#include <unistd.h>
#include <vector>

using namespace q32::posix;
using q32::Descriptor;
using q32::test::Folder;

namespace {

constexpr std::size_t kSize = (std::size_t{24} << 20) + 4097;
constexpr std::size_t kBehind = std::size_t{4} << 20;

/// Calls of one kind, one of which fails as on a broken disk. The kernel reports that once.
struct SyncFault {
    unsigned flags; ///< 0: none fails
    unsigned countdown;
};
SyncFault g_Fault = {0, 0};

} // namespace

/// Replaces the C library's function.
extern "C" __attribute__((visibility("default"))) int
sync_file_range(int file, off64_t offset, off64_t count, unsigned int flags) {
    if (flags == g_Fault.flags && g_Fault.countdown-- == 0) {
        g_Fault.flags = 0;
        errno = EIO;
        return -1;
    }
    return static_cast<int>(::syscall(SYS_sync_file_range, file, offset, count, flags));
}

namespace {

class PosixViewPages : public ::testing::Test {
protected:
    PosixViewPages()
        : m_File(::open(m_Folder.fnPath("view").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600)) {}
    ~PosixViewPages() override {
        g_Fault.flags = 0;
        ::munmap(m_pView, kSize);
    }

    void SetUp() override {
        ASSERT_EQ(::ftruncate(m_File.fnGet(), off_t{kSize}), 0);
        void* view = ::mmap(nullptr, kSize, PROT_READ | PROT_WRITE, MAP_SHARED, m_File.fnGet(), 0);
        ASSERT_NE(view, MAP_FAILED);
        m_pView = static_cast<char*>(view);
        for (std::size_t i = 0; i < kSize; ++i)
            m_pView[i] = fnByte(i, 0);
    }

    static char fnByte(std::size_t i, unsigned round) {
        return static_cast<char>(i * 7 + i / 4096 + round);
    }
    bool fnHolds(unsigned round) const {
        for (std::size_t i = 0; i < kSize; ++i)
            if (m_pView[i] != fnByte(i, round))
                return false;
        return true;
    }
    std::size_t fnResident() const {
        const auto page = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
        std::vector<unsigned char> pages((kSize + page - 1) / page);
        EXPECT_EQ(::mincore(m_pView, kSize, pages.data()), 0);
        std::size_t bytes = 0;
        for (const unsigned char state : pages)
            bytes += (state & 1) != 0 ? page : 0;
        return bytes;
    }
    /// A memory file system keeps its pages in memory.
    bool fnIsOnDisk() const {
        struct statfs facts {};
        return ::fstatfs(m_File.fnGet(), &facts) == 0 && facts.f_type != TMPFS_MAGIC;
    }

    Folder m_Folder;
    Descriptor m_File;
    char* m_pView = nullptr;
};

TEST_F(PosixViewPages, ReleasedPiecesLeaveMemoryAndAreReadBackOnAccess) {
    ViewPages pages(m_File.fnGet(), m_pView, kSize, kBehind);
    EXPECT_EQ(fnResident() / 4096, (kSize + 4095) / 4096);
    constexpr std::size_t kTile = 49152;
    for (std::size_t at = 0; at < kSize; at += kTile)
        pages.fnDone(at, at + kTile); // the last one is clipped
    if (fnIsOnDisk()) {
        // The data being written, and the piece being collected.
        EXPECT_LE(fnResident(), kBehind + (std::size_t{8} << 20));
    }
    EXPECT_TRUE(fnHolds(0));
}

TEST_F(PosixViewPages, ScatteredPiecesLeaveMemoryToo) {
    ViewPages pages(m_File.fnGet(), m_pView, kSize, kBehind);
    constexpr std::size_t kTile = 49152;
    constexpr std::size_t kAcross = 16;
    for (std::size_t column = 0; column < kAcross; ++column)
        for (std::size_t at = column * kTile; at < kSize; at += kTile * kAcross)
            pages.fnDone(at, at + kTile);
    if (fnIsOnDisk()) {
        EXPECT_LE(fnResident(), kSize / 2);
    }
    EXPECT_TRUE(fnHolds(0));
}

TEST_F(PosixViewPages, BytesWrittenAfterTheirReleaseAreKept) {
    ViewPages pages(m_File.fnGet(), m_pView, kSize, kBehind);
    constexpr std::size_t kPiece = 1000003; // not a multiple of the page size
    for (unsigned round = 1; round < 4; ++round) {
        for (std::size_t at = 0; at < kSize; at += kPiece) {
            const std::size_t end = std::min(at + kPiece, kSize);
            pages.fnWriteNext(at, end);
            pages.fnDone(at, end);
            for (std::size_t i = at; i < end; ++i)
                m_pView[i] = fnByte(i, round);
            pages.fnReadNext(at, end);
        }
        ASSERT_TRUE(fnHolds(round));
    }
}

TEST_F(PosixViewPages, AdviceThatTheSystemRefusesIsNotAFailure) {
    ViewPages pages(-1, m_pView, kSize, kBehind); // no file: nothing can be written out
    errno = ENODATA;
    for (std::size_t at = 0; at < kSize; at += 49152) {
        pages.fnReadNext(at, at + 49152);
        pages.fnDone(at, at + 49152);
    }
    pages.fnDone(kSize, kSize + 5);
    pages.fnDone(kSize + 5, kSize + 9);
    EXPECT_EQ(errno, ENODATA);
    EXPECT_TRUE(fnHolds(0));
}

/// Memory that the file has no copy of: dropped pages are lost.
class OnlyCopy {
public:
    static constexpr std::size_t kPieces = 200;
    static constexpr std::size_t kPiece = std::size_t{64} << 10;

    OnlyCopy()
        : m_pView(static_cast<char*>(::mmap(nullptr, kPieces * kPiece, PROT_READ | PROT_WRITE,
                                            MAP_PRIVATE | MAP_ANONYMOUS, -1, 0))) {
        std::fill_n(m_pView, kPieces * kPiece, 'x');
    }
    ~OnlyCopy() { ::munmap(m_pView, kPieces * kPiece); }
    OnlyCopy(const OnlyCopy&) = delete;
    OnlyCopy& operator=(const OnlyCopy&) = delete;

    /// Releases every second piece, so that each is written separately, and then the others.
    void fnWalk(int file) {
        ViewPages pages(file, m_pView, kPieces * kPiece, 8 * kPiece);
        for (const std::size_t first : {0u, 1u})
            for (std::size_t i = first; i < kPieces; i += 2)
                pages.fnDone(i * kPiece, (i + 1) * kPiece);
    }
    std::size_t fnLost() const {
        std::size_t lost = 0;
        for (std::size_t i = 0; i < kPieces; ++i)
            lost += m_pView[i * kPiece] == 'x' ? 0 : 1;
        return lost;
    }

private:
    char* m_pView;
};

TEST_F(PosixViewPages, NothingIsDroppedAfterTheFirstFailedWriteOut) {
    OnlyCopy dropped;
    dropped.fnWalk(m_File.fnGet());
    EXPECT_GT(dropped.fnLost(), OnlyCopy::kPieces / 2); // as without a failure
    for (const unsigned flags :
         {unsigned{SYNC_FILE_RANGE_WRITE}, unsigned{SYNC_FILE_RANGE_WAIT_BEFORE}})
        for (const unsigned nth : {0u, 1u, 20u}) {
            g_Fault = {flags, nth};
            OnlyCopy copy;
            copy.fnWalk(m_File.fnGet());
            EXPECT_EQ(g_Fault.flags, 0u);
            // Earlier pieces were written. Of those, 8 wait, and another one is being written.
            const std::size_t before =
                flags == SYNC_FILE_RANGE_WRITE ? std::max(nth, 8u) - 8u : nth;
            EXPECT_EQ(copy.fnLost(), before) << flags << " " << nth;
        }
}

TEST_F(PosixViewPages, NothingIsDroppedWhereTheFileAcceptsNoWrites) {
    OnlyCopy copy;
    copy.fnWalk(-1);
    EXPECT_EQ(copy.fnLost(), 0u);
}

} // namespace
