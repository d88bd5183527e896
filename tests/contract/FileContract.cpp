#include "tests/contract/ContractBackEnd.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

namespace {

class FileContract : public ContractTest {
protected:
    CqFileService& m_Files = *m_World.m_Platform.m_pFiles;

    std::string fnName(std::string_view bare) const {
        return m_World.m_szDirectory + std::string(bare);
    }

    std::unique_ptr<CqFileStream> fnOpen(const std::string& name, const CqFileMode& mode,
                                         CQ_FILE_CAUSE expected = FILE_CAUSE_NONE) {
        CQ_FILE_CAUSE cause = FILE_CAUSE_NONE;
        auto stream = m_Files.fnOpen(name.c_str(), mode, cause);
        EXPECT_EQ(stream != nullptr, expected == FILE_CAUSE_NONE);
        EXPECT_EQ(stream ? FILE_CAUSE_NONE : cause, expected);
        return stream;
    }

    void fnWrite(const std::string& name, std::string_view bytes) {
        const auto stream = fnOpen(name, kCreate);
        ASSERT_NE(stream, nullptr);
        ASSERT_EQ(stream->fnWrite(bytes.data(), bytes.size()), FILE_CAUSE_NONE);
        ASSERT_EQ(stream->fnClose(), FILE_CAUSE_NONE);
    }

    std::string fnRead(CqFileStream& stream, std::size_t most) {
        std::string bytes(most, '?');
        std::size_t done = 0;
        EXPECT_EQ(stream.fnRead(bytes.data(), most, done), FILE_CAUSE_NONE);
        bytes.resize(std::min(done, most));
        return bytes;
    }

    static constexpr CqFileMode kRead{true, false, false, false};
    static constexpr CqFileMode kCreate{true, true, true, false};
    static constexpr CqFileMode kChange{true, true, false, false};
};

TEST_P(FileContract, TheTemporaryDirectoryExistsAndEndsInABackslash) {
    std::string directory;
    ASSERT_TRUE(m_Files.fnGetTempDirectory(directory));
    EXPECT_TRUE(directory.ends_with('\\')) << directory;
    EXPECT_TRUE(m_Files.fnExists(directory.c_str()));
}

TEST_P(FileContract, ThereIsAConfigurationDirectory) {
    std::string directory;
    ASSERT_TRUE(m_Files.fnGetConfigDirectory(directory));
    EXPECT_FALSE(directory.empty());
}

TEST_P(FileContract, WhatIsWrittenIsReadBack) {
    const std::string name = fnName("a.bin");
    ASSERT_NO_FATAL_FAILURE(fnWrite(name, std::string_view("one\0two", 7)));
    const auto stream = fnOpen(name, kRead);
    ASSERT_NE(stream, nullptr);
    std::uint64_t length = 0;
    EXPECT_EQ(stream->fnGetLength(length), FILE_CAUSE_NONE);
    EXPECT_EQ(length, 7u);
    EXPECT_EQ(fnRead(*stream, 3), "one");
    EXPECT_EQ(fnRead(*stream, 100), std::string("\0two", 4));
    EXPECT_EQ(fnRead(*stream, 100), "");
}

TEST_P(FileContract, ARecreatedFileIsEmpty) {
    const std::string name = fnName("a.txt");
    ASSERT_NO_FATAL_FAILURE(fnWrite(name, "long text"));
    ASSERT_NO_FATAL_FAILURE(fnWrite(name, "new"));
    EXPECT_EQ(fnRead(*fnOpen(name, kRead), 100), "new");
}

TEST_P(FileContract, AChangedFileKeepsTheRest) {
    const std::string name = fnName("a.txt");
    ASSERT_NO_FATAL_FAILURE(fnWrite(name, "abcdef"));
    {
        const auto stream = fnOpen(name, kChange);
        ASSERT_NE(stream, nullptr);
        EXPECT_EQ(stream->fnSeek(2), FILE_CAUSE_NONE);
        EXPECT_EQ(stream->fnWrite("XY", 2), FILE_CAUSE_NONE);
    }
    EXPECT_EQ(fnRead(*fnOpen(name, kRead), 100), "abXYef");
}

TEST_P(FileContract, WritingBeyondTheEndFillsWithZeros) {
    const std::string name = fnName("a.txt");
    {
        const auto stream = fnOpen(name, kCreate);
        ASSERT_NE(stream, nullptr);
        EXPECT_EQ(stream->fnSeek(5), FILE_CAUSE_NONE);
        std::uint64_t length = 1;
        EXPECT_EQ(stream->fnGetLength(length), FILE_CAUSE_NONE);
        EXPECT_EQ(length, 0u);
        EXPECT_EQ(stream->fnWrite("z", 1), FILE_CAUSE_NONE);
    }
    EXPECT_EQ(fnRead(*fnOpen(name, kRead), 100), std::string("\0\0\0\0\0z", 6));
}

TEST_P(FileContract, ANewFileIsRefusedWhereAnythingExists) {
    const std::string name = fnName("a.txt");
    constexpr CqFileMode kNew{true, true, true, false, true};
    EXPECT_NE(fnOpen(name, kNew), nullptr);
    EXPECT_EQ(fnOpen(name, kNew, FILE_CAUSE_ACCESS_DENIED), nullptr);
    ASSERT_NO_FATAL_FAILURE(fnWrite(name, "kept"));
    EXPECT_EQ(fnOpen(name, kNew, FILE_CAUSE_ACCESS_DENIED), nullptr);
    EXPECT_EQ(fnRead(*fnOpen(name, kRead), 100), "kept");
    EXPECT_EQ(fnOpen(m_World.m_szDirectory, kNew, FILE_CAUSE_ACCESS_DENIED), nullptr);
}

TEST_P(FileContract, AFileReplacesAnotherOrTakesAFreeName) {
    const std::string name = fnName("picture");
    for (const std::string text : {"first", "second"}) {
        CQ_FILE_CAUSE cause = FILE_CAUSE_NONE;
        const auto made = m_Files.fnOpenReplacement(name.c_str(), cause);
        ASSERT_NE(made, nullptr);
        CqFileStream& stream = made->fnGetStream();
        EXPECT_EQ(stream.fnWrite("-----!", 6), FILE_CAUSE_NONE);
        EXPECT_EQ(stream.fnSeek(5), FILE_CAUSE_NONE);
        EXPECT_EQ(fnRead(stream, 100), "!") << "what was written can be read";
        EXPECT_EQ(stream.fnSeek(0), FILE_CAUSE_NONE);
        EXPECT_EQ(stream.fnWrite(text.data(), text.size()), FILE_CAUSE_NONE);
        EXPECT_EQ(m_Files.fnExists(name.c_str()), text == "second") << "still the old file";
        EXPECT_EQ(made->fnCommit(), FILE_CAUSE_NONE);
        EXPECT_EQ(fnRead(*fnOpen(name, kRead), 100), text + (text == "first" ? "!" : ""));
    }
    EXPECT_EQ(m_Files.fnFind(fnName("*").c_str()), std::vector<std::string>{"picture"});
}

TEST_P(FileContract, AReplacementThatFailsLeavesTheFileAndNothingElse) {
    const std::string name = fnName("picture");
    ASSERT_NO_FATAL_FAILURE(fnWrite(name, "old"));
    CQ_FILE_CAUSE cause = FILE_CAUSE_NONE;
    {
        const auto made = m_Files.fnOpenReplacement(name.c_str(), cause);
        ASSERT_NE(made, nullptr);
        const auto held = fnOpen(name, CqFileMode{true, true, false, true});
        EXPECT_EQ(made->fnCommit(), FILE_CAUSE_SHARING_VIOLATION);
    }
    EXPECT_NE(m_Files.fnOpenReplacement(name.c_str(), cause), nullptr) << "never committed";
    EXPECT_EQ(m_Files.fnOpenReplacement(fnName("none\\picture").c_str(), cause), nullptr);
    EXPECT_EQ(cause, FILE_CAUSE_BAD_PATH);
    EXPECT_EQ(fnRead(*fnOpen(name, kRead), 100), "old");
    EXPECT_EQ(m_Files.fnFind(fnName("*").c_str()), std::vector<std::string>{"picture"});
    const auto directory = m_Files.fnOpenReplacement(m_World.m_szDirectory.c_str(), cause);
    EXPECT_TRUE(!directory || directory->fnCommit() != FILE_CAUSE_NONE);
}

TEST_P(FileContract, AClosedStreamFails) {
    const std::string name = fnName("a.txt");
    const auto stream = fnOpen(name, kCreate);
    ASSERT_NE(stream, nullptr);
    EXPECT_EQ(stream->fnClose(), FILE_CAUSE_NONE);
    char byte = 'x';
    std::size_t done = 0;
    std::uint64_t length = 0;
    EXPECT_NE(stream->fnRead(&byte, 1, done), FILE_CAUSE_NONE);
    EXPECT_NE(stream->fnWrite(&byte, 1), FILE_CAUSE_NONE);
    EXPECT_NE(stream->fnSeek(0), FILE_CAUSE_NONE);
    EXPECT_NE(stream->fnGetLength(length), FILE_CAUSE_NONE);
    EXPECT_NE(stream->fnClose(), FILE_CAUSE_NONE);
}

TEST_P(FileContract, AStreamForReadingIsNotWritten) {
    const std::string name = fnName("a.txt");
    ASSERT_NO_FATAL_FAILURE(fnWrite(name, "kept"));
    const auto stream = fnOpen(name, kRead);
    ASSERT_NE(stream, nullptr);
    EXPECT_NE(stream->fnWrite("x", 1), FILE_CAUSE_NONE);
    EXPECT_EQ(fnRead(*stream, 100), "kept");
}

TEST_P(FileContract, OpeningReportsWhyItFails) {
    fnOpen(fnName("missing.txt"), kRead, FILE_CAUSE_NOT_FOUND);
    fnOpen(fnName("missing\\a.txt"), kCreate, FILE_CAUSE_BAD_PATH);
    const std::string name = fnName("a.txt");
    const auto first = fnOpen(name, CqFileMode{true, true, true, true});
    fnOpen(name, CqFileMode{true, false, false, true}, FILE_CAUSE_SHARING_VIOLATION);
}

TEST_P(FileContract, DirectoriesAreMadeOneLevelAtATime) {
    EXPECT_FALSE(m_Files.fnCreateDirectory(fnName("one\\two").c_str()));
    EXPECT_TRUE(m_Files.fnCreateDirectory(fnName("one").c_str()));
    EXPECT_FALSE(m_Files.fnCreateDirectory(fnName("one").c_str()));
    EXPECT_TRUE(m_Files.fnCreateDirectory(fnName("one\\two\\").c_str()));
    EXPECT_TRUE(m_Files.fnExists(fnName("one\\two").c_str()));
    EXPECT_TRUE(m_Files.fnExists(fnName("one\\two\\").c_str()));
    ASSERT_NO_FATAL_FAILURE(fnWrite(fnName("one\\two\\a.txt"), "a"));
    EXPECT_TRUE(m_Files.fnExists(fnName("one\\two\\a.txt").c_str()));
}

TEST_P(FileContract, BothSeparatorsAreAccepted) {
    ASSERT_TRUE(m_Files.fnCreateDirectory(fnName("one").c_str()));
    ASSERT_NO_FATAL_FAILURE(fnWrite(fnName("one/a.txt"), "a"));
    EXPECT_TRUE(m_Files.fnExists(fnName("one\\a.txt").c_str()));
}

TEST_P(FileContract, TheSearchReturnsBareNamesOfMatchingFiles) {
    for (const char* bare : {"~qd1.tmp", "~qd22.tmp", "~qd.txt", "x~qd3.tmp", "~qdA.tmp"})
        ASSERT_NO_FATAL_FAILURE(fnWrite(fnName(bare), ""));
    ASSERT_TRUE(m_Files.fnCreateDirectory(fnName("~qdx.tmp").c_str()));
    auto names = m_Files.fnFind(fnName("~qd*.tmp").c_str());
    std::sort(names.begin(), names.end());
    EXPECT_EQ(names, (std::vector<std::string>{"~qd1.tmp", "~qd22.tmp", "~qdA.tmp"}));
    names = m_Files.fnFind(fnName("~qd?.tmp").c_str());
    std::sort(names.begin(), names.end());
    EXPECT_EQ(names, (std::vector<std::string>{"~qd1.tmp", "~qdA.tmp"}));
    EXPECT_TRUE(m_Files.fnFind(fnName("none*").c_str()).empty());
    EXPECT_TRUE(m_Files.fnFind(fnName("missing\\*").c_str()).empty());
}

TEST_P(FileContract, ADeletedFileIsGone) {
    const std::string name = fnName("a.txt");
    ASSERT_NO_FATAL_FAILURE(fnWrite(name, "a"));
    EXPECT_TRUE(m_Files.fnDelete(name.c_str()));
    EXPECT_FALSE(m_Files.fnExists(name.c_str()));
    EXPECT_FALSE(m_Files.fnDelete(name.c_str()));
}

TEST_P(FileContract, InfoReportsTheSizeAndRefusesAFileInUseOnRequest) {
    const std::string name = fnName("a.txt");
    CqFileInfo info;
    EXPECT_FALSE(m_Files.fnGetInfo(name.c_str(), false, info));
    ASSERT_NO_FATAL_FAILURE(fnWrite(name, "12345"));
    ASSERT_TRUE(m_Files.fnGetInfo(name.c_str(), true, info));
    EXPECT_EQ(info.m_nSize, 5u);
    EXPECT_GT(info.m_nLastWrite, 900000000);
    const auto held = fnOpen(name, CqFileMode{true, true, false, true});
    EXPECT_FALSE(m_Files.fnGetInfo(name.c_str(), true, info));
}

TEST_P(FileContract, ADiskHasFreeSpaceAndNoMoreThanItsSize) {
    CqDiskSpace space;
    ASSERT_TRUE(m_Files.fnGetSpace(m_World.m_szDirectory.c_str(), space));
    EXPECT_GT(space.m_nAvailable, 0u);
    EXPECT_LE(space.m_nAvailable, space.m_nTotal);
    EXPECT_FALSE(m_Files.fnGetSpace("", space));
    CqDiskClusters clusters;
    ASSERT_TRUE(m_Files.fnGetClusters(m_World.m_szDirectory.c_str(), clusters));
    EXPECT_GT(clusters.m_nBytesPerSector * clusters.m_nSectorsPerCluster, 0u);
    EXPECT_LE(clusters.m_nFreeClusters, clusters.m_nTotalClusters);
}

TEST_P(FileContract, ATextIsRewrittenAsAWhole) {
    const std::string name = fnName("a.cfg");
    std::string text = "before";
    EXPECT_FALSE(m_Files.fnReadText(name.c_str(), text));
    EXPECT_TRUE(m_Files.fnUpdateText(name.c_str(), [](std::string& old) {
        EXPECT_EQ(old, "");
        old = "first";
        return true;
    }));
    EXPECT_TRUE(m_Files.fnUpdateText(name.c_str(), [](std::string& old) {
        EXPECT_EQ(old, "first");
        old = std::string("\0\r\n", 3);
        return true;
    }));
    ASSERT_TRUE(m_Files.fnReadText(name.c_str(), text));
    EXPECT_EQ(text, std::string("\0\r\n", 3));
}

TEST_P(FileContract, ATextThatTheEditLeavesUnchangedStays) {
    const std::string name = fnName("a.cfg");
    EXPECT_TRUE(m_Files.fnUpdateText(name.c_str(), [](std::string& text) {
        text = "dropped";
        return false;
    }));
    EXPECT_FALSE(m_Files.fnExists(name.c_str()));
    ASSERT_NO_FATAL_FAILURE(fnWrite(name, "kept"));
    EXPECT_TRUE(m_Files.fnUpdateText(name.c_str(), [](std::string& text) {
        text = "dropped";
        return false;
    }));
    std::string text;
    EXPECT_TRUE(m_Files.fnReadText(name.c_str(), text));
    EXPECT_EQ(text, "kept");
}

TEST_P(FileContract, ATextInAMissingDirectoryIsNotWritten) {
    EXPECT_FALSE(m_Files.fnUpdateText(fnName("missing\\a.cfg").c_str(), [](std::string& text) {
        text = "x";
        return true;
    }));
}

} // namespace

Q32_CONTRACT(FileContract, FILES);
