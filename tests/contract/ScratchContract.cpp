#include "tests/contract/ContractBackEnd.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <set>
#include <string>

namespace {

class ScratchContract : public ContractTest {
protected:
    CqScratchService& m_Scratch = *m_World.m_Platform.m_pScratch;
    CqFileService& m_Files = *m_World.m_Platform.m_pFiles;

    std::string fnMakeName() {
        std::string name;
        EXPECT_TRUE(m_Scratch.fnCreateName(m_World.m_szDirectory.c_str(), "~qd", name));
        return name;
    }

    std::uint64_t fnGetSize(const std::string& name) {
        CqFileInfo info;
        EXPECT_TRUE(m_Files.fnGetInfo(name.c_str(), false, info));
        return info.m_nSize;
    }

    /// A file through all its stages. The test ends it with `fnEnd`.
    struct Buffer {
        std::string m_szName;
        CqFileHandle m_nFile = kNoFile;
        CqMappingHandle m_nMapping = kNoMapping;
        std::uint8_t* m_pBytes = nullptr;
        std::uint32_t m_nSize = 0;
    };

    void fnBegin(std::uint32_t size, Buffer& buffer) {
        buffer.m_nSize = size;
        buffer.m_szName = fnMakeName();
        const CqFileHandle first = m_Scratch.fnOpen(buffer.m_szName.c_str());
        ASSERT_NE(first, kNoFile);
        ASSERT_TRUE(m_Scratch.fnSetSize(first, size));
        buffer.m_nFile = m_Scratch.fnReopen(first, buffer.m_szName.c_str());
        ASSERT_NE(buffer.m_nFile, kNoFile);
        buffer.m_nMapping = m_Scratch.fnCreateMapping(buffer.m_nFile, size);
        ASSERT_NE(buffer.m_nMapping, kNoMapping);
        buffer.m_pBytes = static_cast<std::uint8_t*>(m_Scratch.fnMapView(buffer.m_nMapping, size));
        ASSERT_NE(buffer.m_pBytes, nullptr);
    }

    void fnEnd(const Buffer& buffer) {
        m_Scratch.fnUnmapView(buffer.m_pBytes, buffer.m_nSize);
        m_Scratch.fnCloseMapping(buffer.m_nMapping);
        m_Scratch.fnClose(buffer.m_nFile);
        EXPECT_TRUE(m_Scratch.fnDelete(buffer.m_szName.c_str()));
        EXPECT_FALSE(m_Files.fnExists(buffer.m_szName.c_str()));
    }
};

TEST_P(ScratchContract, AdviceChangesNoByte) {
    constexpr std::uint32_t kSize = 5'000'001;
    Buffer buffer;
    ASSERT_NO_FATAL_FAILURE(fnBegin(kSize, buffer));
    const auto expected = [](std::uint32_t i) {
        return static_cast<std::uint8_t>(i * 31 + i / 997);
    };
    for (std::uint32_t i = 0; i < kSize; ++i)
        buffer.m_pBytes[i] = expected(i);
    constexpr CQ_VIEW_ADVICE kAll[] = {VIEW_READ_NEXT, VIEW_WRITE_NEXT, VIEW_DONE,
                                       VIEW_DONE,      VIEW_WRITE_NEXT, VIEW_READ_NEXT};
    constexpr std::uint32_t kParts[][2] = {{0, kSize},     {0, 0},    {kSize, 0},
                                           {kSize - 1, 1}, {1, 4096}, {100'000, 2'500'000}};
    for (const CQ_VIEW_ADVICE advice : kAll)
        for (const auto& [at, size] : kParts)
            m_Scratch.fnAdvise(advice, buffer.m_pBytes + at, size);
    std::uint32_t same = 0;
    while (same < kSize && buffer.m_pBytes[same] == expected(same))
        ++same;
    EXPECT_EQ(same, kSize);
    fnEnd(buffer);
}

TEST_P(ScratchContract, ANewNameIsAnEmptyFileInTheDirectoryByItsPattern) {
    const std::string name = fnMakeName();
    EXPECT_TRUE(name.starts_with(m_World.m_szDirectory + "~qd")) << name;
    EXPECT_TRUE(name.ends_with(".tmp")) << name;
    EXPECT_EQ(name.find('\\', m_World.m_szDirectory.size()), std::string::npos);
    EXPECT_TRUE(m_Files.fnExists(name.c_str()));
    EXPECT_EQ(fnGetSize(name), 0u);
    EXPECT_EQ(m_Files.fnFind((m_World.m_szDirectory + "~qd*.tmp").c_str()).size(), 1u);
    EXPECT_TRUE(m_Scratch.fnDelete(name.c_str()));
}

TEST_P(ScratchContract, EveryNameIsNew) {
    std::set<std::string> names;
    for (int i = 0; i < 20; ++i)
        names.insert(fnMakeName());
    EXPECT_EQ(names.size(), 20u);
    for (const std::string& name : names)
        EXPECT_TRUE(m_Scratch.fnDelete(name.c_str()));
}

TEST_P(ScratchContract, AMissingDirectoryGetsNoFile) {
    std::string name;
    EXPECT_FALSE(
        m_Scratch.fnCreateName((m_World.m_szDirectory + "missing\\").c_str(), "~qd", name));
}

TEST_P(ScratchContract, AViewIsPageAlignedZeroedAndWritableToItsEnd) {
    for (const std::uint32_t size : {1u, 4096u, 5000001u}) {
        Buffer buffer;
        ASSERT_NO_FATAL_FAILURE(fnBegin(size, buffer));
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(buffer.m_pBytes) % 4096, 0u);
        EXPECT_TRUE(std::all_of(buffer.m_pBytes, buffer.m_pBytes + size,
                                [](std::uint8_t byte) { return byte == 0; }));
        std::memset(buffer.m_pBytes, 0xC3, size);
        EXPECT_EQ(buffer.m_pBytes[size - 1], 0xC3);
        EXPECT_EQ(fnGetSize(buffer.m_szName), size);
        fnEnd(buffer);
    }
}

TEST_P(ScratchContract, AViewIsWholePagesAndItsFileIsNot) {
    constexpr std::uint32_t kSize = 4096 + 15;
    Buffer buffer;
    ASSERT_NO_FATAL_FAILURE(fnBegin(kSize, buffer));
    for (std::uint32_t at : {kSize, 8191u}) {
        buffer.m_pBytes[at] = 0x77;
        EXPECT_EQ(buffer.m_pBytes[at], 0x77);
    }
    EXPECT_EQ(fnGetSize(buffer.m_szName), kSize);
    fnEnd(buffer);
}

TEST_P(ScratchContract, WhatWasWrittenIntoAViewIsInTheFile) {
    Buffer buffer;
    ASSERT_NO_FATAL_FAILURE(fnBegin(10000, buffer));
    for (std::uint32_t i = 0; i < buffer.m_nSize; ++i)
        buffer.m_pBytes[i] = static_cast<std::uint8_t>(i * 7);
    m_Scratch.fnUnmapView(buffer.m_pBytes, buffer.m_nSize);
    buffer.m_pBytes =
        static_cast<std::uint8_t*>(m_Scratch.fnMapView(buffer.m_nMapping, buffer.m_nSize));
    ASSERT_NE(buffer.m_pBytes, nullptr);
    for (std::uint32_t i = 0; i < buffer.m_nSize; ++i)
        ASSERT_EQ(buffer.m_pBytes[i], static_cast<std::uint8_t>(i * 7)) << i;
    fnEnd(buffer);
}

TEST_P(ScratchContract, BuffersDontShareBytes) {
    Buffer one;
    Buffer other;
    ASSERT_NO_FATAL_FAILURE(fnBegin(8192, one));
    ASSERT_NO_FATAL_FAILURE(fnBegin(8192, other));
    std::memset(one.m_pBytes, 1, 8192);
    std::memset(other.m_pBytes, 2, 8192);
    EXPECT_EQ(one.m_pBytes[8191], 1);
    EXPECT_EQ(other.m_pBytes[0], 2);
    fnEnd(one);
    fnEnd(other);
}

TEST_P(ScratchContract, AnOpenFileIsNotOpenedTwice) {
    const std::string name = fnMakeName();
    const CqFileHandle file = m_Scratch.fnOpen(name.c_str());
    ASSERT_NE(file, kNoFile);
    EXPECT_EQ(m_Scratch.fnOpen(name.c_str()), kNoFile);
    m_Scratch.fnClose(file);
    const CqFileHandle again = m_Scratch.fnOpen(name.c_str());
    EXPECT_NE(again, kNoFile);
    m_Scratch.fnClose(again);
    EXPECT_TRUE(m_Scratch.fnDelete(name.c_str()));
}

TEST_P(ScratchContract, AMissingFileIsNeitherOpenedNorDeleted) {
    const std::string name = m_World.m_szDirectory + "missing.tmp";
    EXPECT_EQ(m_Scratch.fnOpen(name.c_str()), kNoFile);
    EXPECT_FALSE(m_Scratch.fnDelete(name.c_str()));
    EXPECT_FALSE(m_Files.fnExists(name.c_str()));
}

TEST_P(ScratchContract, AReopenedFileKeepsItsSizeAndItsHandleIsTheOnlyOne) {
    const std::string name = fnMakeName();
    const CqFileHandle first = m_Scratch.fnOpen(name.c_str());
    ASSERT_NE(first, kNoFile);
    ASSERT_TRUE(m_Scratch.fnSetSize(first, 70000));
    const CqFileHandle second = m_Scratch.fnReopen(first, name.c_str());
    ASSERT_NE(second, kNoFile);
    EXPECT_EQ(fnGetSize(name), 70000u);
    EXPECT_EQ(m_Scratch.fnOpen(name.c_str()), kNoFile);
    m_Scratch.fnClose(second);
    EXPECT_TRUE(m_Scratch.fnDelete(name.c_str()));
}

TEST_P(ScratchContract, ReopeningAnotherFileFailsAndClosesTheFirst) {
    const std::string name = fnMakeName();
    const std::string other = fnMakeName();
    const CqFileHandle file = m_Scratch.fnOpen(name.c_str());
    ASSERT_NE(file, kNoFile);
    EXPECT_EQ(m_Scratch.fnReopen(file, other.c_str()), kNoFile);
    const CqFileHandle again = m_Scratch.fnOpen(name.c_str());
    EXPECT_NE(again, kNoFile);
    m_Scratch.fnClose(again);
    EXPECT_TRUE(m_Scratch.fnDelete(name.c_str()));
    EXPECT_TRUE(m_Scratch.fnDelete(other.c_str()));
}

TEST_P(ScratchContract, AFileThatIsTooShortOrAnEmptyViewIsNotMapped) {
    const std::string name = fnMakeName();
    const CqFileHandle file = m_Scratch.fnOpen(name.c_str());
    ASSERT_NE(file, kNoFile);
    ASSERT_TRUE(m_Scratch.fnSetSize(file, 4096));
    EXPECT_EQ(m_Scratch.fnCreateMapping(file, 4097), kNoMapping);
    EXPECT_EQ(m_Scratch.fnCreateMapping(file, 0), kNoMapping);
    m_Scratch.fnClose(file);
    EXPECT_TRUE(m_Scratch.fnDelete(name.c_str()));
}

TEST_P(ScratchContract, ASmallerSizeTruncatesTheFile) {
    const std::string name = fnMakeName();
    const CqFileHandle file = m_Scratch.fnOpen(name.c_str());
    ASSERT_NE(file, kNoFile);
    ASSERT_TRUE(m_Scratch.fnSetSize(file, 9000));
    ASSERT_TRUE(m_Scratch.fnSetSize(file, 100));
    EXPECT_EQ(fnGetSize(name), 100u);
    m_Scratch.fnClose(file);
    EXPECT_TRUE(m_Scratch.fnDelete(name.c_str()));
}

} // namespace

Q32_CONTRACT(ScratchContract, SCRATCH);
