#include "plugins/TiffWriting_p.h"
#include "tests/plugins/CodecFiles.h"
#include "tests/plugins/TiffAllocations.h"
#include "tests/support/FailingAllocator.h"

#include <tiffio.h>

#include <string>

namespace {

class TiffFailure : public PictureTest {
protected:
    /// Reads the file with each allocation of libtiff failing in turn: there is a message and no
    /// picture, or the same picture.
    void fnFailEachBlockOfARead(const Bytes& file) {
        fnPut(file);
        ASSERT_EQ(fnRead().m_nMsgId, 0);
        const Bytes pixels = fnPixelsOf(m_Image);
        const std::string title(m_Image.Title);
        std::size_t refused = 0;
        for (std::size_t nth = 1;; ++nth) {
            CqImage image;
            const TiffAllocations blocks(nth);
            const CqPictureResult result = q32ReadPicture(kPath, image);
            if (!blocks.fnHappened())
                break;
            if (result.fnIsDone()) {
                EXPECT_EQ(fnPixelsOf(image), pixels) << nth;
                EXPECT_EQ(std::string(image.Title), title) << nth;
            } else {
                ++refused;
                EXPECT_TRUE(result.m_nMsgId == -1 || result.m_nMsgId == -6) << result.m_nMsgId;
                EXPECT_EQ(image.TileMap, nullptr);
            }
        }
        EXPECT_GT(refused, 3u);
    }

    static TestTiff fnPicture(int photometric, int samples) {
        TestTiff tiff;
        tiff.m_nWidth = tiff.m_nHeight = 20;
        tiff.m_nPhotometric = photometric;
        tiff.m_nSamples = samples;
        for (int i = 0; i < 20 * 20 * samples; ++i)
            tiff.m_Samples.push_back(static_cast<std::uint8_t>(i * 7));
        return tiff;
    }
};

TEST_F(TiffFailure, EachBlockThatLibtiffIsRefusedFailsTheWriteOrMakesNoDifference) {
    for (const unsigned int bits : {4u, 8u, 16u, 24u, 32u}) {
        for (const PICTURE_COMPRESSION compression :
             {PICTURE_LZW, PICTURE_DEFLATE, PICTURE_UNCOMPRESSED}) {
            const auto image = fnMakeNoise(60, 50, bits, 1);
            image->Title = "the title";
            image->DpiX = image->DpiY = 300;
            CqPictureOptions options;
            options.m_eTiffCompression = compression;
            ASSERT_TRUE(fnWrite(*image, PICTURE_TIFF, options).fnIsDone());
            const std::string good = fnGet();
            std::size_t refused = 0;
            for (std::size_t nth = 1;; ++nth) {
                fnPut("before");
                const TiffAllocations blocks(nth);
                const CqPictureResult result = fnWrite(*image, PICTURE_TIFF, options);
                if (!blocks.fnHappened())
                    break;
                refused += !result.fnIsDone();
                EXPECT_TRUE(fnGet() == (result.fnIsDone() ? good : "before"))
                    << bits << ", block " << nth;
            }
            EXPECT_GT(refused, 5u);
        }
    }
}

TEST_F(TiffFailure, EachBlockThatLibtiffIsRefusedFailsTheReadOrMakesNoDifference) {
    TestTiff rgba = fnPicture(PHOTOMETRIC_RGB, 4);
    rgba.m_Extra = {EXTRASAMPLE_ASSOCALPHA};
    rgba.m_nCompression = COMPRESSION_LZW;
    rgba.m_MoreTags = [](void* file) {
        TIFFSetField(static_cast<TIFF*>(file), TIFFTAG_DOCUMENTNAME, "the title");
        TIFFSetField(static_cast<TIFF*>(file), TIFFTAG_PREDICTOR, PREDICTOR_HORIZONTAL);
    };
    fnFailEachBlockOfARead(rgba.fnMake());

    const std::vector<std::uint16_t> channel(256, 0x4321);
    TestTiff palette = fnPicture(PHOTOMETRIC_PALETTE, 1);
    palette.m_MoreTags = [&](void* file) {
        TIFFSetField(static_cast<TIFF*>(file), TIFFTAG_COLORMAP, channel.data(), channel.data(),
                     channel.data());
    };
    fnFailEachBlockOfARead(palette.fnMake());

    TestTiff lab = fnPicture(PHOTOMETRIC_CIELAB, 3);
    lab.m_MoreTags = [](void* file) {
        const float white[2] = {0.31F, 0.33F};
        TIFFSetField(static_cast<TIFF*>(file), TIFFTAG_WHITEPOINT, white);
    };
    fnFailEachBlockOfARead(lab.fnMake());

    TestTiff chroma = fnPicture(PHOTOMETRIC_YCBCR, 3);
    chroma.m_MoreTags = [](void* file) {
        const float coefficients[3] = {0.3F, 0.5F, 0.2F};
        const float range[6] = {16, 235, 128, 240, 128, 240};
        auto* tiff = static_cast<TIFF*>(file);
        TIFFSetField(tiff, TIFFTAG_YCBCRSUBSAMPLING, 1, 1);
        TIFFSetField(tiff, TIFFTAG_YCBCRCOEFFICIENTS, coefficients);
        TIFFSetField(tiff, TIFFTAG_REFERENCEBLACKWHITE, range);
    };
    fnFailEachBlockOfARead(chroma.fnMake());
}

TEST_F(TiffFailure, BytesOfAWideRowExceed32Bits) {
    using q32::fnTiffRowBytes;
    EXPECT_EQ(fnTiffRowBytes(1431655766, 16).fnGet(), 4294967298u)
        << "a 16-bit image of three bytes";
    EXPECT_EQ(fnTiffRowBytes(2147483647, 24).fnGet(), 6442450941u);
    EXPECT_EQ(fnTiffRowBytes(2147483647, 32).fnGet(), 8589934588u);
    EXPECT_EQ(fnTiffRowBytes(4294967295, 4).fnGet(), 2147483648u);
    EXPECT_EQ(fnTiffRowBytes(5, 4).fnGet(), 3u);
    EXPECT_EQ(fnTiffRowBytes(5, 8).fnGet(), 5u);
}

TEST_F(TiffFailure, TheWriterAllocatesARowOfThatSize) {
    CqImage image(1, 1, 16, nullptr, 0);
    image.Width = 1431655766; // without pixels, which the writer reads only after that
    const CqBlockWatch blocks({});
    EXPECT_EQ(fnWrite(image, PICTURE_TIFF).m_nMsgId, -1);
    EXPECT_EQ(CqBlockWatch::fnLargestOther(), 4294967298u);
}

} // namespace
