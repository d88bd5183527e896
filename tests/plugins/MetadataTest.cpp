#include "plugins/MetadataTarget_p.h"
#include "plugins/Orientation_p.h"
#include "tests/plugins/CodecFiles.h"
#include "tests/support/FailingAllocator.h"

#include <tiffio.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace {

constexpr PICTURE_FORMAT kMetadataFormats[] = {PICTURE_PNG, PICTURE_JPEG, PICTURE_TIFF};

Bytes fnBytes(std::string_view text) {
    return {text.begin(), text.end()};
}

/// EXIF with an orientation, between two other entries.
Bytes fnExif(unsigned int orientation, bool bigEndian) {
    Bytes made;
    const auto put = [&](std::uint32_t value, std::size_t size) {
        for (std::size_t i = 0; i < size; ++i)
            made.push_back(static_cast<std::uint8_t>(value >> 8 * (bigEndian ? size - 1 - i : i)));
    };
    made = fnBytes(bigEndian ? "MM" : "II");
    put(42, 2);
    put(8, 4);
    put(3, 2);
    for (const std::uint32_t tag : {0x0110u, 0x0112u, 0x0128u}) {
        put(tag, 2);
        put(3, 2);
        put(1, 4);
        put(tag == 0x0112 ? orientation : 7, 2);
        put(0, 2);
    }
    put(0, 4);
    return made;
}

Bytes fnProfile(std::size_t size, std::string_view space = "RGB ") {
    Bytes made(size);
    for (std::size_t i = 0; i < size; ++i)
        made[i] = static_cast<std::uint8_t>(i * 31 + i / 256);
    std::copy(space.begin(), space.end(), made.begin() + 16);
    return made;
}

CqPictureMetadata fnMake(unsigned int orientation) {
    CqPictureMetadata made;
    made.m_Exif = fnExif(orientation, orientation % 2 == 0);
    made.m_Xmp = fnBytes("<x tiff:Orientation=\"" + std::to_string(orientation) + "\"/>");
    made.m_Iptc = fnBytes(std::string_view("\x1C\x02\x05\0\x03"
                                           "abc",
                                           8));
    made.m_Profile = fnProfile(100'000);
    made.m_nOrientation = orientation;
    return made;
}

class PictureMetadata : public PictureTest {
protected:
    CqPictureResult fnReadAll(const CqPictureLimits& limits = {}) {
        m_Read = CqPictureMetadata();
        return q32ReadPicture(kPath, m_Image, m_Read, limits);
    }
    CqPictureResult fnWriteWith(const CqPictureMetadata& metadata, PICTURE_FORMAT format) {
        return q32WritePicture(kPath, *m_pPicture, metadata, format);
    }
    /// Writes to the file what stands behind the first marker of a JPEG.
    void fnPutSegments(const std::vector<std::pair<int, Bytes>>& segments) {
        TestJpeg jpeg;
        jpeg.m_Samples.assign(8 * 8 * 3, 90);
        Bytes file = jpeg.fnMake();
        Bytes added;
        for (const auto& [marker, data] : segments) {
            const std::size_t size = data.size() + 2;
            for (const std::size_t byte :
                 {std::size_t{0xFF}, static_cast<std::size_t>(marker), size >> 8, size & 0xFF})
                added.push_back(static_cast<std::uint8_t>(byte));
            added.insert(added.end(), data.begin(), data.end());
        }
        file.insert(file.begin() + 2, added.begin(), added.end());
        fnPut(file);
    }
    /// Writes a PNG with chunks behind its header. Those with metadata need no checksum.
    void fnPutChunks(const std::vector<std::pair<std::string_view, Bytes>>& chunks) {
        ASSERT_TRUE(fnWriteWith({}, PICTURE_PNG).fnIsDone());
        std::string added;
        for (const auto& [type, data] : chunks) {
            for (int shift = 24; shift >= 0; shift -= 8)
                added += static_cast<char>(data.size() >> shift);
            added += type;
            added.append(data.begin(), data.end());
            added.append(4, '\0');
        }
        fnPut(fnGet().insert(33, added));
    }
    /// A stream of zlib that holds up to 255 bytes as they are.
    static Bytes fnStored(std::string_view text) {
        const auto size = static_cast<std::uint8_t>(text.size());
        Bytes made = {0x78, 1, 1, size, 0, static_cast<std::uint8_t>(~size), 0xFF};
        made.insert(made.end(), text.begin(), text.end());
        std::uint32_t a = 1;
        std::uint32_t b = 0;
        for (const char c : text) {
            a += static_cast<std::uint8_t>(c);
            b += a;
        }
        for (const std::uint32_t sum : {b, a}) { // below 65521, since the text is short
            made.push_back(static_cast<std::uint8_t>(sum >> 8));
            made.push_back(static_cast<std::uint8_t>(sum));
        }
        return made;
    }
    static Bytes fnJoin(std::string_view head, const Bytes& tail) {
        Bytes made = fnBytes(head);
        made.insert(made.end(), tail.begin(), tail.end());
        return made;
    }
    static Bytes fnPiece(unsigned int number, unsigned int of, std::string_view data) {
        Bytes made = fnBytes(std::string_view("ICC_PROFILE\0", 12));
        made.push_back(static_cast<std::uint8_t>(number));
        made.push_back(static_cast<std::uint8_t>(of));
        made.insert(made.end(), data.begin(), data.end());
        return made;
    }

    const std::unique_ptr<CqImage> m_pPicture = fnMakeNoise(20, 12, 24, 1);
    CqPictureMetadata m_Read;
};

TEST_F(PictureMetadata, WhatAFormatHoldsComesBackAsItWas) {
    for (unsigned int orientation = 1; orientation <= 8; ++orientation) {
        const CqPictureMetadata written = fnMake(orientation);
        for (const PICTURE_FORMAT format : kMetadataFormats) {
            ASSERT_TRUE(fnWriteWith(written, format).fnIsDone());
            const CqPictureResult result = fnReadAll();
            ASSERT_TRUE(result.fnIsDone());
            EXPECT_FALSE(result.m_bReduced) << format;
            EXPECT_EQ(m_Read.m_Exif, format == PICTURE_TIFF ? Bytes() : written.m_Exif);
            EXPECT_EQ(m_Read.m_Xmp, written.m_Xmp);
            EXPECT_EQ(m_Read.m_Iptc, format == PICTURE_PNG ? Bytes() : written.m_Iptc);
            EXPECT_EQ(m_Read.m_Profile, written.m_Profile);
            EXPECT_EQ(m_Read.m_nOrientation, orientation) << format;
        }
    }
}

TEST_F(PictureMetadata, ABitmapHasNone) {
    ASSERT_TRUE(fnWriteWith(fnMake(3), PICTURE_BMP).fnIsDone());
    ASSERT_TRUE(fnReadAll().fnIsDone());
    EXPECT_TRUE(m_Read.m_Exif.empty() && m_Read.m_Xmp.empty() && m_Read.m_Iptc.empty() &&
                m_Read.m_Profile.empty());
    EXPECT_EQ(m_Read.m_nOrientation, 1u);
}

TEST_F(PictureMetadata, AReadWithoutItReportsItAsLeftOut) {
    for (const PICTURE_FORMAT format : kMetadataFormats) {
        ASSERT_TRUE(fnWriteWith(fnMake(6), format).fnIsDone());
        EXPECT_TRUE(fnRead().m_bReduced) << format;
        CqPictureMetadata plain;
        ASSERT_TRUE(fnWriteWith(plain, format).fnIsDone());
        EXPECT_FALSE(fnRead().m_bReduced) << format;
    }
}

TEST_F(PictureMetadata, AnEmptyBlockIsNotedAsLeftOut) {
    ASSERT_TRUE(fnWriteWith({}, PICTURE_JPEG).fnIsDone());
    const std::string file = fnGet();
    const std::string empty("\xFF\xE1\x00\x08"
                            "Exif\0\0",
                            10);
    fnPut(file.substr(0, 2) + empty + file.substr(2));
    EXPECT_EQ(fnReadAll().m_nParts, static_cast<unsigned int>(PICTURE_PART_NOTES));
}

TEST_F(PictureMetadata, TheOrientationOfTheHostReplacesThatOfExifAndXmpInPlace) {
    CqPictureMetadata written = fnMake(6);
    written.m_nOrientation = 1;
    for (const PICTURE_FORMAT format : kMetadataFormats) {
        ASSERT_TRUE(fnWriteWith(written, format).fnIsDone());
        ASSERT_TRUE(fnReadAll().fnIsDone());
        EXPECT_EQ(m_Read.m_nOrientation, 1u);
        EXPECT_EQ(m_Read.m_Xmp, fnMake(1).m_Xmp);
        if (format != PICTURE_TIFF) {
            EXPECT_EQ(m_Read.m_Exif, fnExif(1, true)) << "nothing else has changed";
        }
    }
    EXPECT_EQ(written.m_Exif, fnExif(6, true)) << "the host's copy is its own";
}

TEST_F(PictureMetadata, AnUnknownOrientationCountsAsUpright) {
    CqPictureMetadata written;
    written.m_nOrientation = 9;
    ASSERT_TRUE(fnWriteWith(written, PICTURE_TIFF).fnIsDone());
    ASSERT_TRUE(fnReadAll().fnIsDone());
    EXPECT_EQ(m_Read.m_nOrientation, 1u);
}

TEST_F(PictureMetadata, WhatAFormatCantHoldIsNamedAndLeftOut) {
    CqPictureMetadata metadata = fnMake(6);
    EXPECT_EQ(q32FindLostMetadata(*m_pPicture, metadata, PICTURE_JPEG), 0u);
    EXPECT_EQ(q32FindLostMetadata(*m_pPicture, metadata, PICTURE_PNG), PICTURE_PART_NOTES);
    EXPECT_EQ(q32FindLostMetadata(*m_pPicture, metadata, PICTURE_TIFF), PICTURE_PART_NOTES);
    EXPECT_EQ(q32FindLostMetadata(*m_pPicture, metadata, PICTURE_BMP),
              unsigned{PICTURE_PART_NOTES | PICTURE_PART_PROFILE | PICTURE_PART_ORIENTATION});
    EXPECT_EQ(q32FindLostMetadata(CqImage(), metadata, PICTURE_BMP), 0u);
    metadata.m_Exif.clear();
    metadata.m_Iptc.clear();
    EXPECT_EQ(q32FindLostMetadata(*m_pPicture, metadata, PICTURE_PNG), PICTURE_PART_ORIENTATION);
    EXPECT_EQ(q32FindLostMetadata(*m_pPicture, metadata, PICTURE_TIFF), 0u);
}

TEST_F(PictureMetadata, ABlockAsLongAsASegmentOfAJpegIsWrittenAndALongerOneLeftOut) {
    CqPictureMetadata metadata;
    const auto check = [&](Bytes& block, std::size_t most, const Bytes CqPictureMetadata::*read) {
        for (const std::size_t size : {most, most + 1}) {
            block.assign(size, 'x');
            EXPECT_EQ(q32FindLostMetadata(*m_pPicture, metadata, PICTURE_JPEG) == 0, size == most);
            ASSERT_TRUE(fnWriteWith(metadata, PICTURE_JPEG).fnIsDone());
            ASSERT_TRUE(fnReadAll().fnIsDone());
            EXPECT_EQ(m_Read.*read, size == most ? block : Bytes());
        }
        block.clear();
    };
    check(metadata.m_Exif, 65527, &CqPictureMetadata::m_Exif);
    check(metadata.m_Xmp, 65504, &CqPictureMetadata::m_Xmp);
    check(metadata.m_Iptc, 65506, &CqPictureMetadata::m_Iptc);
}

TEST_F(PictureMetadata, AProfileOfOtherColoursThanThePictureIsNotWritten) {
    CqPictureMetadata metadata;
    metadata.m_Profile = fnProfile(200, "GRAY");
    const auto grey = fnMakeNoise(9, 9, 8, 3, 256);
    CqImage ramp;
    ramp.fnAlloc(9, 9, 8, q32GreyRamp, 256);
    EXPECT_EQ(q32FindLostMetadata(ramp, metadata, PICTURE_PNG), 0u);
    EXPECT_EQ(q32FindLostMetadata(*grey, metadata, PICTURE_PNG), PICTURE_PART_PROFILE);
    EXPECT_EQ(q32FindLostMetadata(*m_pPicture, metadata, PICTURE_PNG), PICTURE_PART_PROFILE);
    metadata.m_Profile.resize(100);
    EXPECT_EQ(q32FindLostMetadata(ramp, metadata, PICTURE_PNG), PICTURE_PART_PROFILE);
    ASSERT_TRUE(fnWriteWith(metadata, PICTURE_PNG).fnIsDone());
    ASSERT_TRUE(fnReadAll().fnIsDone());
    EXPECT_TRUE(m_Read.m_Profile.empty());
}

TEST_F(PictureMetadata, ALimitLeavesOutBlocksBeyondItAndSaysSo) {
    const CqPictureMetadata written = fnMake(3);
    for (const PICTURE_FORMAT format : kMetadataFormats) {
        ASSERT_TRUE(fnWriteWith(written, format).fnIsDone());
        CqPictureLimits limits;
        limits.m_nMetadataBytes = 1000;
        const CqPictureResult result = fnReadAll(limits);
        ASSERT_TRUE(result.fnIsDone());
        EXPECT_EQ(result.m_nParts, PICTURE_PART_PROFILE) << format;
        EXPECT_TRUE(m_Read.m_Profile.empty());
        EXPECT_EQ(m_Read.m_Xmp, written.m_Xmp);
        limits.m_nMetadataBytes = 0;
        EXPECT_EQ(fnReadAll(limits).m_nParts, unsigned{PICTURE_PART_PROFILE | PICTURE_PART_NOTES});
        EXPECT_TRUE(m_Read.m_Xmp.empty());
    }
}

TEST_F(PictureMetadata, AProfileThatDecompressesBeyondTheLimitIsLeftOut) {
    CqPictureMetadata written;
    written.m_Profile.assign(5'000'000, 0);
    std::copy_n("RGB ", 4, written.m_Profile.begin() + 16);
    ASSERT_TRUE(fnWriteWith(written, PICTURE_PNG).fnIsDone());
    CqPictureLimits limits;
    limits.m_nMetadataBytes = 4'999'999;
    EXPECT_EQ(fnReadAll(limits).m_nParts, PICTURE_PART_PROFILE);
    limits.m_nMetadataBytes = 5'100'000;
    EXPECT_EQ(fnReadAll(limits).m_nParts, 0u);
    EXPECT_EQ(m_Read.m_Profile, written.m_Profile);
}

TEST_F(PictureMetadata, PiecesOfAProfileAreJoinedByTheirNumbers) {
    fnPutSegments({{0xE2, fnPiece(2, 2, "def")}, {0xE2, fnPiece(1, 2, "abc")}});
    EXPECT_EQ(fnReadAll().m_nParts, 0u);
    EXPECT_EQ(m_Read.m_Profile, fnBytes("abcdef"));
    fnPutSegments({{0xE2, fnPiece(1, 2, "abc")}});
    EXPECT_EQ(fnReadAll().m_nParts, PICTURE_PART_PROFILE) << "one is missing";
    fnPutSegments({{0xE2, fnPiece(1, 1, "abc")}, {0xE2, fnPiece(1, 1, "abc")}});
    EXPECT_EQ(fnReadAll().m_nParts, PICTURE_PART_PROFILE) << "one is there twice";
    fnPutSegments({{0xE2, fnPiece(0, 1, "abc")}});
    EXPECT_EQ(fnReadAll().m_nParts, PICTURE_PART_PROFILE) << "a number is out of range";
    fnPutSegments({{0xE2, fnBytes(std::string_view("ICC_PROFILE\0\1", 13))}});
    EXPECT_EQ(fnReadAll().m_nParts, PICTURE_PART_PROFILE) << "the segment is too short";
    EXPECT_TRUE(m_Read.m_Profile.empty());
}

TEST_F(PictureMetadata, SegmentsOfAJpegThatNoBlockHoldsAreNamed) {
    const auto parts = [&](int marker, std::string_view data) {
        fnPutSegments({{marker, fnBytes(data)}});
        return fnReadAll().m_nParts;
    };
    EXPECT_EQ(parts(0xE2, "MPF\0"), PICTURE_PART_PAGES);
    EXPECT_EQ(parts(0xE1, "http://ns.adobe.com/xmp/extension/"), PICTURE_PART_NOTES);
    EXPECT_EQ(parts(0xED, "anything"), PICTURE_PART_NOTES);
    EXPECT_EQ(parts(0xE5, "anything"), 0u);
    using namespace std::string_view_literals;
    EXPECT_EQ(parts(0xED, "Photoshop 3.0\0"
                          "8BIM\x03\xED\0\0\0\0\0\x02xx"sv),
              PICTURE_PART_NOTES);
    EXPECT_EQ(parts(0xED, "Photoshop 3.0\0"
                          "8BIM\x04\x04\x03"
                          "abc\0\0\0\x03xyz\0"
                          "8BIM\x04\x25\0\0\0\0\0\0"sv),
              0u);
    EXPECT_EQ(m_Read.m_Iptc, fnBytes("xyz"));
}

TEST_F(PictureMetadata, PartsOfAJpegAreNamedToAHostThatDoesNotAskForThem) {
    const auto parts = [&](const std::vector<std::pair<int, Bytes>>& segments) {
        fnPutSegments(segments);
        return fnRead().m_nParts;
    };
    const std::pair exif(0xE1, fnBytes(std::string_view("Exif\0\0II", 8)));
    const std::pair profile(0xE2, fnPiece(1, 1, "abc"));
    const std::pair pages(0xE2, fnBytes(std::string_view("MPF\0", 4)));
    EXPECT_EQ(parts({exif}), PICTURE_PART_NOTES);
    EXPECT_EQ(parts({profile}), PICTURE_PART_PROFILE);
    EXPECT_EQ(parts({pages}), PICTURE_PART_PAGES);
    EXPECT_EQ(parts({{0xED, fnBytes("anything")}}), PICTURE_PART_NOTES);
    EXPECT_EQ(parts({exif, profile, pages}),
              unsigned{PICTURE_PART_NOTES | PICTURE_PART_PROFILE | PICTURE_PART_PAGES});
    EXPECT_EQ(parts({{0xE5, fnBytes("anything")}}), 0u);
}

TEST_F(PictureMetadata, ResourcesThatAreCutOffYieldNothing) {
    using namespace std::string_view_literals;
    const Bytes resource = fnBytes("8BIM\x04\x04\0\0\0\0\0\x04test"sv);
    for (std::size_t size = 0; size <= resource.size(); ++size) {
        bool more = false;
        const auto found = q32::fnFindIptc(std::span(resource).first(size), more);
        EXPECT_EQ(found.empty(), size < resource.size()) << size;
    }
}

TEST_F(PictureMetadata, InkColoursOfAJpegAreNamedApart) {
    TestJpeg jpeg;
    jpeg.m_nComponents = 4;
    jpeg.m_Samples.assign(8 * 8 * 4, 40);
    fnPut(jpeg.fnMake());
    EXPECT_EQ(fnReadAll().m_nParts, PICTURE_PART_CHANNELS);
    EXPECT_EQ(fnRead().m_nParts, PICTURE_PART_CHANNELS);
}

TEST_F(PictureMetadata, ExifThatIsCutOffAnywhereHasNoOrientationAndIsNotTouched) {
    for (const bool bigEndian : {false, true}) {
        const Bytes whole = fnExif(5, bigEndian);
        const std::size_t needed = 10 + 2 * 12; // header, number of entries, two entries
        for (std::size_t size = 0; size <= whole.size(); ++size) {
            Bytes cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
            const Bytes before = cut;
            EXPECT_EQ(q32::fnGetExifOrientation(cut), size >= needed ? 5u : 0u);
            EXPECT_EQ(q32::fnSetExifOrientation(cut, 1), size >= needed);
            EXPECT_EQ(cut == before, size < needed);
        }
    }
    Bytes wild = fnExif(5, false);
    wild[4] = wild[5] = wild[6] = wild[7] = 0xFF; // a directory far outside
    EXPECT_EQ(q32::fnGetExifOrientation(wild), 0u);
    EXPECT_EQ(q32::fnGetExifOrientation(fnExif(9, true)), 0u);
}

TEST_F(PictureMetadata, TheOrientationInXmpIsReplacedInBothOfItsForms) {
    const auto replaced = [](std::string text) {
        Bytes bytes = fnBytes(text);
        q32::fnSetXmpOrientation(bytes, 1);
        return std::string(bytes.begin(), bytes.end());
    };
    EXPECT_EQ(replaced("a tiff:Orientation = '6' b"), "a tiff:Orientation = '1' b");
    EXPECT_EQ(replaced("<tiff:Orientation>8</tiff:Orientation>"),
              "<tiff:Orientation>1</tiff:Orientation>");
    EXPECT_EQ(replaced("tiff:Orientation=\"16\""), "tiff:Orientation=\"16\"");
    EXPECT_EQ(replaced("tiff:Orientation"), "tiff:Orientation");
    EXPECT_EQ(replaced("tiff:Orientation=\""), "tiff:Orientation=\"");
    EXPECT_EQ(replaced("tiff:Orientation=\"6"), "tiff:Orientation=\"6");
}

TEST_F(PictureMetadata, TagsOfATiffThatPointOutsideOfItAreLeftOut) {
    ASSERT_TRUE(fnWriteWith(fnMake(1), PICTURE_TIFF).fnIsDone());
    std::string file = fnGet();
    const auto get = [&](std::size_t at, std::size_t size) {
        std::uint32_t value = 0;
        for (std::size_t i = size; i-- > 0;)
            value = value << 8 | static_cast<unsigned char>(file[at + i]);
        return value;
    };
    const std::size_t directory = get(4, 4);
    for (std::size_t i = 0; i < get(directory, 2); ++i) {
        const std::size_t entry = directory + 2 + 12 * i;
        if (get(entry, 2) == TIFFTAG_ICCPROFILE)
            file.replace(entry + 4, 4, "\xFF\xFF\xFF\x7F");
        if (get(entry, 2) == TIFFTAG_XMLPACKET)
            file.replace(entry + 8, 4, "\xF0\xFF\xFF\xFF");
    }
    fnPut(file);
    EXPECT_EQ(fnReadAll().m_nParts, unsigned{PICTURE_PART_PROFILE | PICTURE_PART_NOTES});
    EXPECT_TRUE(m_Read.m_Profile.empty());
    EXPECT_TRUE(m_Read.m_Xmp.empty());
    EXPECT_EQ(m_Read.m_Iptc, fnMake(1).m_Iptc);
}

TEST_F(PictureMetadata, AFailureLeavesTheImageAndTheMetadata) {
    const CqPictureMetadata written = fnMake(2);
    for (const PICTURE_FORMAT format : kMetadataFormats) {
        ASSERT_TRUE(fnWriteWith(written, format).fnIsDone());
        ASSERT_TRUE(fnReadAll().fnIsDone());
        auto& stream = *m_World->m_pFiles->m_pStream;
        const std::uint64_t before = stream.m_Read.fnGetCount();
        ASSERT_TRUE(fnReadAll().fnIsDone());
        const std::uint64_t reads = stream.m_Read.fnGetCount() - before;
        const Bytes xmp = m_Read.m_Xmp;
        for (std::uint64_t nth = 1; nth <= reads; ++nth) {
            stream.m_Read.fnFail(nth);
            EXPECT_EQ(q32ReadPicture(kPath, m_Image, m_Read).m_nMsgId, -4);
            EXPECT_EQ(m_Read.m_Xmp, xmp);
        }
        stream.m_Read.fnFailNever();
    }
}

TEST_F(PictureMetadata, EachFailedAllocationEndsWithAMessageAndKeepsFileAndMetadata) {
    const CqPictureMetadata written = fnMake(4);
    for (const PICTURE_FORMAT format : kMetadataFormats) {
        ASSERT_TRUE(fnWriteWith(written, format).fnIsDone());
        const std::string file = fnGet();
        const auto each = [&](const auto& work) {
            return fnFailEachAllocation([&](CqAllocationFailure& failure) {
                const CqPictureResult result = work();
                failure.fnEnd();
                EXPECT_EQ(result.fnIsDone(), result.m_nMsgId == 0) << format;
                EXPECT_TRUE(fnGet() == file) << "the old one, or one of the same bytes";
            });
        };
        EXPECT_GT(each([&] { return fnWriteWith(written, format); }), 4u);
        m_Read = CqPictureMetadata();
        EXPECT_GT(each([&] { return q32ReadPicture(kPath, m_Image, m_Read); }), 4u);
        EXPECT_EQ(m_Read.m_Profile, written.m_Profile);
    }
}

TEST_F(PictureMetadata, AnAbortWhileItIsCollectedEndsTheRead) {
    CqPictureMetadata written;
    written.m_Profile = fnProfile(300'000);
    ASSERT_TRUE(fnWriteWith(written, PICTURE_JPEG).fnIsDone());
    RecordedProgress all;
    ASSERT_TRUE(q32ReadPicture(kPath, m_Image, m_Read, {}, &all).fnIsDone());
    RecordedProgress progress;
    progress.m_nAbortAt = all.m_Percents.size();
    m_Read = CqPictureMetadata();
    EXPECT_TRUE(q32ReadPicture(kPath, m_Image, m_Read, {}, &progress).m_bAborted);
    EXPECT_TRUE(m_Read.m_Profile.empty());
}

TEST_F(PictureMetadata, AWalkOverEmptyPartsReportsProgressAndCanBeAborted) {
    constexpr std::size_t kParts = 20'000;
    const std::pair<PICTURE_FORMAT, Bytes> kinds[] = {
        {PICTURE_PNG, {0, 0, 0, 0, 's', 'k', 'I', 'P', 1, 2, 3, 4}},
        {PICTURE_JPEG, {0xFF, 0xFE, 0, 10, 1, 2, 3, 4, 5, 6, 7, 8}}};
    for (const auto& [format, part] : kinds) {
        ASSERT_TRUE(fnWriteWith({}, format).fnIsDone());
        const std::string written = fnGet();
        Bytes file(written.begin(), written.end());
        Bytes parts;
        for (std::size_t i = 0; i < kParts; ++i)
            parts.insert(parts.end(), part.begin(), part.end());
        file.insert(file.begin() + (format == PICTURE_PNG ? 33 : 2), parts.begin(), parts.end());
        fnPut(file);
        RecordedProgress plain;
        ASSERT_TRUE(fnRead(&plain).fnIsDone());
        RecordedProgress all;
        ASSERT_TRUE(q32ReadPicture(kPath, m_Image, m_Read, {}, &all).fnIsDone());
        EXPECT_GE(all.m_Percents.size(), plain.m_Percents.size() + parts.size() / 65536) << format;
        for (std::size_t at = plain.m_Percents.size() + 1; at <= all.m_Percents.size(); ++at) {
            RecordedProgress aborting;
            aborting.m_nAbortAt = at;
            CqImage image;
            EXPECT_TRUE(q32ReadPicture(kPath, image, m_Read, {}, &aborting).m_bAborted);
            EXPECT_EQ(aborting.m_Percents.size(), at) << "no call after the abort";
            EXPECT_EQ(image.TileMap, nullptr);
        }
    }
}

TEST_F(PictureMetadata, CompressedXmpAndProfilesOfAPngAreReadAndDamagedOnesNamed) {
    using namespace std::string_view_literals;
    constexpr std::string_view key = "XML:com.adobe.xmp\0"sv;
    const auto xmp = [&](std::string_view flags, const Bytes& tail) {
        return fnJoin(std::string(key) + std::string(flags), tail);
    };
    fnPutChunks({{"iTXt", xmp("\1\0\0\0"sv, fnStored("<x/>"))},
                 {"iCCP", fnJoin("name\0\0"sv, fnStored("RGB"))},
                 {"iTXt", fnBytes("Comment of some length\0\0\0\0\0text"sv)},
                 {"iTXt", fnBytes("short"sv)},
                 {"eXIf", fnExif(3, false)}});
    ASSERT_TRUE(fnReadAll().fnIsDone());
    EXPECT_EQ(m_Read.m_Xmp, fnBytes("<x/>"));
    EXPECT_EQ(m_Read.m_Profile, fnBytes("RGB"));
    EXPECT_EQ(m_Read.m_Exif, fnExif(3, false));

    // Of several blocks the first is taken.
    fnPutChunks({{"iTXt", xmp("\0\0\0\0"sv, fnBytes("one"))},
                 {"iTXt", xmp("\0\0\0\0"sv, fnBytes("two"))},
                 {"iCCP", fnJoin("name\0\0"sv, fnStored("one"))},
                 {"iCCP", fnJoin("name\0\0"sv, fnStored("two"))},
                 {"eXIf", fnExif(3, false)},
                 {"eXIf", fnExif(4, false)}});
    CqPictureResult result = fnReadAll();
    ASSERT_TRUE(result.fnIsDone());
    EXPECT_EQ(result.m_nParts, static_cast<unsigned>(PICTURE_PART_PROFILE | PICTURE_PART_NOTES));
    EXPECT_EQ(m_Read.m_Xmp, fnBytes("one"));
    EXPECT_EQ(m_Read.m_Profile, fnBytes("one"));
    EXPECT_EQ(m_Read.m_nOrientation, 3u);

    for (const Bytes& damaged : {fnBytes(key), xmp("\1"sv, {}), xmp("\1\1\0\0"sv, fnStored("<x/>")),
                                 xmp("\1\0\0\0"sv, fnBytes("no stream"))}) {
        fnPutChunks({{"iTXt", damaged}});
        EXPECT_EQ(fnReadAll().m_nParts, static_cast<unsigned>(PICTURE_PART_NOTES));
        EXPECT_TRUE(m_Read.m_Xmp.empty());
    }
    for (const Bytes& damaged : {fnBytes("name"), fnJoin("name\0\1"sv, fnStored("RGB")),
                                 fnJoin("name\0\0"sv, fnBytes("no stream"))}) {
        fnPutChunks({{"iCCP", damaged}});
        EXPECT_EQ(fnReadAll().m_nParts, static_cast<unsigned>(PICTURE_PART_PROFILE));
        EXPECT_TRUE(m_Read.m_Profile.empty());
    }
}

TEST_F(PictureMetadata, PiecesOfAProfileThatContradictEachOtherAreLeftOut) {
    for (const auto& [number, of] : {std::pair(3u, 2u), std::pair(2u, 3u)}) {
        fnPutSegments({{0xE2, fnPiece(1, 2, "ab")}, {0xE2, fnPiece(number, of, "cd")}});
        const CqPictureResult result = fnReadAll();
        ASSERT_TRUE(result.fnIsDone());
        EXPECT_EQ(result.m_nParts, static_cast<unsigned>(PICTURE_PART_PROFILE));
        EXPECT_TRUE(m_Read.m_Profile.empty());
    }
}

} // namespace
