#include "q32Base/framework/CFile.h"

#include "q32Base/framework/CArchive.h"
#include "q32Base/framework/Exceptions.h"
#include "tests/support/FailingAllocator.h"
#include "tests/support/FakePlatform.h"

#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <string>
#include <vector>

namespace {

/// The cause of the file exception that `work` throws; FILE_CAUSE_NONE when it throws none.
template <typename Work>
CQ_FILE_CAUSE fnCause(Work&& work) {
    CQ_FILE_CAUSE cause = FILE_CAUSE_NONE;
    try {
        work();
    } catch (CFileException* failure) {
        cause = failure->m_cause;
        failure->Delete();
    }
    return cause;
}

template <typename Work>
int fnArchiveCause(Work&& work) {
    int cause = CArchiveException::none;
    try {
        work();
    } catch (CArchiveException* failure) {
        cause = failure->m_cause;
        failure->Delete();
    }
    return cause;
}

/// A file whose writes fail.
class FullFile : public CMemFile {
public:
    void Write(const void*, std::size_t) override { AfxThrowFileException(FILE_CAUSE_DISK_FULL); }
};

} // namespace

TEST(CMemFile, ReadsBackWhatWasWritten) {
    CMemFile file;
    file.Write("hello", 5);
    file.Write(nullptr, 0);
    EXPECT_EQ(file.GetLength(), 5u);
    file.Seek(1);
    char buffer[8] = {};
    EXPECT_EQ(file.Read(buffer, sizeof(buffer)), 4u);
    EXPECT_STREQ(buffer, "ello");
    EXPECT_EQ(file.Read(buffer, sizeof(buffer)), 0u);
}

TEST(CMemFile, IsPositionedAtTheStartOfACopy) {
    char bytes[] = "abc";
    CMemFile file(bytes, 3);
    bytes[0] = 'x';
    char read[3];
    EXPECT_EQ(file.Read(read, 3), 3u);
    EXPECT_EQ(std::memcmp(read, "abc", 3), 0);
    EXPECT_EQ(CMemFile(nullptr, 0).GetLength(), 0u);
}

TEST(CMemFile, AGapReadsAsZero) {
    CMemFile file;
    file.Write("abcdef", 6);
    file.Seek(10);
    EXPECT_EQ(file.GetLength(), 6u) << "moving alone doesn't lengthen";
    char byte;
    EXPECT_EQ(file.Read(&byte, 1), 0u);
    file.Write("x", 1);
    EXPECT_EQ(file.GetLength(), 11u);
    EXPECT_EQ(std::memcmp(file.GetData(), "abcdef\0\0\0\0x", 11), 0);
}

TEST(CMemFile, APositionBeyondAllMemoryRaisesTheMemoryExceptionAtTheNextWrite) {
    CMemFile file("abc", 3);
    file.Seek(std::numeric_limits<std::uint64_t>::max());
    char byte;
    EXPECT_EQ(file.Read(&byte, 1), 0u);
    EXPECT_THROW(file.Write("x", 1), CMemoryException*);
    EXPECT_EQ(file.GetLength(), 3u);
}

TEST(CMemFile, AFailedGrowthLeavesTheFileUnchanged) {
    const auto outstanding = CqAllocationFailure::fnOutstanding();
    {
        CMemFile file("abc", 3);
        file.Seek(3);
        const CqAllocationFailure failure(1);
        EXPECT_THROW(file.Write("defghi", 6), CMemoryException*);
        EXPECT_EQ(file.GetLength(), 3u);
        EXPECT_EQ(std::memcmp(file.GetData(), "abc", 3), 0);
    }
    EXPECT_EQ(CqAllocationFailure::fnOutstanding(), outstanding);
}

TEST(CFile, ReadsAndWritesAFileOfThePlatform) {
    CqFakeWorld world;
    CFile file("a.txt", CFile::modeCreate | CFile::modeWrite | CFile::shareExclusive);
    EXPECT_STREQ(file.GetFilePath(), "a.txt");
    file.Write("hello", 5);
    file.Seek(1);
    file.Write("a", 1);
    EXPECT_EQ(file.GetLength(), 5u);
    file.Close();
    file.Close();
    EXPECT_EQ(world.m_pFiles->m_Texts["a.txt"], "hallo");

    CFile reader;
    EXPECT_TRUE(reader.Open("a.txt", CFile::modeRead));
    char buffer[8] = {};
    EXPECT_EQ(reader.Read(buffer, sizeof(buffer)), 5u);
    EXPECT_STREQ(buffer, "hallo");
}

TEST(CFile, FailuresCarryTheirCauseAndTheName) {
    CqFakeWorld world;
    CQ_FILE_CAUSE cause = FILE_CAUSE_NONE;
    CFile file;
    EXPECT_FALSE(file.Open("gone.txt", CFile::modeRead, &cause));
    EXPECT_EQ(cause, FILE_CAUSE_NOT_FOUND);
    EXPECT_FALSE(file.Open("gone.txt", CFile::modeRead));
    try {
        CFile opened("gone.txt", CFile::modeRead);
        FAIL();
    } catch (CFileException* failure) {
        EXPECT_EQ(failure->m_cause, FILE_CAUSE_NOT_FOUND);
        EXPECT_STREQ(failure->m_strFileName, "gone.txt");
        failure->Delete();
    }
    world.m_pFiles->m_Texts["a.txt"] = "abc";
    CFile reader("a.txt", CFile::modeRead);
    EXPECT_EQ(fnCause([&] { reader.Write("x", 1); }), FILE_CAUSE_ACCESS_DENIED);
}

TEST(CFile, AnOpenThatFailsWithoutACauseGetsTheGenericOne) {
    CqFakeWorld world;
    world.m_pFiles->m_bReadFails = true;
    EXPECT_EQ(fnCause([] { CFile("a.txt", CFile::modeRead); }), FILE_CAUSE_GENERIC);
}

TEST(CFile, WithoutAnOpenFileEveryCallFails) {
    CFile file;
    char byte = 0;
    EXPECT_EQ(fnCause([&] { file.Read(&byte, 1); }), FILE_CAUSE_INVALID);
    EXPECT_EQ(fnCause([&] { file.Write(&byte, 1); }), FILE_CAUSE_INVALID);
    EXPECT_EQ(fnCause([&] { file.Seek(0); }), FILE_CAUSE_INVALID);
    EXPECT_EQ(fnCause([&] { file.GetLength(); }), FILE_CAUSE_INVALID);
    file.Close();
}

TEST(CFile, CloseReportsAFailedWriteAndTheDestructorDoesNot) {
    CqFakeWorld world;
    {
        CFile file("a.txt", CFile::modeCreate | CFile::modeWrite);
        file.Write("full", 4);
        EXPECT_EQ(fnCause([&] { file.Close(); }), FILE_CAUSE_DISK_FULL);
        EXPECT_EQ(fnCause([&] { file.Close(); }), FILE_CAUSE_NONE) << "reported once";
    }
    CFile file("a.txt", CFile::modeCreate | CFile::modeWrite);
    file.Write("full", 4);
}

TEST(CFile, OpeningSurvivesEachFailedAllocation) {
    CqFakeWorld world;
    world.m_pFiles->m_Texts["a file whose name needs a block.txt"] = "abc";
    const auto failed = fnFailEachAllocation([](CqAllocationFailure& failure) {
        const auto outstanding = CqAllocationFailure::fnOutstanding();
        bool threw = false;
        try {
            CFile file("a file whose name needs a block.txt", CFile::modeRead);
        } catch (CMemoryException* exception) {
            threw = true;
            exception->Delete();
        }
        failure.fnEnd();
        EXPECT_EQ(threw, failure.fnHappened());
        EXPECT_EQ(CqAllocationFailure::fnOutstanding(), outstanding);
    });
    EXPECT_GE(failed, 2u);
}

TEST(CFile, AStreamWithoutMemoryRaisesTheMemoryException) {
    CqFakeWorld world;
    CFile file("a.txt", CFile::modeCreate | CFile::modeWrite);
    const std::string block(1000, 'x'); // too long for the fake's inline text
    {
        const CqAllocationFailure failure(1);
        EXPECT_THROW(file.Write(block.data(), block.size()), CMemoryException*);
    }
    file.Write(block.data(), block.size());
    EXPECT_EQ(world.m_pFiles->m_Texts["a.txt"], block);
}

TEST(CArchive, ADestructorWithoutMemoryToWriteSwallowsTheFailure) {
    CqFakeWorld world;
    CFile file("a.txt", CFile::modeCreate | CFile::modeWrite);
    {
        CArchive archive(&file, CArchive::store);
        for (int i = 0; i < 100; ++i)
            archive << 1.0;
        const CqAllocationFailure failure(1, true);
        archive.~CArchive();
        new (&archive) CArchive(&file, CArchive::store); // ended by the scope
    }
    EXPECT_EQ(file.GetLength(), 0u);
}

TEST(CArchive, ValuesAreStoredLowestByteFirst) {
    CMemFile file;
    CArchive archive(&file, CArchive::store);
    archive << std::uint8_t{0x01} << std::uint16_t{0x0203} << std::uint32_t{0x04050607}
            << std::int32_t{-2} << 1.0;
    archive.Close();
    const unsigned char expected[] = {1,    3, 2, 7, 6, 5, 4, 0xFE, 0xFF, 0xFF,
                                      0xFF, 0, 0, 0, 0, 0, 0, 0xF0, 0x3F};
    ASSERT_EQ(file.GetLength(), sizeof(expected));
    EXPECT_EQ(std::memcmp(file.GetData(), expected, sizeof(expected)), 0);
}

TEST(CArchive, ValuesReadBackUnchanged) {
    CMemFile file;
    {
        CArchive archive(&file, CArchive::store);
        EXPECT_TRUE(archive.IsStoring());
        for (int i = 0; i < 3000; ++i)
            archive << static_cast<std::int32_t>(i - 1500) << static_cast<double>(i) / 3;
    } // the destructor flushes
    EXPECT_EQ(file.GetLength(), 36000u);
    file.Seek(0);
    CArchive archive(&file, CArchive::load);
    EXPECT_TRUE(archive.IsLoading());
    for (int i = 0; i < 3000; ++i) {
        std::int32_t number = 0;
        double real = 0;
        archive >> number >> real;
        ASSERT_EQ(number, i - 1500);
        ASSERT_EQ(real, static_cast<double>(i) / 3);
    }
    std::uint8_t more;
    EXPECT_EQ(fnArchiveCause([&] { archive >> more; }), CArchiveException::endOfFile);
}

TEST(CArchive, ReadingPastTheEndIsReported) {
    const char bytes[] = {1, 2, 3};
    for (std::size_t there = 0; there < 3; ++there) {
        CMemFile file(bytes, there);
        CArchive archive(&file, CArchive::load);
        std::uint32_t value = 77;
        EXPECT_EQ(fnArchiveCause([&] { archive >> value; }), CArchiveException::endOfFile);
        EXPECT_EQ(value, 77u);
    }
    CMemFile file(bytes, 3);
    CArchive archive(&file, CArchive::load);
    char buffer[10];
    EXPECT_EQ(archive.Read(buffer, 10), 3u) << "raw reading gives what there is";
}

TEST(CArchive, UseAgainstItsDirectionIsReported) {
    CMemFile file;
    CArchive storing(&file, CArchive::store);
    std::uint16_t value = 0;
    EXPECT_EQ(fnArchiveCause([&] { storing >> value; }), CArchiveException::writeOnly);
    CArchive loading(&file, CArchive::load);
    EXPECT_EQ(fnArchiveCause([&] { loading << value; }), CArchiveException::readOnly);
}

TEST(CArchive, AFailedWriteIsReportedByCloseAndSwallowedByTheDestructor) {
    FullFile file;
    {
        CArchive archive(&file, CArchive::store);
        archive << 1.0;
        EXPECT_EQ(fnCause([&] { archive.Close(); }), FILE_CAUSE_DISK_FULL);
    }
    CArchive archive(&file, CArchive::store);
    archive << 1.0;
}

TEST(CArchive, BlocksLargerThanItsBufferPassThrough) {
    std::vector<unsigned char> block(10000);
    for (std::size_t i = 0; i < block.size(); ++i)
        block[i] = static_cast<unsigned char>(i * 7);
    CMemFile file;
    CArchive out(&file, CArchive::store);
    out.Write(block.data(), 1);
    out.Write(block.data(), block.size());
    out.Close();
    file.Seek(1);
    CArchive in(&file, CArchive::load);
    std::vector<unsigned char> read(block.size());
    EXPECT_EQ(in.Read(read.data(), read.size()), read.size());
    EXPECT_EQ(read, block);
}

TEST(CArchive, AClosedOneReadsNothingAndWritesNothing) {
    CMemFile file;
    file.Write("abc", 3);
    file.Seek(0);
    CArchive load(&file, CArchive::load);
    load.Close();
    char bytes[3];
    EXPECT_EQ(load.Read(bytes, 3), 0u);
    CArchive store(&file, CArchive::store);
    store.Close();
    store.Write("more", 4);
    store.Flush();
    EXPECT_EQ(file.GetLength(), 3u);
}
