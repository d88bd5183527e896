#include "tests/plugins/CodecFiles.h"
#include "tests/plugins/TiffAllocations.h"

#include <tiffio.h>

#include <algorithm>
#include <string>

namespace {

/// A TIFF put together by hand, so that its tags may say anything.
class RawTiff {
public:
    RawTiff(bool bigEndian, bool bigTiff) : m_bBigEndian(bigEndian), m_bBigTiff(bigTiff) {
        m_Bytes = {m_bBigEndian ? std::uint8_t{'M'} : std::uint8_t{'I'},
                   m_bBigEndian ? std::uint8_t{'M'} : std::uint8_t{'I'}};
        fnAdd(m_bBigTiff ? 43 : 42, 2);
        if (m_bBigTiff) {
            fnAdd(8, 2); // the length of offsets
            fnAdd(0, 2);
        }
        m_nDirectoryAt = m_Bytes.size();
        fnAdd(0, fnWide());
    }

    /// Adds data; returns its place.
    std::uint64_t fnAddData(const Bytes& data) {
        const std::uint64_t place = m_Bytes.size();
        m_Bytes.insert(m_Bytes.end(), data.begin(), data.end());
        return place;
    }
    /// `value` fills the field: for short numbers of a big-endian file it must be shifted.
    void fnTag(std::uint64_t tag, std::uint64_t type, std::uint64_t count, std::uint64_t value) {
        m_Tags.push_back({tag, type, count, value});
    }
    void fnNumber(std::uint64_t tag, std::uint64_t value) {
        const auto shift = m_bBigEndian ? 8 * (fnWide() - 4) : 0;
        fnTag(tag, TIFF_LONG, 1, value << shift);
    }
    Bytes fnMake() {
        const std::uint64_t place = m_Bytes.size();
        fnAdd(m_Tags.size(), m_bBigTiff ? 8 : 2);
        for (const Tag& tag : m_Tags) {
            fnAdd(tag.m_nTag, 2);
            fnAdd(tag.m_nType, 2);
            fnAdd(tag.m_nCount, fnWide());
            fnAdd(tag.m_nValue, fnWide());
        }
        fnAdd(0, fnWide());
        Bytes all = m_Bytes;
        m_Bytes.clear();
        fnAdd(place, fnWide());
        std::copy(m_Bytes.begin(), m_Bytes.end(),
                  all.begin() + static_cast<std::ptrdiff_t>(m_nDirectoryAt));
        return all;
    }

private:
    struct Tag {
        std::uint64_t m_nTag, m_nType, m_nCount, m_nValue;
    };

    std::size_t fnWide() const { return m_bBigTiff ? 8 : 4; }
    void fnAdd(std::uint64_t value, std::size_t size) {
        for (std::size_t i = 0; i < size; ++i)
            m_Bytes.push_back(
                static_cast<std::uint8_t>(value >> 8 * (m_bBigEndian ? size - 1 - i : i)));
    }

    bool m_bBigEndian;
    bool m_bBigTiff;
    std::size_t m_nDirectoryAt = 0;
    Bytes m_Bytes;
    std::vector<Tag> m_Tags;
};

class TiffTags : public PictureTest {
protected:
    /// The tags of a grey picture of 2 x 1 pixels, whose two bytes are at `pixels`.
    static void fnDescribe(RawTiff& tiff, std::uint64_t pixels) {
        tiff.fnNumber(TIFFTAG_IMAGEWIDTH, 2);
        tiff.fnNumber(TIFFTAG_IMAGELENGTH, 1);
        tiff.fnNumber(TIFFTAG_BITSPERSAMPLE, 8);
        tiff.fnNumber(TIFFTAG_COMPRESSION, COMPRESSION_NONE);
        tiff.fnNumber(TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK);
        tiff.fnNumber(TIFFTAG_STRIPOFFSETS, pixels);
        tiff.fnNumber(TIFFTAG_ROWSPERSTRIP, 1);
        tiff.fnNumber(TIFFTAG_STRIPBYTECOUNTS, 2);
    }

    /// Changes the type of a tag in a little-endian file, so that libtiff ignores it.
    static void fnSpoil(Bytes& file, std::uint16_t tag) {
        const std::size_t directory = file[4] + 256u * file[5] + 65536u * file[6];
        const std::size_t count = file[directory] + 256u * file[directory + 1];
        for (std::size_t i = 0; i < count; ++i) {
            const std::size_t at = directory + 2 + 12 * i;
            if ((file[at] | file[at + 1] << 8) == tag) {
                file[at + 2] = TIFF_ASCII;
                return;
            }
        }
        FAIL() << tag;
    }
};

TEST_F(TiffTags, TagsThatShareTheirValuesTakeNoMemory) {
    for (const bool bigEndian : {false, true}) {
        for (const bool bigTiff : {false, true}) {
            RawTiff tiff(bigEndian, bigTiff);
            const Bytes values(100000, 'v');
            const std::uint64_t place = tiff.fnAddData(values);
            fnDescribe(tiff, tiff.fnAddData({70, 80}));
            for (const std::uint64_t tag : {700u, 33723u, 34377u, 34675u})
                tiff.fnTag(tag, TIFF_UNDEFINED, values.size(), place);
            for (std::uint64_t tag = 40000; tag < 43000; ++tag)
                tiff.fnTag(tag, TIFF_UNDEFINED, values.size(), place);
            fnPut(tiff.fnMake());
            const TiffAllocations blocks;
            const CqPictureResult result = fnRead();
            ASSERT_EQ(result.m_nMsgId, 0) << bigEndian << bigTiff;
            EXPECT_TRUE(result.m_bReduced) << "the colour profile";
            EXPECT_EQ(fnPixelsOf(m_Image), (Bytes{70, 80}));
            EXPECT_GT(blocks.fnGetBytes(), 100u);
            EXPECT_LT(blocks.fnGetBytes(), 1u << 20);
        }
    }
}

TEST_F(TiffTags, ADirectoryOfOtherTagsOnlyIsCorrupted) {
    RawTiff tiff(false, false);
    tiff.fnTag(40000, TIFF_BYTE, 1, 0);
    fnPut(tiff.fnMake());
    fnExpectRefused(-6);
    RawTiff none(false, true);
    fnPut(none.fnMake());
    fnExpectRefused(-6);
}

TEST_F(TiffTags, ValuesLongerThanTheFileAreCorrupted) {
    for (const std::uint64_t count : {std::uint64_t{10000}, std::uint64_t{1} << 61}) {
        RawTiff tiff(false, true);
        fnDescribe(tiff, tiff.fnAddData({70, 80}));
        tiff.fnTag(TIFFTAG_JPEGTABLES, TIFF_DOUBLE, count, 16);
        fnPut(tiff.fnMake());
        fnExpectRefused(-6);
    }
}

TEST_F(TiffTags, ValuesBeyondTheMemoryOfTheCodecAreRefused) {
    RawTiff tiff(false, false);
    const std::uint64_t place = tiff.fnAddData(Bytes(50000));
    fnDescribe(tiff, tiff.fnAddData({70, 80}));
    tiff.fnTag(TIFFTAG_JPEGTABLES, TIFF_UNDEFINED, 50000, place);
    fnPut(tiff.fnMake());
    CqPictureLimits limits;
    limits.m_nCodecBytes = 40000;
    const CqPictureResult result = q32ReadPicture(kPath, m_Image, limits);
    EXPECT_EQ(result.m_nMsgId, -1);
    EXPECT_EQ(result.m_eLimit, PICTURE_LIMIT_CODEC);
    EXPECT_TRUE(fnRead().fnIsDone());
}

TEST_F(TiffTags, ATitleBeyondTheLimitIsLeftOut) {
    for (const int tag : {TIFFTAG_DOCUMENTNAME, TIFFTAG_IMAGEDESCRIPTION}) {
        TestTiff tiff;
        tiff.m_Samples = {9};
        tiff.m_MoreTags = [tag](void* file) {
            TIFFSetField(static_cast<TIFF*>(file), static_cast<ttag_t>(tag),
                         std::string(1000, 'x').c_str());
        };
        fnPut(tiff.fnMake());
        CqPictureLimits limits;
        limits.m_nTextBytes = 1000; // the file counts the terminator
        EXPECT_TRUE(q32ReadPicture(kPath, m_Image, limits).m_bReduced);
        EXPECT_STREQ(m_Image.Title, "");
        limits.m_nTextBytes = 1001;
        EXPECT_FALSE(q32ReadPicture(kPath, m_Image, limits).m_bReduced);
        EXPECT_EQ(m_Image.Title.GetLength(), 1000);
    }
}

TEST_F(TiffTags, ATagThatDeterminesPixelsMustBeReadable) {
    TestTiff lab;
    lab.m_nSamples = 3;
    lab.m_nPhotometric = PHOTOMETRIC_CIELAB;
    lab.m_Samples = {100, 20, 30};
    lab.m_MoreTags = [](void* file) {
        const float white[2] = {0.31F, 0.33F};
        TIFFSetField(static_cast<TIFF*>(file), TIFFTAG_WHITEPOINT, white);
    };
    Bytes file = lab.fnMake();
    fnPut(file);
    ASSERT_EQ(fnReadAsDescribed().m_nMsgId, 0);
    ASSERT_NO_FATAL_FAILURE(fnSpoil(file, TIFFTAG_WHITEPOINT));
    fnPut(file);
    fnExpectRefused(-6);

    TestTiff lzw;
    lzw.m_nWidth = 4;
    lzw.m_Samples = {1, 2, 3, 4};
    lzw.m_nCompression = COMPRESSION_LZW;
    lzw.m_MoreTags = [](void* handle) {
        TIFFSetField(static_cast<TIFF*>(handle), TIFFTAG_PREDICTOR, PREDICTOR_HORIZONTAL);
    };
    file = lzw.fnMake();
    fnPut(file);
    ASSERT_EQ(fnReadAsDescribed().m_nMsgId, 0);
    ASSERT_NO_FATAL_FAILURE(fnSpoil(file, TIFFTAG_PREDICTOR));
    fnPut(file);
    fnExpectRefused(-6);
}

TEST_F(TiffTags, WhatTilesHoldBeyondTheEdgesCountsAsDecoded) {
    // 600 tiles of 16 MB each share their data; the picture itself has 9,600 pixels.
    RawTiff tiff(false, false);
    const std::uint64_t data = tiff.fnAddData(Bytes(100));
    Bytes places;
    Bytes lengths;
    for (int i = 0; i < 600; ++i) {
        places.insert(places.end(), {static_cast<std::uint8_t>(data), 0, 0, 0});
        lengths.insert(lengths.end(), {100, 0, 0, 0});
    }
    const std::uint64_t placesAt = tiff.fnAddData(places);
    const std::uint64_t lengthsAt = tiff.fnAddData(lengths);
    tiff.fnNumber(TIFFTAG_IMAGEWIDTH, 1);
    tiff.fnNumber(TIFFTAG_IMAGELENGTH, 9600);
    tiff.fnNumber(TIFFTAG_BITSPERSAMPLE, 8);
    tiff.fnNumber(TIFFTAG_COMPRESSION, COMPRESSION_LZW);
    tiff.fnNumber(TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK);
    tiff.fnNumber(TIFFTAG_TILEWIDTH, 1 << 20);
    tiff.fnNumber(TIFFTAG_TILELENGTH, 16);
    tiff.fnTag(TIFFTAG_TILEOFFSETS, TIFF_LONG, 600, placesAt);
    tiff.fnTag(TIFFTAG_TILEBYTECOUNTS, TIFF_LONG, 600, lengthsAt);
    fnPut(tiff.fnMake());
    const std::uint64_t reserved = m_World->m_pMemory->m_Reserve.fnGetCount();
    EXPECT_EQ(fnRead().m_nMsgId, -6);
    EXPECT_EQ(m_World->m_pMemory->m_Reserve.fnGetCount(), reserved);
}

TEST_F(TiffTags, UncompressedTilesThatShareTheirDataAreCorrupted) {
    RawTiff tiff(false, false);
    const std::uint64_t data = tiff.fnAddData(Bytes(16 * 16, 7));
    Bytes places;
    Bytes lengths;
    for (int i = 0; i < 64; ++i) {
        places.insert(places.end(), {static_cast<std::uint8_t>(data), 0, 0, 0});
        lengths.insert(lengths.end(), {0, 1, 0, 0});
    }
    const std::uint64_t placesAt = tiff.fnAddData(places);
    const std::uint64_t lengthsAt = tiff.fnAddData(lengths);
    tiff.fnNumber(TIFFTAG_IMAGEWIDTH, 128);
    tiff.fnNumber(TIFFTAG_IMAGELENGTH, 128);
    tiff.fnNumber(TIFFTAG_BITSPERSAMPLE, 8);
    tiff.fnNumber(TIFFTAG_COMPRESSION, COMPRESSION_NONE);
    tiff.fnNumber(TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK);
    tiff.fnNumber(TIFFTAG_TILEWIDTH, 16);
    tiff.fnNumber(TIFFTAG_TILELENGTH, 16);
    tiff.fnTag(TIFFTAG_TILEOFFSETS, TIFF_LONG, 64, placesAt);
    tiff.fnTag(TIFFTAG_TILEBYTECOUNTS, TIFF_LONG, 64, lengthsAt);
    fnPut(tiff.fnMake());
    fnExpectRefused(-6);
}

} // namespace
