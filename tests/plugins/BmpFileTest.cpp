#include "tests/plugins/PictureTest.h"

#include <algorithm>
#include <cstring>

namespace {

/// A BMP assembled byte by byte.
class TestBmp {
public:
    TestBmp(std::int32_t width, std::int32_t height, std::uint16_t bits,
            std::uint32_t compression = 0, std::uint32_t headerBytes = 40) {
        fn32(0); // space for the file header
        fn32(0);
        fn32(0);
        fn16(0);
        fn32(headerBytes);
        if (headerBytes == 12) {
            fn16(static_cast<std::uint16_t>(width));
            fn16(static_cast<std::uint16_t>(height));
            fn16(1);
            fn16(bits);
            return;
        }
        fn32(static_cast<std::uint32_t>(width));
        fn32(static_cast<std::uint32_t>(height));
        fn16(1);
        fn16(bits);
        fn32(compression);
        fn32(0);
        fn32(11811);
        fn32(2835);
        fn32(0);
        fn32(0);
    }

    TestBmp& fn8(std::initializer_list<int> bytes) {
        for (const int byte : bytes)
            m_Bytes.push_back(static_cast<std::uint8_t>(byte));
        return *this;
    }
    TestBmp& fn16(std::uint16_t value) { return fn8({value & 0xFF, value >> 8}); }
    TestBmp& fn32(std::uint32_t value) {
        return fn16(static_cast<std::uint16_t>(value))
            .fn16(static_cast<std::uint16_t>(value >> 16));
    }
    /// Marks the start of the pixels.
    TestBmp& fnPixels() {
        m_nPixelsAt = m_Bytes.size();
        return *this;
    }

    Bytes fnMake() {
        m_Bytes[0] = 'B';
        m_Bytes[1] = 'M';
        const auto at = static_cast<std::uint32_t>(m_nPixelsAt);
        std::memcpy(m_Bytes.data() + 10, &at, 4);
        return m_Bytes;
    }

    Bytes m_Bytes;

private:
    std::size_t m_nPixelsAt = 0;
};

class BmpFile : public PictureTest {
protected:
    void fnExpect(TestBmp& bmp, unsigned int bits, const Bytes& pixels) {
        fnPut(bmp.fnMake());
        ASSERT_EQ(fnReadAsDescribed().m_nMsgId, 0);
        EXPECT_EQ(m_Image.BitCount, bits);
        EXPECT_EQ(fnPixelsOf(m_Image), pixels);
        EXPECT_EQ(m_Image.fnGetFioPlugin(), PICTURE_BMP);
    }
};

TEST_F(BmpFile, RowsComeFromTheBottomUpUnlessTheHeightIsNegative) {
    TestBmp up(1, 2, 24);
    up.fnPixels().fn8({1, 2, 3, 0, 4, 5, 6, 0});
    fnExpect(up, 24, {6, 5, 4, 3, 2, 1});
    EXPECT_EQ(m_Image.DpiX, 300);
    EXPECT_EQ(m_Image.DpiY, 72);
    TestBmp down(1, -2, 24);
    down.fnPixels().fn8({1, 2, 3, 0, 4, 5, 6, 0});
    fnExpect(down, 24, {3, 2, 1, 6, 5, 4});
}

TEST_F(BmpFile, OneAndTwoBitsBecome4WithTheirPalette) {
    TestBmp one(9, 1, 1);
    one.fn32(0x00112233).fn32(0x00445566).fnPixels().fn8({0b10100101, 0b10000000, 0, 0});
    fnExpect(one, 4, {1, 0, 1, 0, 0, 1, 0, 1, 1});
    EXPECT_EQ(fnPaletteOf(m_Image),
              (std::vector<RGBQUAD>{{0x33, 0x22, 0x11, 0}, {0x66, 0x55, 0x44, 0}}));
    TestBmp two(5, 1, 2);
    for (std::uint32_t i = 0; i < 4; ++i)
        two.fn32(i);
    two.fnPixels().fn8({0b00011011, 0b11000000, 0, 0});
    fnExpect(two, 4, {0, 1, 2, 3, 3});
}

TEST_F(BmpFile, TheOldHeaderHasThreeByteColours) {
    TestBmp bmp(2, 1, 1, 0, 12);
    bmp.fn8({1, 2, 3, 4, 5, 6}).fnPixels().fn8({0b01000000, 0, 0, 0});
    fnExpect(bmp, 4, {0, 1});
    EXPECT_EQ(fnPaletteOf(m_Image), (std::vector<RGBQUAD>{{1, 2, 3, 0}, {4, 5, 6, 0}}));
}

TEST_F(BmpFile, SixteenBitsAreWidenedOrKept) {
    // 5-5-5: green 0x1F becomes 0x3E in six bits.
    TestBmp plain(2, 1, 16);
    plain.fnPixels().fn16(0x7FFF).fn16(0x0401);
    fnExpect(plain, 16, {0xFF, 0xDF, 0x08, 0x01});
    TestBmp masked(2, 1, 16, 3);
    masked.fn32(0xF800).fn32(0x07E0).fn32(0x001F).fnPixels().fn16(0xFFFF).fn16(0x1234);
    fnExpect(masked, 16, {0xFF, 0xFF, 0x12, 0x34});
    TestBmp odd(2, 1, 16, 3); // 4-4-4
    odd.fn32(0x0F00).fn32(0x00F0).fn32(0x000F).fnPixels().fn16(0x0F80).fn16(0x0123);
    fnExpect(odd, 24, {255, 136, 0, 17, 34, 51});
}

TEST_F(BmpFile, MasksInALongHeaderDoNotCountWithoutTheirCompression) {
    for (const std::uint32_t headerBytes : {108u, 124u}) {
        const auto expect = [&](std::uint16_t bits, std::uint32_t compression,
                                const std::vector<std::uint32_t>& masks, std::uint32_t pixel,
                                unsigned int imageBits, const Bytes& stored) {
            SCOPED_TRACE(testing::Message() << headerBytes << " bytes, " << bits << " bits");
            TestBmp bmp(1, 1, bits, compression, headerBytes);
            for (const std::uint32_t mask : masks)
                bmp.fn32(mask);
            for (std::uint32_t i = 56; i < headerBytes; i += 4)
                bmp.fn32(0);
            bmp.fnPixels().fn32(pixel);
            fnExpect(bmp, imageBits, stored);
        };
        const std::vector<std::uint32_t> k565 = {0xF800, 0x07E0, 0x001F, 0};
        expect(16, 0, k565, 0x7FFF, 16, {0xFF, 0xDF}); // white as 5-5-5
        expect(16, 3, k565, 0x7FFF, 16, {0x7F, 0xFF});
        const std::vector<std::uint32_t> kSwapped = {0xFF, 0xFF00, 0xFF0000, 0xFF000000};
        expect(32, 0, kSwapped, 0x80112233, 24, {0x11, 0x22, 0x33}); // no alpha either
        expect(32, 3, kSwapped, 0x80112233, 32, {0x80, 0x33, 0x22, 0x11});
    }
}

TEST_F(BmpFile, ThirtyTwoBitsHaveAlphaOnlyWhereAMaskDeclaresIt) {
    TestBmp plain(1, 1, 32);
    plain.fnPixels().fn32(0x80112233);
    fnExpect(plain, 24, {0x11, 0x22, 0x33});
    TestBmp masked(1, 1, 32, 3, 108);
    masked.fn32(0x000000FF).fn32(0x0000FF00).fn32(0x00FF0000).fn32(0xFF000000);
    masked.m_Bytes.resize(14 + 108);
    masked.fnPixels().fn32(0x80112233);
    fnExpect(masked, 32, {0x80, 0x33, 0x22, 0x11});
    TestBmp wide(1, 1, 32, 3); // ten bits per channel
    wide.fn32(0x3FF00000).fn32(0x000FFC00).fn32(0x000003FF).fnPixels().fn32(0x3FF00000 | 512 << 10);
    fnExpect(wide, 24, {255, 128, 0});
}

TEST_F(BmpFile, RunLengthsAreDecodedByTheBitmapInterchange) {
    TestBmp bmp(4, 2, 8, 1);
    for (std::uint32_t i = 0; i < 256; ++i)
        bmp.fn32(i);
    bmp.fnPixels().fn8({3, 7, 1, 8, 0, 0, 0, 4, 1, 2, 3, 4, 0, 1});
    fnExpect(bmp, 8, {1, 2, 3, 4, 7, 7, 7, 8});
    EXPECT_EQ(m_Image.DpiX, 300);
    EXPECT_EQ(m_Image.DpiY, 72);
}

TEST_F(BmpFile, RunLengthsWithoutTheirEndAreCorrupted) {
    TestBmp bmp(4, 2, 8, 1);
    for (std::uint32_t i = 0; i < 256; ++i)
        bmp.fn32(i);
    bmp.fnPixels().fn8({3, 7, 1, 8, 0, 0, 0, 4, 1, 2, 3, 4});
    fnPut(bmp.fnMake());
    fnExpectRefused(-6);
}

TEST_F(BmpFile, RunLengthsMayOmitNearlyAllRows) {
    const std::int32_t sizes[][2] = {{4000, 3000}, {65535, 900}};
    for (const auto& [width, height] : sizes) {
        TestBmp bmp(width, height, 8, 1);
        for (std::uint32_t i = 0; i < 256; ++i)
            bmp.fn32(i);
        // The bottom row begins with four pixels, the one above it with one.
        bmp.fnPixels().fn8({4, 7, 0, 0, 1, 9, 0, 1});
        fnPut(bmp.fnMake());
        ASSERT_EQ(fnReadAsDescribed().m_nMsgId, 0);
        EXPECT_EQ(m_Image.Width, static_cast<std::uint32_t>(width));
        EXPECT_EQ(m_Image.Height, static_cast<std::uint32_t>(height));
        const Bytes bottom = fnRowOf(m_Image, m_Image.Height - 1);
        EXPECT_EQ(Bytes(bottom.begin(), bottom.begin() + 4), Bytes(4, 7));
        EXPECT_EQ(fnRowOf(m_Image, m_Image.Height - 2)[0], 9);
    }
}

TEST_F(BmpFile, AbsurdSizesOfRunLengthsAreCorruptedAndTakeNoMemory) {
    const std::int32_t sizes[][2] = {{30000, 30000}, {0x7FFFFFFF, 1}, {8192, 8201}};
    m_World->m_pMemory->m_Reserve.fnFail(1, CqHeadlessCalls::kForever);
    m_World->m_pScratch->m_CreateName.fnFail(1, CqHeadlessCalls::kForever);
    const std::uint64_t reserved = m_World->m_pMemory->m_Reserve.fnGetCount();
    for (const auto& [width, height] : sizes) {
        TestBmp bmp(width, height, 8, 1);
        bmp.fnPixels().fn8({0, 1});
        fnPut(bmp.fnMake());
        EXPECT_EQ(fnRead().m_nMsgId, -6) << width << ' ' << height;
    }
    EXPECT_EQ(m_World->m_pMemory->m_Reserve.fnGetCount(), reserved);
}

TEST_F(BmpFile, UnknownCompressionsAreNotSupported) {
    for (const std::uint32_t compression : {2u, 4u, 5u}) {
        TestBmp bmp(4, 2, compression == 2 ? 4 : 24, compression);
        bmp.fnPixels().fn8({0, 1});
        fnPut(bmp.fnMake());
        fnExpectRefused(-102);
    }
}

TEST_F(BmpFile, AbsurdSizesAreCorruptedAndTakeNoMemory) {
    const std::int32_t sizes[][2] = {
        {0, 1}, {-1, 1}, {1, 0}, {0x7FFFFFFF, 0x7FFFFFFF}, {30000, 30000}, {1, INT32_MIN}};
    for (const auto& [width, height] : sizes) {
        TestBmp bmp(width, height, 24);
        bmp.fnPixels().fn8({1, 2, 3, 0});
        fnPut(bmp.fnMake());
        m_World->m_pMemory->m_Reserve.fnFail(1, CqHeadlessCalls::kForever);
        m_World->m_pScratch->m_CreateName.fnFail(1, CqHeadlessCalls::kForever);
        EXPECT_EQ(fnRead().m_nMsgId, -6) << width << ' ' << height;
    }
}

TEST_F(BmpFile, BrokenHeadersAreCorrupted) {
    TestBmp header(1, 1, 24, 0, 39);
    fnPut(header.fnPixels().fn32(0).fnMake());
    fnExpectRefused(-6);
    TestBmp depth(1, 1, 7);
    fnPut(depth.fnPixels().fn32(0).fnMake());
    fnExpectRefused(-6);
    TestBmp masks(1, 1, 32, 3);
    fnPut(masks.fn32(0).fn32(0).fn32(0).fnPixels().fn32(0).fnMake());
    fnExpectRefused(-6);
    TestBmp runs(1, 1, 24, 1);
    fnPut(runs.fnPixels().fn32(0).fnMake());
    fnExpectRefused(-6);
    TestBmp outside(1, 1, 24);
    outside.fnPixels();
    fnPut(outside.fnMake());
    fnExpectRefused(-6);
}

TEST_F(BmpFile, WithoutAnOffsetThePixelsFollowTheHeaders) {
    TestBmp bmp(1, 1, 24);
    bmp.fn8({1, 2, 3, 0});
    fnExpect(bmp, 24, {3, 2, 1});
}

TEST_F(BmpFile, FeaturesThatTheImageDropsAreReported) {
    const auto partsOf = [&](TestBmp bmp) {
        fnPut(bmp.fnPixels().fn32(0x12345678).fnMake());
        const CqPictureResult result = fnRead();
        EXPECT_TRUE(result.fnIsDone());
        EXPECT_EQ(result.m_bReduced, result.m_nParts != 0);
        return result.m_nParts;
    };
    EXPECT_EQ(partsOf(TestBmp(1, 1, 24)), 0u);
    EXPECT_EQ(partsOf(TestBmp(1, 1, 16)), 0u) << "5 bits a channel stay";
    EXPECT_EQ(partsOf(TestBmp(1, 1, 32)), 0u);
    EXPECT_EQ(partsOf(TestBmp(1, 1, 32, 3).fn32(0x3FF00000).fn32(0x000FFC00).fn32(0x000003FF)),
              PICTURE_PART_DEPTH)
        << "10 bits a channel";
    for (const std::uint32_t space : {0x73524742u, 0x4D424544u, 0x4C494E4Bu}) {
        TestBmp bmp(1, 1, 24, 0, 124);
        for (int i = 0; i < 4; ++i)
            bmp.fn32(0); // masks
        bmp.fn32(space);
        for (int i = 0; i < 16; ++i)
            bmp.fn32(0);
        EXPECT_EQ(partsOf(bmp), space != 0x73524742u ? PICTURE_PART_PROFILE : 0u)
            << "a profile inside, or beside";
    }
}

} // namespace
