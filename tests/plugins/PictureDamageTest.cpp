#include "tests/plugins/CodecFiles.h"

#include <tiffio.h>

#include <random>

namespace {

class PictureDamage : public PictureTest {
protected:
    /// Small files of every format and of the kinds with special handling.
    std::vector<Bytes> fnMakeFiles() {
        std::vector<Bytes> files;
        const auto image = fnMakeNoise(11, 9, 24, 1);
        const auto palette = fnMakeNoise(11, 9, 4, 2);
        for (const PICTURE_FORMAT format : {PICTURE_PNG, PICTURE_TIFF, PICTURE_BMP, PICTURE_JPEG}) {
            for (CqImage* each : {image.get(), palette.get()}) {
                EXPECT_TRUE(fnWrite(*each, format).fnIsDone());
                const std::string file = fnGet();
                files.emplace_back(file.begin(), file.end());
            }
        }
        TestPng png;
        png.m_nWidth = png.m_nHeight = 9;
        png.m_nColorType = 6;
        png.m_bInterlaced = true;
        png.m_Title = "title";
        png.m_Rows.assign(9 * 9 * 4, 77);
        files.push_back(png.fnMake());
        TestJpeg jpeg;
        jpeg.m_nWidth = jpeg.m_nHeight = 20;
        jpeg.m_bProgressive = true;
        for (int i = 0; i < 20 * 20 * 3; ++i)
            jpeg.m_Samples.push_back(static_cast<std::uint8_t>(i * i));
        files.push_back(jpeg.fnMake());
        TestTiff tiff;
        tiff.m_nWidth = tiff.m_nHeight = 20;
        tiff.m_nSamples = 3;
        tiff.m_nPhotometric = PHOTOMETRIC_RGB;
        tiff.m_Samples.assign(20 * 20 * 3, 5);
        for (const bool tiled : {false, true}) {
            tiff.m_nTileWidth = tiff.m_nTileHeight = tiled ? 16 : 0;
            tiff.m_bSeparate = tiled;
            tiff.m_nCompression = tiled ? COMPRESSION_LZW : COMPRESSION_ADOBE_DEFLATE;
            files.push_back(tiff.fnMake());
        }
        Bytes rle = {'B', 'M', 0, 0, 0, 0, 0, 0, 0, 0, 62, 0, 0, 0, 40, 0, 0, 0, 9, 0,
                     0,   0,   3, 0, 0, 0, 1, 0, 8, 0, 1,  0, 0, 0, 0,  0, 0, 0, 0, 0,
                     0,   0,   0, 0, 0, 0, 2, 0, 0, 0, 0,  0, 0, 0, 1,  2, 3, 0, 4, 5,
                     6,   0,   9, 1, 0, 0, 0, 3, 1, 0, 1,  0, 6, 1, 0,  0, 9, 0, 0, 1};
        files.push_back(rle);
        return files;
    }

    /// Reads, and checks only what holds for every result.
    void fnReadAnyhow() {
        CqImage image;
        const CqPictureResult result = q32ReadPicture(kPath, image);
        if (result.fnIsDone()) {
            EXPECT_NE(image.TileMap, nullptr);
        } else {
            EXPECT_EQ(image.TileMap, nullptr);
            EXPECT_FALSE(result.m_bAborted);
            const int id = result.m_nMsgId;
            EXPECT_TRUE(id == -6 || id == -1 || id == -102 || id == -11) << id;
        }
    }
};

TEST_F(PictureDamage, AFileTruncatedAtAnyByteFailsCleanlyOrGivesTheSamePicture) {
    for (const Bytes& file : fnMakeFiles()) {
        fnPut(file);
        ASSERT_TRUE(fnRead().fnIsDone());
        const Bytes whole = fnPixelsOf(m_Image);
        for (std::size_t length = 0; length < file.size(); ++length) {
            fnPut(Bytes(file.begin(), file.begin() + static_cast<std::ptrdiff_t>(length)));
            CqImage image;
            const CqPictureResult result = q32ReadPicture(kPath, image);
            if (result.fnIsDone()) {
                ASSERT_EQ(fnPixelsOf(image), whole) << length;
            } else {
                const int expected = length == 0 ? -11 : result.m_nMsgId;
                ASSERT_EQ(result.m_nMsgId, expected);
                ASSERT_TRUE(expected == -11 || expected == -6 || (expected == -102 && length < 8))
                    << expected << " at " << length << " of " << file.size();
                ASSERT_EQ(image.TileMap, nullptr);
            }
        }
    }
}

TEST_F(PictureDamage, ChangedBytesAreHarmless) {
    std::mt19937 random(20);
    for (const Bytes& file : fnMakeFiles()) {
        for (int round = 0; round < 400; ++round) {
            Bytes changed = file;
            const auto changes = static_cast<unsigned int>(1 + random() % 6);
            for (unsigned int i = 0; i < changes; ++i) {
                std::uint8_t& byte = changed[random() % changed.size()];
                const std::uint8_t values[] = {static_cast<std::uint8_t>(random()), 0, 0xFF, 0x7F,
                                               static_cast<std::uint8_t>(byte ^ 1 << random() % 8)};
                byte = values[random() % 5];
            }
            fnPut(changed);
            fnReadAnyhow();
        }
    }
}

TEST_F(PictureDamage, ChangedHeadersAreHarmless) {
    std::mt19937 random(21);
    for (const Bytes& file : fnMakeFiles()) {
        for (int round = 0; round < 400; ++round) {
            Bytes changed = file;
            changed[2 + random() % std::min<std::size_t>(changed.size() - 2, 64)] =
                static_cast<std::uint8_t>(random());
            fnPut(changed);
            fnReadAnyhow();
        }
    }
}

TEST_F(PictureDamage, EveryLayoutOfATiffIsReadOrRefused) {
    const std::vector<std::uint16_t> map(65536, 0x1234);
    std::mt19937 random(23);
    TestTiff tiff;
    tiff.m_nWidth = 48;
    tiff.m_nHeight = 5;
    tiff.m_nTileHeight = 16;
    tiff.m_Samples.resize(48 * 5 * 5 * 2); // at most five samples of 16 bits
    for (std::uint8_t& byte : tiff.m_Samples)
        byte = static_cast<std::uint8_t>(random());
    tiff.m_MoreTags = [&](void* handle) {
        auto* file = static_cast<TIFF*>(handle);
        if (tiff.m_nPhotometric == PHOTOMETRIC_PALETTE)
            TIFFSetField(file, TIFFTAG_COLORMAP, map.data(), map.data(), map.data());
        if (tiff.m_nPhotometric == PHOTOMETRIC_YCBCR)
            TIFFSetField(file, TIFFTAG_YCBCRSUBSAMPLING, 1, 1);
    };
    // Strips, tiles and compression make no difference to the pixels of one planar layout, if
    // they are read: libtiff's conversion refuses most small tiles without compression.
    int read = 0;
    const auto expectSame = [&] {
        for (const bool separate : {false, true}) {
            tiff.m_bSeparate = separate;
            Bytes pixels;
            for (int way = 0; way < 4; ++way) {
                tiff.m_nTileWidth = way % 2 == 0 ? 0 : 16;
                tiff.m_nCompression = way < 2 ? COMPRESSION_NONE : COMPRESSION_LZW;
                fnPut(tiff.fnMake());
                CqImage image;
                const int id = q32ReadPicture(kPath, image).m_nMsgId;
                ASSERT_TRUE(id == 0 || id == -6 || id == -102) << id;
                ASSERT_EQ(image.TileMap != nullptr, id == 0);
                if (id != 0)
                    continue;
                ++read;
                const Bytes own = fnPixelsOf(image);
                if (pixels.empty())
                    pixels = own;
                ASSERT_EQ(own, pixels) << way;
            }
        }
    };
    for (const int photometric :
         {PHOTOMETRIC_MINISWHITE, PHOTOMETRIC_MINISBLACK, PHOTOMETRIC_RGB, PHOTOMETRIC_PALETTE,
          PHOTOMETRIC_MASK, PHOTOMETRIC_SEPARATED, PHOTOMETRIC_YCBCR, PHOTOMETRIC_CIELAB})
        for (int samples = 1; samples <= 5; ++samples)
            for (int extra = -1; extra <= EXTRASAMPLE_UNASSALPHA; ++extra)
                for (const int bits : {1, 2, 4, 8, 16}) {
                    if (photometric == PHOTOMETRIC_YCBCR && samples != 3)
                        continue; // libtiff can't write it
                    tiff.m_nPhotometric = photometric;
                    tiff.m_nSamples = samples;
                    tiff.m_Extra.clear();
                    if (extra >= 0)
                        tiff.m_Extra.push_back(static_cast<std::uint16_t>(extra));
                    tiff.m_nBits = bits;
                    SCOPED_TRACE(photometric * 1000 + samples * 100 + bits);
                    SCOPED_TRACE(extra);
                    ASSERT_NO_FATAL_FAILURE(expectSame());
                }
    EXPECT_GT(read, 1000);
}

TEST_F(PictureDamage, PartsOfFilesPutTogetherAreHarmless) {
    std::mt19937 random(22);
    const std::vector<Bytes> files = fnMakeFiles();
    for (int round = 0; round < 1000; ++round) {
        Bytes mixed = files[random() % files.size()];
        const Bytes& other = files[random() % files.size()];
        const std::size_t at = random() % mixed.size();
        const std::size_t from = random() % other.size();
        const std::size_t count = std::min<std::size_t>(random() % 64, other.size() - from);
        mixed.insert(mixed.begin() + static_cast<std::ptrdiff_t>(at),
                     other.begin() + static_cast<std::ptrdiff_t>(from),
                     other.begin() + static_cast<std::ptrdiff_t>(from + count));
        fnPut(mixed);
        fnReadAnyhow();
    }
}

} // namespace
