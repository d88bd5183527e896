#include "q32Base/memory/CqVMPolicy.h"
#include "tests/plugins/PictureTest.h"
#include "tests/support/FailingAllocator.h"

#include <algorithm>

namespace {

constexpr PICTURE_FORMAT kAll[] = {PICTURE_PNG, PICTURE_JPEG, PICTURE_TIFF, PICTURE_BMP};

class PictureFailure : public PictureTest {
protected:
    /// Writes over a file, with `fail` in force, and expects that file to be left unchanged.
    template <typename Fail>
    void fnExpectKept(CqImage& image, PICTURE_FORMAT format, int message, const Fail& fail) {
        fnPut("what stood there before");
        const CqPictureResult result = [&] {
            fail();
            return fnWrite(image, format);
        }();
        EXPECT_EQ(result.m_nMsgId, message) << format;
        EXPECT_STREQ(result.m_strPath, kPath);
        EXPECT_TRUE(fnGet() == "what stood there before");
        EXPECT_EQ(m_World->m_pDisks->fnGetFiles().size(), 1u);
    }
};

TEST_F(PictureFailure, AFullDiskLosesNoExistingFile) {
    const auto image = fnMakeNoise(200, 200, 24, 1);
    for (const PICTURE_FORMAT format : kAll) {
        for (const std::uint64_t room : {0u, 1u, 1000u, 10000u}) {
            m_World->m_pDisks->fnSetFree("C:\\", 1u << 30);
            fnExpectKept(*image, format, -5, [&] { m_World->m_pDisks->fnSetFree("C:\\", room); });
        }
    }
}

TEST_F(PictureFailure, EachFailingFileCallOfAWriteKeepsTheOldFile) {
    const auto image = fnMakeNoise(200, 160, 24, 1); // more than one block of output
    auto& stream = *m_World->m_pFiles->m_pStream;
    for (const PICTURE_FORMAT format : kAll) {
        for (CqHeadlessCalls* calls : {&stream.m_Write, &stream.m_Seek, &stream.m_Close,
                                       &m_World->m_pFiles->m_Open, &m_World->m_pFiles->m_Replace}) {
            const std::uint64_t before = calls->fnGetCount();
            ASSERT_TRUE(fnWrite(*image, format).fnIsDone());
            const std::uint64_t count = calls->fnGetCount() - before;
            for (std::uint64_t nth = 1; nth <= count; ++nth)
                fnExpectKept(*image, format, -5, [&] { calls->fnFail(nth); });
            calls->fnFailNever();
        }
        ASSERT_TRUE(fnWrite(*image, format).fnIsDone());
        ASSERT_TRUE(fnRead().fnIsDone());
    }
}

TEST_F(PictureFailure, EachFailingFileCallOfAReadLeavesTheImage) {
    const auto image = fnMakeNoise(200, 160, 24, 1);
    auto& stream = *m_World->m_pFiles->m_pStream;
    for (const PICTURE_FORMAT format : kAll) {
        ASSERT_TRUE(fnWrite(*image, format).fnIsDone());
        for (CqHeadlessCalls* calls : {&stream.m_Read, &stream.m_Seek, &stream.m_GetLength}) {
            const std::uint64_t before = calls->fnGetCount();
            ASSERT_TRUE(fnRead().fnIsDone());
            const std::uint64_t count = calls->fnGetCount() - before;
            for (std::uint64_t nth = 1; nth <= count; ++nth) {
                calls->fnFail(nth);
                fnExpectRefused(-4);
            }
            calls->fnFailNever();
        }
    }
}

TEST_F(PictureFailure, ATargetThatAnotherProgramHasOpenIsKept) {
    const auto image = fnMakeNoise(5, 5, 24, 1);
    fnPut("before");
    CQ_FILE_CAUSE cause = FILE_CAUSE_NONE;
    const auto held = m_World->m_pFiles->fnOpen(kPath, {}, cause);
    EXPECT_EQ(fnWrite(*image, PICTURE_PNG).m_nMsgId, -7);
    EXPECT_EQ(m_World->m_pDisks->fnGetFiles().size(), 1u);
}

TEST_F(PictureFailure, AnExistingTemporaryNameIsSkipped) {
    const auto image = fnMakeNoise(5, 5, 24, 1);
    const std::string beside = std::string(kPath) + ".~0";
    m_World->m_pDisks->fnPutFile(beside, "somebody's");
    ASSERT_TRUE(fnWrite(*image, PICTURE_PNG).fnIsDone());
    EXPECT_EQ(m_World->m_pDisks->fnGetFile(beside), "somebody's");
    EXPECT_EQ(m_World->m_pDisks->fnGetFiles().size(), 2u);
}

TEST_F(PictureFailure, AnImageWithoutStorageCannotBeSaved) {
    CqImage image;
    for (const PICTURE_FORMAT format : kAll) {
        fnExpectKept(image, format, -5, [] {});
        ASSERT_TRUE(m_World->m_pDisks->fnDelete(kPath));
        EXPECT_EQ(fnWrite(image, format).m_nMsgId, -5);
        EXPECT_TRUE(m_World->m_pDisks->fnGetFiles().empty());
    }
}

TEST_F(PictureFailure, AMissingDirectoryCannotBeSavedTo) {
    const auto image = fnMakeNoise(5, 5, 24, 1);
    EXPECT_EQ(q32WritePicture("C:\\none\\a.png", *image, PICTURE_PNG).m_nMsgId, -5);
}

TEST_F(PictureFailure, EachFailedAllocationOfAReadLeavesTheImage) {
    for (const PICTURE_FORMAT format : kAll) {
        const auto image = fnMakeNoise(40, 30, format == PICTURE_PNG ? 8 : 24, 1);
        image->Title = "title";
        ASSERT_TRUE(fnWrite(*image, format).fnIsDone());
        CqImage target(3, 2, 8, nullptr, 0);
        const Bytes expected = [&] {
            fnRead();
            return fnPixelsOf(m_Image);
        }();
        std::size_t refused = 0;
        fnFailEachAllocation([&](CqAllocationFailure& failure) {
            const CqTileMap* map = target.TileMap;
            const CqPictureResult result = q32ReadPicture(kPath, target);
            const bool failed = failure.fnHappened();
            failure.fnEnd();
            // Pixels that can't be allocated in memory go to a scratch disk, which is not a
            // failure.
            if (result.fnIsDone()) {
                EXPECT_EQ(fnPixelsOf(target), expected);
                return;
            }
            ++refused;
            EXPECT_TRUE(failed);
            EXPECT_EQ(result.m_nMsgId, -1);
            EXPECT_EQ(target.TileMap, map);
        });
        EXPECT_GT(refused, 5u) << format;
    }
}

TEST_F(PictureFailure, EachFailedAllocationOfAWriteKeepsTheOldFile) {
    for (const PICTURE_FORMAT format : kAll) {
        const auto image = fnMakeNoise(40, 30, format == PICTURE_PNG ? 8 : 24, 1);
        fnPut("before");
        const std::size_t failures = fnFailEachAllocation([&](CqAllocationFailure& failure) {
            const CqPictureResult result = fnWrite(*image, format);
            const bool failed = failure.fnHappened();
            failure.fnEnd();
            if (failed) {
                EXPECT_FALSE(result.fnIsDone());
                EXPECT_TRUE(fnGet() == "before");
            }
            EXPECT_EQ(m_World->m_pDisks->fnGetFiles().size(), 1u);
        });
        EXPECT_GT(failures, 5u) << format;
    }
}

TEST_F(PictureFailure, ProgressRisesToAHundredWithAtLeastOneCallPerRow) {
    const auto image = fnMakeNoise(30, 250, 24, 1);
    for (const PICTURE_FORMAT format : kAll) {
        RecordedProgress written;
        ASSERT_TRUE(fnWrite(*image, format, {}, &written).fnIsDone());
        RecordedProgress read;
        ASSERT_TRUE(fnRead(&read).fnIsDone());
        for (const auto& percents : {written.m_Percents, read.m_Percents}) {
            EXPECT_EQ(percents.size(), 250u) << format;
            EXPECT_TRUE(std::is_sorted(percents.begin(), percents.end()));
            EXPECT_EQ(percents.back(), 100u);
        }
    }
}

TEST_F(PictureFailure, AnAbortAtAnyCallLeavesNoImageAndNoFile) {
    const auto image = fnMakeNoise(20, 25, 24, 1);
    for (const PICTURE_FORMAT format : kAll) {
        for (std::size_t at = 1; at <= 25; ++at) {
            fnPut("before");
            RecordedProgress progress;
            progress.m_nAbortAt = at;
            const CqPictureResult written = fnWrite(*image, format, {}, &progress);
            EXPECT_TRUE(written.m_bAborted);
            EXPECT_EQ(written.m_nMsgId, 0);
            EXPECT_FALSE(written.fnIsDone());
            EXPECT_EQ(progress.m_Percents.size(), at) << "no call after the abort";
            EXPECT_TRUE(fnGet() == "before");
            EXPECT_EQ(m_World->m_pDisks->fnGetFiles().size(), 1u);
        }
        ASSERT_TRUE(fnWrite(*image, format).fnIsDone());
        for (std::size_t at = 1; at <= 25; ++at) {
            CqImage target;
            RecordedProgress progress;
            progress.m_nAbortAt = at;
            const CqPictureResult read = q32ReadPicture(kPath, target, &progress);
            EXPECT_TRUE(read.m_bAborted);
            EXPECT_EQ(read.m_nMsgId, 0);
            EXPECT_EQ(progress.m_Percents.size(), at);
            EXPECT_EQ(target.TileMap, nullptr);
        }
    }
}

TEST_F(PictureFailure, FailedReadsReleaseTheirPixels) {
    const auto image = fnMakeNoise(200, 200, 24, 1);
    ASSERT_TRUE(fnWrite(*image, PICTURE_PNG).fnIsDone());
    const std::uint32_t used = q32GetVMPolicy()->fnGetRamUsed();
    fnPut(fnGet().substr(0, fnGet().size() / 2));
    CqImage target;
    EXPECT_EQ(q32ReadPicture(kPath, target).m_nMsgId, -6);
    EXPECT_EQ(q32GetVMPolicy()->fnGetRamUsed(), used);
}

} // namespace
