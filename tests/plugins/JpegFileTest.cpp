#include "tests/plugins/CodecFiles.h"

#include <algorithm>
#include <cmath>

namespace {

class JpegFile : public PictureTest {
protected:
    /// Smooth ramps, which the format reproduces closely.
    static TestJpeg fnRamps(std::uint32_t width, std::uint32_t height, int components) {
        TestJpeg jpeg;
        jpeg.m_nWidth = width;
        jpeg.m_nHeight = height;
        jpeg.m_nComponents = components;
        for (std::uint32_t y = 0; y < height; ++y)
            for (std::uint32_t x = 0; x < width; ++x)
                for (int c = 0; c < components; ++c)
                    jpeg.m_Samples.push_back(
                        static_cast<std::uint8_t>(c == 0   ? x * 255 / width
                                                  : c == 1 ? y * 255 / height
                                                  : c == 2 ? 128
                                                           : (x + y) * 127 / (width + height)));
        return jpeg;
    }

    /// Overwrites width and height where the frame begins with `marker`.
    static void fnClaimSize(Bytes& file, std::uint8_t marker, unsigned int side) {
        const Bytes frame = {0xFF, marker, 0x00, 0x0B, 0x08};
        auto at = std::search(file.begin(), file.end(), frame.begin(), frame.end());
        ASSERT_NE(at, file.end());
        at += 5;
        for (int i = 0; i < 2; ++i) {
            *at++ = static_cast<std::uint8_t>(side >> 8);
            *at++ = static_cast<std::uint8_t>(side);
        }
    }

    /// Expects the file to be refused before any storage for pixels is allocated.
    void fnExpectNoStorage(const Bytes& file, int message) {
        fnPut(file);
        CqHeadlessCalls& memory = m_World->m_pMemory->m_Reserve;
        CqHeadlessCalls& scratch = m_World->m_pScratch->m_CreateName;
        memory.fnFail(1, CqHeadlessCalls::kForever);
        scratch.fnFail(1, CqHeadlessCalls::kForever);
        const std::uint64_t before = memory.fnGetCount() + scratch.fnGetCount();
        EXPECT_EQ(fnRead().m_nMsgId, message);
        EXPECT_EQ(memory.fnGetCount() + scratch.fnGetCount(), before);
    }

    static int fnFarthest(const Bytes& a, const Bytes& b) {
        int farthest = a.size() == b.size() ? 0 : 1000;
        for (std::size_t i = 0; i < std::min(a.size(), b.size()); ++i)
            farthest = std::max(farthest, std::abs(a[i] - b[i]));
        return farthest;
    }
};

TEST_F(JpegFile, GreyAndColourAreReadPlainAndProgressive) {
    for (const int components : {1, 3}) {
        for (const bool progressive : {false, true}) {
            TestJpeg jpeg = fnRamps(131, 257, components);
            jpeg.m_bProgressive = progressive;
            fnPut(jpeg.fnMake());
            ASSERT_EQ(fnReadAsDescribed().m_nMsgId, 0);
            EXPECT_EQ(m_Image.BitCount, components == 1 ? 8u : 24u);
            EXPECT_EQ(m_Image.Width, 131u);
            EXPECT_EQ(m_Image.Height, 257u);
            EXPECT_LE(fnFarthest(fnPixelsOf(m_Image), jpeg.m_Samples), 6);
            EXPECT_EQ(m_Image.fnGetFioPlugin(), PICTURE_JPEG);
        }
    }
}

TEST_F(JpegFile, InksBecomeColoursAsTheirMarkerDeclares) {
    // Cyan, magenta, yellow, black as amounts of ink; with the marker a file holds 255 minus that.
    for (const bool adobe : {false, true}) {
        for (const bool ycck : {false, true}) {
            TestJpeg jpeg = fnRamps(40, 24, 4);
            jpeg.m_bAdobe = adobe || ycck;
            jpeg.m_bYcck = ycck;
            Bytes expected;
            for (std::size_t i = 0; i < jpeg.m_Samples.size(); i += 4) {
                const std::uint8_t* ink = jpeg.m_Samples.data() + i;
                for (int c = 0; c < 3; ++c)
                    expected.push_back(static_cast<std::uint8_t>(
                        std::lround((255 - ink[c]) * (255 - ink[3]) / 255.0)));
            }
            if (jpeg.m_bAdobe)
                for (std::uint8_t& value : jpeg.m_Samples)
                    value = static_cast<std::uint8_t>(255 - value);
            fnPut(jpeg.fnMake());
            ASSERT_EQ(fnReadAsDescribed().m_nMsgId, 0);
            ASSERT_EQ(m_Image.BitCount, 24u);
            EXPECT_LE(fnFarthest(fnPixelsOf(m_Image), expected), 8) << adobe << ycck;
        }
    }
}

TEST_F(JpegFile, DensityIsReadInItsUnit) {
    TestJpeg jpeg = fnRamps(8, 8, 3);
    const int units[][3] = {{0, 300, 96}, {1, 300, 300}, {2, 100, 254}};
    for (const auto& [unit, density, expected] : units) {
        jpeg.m_nUnit = unit;
        jpeg.m_nDensity = density;
        fnPut(jpeg.fnMake());
        ASSERT_EQ(fnReadAsDescribed().m_nMsgId, 0);
        EXPECT_EQ(m_Image.DpiX, expected);
        EXPECT_EQ(m_Image.DpiY, expected);
    }
}

TEST_F(JpegFile, ATruncatedFileIsCorruptedThoughADecoderWouldFillTheRest) {
    for (const bool progressive : {false, true}) {
        TestJpeg jpeg = fnRamps(64, 64, 3);
        jpeg.m_bProgressive = progressive;
        Bytes file = jpeg.fnMake();
        file.resize(file.size() * 3 / 4);
        fnPut(file);
        fnExpectRefused(-6);
    }
}

TEST_F(JpegFile, BytesBetweenSegmentsAreIgnored) {
    Bytes file = fnRamps(16, 16, 3).fnMake();
    const Bytes extra = {1, 2, 3};
    file.insert(file.end() - 2, extra.begin(), extra.end());
    fnPut(file);
    EXPECT_EQ(fnRead().m_nMsgId, 0);
}

TEST_F(JpegFile, ASizeThatTheFileCannotHoldIsCorrupted) {
    Bytes file = fnRamps(16, 16, 1).fnMake();
    const Bytes frame = {0xFF, 0xC0, 0x00, 0x0B, 0x08};
    const auto at = std::search(file.begin(), file.end(), frame.begin(), frame.end());
    ASSERT_NE(at, file.end());
    std::fill_n(at + 5, 4, std::uint8_t{0xF0}); // 61,680 x 61,680
    fnPut(file);
    fnExpectRefused(-6);
}

TEST_F(JpegFile, TwelveBitSamplesAreNotSupported) {
    Bytes file = fnRamps(16, 16, 1).fnMake();
    const Bytes frame = {0xFF, 0xC0, 0x00, 0x0B, 0x08};
    const auto at = std::search(file.begin(), file.end(), frame.begin(), frame.end());
    ASSERT_NE(at, file.end());
    *(at + 4) = 12;
    fnPut(file);
    fnExpectRefused(-102);
}

TEST_F(JpegFile, MoreThan200ScansAreCorrupted) {
    TestJpeg jpeg = fnRamps(24, 16, 1);
    jpeg.m_bProgressive = true;
    jpeg.m_nScans = 200;
    fnPut(jpeg.fnMake());
    ASSERT_EQ(fnReadAsDescribed().m_nMsgId, 0);
    jpeg.m_nScans = 201;
    fnPut(jpeg.fnMake());
    fnExpectRefused(-6);
}

TEST_F(JpegFile, CoefficientsBeyondAGibibyteAreReportedAsOutOfMemory) {
    TestJpeg jpeg = fnRamps(16, 16, 1);
    jpeg.m_bProgressive = true;
    Bytes file = jpeg.fnMake();
    // Two bytes per coefficient. The file could hold them all.
    constexpr unsigned int kSide = 24000;
    ASSERT_NO_FATAL_FAILURE(fnClaimSize(file, 0xC2, kSide));
    file.resize(kSide * kSide / 512 + 1);
    fnExpectNoStorage(file, -1);
}

TEST_F(JpegFile, AnAbsurdSizeIsCorruptedAndTakesNoMemory) {
    for (const bool arithmetic : {false, true}) {
        TestJpeg jpeg = fnRamps(16, 16, 1);
        jpeg.m_bArithmetic = arithmetic;
        Bytes file = jpeg.fnMake();
        fnPut(file);
        ASSERT_EQ(fnReadAsDescribed().m_nMsgId, 0);
        ASSERT_NO_FATAL_FAILURE(fnClaimSize(file, arithmetic ? 0xC9 : 0xC0, 65500));
        fnExpectNoStorage(file, -6);
        m_World->m_pMemory->m_Reserve.fnFailNever();
        m_World->m_pScratch->m_CreateName.fnFailNever();
    }
}

TEST_F(JpegFile, AWrittenPictureReadsBackWithinTheErrorBoundOfItsQuality) {
    // Smooth ramps at quality 90 with halved chroma: no channel is off by more than 8.
    const TestJpeg ramps = fnRamps(131, 130, 3);
    for (const unsigned int bits : {4u, 8u, 16u, 24u, 32u}) {
        CqImage image(131, 130, bits, nullptr, 0);
        for (std::uint32_t y = 0; y < 130; ++y) {
            CqImageLine line;
            image.fnAccessLine(y, &line, false);
            const std::uint8_t* in = ramps.m_Samples.data() + y * 131 * 3;
            for (std::uint32_t x = 0; x < 131; ++x, in += 3) {
                if (bits <= 8)
                    line.LineBuffer[x * bits / 8] =
                        static_cast<std::uint8_t>(bits == 4 ? 0x77 : 40);
                else if (bits == 16) {
                    line.LineBuffer[2 * x] = static_cast<std::uint8_t>((in[0] & 0xF8) | in[1] >> 5);
                    line.LineBuffer[2 * x + 1] =
                        static_cast<std::uint8_t>((in[1] << 3 & 0xE0) | in[2] >> 3);
                } else
                    std::copy_n(in, 3, line.LineBuffer + x * (bits / 8) + (bits == 32));
            }
        }
        ASSERT_EQ(fnWrite(image, PICTURE_JPEG).m_nMsgId, 0);
        ASSERT_EQ(fnReadAsDescribed().m_nMsgId, 0);
        EXPECT_EQ(m_Image.BitCount, 24u);
        EXPECT_LE(fnFarthest(fnPixelsOf(m_Image), fnColorsOf(image)), 8) << bits;
    }
}

TEST_F(JpegFile, AGreyImageIsWrittenGrey) {
    CqImage image(33, 17, 8, q32GreyRamp, 0);
    for (std::uint32_t y = 0; y < 17; ++y) {
        CqImageLine line;
        image.fnAccessLine(y, &line, false);
        std::fill_n(line.LineBuffer, 33, static_cast<std::uint8_t>(y * 15));
    }
    image.DpiX = 300;
    image.DpiY = 150;
    ASSERT_EQ(fnWrite(image, PICTURE_JPEG).m_nMsgId, 0);
    ASSERT_EQ(fnReadAsDescribed().m_nMsgId, 0);
    EXPECT_EQ(m_Image.BitCount, 8u);
    EXPECT_TRUE(m_Image.fnIsGrayScale());
    EXPECT_LE(fnFarthest(fnPixelsOf(m_Image), fnPixelsOf(image)), 4);
    EXPECT_EQ(m_Image.DpiX, 300);
    EXPECT_EQ(m_Image.DpiY, 150);
}

TEST_F(JpegFile, QualityDeterminesTheSizeAndIsClampedToItsRange) {
    const auto image = fnMakeNoise(64, 64, 24, 1);
    std::vector<std::size_t> sizes;
    for (const unsigned int quality : {0u, 1u, 50u, 100u, 101u}) {
        CqPictureOptions options;
        options.m_nQuality = quality;
        ASSERT_EQ(fnWrite(*image, PICTURE_JPEG, options).m_nMsgId, 0);
        sizes.push_back(fnGet().size());
    }
    EXPECT_EQ(sizes[0], sizes[1]);
    EXPECT_LT(sizes[1], sizes[2]);
    EXPECT_LT(sizes[2], sizes[3]);
    EXPECT_EQ(sizes[3], sizes[4]);
}

TEST_F(JpegFile, APictureWiderThanTheFormatAllowsIsNotSaved) {
    CqImage image(70000, 1, 8, q32GreyRamp, 0);
    EXPECT_EQ(fnWrite(image, PICTURE_JPEG).m_nMsgId, -5);
    EXPECT_TRUE(m_World->m_pDisks->fnGetFiles().empty());
}

TEST_F(JpegFile, FeaturesThatTheImageDropsAreReported) {
    const auto isReduced = [&](const Bytes& file) {
        fnPut(file);
        const CqPictureResult result = fnRead();
        EXPECT_TRUE(result.fnIsDone());
        return result.m_bReduced;
    };
    TestJpeg jpeg;
    for (const int components : {1, 3, 4}) {
        jpeg.m_nComponents = components;
        jpeg.m_Samples.assign(8 * 8 * static_cast<std::size_t>(components), 77);
        EXPECT_EQ(isReduced(jpeg.fnMake()), components == 4) << components;
    }
    jpeg.m_nComponents = 3;
    // A segment of notes right after the start; its first two bytes are its length.
    for (const int marker : {0xE1, 0xE2, 0xED, 0xEC, 0xFE}) {
        Bytes file = jpeg.fnMake();
        const Bytes segment = {0xFF, static_cast<std::uint8_t>(marker), 0, 6, 'n', 'o', 't', 'e'};
        file.insert(file.begin() + 2, segment.begin(), segment.end());
        EXPECT_EQ(isReduced(file), marker <= 0xE2 || marker == 0xED) << marker;
    }
}

TEST_F(JpegFile, NotesOfAnyLengthAreSkipped) {
    TestJpeg jpeg;
    jpeg.m_nComponents = 3;
    jpeg.m_Samples.resize(8 * 8 * 3);
    for (std::size_t i = 0; i < jpeg.m_Samples.size(); ++i)
        jpeg.m_Samples[i] = static_cast<std::uint8_t>(i);
    const Bytes plain = jpeg.fnMake();
    fnPut(plain);
    ASSERT_TRUE(fnReadAsDescribed().fnIsDone());
    const Bytes pixels = fnPixelsOf(m_Image);
    for (const std::size_t length : {2u, 3u, 16384u, 65535u}) { // includes its own two bytes
        Bytes file = plain;
        for (int i = 0; i < 3; ++i) {
            Bytes segment(2 + length, 0xD9); // an end mark elsewhere
            segment[0] = 0xFF;
            segment[1] = 0xE1;
            segment[2] = static_cast<std::uint8_t>(length >> 8);
            segment[3] = static_cast<std::uint8_t>(length);
            file.insert(file.begin() + 2, segment.begin(), segment.end());
        }
        fnPut(file);
        ASSERT_TRUE(fnReadAsDescribed().fnIsDone()) << length;
        EXPECT_EQ(fnPixelsOf(m_Image), pixels) << length;
        for (const std::size_t end : {std::size_t{5}, length + 1, 3 * length + 7}) {
            fnPut(Bytes(file.begin(), file.begin() + static_cast<std::ptrdiff_t>(end)));
            EXPECT_FALSE(fnRead().fnIsDone()) << length << ", cut at " << end;
        }
    }
}

} // namespace
