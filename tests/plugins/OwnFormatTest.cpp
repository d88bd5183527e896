// Formats of the host's own. They are never removed, so these tests have a program of their own.
#include "plugins/CqPictureCodec.h"
#include "q32Base/framework/CFileException.h"
#include "q32Base/framework/Memory.h"
#include "tests/plugins/PictureTest.h"
#include "tests/plugins/PlainCodec.h"
#include "tests/support/FailingAllocator.h"

#include <functional>
#include <memory>
#include <stdexcept>
#include <vector>

namespace {

using q32::test::kPlain;
using q32::test::PlainCodec;

/// The one codec of that format; it stays for the life of the program.
PlainCodec& fnPlain() {
    static PlainCodec codec;
    static const bool added = q32AddPictureFormat(codec);
    EXPECT_TRUE(added);
    return codec;
}

class OwnFormat : public PictureTest {
protected:
    OwnFormat() { fnPlain(); }
    ~OwnFormat() override {
        fnPlain().m_Read = nullptr;
        fnPlain().m_Write = nullptr;
    }
    /// Reads a file of 3 x 2 pixels by `read`, which must be refused with that message.
    void fnExpectReadFails(std::function<bool(CqPictureReader&)> read, int message) {
        fnPut(kFile);
        fnPlain().m_Read = std::move(read);
        fnExpectRefused(message);
    }
    /// Writes over an existing file by `write`; it must fail with that message and leave the file.
    void fnExpectWriteFails(std::function<bool(CqPictureWriter&)> write, int message) {
        const auto image = fnMakeNoise(3, 2, 24, 1);
        fnPut("the old one");
        fnPlain().m_Write = std::move(write);
        EXPECT_EQ(fnWrite(*image, kPlain).m_nMsgId, message);
        EXPECT_EQ(fnGet(), "the old one");
        EXPECT_EQ(m_World->m_pDisks->fnGetFiles().size(), 1u);
    }

    const std::string kFile = "PLAIN\x03\x02" + std::string(18, 'p');
};

/// A codec with another number or other texts.
class OtherCodec : public PlainCodec {
public:
    explicit OtherCodec(const CqPictureFormat& format) : m_Format(format) {}
    CqPictureFormat fnGetFormat() const noexcept override { return m_Format; }
    bool fnKnows(const unsigned char*, std::size_t) const noexcept override { return m_bKnows; }

    CqPictureFormat m_Format;
    bool m_bKnows = false;
};

PICTURE_FORMAT fnNumber(unsigned int number) {
    return static_cast<PICTURE_FORMAT>(number);
}

TEST_F(OwnFormat, APictureIsWrittenAndReadAsByTheLibrarysOwn) {
    const auto image = fnMakeNoise(30, 20, 24, 7);
    ASSERT_EQ(fnWrite(*image, kPlain).m_nMsgId, 0);
    EXPECT_EQ(fnGet().substr(0, 7), "PLAIN\x1E\x14");
    EXPECT_EQ(fnGet().size(), 7u + 30 * 20 * 3);
    ASSERT_TRUE(fnRead().fnIsDone());
    EXPECT_EQ(fnPixelsOf(m_Image), fnPixelsOf(*image));
    EXPECT_EQ(m_Image.fnGetFioPlugin(), 1000u);
    EXPECT_STREQ(m_Image.Title, "");
}

TEST_F(OwnFormat, AnImageOfAnyDepthIsWrittenByItsColors) {
    for (const unsigned int bits : {4u, 8u, 16u, 32u}) {
        const auto image = fnMakeNoise(9, 5, bits, bits);
        ASSERT_EQ(fnWrite(*image, kPlain).m_nMsgId, 0);
        ASSERT_TRUE(fnRead().fnIsDone());
        EXPECT_EQ(fnPixelsOf(m_Image), fnColorsOf(*image)) << bits;
    }
}

TEST_F(OwnFormat, TheFormatIsListedAndFoundByItsExtensions) {
    EXPECT_EQ(q32GetPictureFormats().size(), 5u);
    EXPECT_EQ(q32GetPictureFormats().back().m_eFormat, kPlain);
    ASSERT_NE(q32FindPictureFormat("a.PLAIN"), nullptr);
    EXPECT_STREQ(q32FindPictureFormat("a.pln")->m_pszName, "Plain");
}

TEST_F(OwnFormat, ResolutionTitleAndPaletteReachTheImage) {
    fnPut(kFile);
    fnPlain().m_Read = [](CqPictureReader& reader) {
        const RGBQUAD palette[] = {{1, 2, 3, 0}, {4, 5, 6, 0}};
        const unsigned char row[] = {1, 0, 1};
        reader.fnSetDotsPerInch(72, 300);
        reader.fnNoteReduced(PICTURE_PART_PROFILE);
        return reader.fnSetTitle("Sea") && reader.fnAlloc(3, 2, 8, palette, 2) &&
               reader.fnWriteRow(1, row, PIXEL_STORED) && reader.fnWriteRow(0, row, PIXEL_STORED);
    };
    const CqPictureResult result = fnRead();
    ASSERT_TRUE(result.fnIsDone());
    EXPECT_TRUE(result.m_bReduced);
    EXPECT_EQ(result.m_nParts, PICTURE_PART_PROFILE);
    EXPECT_STREQ(m_Image.Title, "Sea");
    EXPECT_EQ(m_Image.DpiX, 72);
    EXPECT_EQ(m_Image.DpiY, 300);
    EXPECT_EQ(fnPixelsOf(m_Image), (Bytes{1, 0, 1, 1, 0, 1}));
    EXPECT_EQ(fnPaletteOf(m_Image).size(), 2u);
    EXPECT_EQ(m_Image.fnGetPixelColor(0, 0), CqColor(6, 5, 4));
}

TEST_F(OwnFormat, AFileThatEndsEarlyIsCorrupted) {
    for (std::size_t length = 5; length < kFile.size(); ++length) {
        fnPut(kFile.substr(0, length));
        fnExpectRefused(-6);
    }
}

TEST_F(OwnFormat, ACodecThatGivesUpWithoutAReasonFoundACorruptedFile) {
    fnExpectReadFails([](CqPictureReader&) { return false; }, -6);
    fnExpectWriteFails([](CqPictureWriter&) { return false; }, -5);
}

TEST_F(OwnFormat, TheReasonThatACodecNamesIsReported) {
    fnExpectReadFails([](CqPictureReader& r) { return r.fnFail(MESSAGE_UNSUPPORTED); }, -102);
    fnExpectWriteFails([](CqPictureWriter& w) { return w.fnFail(MESSAGE_UNSUPPORTED); }, -102);
}

TEST_F(OwnFormat, TheFirstFailureDecidesWhateverTheCodecReturns) {
    fnExpectReadFails(
        [](CqPictureReader& r) {
            EXPECT_FALSE(r.fnFail(MESSAGE_UNSUPPORTED));
            EXPECT_FALSE(r.fnFail(MESSAGE_EMPTY));
            unsigned char byte = 0;
            EXPECT_FALSE(r.fnRead(&byte, 1));
            EXPECT_EQ(r.fnReadSome(&byte, 1), 0u);
            EXPECT_FALSE(r.fnAlloc(3, 2, 24));
            EXPECT_FALSE(r.fnReport(1, 2));
            return true;
        },
        -102);
    fnExpectWriteFails(
        [](CqPictureWriter& w) {
            EXPECT_FALSE(w.fnFail(MESSAGE_UNSUPPORTED));
            EXPECT_FALSE(w.fnWrite("x", 1));
            EXPECT_FALSE(w.fnSeek(0));
            return true;
        },
        -102);
}

TEST_F(OwnFormat, APictureWithoutAllItsRowsIsCorrupted) {
    const auto rows = [](unsigned int count) {
        return [count](CqPictureReader& reader) {
            const unsigned char row[9] = {};
            bool done = reader.fnAlloc(3, 2, 24);
            for (unsigned int i = 0; i < count; ++i)
                done = done && reader.fnWriteRow(i, row, PIXEL_RGB24);
            return done;
        };
    };
    fnExpectReadFails(rows(0), -6);
    fnExpectReadFails(rows(1), -6);
    fnExpectReadFails(rows(3), -6); // the third doesn't exist
    fnExpectReadFails([](CqPictureReader&) { return true; }, -6);
    fnPlain().m_Read = rows(2);
    EXPECT_TRUE(fnRead().fnIsDone());
}

TEST_F(OwnFormat, ASizeOrDepthThatNoImageHasIsRefused) {
    const auto alloc = [](std::uint64_t width, std::uint64_t height, unsigned int bits) {
        return [=](CqPictureReader& reader) { return reader.fnAlloc(width, height, bits); };
    };
    fnExpectReadFails(alloc(0, 2, 24), -6);
    fnExpectReadFails(alloc(3, 2, 7), -6);
    fnExpectReadFails(alloc(3, 2, 0xFFFFFFFF), -6);
    fnExpectReadFails(alloc(std::uint64_t{1} << 33, 1, 24), -1);
    fnExpectReadFails(alloc(0xFFFFFFFFFFFFFFFF, 0xFFFFFFFFFFFFFFFF, 24), -1);
    fnExpectReadFails([](CqPictureReader& r) { return r.fnAlloc(3, 2, 24) && r.fnAlloc(3, 2, 24); },
                      -6);
    fnExpectReadFails(
        [](CqPictureReader& r) {
            const RGBQUAD palette[17] = {};
            return r.fnAlloc(3, 2, 4, palette, 17);
        },
        -6);
    fnExpectReadFails([](CqPictureReader& r) { return r.fnWriteRow(0, "", PIXEL_RGB24); }, -6);
}

TEST_F(OwnFormat, WhatACodecThrowsIsAFailureOfThePicture) {
    fnExpectReadFails([](CqPictureReader&) -> bool { throw std::bad_alloc(); }, -1);
    fnExpectReadFails([](CqPictureReader&) -> bool { AfxThrowMemoryException(); }, -1);
    fnExpectReadFails([](CqPictureReader&) -> bool { throw std::runtime_error("torn"); }, -6);
    fnExpectReadFails([](CqPictureReader&) -> bool { throw 5; }, -6);
    fnExpectReadFails(
        [](CqPictureReader&) -> bool { AfxThrowFileException(FILE_CAUSE_GENERIC, "x"); }, -6);
    fnExpectWriteFails([](CqPictureWriter&) -> bool { throw std::bad_alloc(); }, -1);
    fnExpectWriteFails([](CqPictureWriter&) -> bool { throw 5; }, -5);
}

TEST_F(OwnFormat, TheHostsLimitsHold) {
    fnPut(kFile);
    CqPictureLimits limits;
    limits.m_nPixels = 5;
    CqPictureResult result = q32ReadPicture(kPath, m_Image, limits);
    EXPECT_EQ(result.m_nMsgId, -1);
    EXPECT_EQ(result.m_eLimit, PICTURE_LIMIT_PIXELS);
    limits.m_nPixels = 6;
    EXPECT_TRUE(q32ReadPicture(kPath, m_Image, limits).fnIsDone());
    fnPlain().m_Read = [](CqPictureReader& reader) {
        return reader.fnCheckMemory(1000) && PlainCodec::fnReadPlain(reader);
    };
    limits.m_nCodecBytes = 999;
    EXPECT_EQ(q32ReadPicture(kPath, m_Image, limits).m_eLimit, PICTURE_LIMIT_CODEC);
    limits.m_nCodecBytes = 1000;
    EXPECT_TRUE(q32ReadPicture(kPath, m_Image, limits).fnIsDone());
}

TEST_F(OwnFormat, ProgressRisesToTheEnd) {
    fnPut(kFile);
    RecordedProgress progress;
    ASSERT_TRUE(fnRead(&progress).fnIsDone());
    EXPECT_EQ(progress.m_Percents, (std::vector<unsigned int>{50, 100}));
    RecordedProgress written;
    ASSERT_TRUE(fnWrite(m_Image, kPlain, {}, &written).fnIsDone());
    EXPECT_EQ(written.m_Percents, (std::vector<unsigned int>{50, 100}));
}

TEST_F(OwnFormat, AnAbortEndsAReadAndAWriteWithoutATrace) {
    fnPut(kFile);
    RecordedProgress progress;
    progress.m_nAbortAt = 1;
    const CqPictureResult result = fnRead(&progress);
    EXPECT_TRUE(result.m_bAborted);
    EXPECT_EQ(result.m_nMsgId, 0);
    EXPECT_EQ(m_Image.TileMap, nullptr);

    const auto image = fnMakeNoise(3, 9, 24, 1);
    RecordedProgress written;
    written.m_nAbortAt = 2;
    EXPECT_TRUE(fnWrite(*image, kPlain, {}, &written).m_bAborted);
    EXPECT_EQ(written.m_Percents.size(), 2u) << "the codec ended";
    EXPECT_EQ(fnGet(), kFile) << "the old file is untouched";
    EXPECT_EQ(m_World->m_pDisks->fnGetFiles().size(), 1u);
}

TEST_F(OwnFormat, AFailingFileIsReportedAsSuch) {
    fnPut(kFile);
    m_World->m_pFiles->m_pStream->m_Read.fnFail(1);
    fnExpectRefused(-4);
    m_World->m_pFiles->m_pStream->m_Write.fnFail(1, CqHeadlessCalls::kForever);
    fnExpectWriteFails(nullptr, -5);
}

TEST_F(OwnFormat, APlaceCanBeWrittenLater) {
    const auto image = fnMakeNoise(3, 2, 24, 1);
    fnPlain().m_Write = [](CqPictureWriter& writer) {
        return writer.fnWrite("????? after", 11) && writer.fnGetPosition() == 11 &&
               writer.fnSeek(0) && writer.fnWrite("first", 5);
    };
    ASSERT_TRUE(fnWrite(*image, kPlain).fnIsDone());
    EXPECT_EQ(fnGet(), "first after");
}

TEST_F(OwnFormat, NoFailedAllocationChangesTheImageOrTheFile) {
    const auto image = fnMakeNoise(3, 2, 24, 1);
    fnFailEachAllocation([&](CqAllocationFailure& failure) {
        const CqPictureResult result = fnWrite(*image, kPlain);
        failure.fnEnd();
        EXPECT_TRUE(result.fnIsDone() || result.m_nMsgId == -1 || result.m_nMsgId == -5);
        EXPECT_EQ(m_World->m_pDisks->fnGetFiles().size(), result.fnIsDone() ? 1u : 0u);
    });
    const CqTileMap* map = m_Image.TileMap;
    fnFailEachAllocation([&](CqAllocationFailure& failure) {
        const CqPictureResult result = fnRead();
        failure.fnEnd();
        if (!result.fnIsDone()) {
            EXPECT_TRUE(result.m_nMsgId == -1 || result.m_nMsgId == -3 || result.m_nMsgId == -4)
                << result.m_nMsgId;
            EXPECT_EQ(m_Image.TileMap, map);
        }
        map = m_Image.TileMap;
    });
    EXPECT_EQ(fnPixelsOf(m_Image), fnPixelsOf(*image));
}

TEST_F(OwnFormat, TheLibrarysOwnFormatsAreRecognizedFirst) {
    static OtherCodec greedy({fnNumber(1001), "Greedy", "grd png", false, false});
    ASSERT_TRUE(q32AddPictureFormat(greedy));
    greedy.m_bKnows = true;
    const auto image = fnMakeNoise(3, 2, 24, 1);
    ASSERT_TRUE(fnWrite(*image, PICTURE_PNG).fnIsDone());
    ASSERT_TRUE(fnRead().fnIsDone());
    EXPECT_EQ(m_Image.fnGetFioPlugin(), PICTURE_PNG);
    EXPECT_EQ(q32FindPictureFormat("a.png")->m_eFormat, PICTURE_PNG);
    EXPECT_EQ(fnWrite(*image, fnNumber(1001)).m_nMsgId, -102) << "it can't be written";
    greedy.m_bKnows = false;
}

TEST_F(OwnFormat, AFormatWithoutANumberOrTextsOfItsOwnIsRefused) {
    const auto refused = [](const CqPictureFormat& format) {
        const OtherCodec codec(format);
        const std::size_t before = q32GetPictureFormats().size();
        EXPECT_FALSE(q32AddPictureFormat(codec));
        EXPECT_EQ(q32GetPictureFormats().size(), before);
    };
    refused({PICTURE_PNG, "Name", "ext", true, true});
    refused({fnNumber(999), "Name", "ext", true, true});
    refused({kPlain, "Name", "ext", true, true});
    refused({fnNumber(1500), nullptr, "ext", true, true});
    refused({fnNumber(1500), "Name", nullptr, true, true});
}

// The last of this program: it takes every place.
TEST_F(OwnFormat, ZThereArePlacesFor28) {
    static std::vector<std::unique_ptr<OtherCodec>> codecs;
    unsigned int number = 2000;
    while (true) {
        codecs.push_back(std::make_unique<OtherCodec>(
            CqPictureFormat{fnNumber(number++), "Other", "oth", false, false}));
        if (!q32AddPictureFormat(*codecs.back()))
            break;
        ASSERT_LT(number, 3000u);
    }
    EXPECT_EQ(q32GetPictureFormats().size(), 4u + 28);
    fnPut(kFile);
    EXPECT_TRUE(fnRead().fnIsDone());
}

} // namespace
