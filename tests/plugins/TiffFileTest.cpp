#include "tests/plugins/CodecFiles.h"

#include <tiffio.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <iterator>
#include <random>

namespace {

class TiffFile : public PictureTest {
protected:
    static TestTiff fnNoise(std::uint32_t width, std::uint32_t height, int photometric, int samples,
                            int bits) {
        TestTiff tiff;
        tiff.m_nWidth = width;
        tiff.m_nHeight = height;
        tiff.m_nPhotometric = photometric;
        tiff.m_nSamples = samples;
        tiff.m_nBits = bits;
        std::mt19937 random(width + static_cast<unsigned int>(17 * photometric + samples * bits));
        const std::size_t rowBytes =
            (std::size_t{width} * static_cast<unsigned int>(samples * bits) + 7) / 8;
        tiff.m_Samples.resize(rowBytes * height);
        for (std::uint8_t& byte : tiff.m_Samples)
            byte = static_cast<std::uint8_t>(random());
        return tiff;
    }

    /// Sample `i` of row y, at its stored depth.
    static unsigned int fnSample(const TestTiff& tiff, std::uint32_t y, std::size_t i) {
        const auto bits = static_cast<unsigned int>(tiff.m_nBits);
        const std::size_t rowBytes =
            (std::size_t{tiff.m_nWidth} * static_cast<unsigned int>(tiff.m_nSamples) * bits + 7) /
            8;
        const std::uint8_t* row = tiff.m_Samples.data() + y * rowBytes;
        if (bits == 16)
            return static_cast<unsigned int>(row[2 * i] | row[2 * i + 1] << 8);
        const std::size_t perByte = 8 / bits;
        return row[i / perByte] >> (perByte - 1 - i % perByte) * bits & ((1u << bits) - 1);
    }

    static std::uint8_t fnTo8(unsigned int value, int depth) {
        const unsigned int highest = (1u << depth) - 1;
        return static_cast<std::uint8_t>((value * 255u + highest / 2) / highest);
    }

    /// The expected result of grey, colour and alpha; `order` gives the sample of each byte of a
    /// pixel. Where 0 is white, only the colour sample is inverted; alpha after it is unchanged.
    static Bytes fnExpected(const TestTiff& tiff, std::initializer_list<int> order) {
        Bytes all;
        const auto samples = static_cast<std::size_t>(tiff.m_nSamples);
        for (std::uint32_t y = 0; y < tiff.m_nHeight; ++y)
            for (std::size_t x = 0; x < tiff.m_nWidth; ++x)
                for (const int sample : order) {
                    const std::uint8_t value =
                        fnTo8(fnSample(tiff, y, x * samples + static_cast<std::size_t>(sample)),
                              tiff.m_nBits);
                    all.push_back(tiff.m_nPhotometric == PHOTOMETRIC_MINISWHITE && sample == 0
                                      ? static_cast<std::uint8_t>(255 - value)
                                      : value);
                }
        return all;
    }

    /// The colours of four inks, whatever samples follow.
    static Bytes fnExpectedOfInks(const TestTiff& tiff) {
        Bytes all;
        for (std::size_t i = 0; i < tiff.m_Samples.size();
             i += static_cast<std::size_t>(tiff.m_nSamples))
            for (std::size_t c = 0; c < 3; ++c)
                all.push_back(static_cast<std::uint8_t>(std::lround(
                    (255 - tiff.m_Samples[i + c]) * (255 - tiff.m_Samples[i + 3]) / 255.0)));
        return all;
    }

    /// The same picture with its samples plane by plane.
    static TestTiff fnApart(const TestTiff& tiff) {
        TestTiff apart = tiff;
        apart.m_bSeparate = true;
        apart.m_Samples.clear();
        const auto bytes = static_cast<std::size_t>(tiff.m_nBits / 8);
        const auto samples = static_cast<std::size_t>(tiff.m_nSamples);
        for (std::size_t s = 0; s < samples; ++s)
            for (std::size_t i = s * bytes; i < tiff.m_Samples.size(); i += samples * bytes)
                apart.m_Samples.insert(apart.m_Samples.end(), tiff.m_Samples.data() + i,
                                       tiff.m_Samples.data() + i + bytes);
        return apart;
    }

    void fnExpectPixels(const TestTiff& tiff, unsigned int bits, const Bytes& expected) {
        fnPut(tiff.fnMake());
        ASSERT_EQ(fnReadAsDescribed().m_nMsgId, 0);
        ASSERT_EQ(m_Image.BitCount, bits);
        ASSERT_EQ(fnPixelsOf(m_Image), expected);
        EXPECT_EQ(m_Image.fnGetFioPlugin(), PICTURE_TIFF);
    }
};

TEST_F(TiffFile, GreyIsReadAtEveryDepthInBothPolarities) {
    for (const int bits : {1, 2, 4, 8, 16}) {
        for (const int photometric : {PHOTOMETRIC_MINISBLACK, PHOTOMETRIC_MINISWHITE}) {
            SCOPED_TRACE(bits);
            const TestTiff tiff = fnNoise(131, 40, photometric, 1, bits);
            ASSERT_NO_FATAL_FAILURE(fnExpectPixels(tiff, 8, fnExpected(tiff, {0})));
            EXPECT_TRUE(m_Image.fnIsGrayScale());
        }
    }
}

TEST_F(TiffFile, ColourWithAndWithoutAlphaIsRead) {
    for (const int bits : {8, 16}) {
        const TestTiff rgb = fnNoise(133, 131, PHOTOMETRIC_RGB, 3, bits);
        ASSERT_NO_FATAL_FAILURE(fnExpectPixels(rgb, 24, fnExpected(rgb, {0, 1, 2})));
        TestTiff rgba = fnNoise(133, 20, PHOTOMETRIC_RGB, 4, bits);
        rgba.m_Extra = {EXTRASAMPLE_UNASSALPHA};
        ASSERT_NO_FATAL_FAILURE(fnExpectPixels(rgba, 32, fnExpected(rgba, {3, 0, 1, 2})));
        rgba.m_Extra = {EXTRASAMPLE_UNSPECIFIED};
        ASSERT_NO_FATAL_FAILURE(fnExpectPixels(rgba, 24, fnExpected(rgba, {0, 1, 2})));
    }
}

TEST_F(TiffFile, AlphaOfGreyIsTheSameInBothPolarities) {
    for (const int bits : {1, 2, 4, 8, 16}) {
        for (const int photometric : {PHOTOMETRIC_MINISBLACK, PHOTOMETRIC_MINISWHITE}) {
            SCOPED_TRACE(bits * 10 + photometric);
            TestTiff grey = fnNoise(133, 20, photometric, 2, bits);
            grey.m_Extra = {EXTRASAMPLE_UNASSALPHA};
            const Bytes expected = fnExpected(grey, {1, 0, 0, 0});
            ASSERT_NO_FATAL_FAILURE(fnExpectPixels(grey, 32, expected));
            if (bits >= 8) {
                ASSERT_NO_FATAL_FAILURE(fnExpectPixels(fnApart(grey), 32, expected));
            }
        }
    }
}

TEST_F(TiffFile, TilesPlanesCompressionAndByteOrderMakeNoDifference) {
    for (const int compression :
         {COMPRESSION_NONE, COMPRESSION_LZW, COMPRESSION_ADOBE_DEFLATE, COMPRESSION_PACKBITS}) {
        for (const bool tiled : {false, true}) {
            for (const int samples : {3, 4}) {
                SCOPED_TRACE(compression * 100 + samples * 10 + tiled);
                TestTiff tiff = fnNoise(150, 131, PHOTOMETRIC_RGB, samples, 8);
                const Bytes expected =
                    samples == 3 ? fnExpected(tiff, {0, 1, 2}) : fnExpected(tiff, {3, 0, 1, 2});
                const unsigned int bits = samples == 3 ? 24 : 32;
                if (samples == 4)
                    tiff.m_Extra = {EXTRASAMPLE_UNASSALPHA};
                tiff.m_nCompression = compression;
                tiff.m_nTileWidth = tiled ? 64 : 0;
                tiff.m_nTileHeight = 48;
                ASSERT_NO_FATAL_FAILURE(fnExpectPixels(tiff, bits, expected));
                TestTiff apart = fnApart(tiff);
                ASSERT_NO_FATAL_FAILURE(fnExpectPixels(apart, bits, expected));
                apart.m_bBigEndian = true;
                ASSERT_NO_FATAL_FAILURE(fnExpectPixels(apart, bits, expected));
            }
        }
    }
}

TEST_F(TiffFile, AlphaPremultipliedIntoTheColoursIsRemoved) {
    TestTiff tiff;
    tiff.m_nWidth = 3;
    tiff.m_nSamples = 4;
    tiff.m_nPhotometric = PHOTOMETRIC_RGB;
    tiff.m_Extra = {EXTRASAMPLE_ASSOCALPHA};
    tiff.m_Samples = {50, 100, 128, 128, 7, 8, 9, 0, 10, 20, 30, 255};
    const Bytes expected = {128, 100, 199, 255, 0, 7, 8, 9, 255, 10, 20, 30};
    ASSERT_NO_FATAL_FAILURE(fnExpectPixels(tiff, 32, expected));
    ASSERT_NO_FATAL_FAILURE(fnExpectPixels(fnApart(tiff), 32, expected));
}

TEST_F(TiffFile, AlphaPremultipliedIntoSamplesWhose0IsWhiteIsRemoved) {
    TestTiff tiff;
    tiff.m_nWidth = 4;
    tiff.m_nSamples = 2;
    tiff.m_nPhotometric = PHOTOMETRIC_MINISWHITE;
    tiff.m_Extra = {EXTRASAMPLE_ASSOCALPHA};
    tiff.m_Samples = {50, 128, 200, 128, 7, 0, 10, 255};
    // 50 * 255 / 128 is nearly 100; a sample above its alpha is clamped to it.
    const Bytes expected = {128, 155, 155, 155, 128, 0, 0, 0, 0, 248, 248, 248, 255, 245, 245, 245};
    ASSERT_NO_FATAL_FAILURE(fnExpectPixels(tiff, 32, expected));
    ASSERT_NO_FATAL_FAILURE(fnExpectPixels(fnApart(tiff), 32, expected));
}

TEST_F(TiffFile, APaletteStaysAPalette) {
    for (const int bits : {1, 2, 4, 8}) {
        for (const bool narrow : {false, true}) {
            for (const bool tiled : {false, true}) {
                TestTiff tiff = fnNoise(67, 35, PHOTOMETRIC_PALETTE, 1, bits);
                std::vector<std::uint16_t> channels[3];
                std::vector<RGBQUAD> palette;
                for (int i = 0; i < 1 << bits; ++i) {
                    const RGBQUAD color = {static_cast<BYTE>(i * 3), static_cast<BYTE>(255 - i),
                                           static_cast<BYTE>(i * 5 + 1), 0};
                    palette.push_back(color);
                    const int wide = narrow ? 1 : 257;
                    channels[0].push_back(static_cast<std::uint16_t>(color.rgbRed * wide));
                    channels[1].push_back(static_cast<std::uint16_t>(color.rgbGreen * wide));
                    channels[2].push_back(static_cast<std::uint16_t>(color.rgbBlue * wide));
                }
                tiff.m_MoreTags = [&](void* file) {
                    TIFFSetField(static_cast<TIFF*>(file), TIFFTAG_COLORMAP, channels[0].data(),
                                 channels[1].data(), channels[2].data());
                };
                tiff.m_nTileWidth = tiled ? 16 : 0;
                tiff.m_nTileHeight = 32;
                Bytes expected;
                for (std::uint32_t y = 0; y < tiff.m_nHeight; ++y)
                    for (std::size_t x = 0; x < tiff.m_nWidth; ++x)
                        expected.push_back(static_cast<std::uint8_t>(fnSample(tiff, y, x)));
                ASSERT_NO_FATAL_FAILURE(fnExpectPixels(tiff, bits == 8 ? 8 : 4, expected)) << bits;
                EXPECT_EQ(fnPaletteOf(m_Image), palette);
            }
        }
    }
}

TEST_F(TiffFile, InksBecomeColours) {
    TestTiff tiff = fnNoise(40, 30, PHOTOMETRIC_SEPARATED, 4, 8);
    const Bytes expected = fnExpectedOfInks(tiff);
    ASSERT_NO_FATAL_FAILURE(fnExpectPixels(tiff, 24, expected));
    ASSERT_NO_FATAL_FAILURE(fnExpectPixels(fnApart(tiff), 24, expected));
}

TEST_F(TiffFile, AlphaPremultipliedIntoInksOrIndicesIsIgnored) {
    for (const bool inks : {false, true}) {
        for (const bool tiled : {false, true}) {
            SCOPED_TRACE(inks * 10 + tiled);
            TestTiff tiff = fnNoise(331, 9, inks ? PHOTOMETRIC_SEPARATED : PHOTOMETRIC_PALETTE,
                                    inks ? 5 : 2, 8);
            tiff.m_Extra = {EXTRASAMPLE_ASSOCALPHA};
            tiff.m_nTileWidth = tiled ? 48 : 0;
            tiff.m_nTileHeight = 16;
            std::vector<std::uint16_t> channel(256);
            tiff.m_MoreTags = [&](void* file) {
                if (!inks)
                    TIFFSetField(static_cast<TIFF*>(file), TIFFTAG_COLORMAP, channel.data(),
                                 channel.data(), channel.data());
            };
            const Bytes expected = inks ? fnExpectedOfInks(tiff) : fnExpected(tiff, {0});
            ASSERT_NO_FATAL_FAILURE(fnExpectPixels(tiff, inks ? 24 : 8, expected));
            ASSERT_NO_FATAL_FAILURE(fnExpectPixels(fnApart(tiff), inks ? 24 : 8, expected));
        }
    }
}

TEST_F(TiffFile, LuminanceAndChromaBecomeColours) {
    // Grey has mid-range chroma here. The strips and rows of tiles are converted one by one.
    for (const bool tiled : {false, true}) {
        TestTiff tiff;
        tiff.m_nWidth = 70;
        tiff.m_nHeight = 50;
        tiff.m_nSamples = 3;
        tiff.m_nPhotometric = PHOTOMETRIC_YCBCR;
        tiff.m_nRowsPerStrip = 8;
        tiff.m_nTileWidth = tiled ? 32 : 0;
        tiff.m_nTileHeight = 32;
        tiff.m_MoreTags = [](void* file) {
            TIFFSetField(static_cast<TIFF*>(file), TIFFTAG_YCBCRSUBSAMPLING, 1, 1);
        };
        Bytes expected;
        for (std::uint32_t y = 0; y < 50; ++y)
            for (std::uint32_t x = 0; x < 70; ++x) {
                const auto grey = static_cast<std::uint8_t>(3 * x + y);
                tiff.m_Samples.insert(tiff.m_Samples.end(), {grey, 128, 128});
                expected.insert(expected.end(), 3, grey);
            }
        ASSERT_NO_FATAL_FAILURE(fnExpectPixels(tiff, 24, expected));
    }
}

TEST_F(TiffFile, EmbeddedJpegDataIsReadAndRefusedWhenBroken) {
    TestTiff tiff;
    tiff.m_nWidth = tiff.m_nHeight = 64;
    tiff.m_nSamples = 3;
    tiff.m_nPhotometric = PHOTOMETRIC_YCBCR;
    tiff.m_nCompression = COMPRESSION_JPEG;
    tiff.m_nRowsPerStrip = 16;
    tiff.m_MoreTags = [](void* file) {
        TIFFSetField(static_cast<TIFF*>(file), TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB);
    };
    for (int i = 0; i < 64 * 64; ++i)
        tiff.m_Samples.insert(tiff.m_Samples.end(),
                              {static_cast<std::uint8_t>(i % 64 * 4), 90, 60});
    Bytes file = tiff.fnMake();
    fnPut(file);
    ASSERT_EQ(fnReadAsDescribed().m_nMsgId, 0);
    ASSERT_EQ(m_Image.BitCount, 24u);
    const Bytes pixels = fnPixelsOf(m_Image);
    ASSERT_EQ(pixels.size(), tiff.m_Samples.size());
    for (std::size_t i = 0; i < pixels.size(); ++i)
        ASSERT_NEAR(pixels[i], tiff.m_Samples[i], 24);
    // Entropy-coded data overwritten with end marks: a decoder would fill the rest with grey.
    for (std::size_t i = 200; i + 1 < 400; i += 2) {
        file[i] = 0xFF;
        file[i + 1] = 0xD9;
    }
    fnPut(file);
    fnExpectRefused(-6);
}

TEST_F(TiffFile, AnAbsurdSizeIsCorruptedAndTakesNoMemory) {
    for (const int compression : {COMPRESSION_NONE, COMPRESSION_LZW, COMPRESSION_CCITTFAX4}) {
        TestTiff tiff = fnNoise(16, 3, PHOTOMETRIC_MINISWHITE, 1, 1);
        tiff.m_nCompression = compression;
        Bytes file = tiff.fnMake();
        // The entries of width and height: tag, type of 16 or 32 bits, count and value.
        for (const std::uint8_t tag : Bytes{0, 1}) {
            for (const std::uint8_t type : Bytes{3, 4}) {
                const Bytes entry = {tag, 1, type, 0, 1, 0, 0, 0};
                auto at = std::search(file.begin(), file.end(), entry.begin(), entry.end());
                if (at == file.end())
                    continue;
                *(at + 8) = *(at + 9) = 0xFA;
            }
        }
        fnPut(file);
        m_World->m_pMemory->m_Reserve.fnFail(1, CqHeadlessCalls::kForever);
        m_World->m_pScratch->m_CreateName.fnFail(1, CqHeadlessCalls::kForever);
        EXPECT_EQ(fnRead().m_nMsgId, -6) << compression;
    }
}

TEST_F(TiffFile, ResolutionAndTitleAreRead) {
    TestTiff tiff = fnNoise(5, 5, PHOTOMETRIC_RGB, 3, 8);
    const struct {
        int m_nUnit;
        double m_nValue;
        int m_nExpected;
    } cases[] = {
        {RESUNIT_INCH, 299.6, 300}, {RESUNIT_CENTIMETER, 100, 254}, {RESUNIT_NONE, 300, 96}};
    for (const auto& one : cases) {
        tiff.m_MoreTags = [&](void* file) {
            auto* handle = static_cast<TIFF*>(file);
            TIFFSetField(handle, TIFFTAG_RESOLUTIONUNIT, one.m_nUnit);
            TIFFSetField(handle, TIFFTAG_XRESOLUTION, one.m_nValue);
            TIFFSetField(handle, TIFFTAG_YRESOLUTION, one.m_nValue);
            TIFFSetField(handle, TIFFTAG_IMAGEDESCRIPTION, "described");
        };
        fnPut(tiff.fnMake());
        ASSERT_EQ(fnReadAsDescribed().m_nMsgId, 0);
        EXPECT_EQ(m_Image.DpiX, one.m_nExpected);
        EXPECT_EQ(m_Image.DpiY, one.m_nExpected);
        EXPECT_STREQ(m_Image.Title, "described");
    }
    tiff.m_MoreTags = [](void* file) {
        TIFFSetField(static_cast<TIFF*>(file), TIFFTAG_DOCUMENTNAME, "named");
        TIFFSetField(static_cast<TIFF*>(file), TIFFTAG_IMAGEDESCRIPTION, "described");
    };
    fnPut(tiff.fnMake());
    ASSERT_EQ(fnReadAsDescribed().m_nMsgId, 0);
    EXPECT_STREQ(m_Image.Title, "named");
}

TEST_F(TiffFile, FloatingPointAndOddSizedSamplesAreNotSupported) {
    TestTiff tiff = fnNoise(8, 8, PHOTOMETRIC_MINISBLACK, 1, 32);
    fnPut(tiff.fnMake());
    fnExpectRefused(-102);
    tiff.m_MoreTags = [](void* file) {
        TIFFSetField(static_cast<TIFF*>(file), TIFFTAG_SAMPLEFORMAT, SAMPLEFORMAT_IEEEFP);
    };
    fnPut(tiff.fnMake());
    fnExpectRefused(-102);
}

TEST_F(TiffFile, FeaturesThatTheImageDropsAreReported) {
    const auto partsOf = [&](const TestTiff& tiff) {
        fnPut(tiff.fnMake());
        const CqPictureResult result = fnRead();
        EXPECT_TRUE(result.fnIsDone());
        EXPECT_EQ(result.m_bReduced, result.m_nParts != 0);
        return result.m_nParts;
    };
    const TestTiff plain = fnNoise(9, 7, PHOTOMETRIC_RGB, 3, 8);
    EXPECT_EQ(partsOf(plain), 0u);
    EXPECT_EQ(partsOf(fnNoise(9, 7, PHOTOMETRIC_MINISWHITE, 1, 1)), 0u);
    TestTiff alpha = fnNoise(9, 7, PHOTOMETRIC_RGB, 4, 8);
    alpha.m_Extra = {EXTRASAMPLE_UNASSALPHA};
    EXPECT_EQ(partsOf(alpha), 0u);
    alpha.m_Extra = {EXTRASAMPLE_UNSPECIFIED};
    EXPECT_EQ(partsOf(alpha), PICTURE_PART_CHANNELS) << "the fourth channel is passed over";
    EXPECT_EQ(partsOf(fnNoise(9, 7, PHOTOMETRIC_RGB, 3, 16)), PICTURE_PART_DEPTH);
    EXPECT_EQ(partsOf(fnNoise(9, 7, PHOTOMETRIC_MINISBLACK, 1, 16)), PICTURE_PART_DEPTH);
    EXPECT_EQ(partsOf(fnNoise(9, 7, PHOTOMETRIC_SEPARATED, 4, 8)), PICTURE_PART_CHANNELS);
    TestTiff pages = plain;
    pages.m_nPages = 2;
    EXPECT_EQ(partsOf(pages), PICTURE_PART_PAGES);
    EXPECT_EQ(m_Image.Width, 9u);
    TestTiff described = plain;
    described.m_MoreTags = [](void* file) {
        TIFFSetField(static_cast<TIFF*>(file), TIFFTAG_IMAGEDESCRIPTION, "the title");
    };
    EXPECT_EQ(partsOf(described), 0u);
    const std::function<void(TIFF*)> tags[] = {
        [](TIFF* file) { TIFFSetField(file, TIFFTAG_ORIENTATION, ORIENTATION_RIGHTTOP); },
        [](TIFF* file) { TIFFSetField(file, TIFFTAG_ICCPROFILE, 4, "prof"); },
        [](TIFF* file) { TIFFSetField(file, TIFFTAG_XMLPACKET, 4, "<x/>"); },
        [](TIFF* file) { TIFFSetField(file, TIFFTAG_RICHTIFFIPTC, 1, "iptc"); },
        [](TIFF* file) { TIFFSetField(file, TIFFTAG_PHOTOSHOP, 4, "8BIM"); },
        [](TIFF* file) { TIFFSetField(file, TIFFTAG_ARTIST, "a person"); },
        [](TIFF* file) { TIFFSetField(file, TIFFTAG_COPYRIGHT, "a person's"); },
        [](TIFF* file) {
            TIFFSetField(file, TIFFTAG_DOCUMENTNAME, "the title");
            TIFFSetField(file, TIFFTAG_IMAGEDESCRIPTION, "more");
        },
        [](TIFF* file) { TIFFSetField(file, TIFFTAG_EXIFIFD, std::uint64_t{8}); },
        [](TIFF* file) { TIFFSetField(file, TIFFTAG_GPSIFD, std::uint64_t{8}); },
    };
    for (std::size_t i = 0; i < std::size(tags); ++i) {
        const PICTURE_PART part = i == 0   ? PICTURE_PART_ORIENTATION
                                  : i == 1 ? PICTURE_PART_PROFILE
                                           : PICTURE_PART_NOTES;
        TestTiff tagged = plain;
        tagged.m_MoreTags = [&](void* file) { tags[i](static_cast<TIFF*>(file)); };
        EXPECT_EQ(partsOf(tagged), part) << i;
    }
}

} // namespace
