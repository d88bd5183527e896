#include "plugins/CodecSamples_p.h"
#include "tests/plugins/CodecFiles.h"

#include <png.h>

#include <algorithm>
#include <functional>
#include <iterator>
#include <random>
#include <string_view>

namespace {

class PngFile : public PictureTest {
protected:
    /// A picture of random bytes, with a palette if it needs one.
    static TestPng fnNoise(std::uint32_t width, std::uint32_t height, int type, int depth) {
        TestPng png;
        png.m_nWidth = width;
        png.m_nHeight = height;
        png.m_nColorType = type;
        png.m_nDepth = depth;
        std::mt19937 random(width * 31 + static_cast<unsigned int>(type * 7 + depth));
        png.m_Rows.resize(fnPngRowBytes(png) * height);
        for (std::uint8_t& byte : png.m_Rows)
            byte = static_cast<std::uint8_t>(random());
        for (int i = 0; type == 3 && i < 1 << depth; ++i)
            png.m_Palette.push_back({static_cast<BYTE>(random()), static_cast<BYTE>(random()),
                                     static_cast<BYTE>(random()), 0});
        return png;
    }

    /// Sample `i` of a packed row, at its stored depth.
    static unsigned int fnSample(const TestPng& png, std::uint32_t y, std::size_t i) {
        const std::uint8_t* row = png.m_Rows.data() + y * fnPngRowBytes(png);
        if (png.m_nDepth == 16)
            return static_cast<unsigned int>(row[2 * i] << 8 | row[2 * i + 1]);
        const std::size_t perByte = 8 / static_cast<unsigned int>(png.m_nDepth);
        const auto shift = (perByte - 1 - i % perByte) * static_cast<unsigned int>(png.m_nDepth);
        return row[i / perByte] >> shift & ((1u << png.m_nDepth) - 1);
    }

    /// A sample converted to 8 bits by the plain rule: value x 255 / highest, rounded.
    static std::uint8_t fnTo8(unsigned int value, int depth) {
        const unsigned int highest = (1u << depth) - 1;
        return static_cast<std::uint8_t>((value * 255u + highest / 2) / highest);
    }

    /// The expected result of a picture of grey or colour, with or without alpha.
    static Bytes fnExpected(const TestPng& png) {
        const int samples = png.m_nColorType == 2   ? 3
                            : png.m_nColorType == 4 ? 2
                            : png.m_nColorType == 6 ? 4
                                                    : 1;
        Bytes all;
        for (std::uint32_t y = 0; y < png.m_nHeight; ++y) {
            for (std::size_t x = 0; x < png.m_nWidth; ++x) {
                std::uint8_t v[4] = {};
                for (int s = 0; s < samples; ++s)
                    v[s] = fnTo8(fnSample(png, y,
                                          x * static_cast<std::size_t>(samples) +
                                              static_cast<std::size_t>(s)),
                                 png.m_nDepth);
                if (png.m_nColorType == 0)
                    all.insert(all.end(), {v[0]});
                else if (png.m_nColorType == 2)
                    all.insert(all.end(), {v[0], v[1], v[2]});
                else if (png.m_nColorType == 4)
                    all.insert(all.end(), {v[1], v[0], v[0], v[0]});
                else
                    all.insert(all.end(), {v[3], v[0], v[1], v[2]});
            }
        }
        return all;
    }
};

TEST_F(PngFile, EveryKindOfColourIsReadPlainAndInterlaced) {
    const int kinds[][2] = {{0, 1},  {0, 2}, {0, 4},  {0, 8}, {0, 16}, {2, 8},
                            {2, 16}, {4, 8}, {4, 16}, {6, 8}, {6, 16}};
    const std::uint32_t sizes[][2] = {{1, 1}, {3, 2}, {5, 9}, {129, 131}, {257, 7}};
    for (const auto& [type, depth] : kinds) {
        for (const auto& [width, height] : sizes) {
            for (const bool interlaced : {false, true}) {
                TestPng png = fnNoise(width, height, type, depth);
                png.m_bInterlaced = interlaced;
                fnPut(png.fnMake());
                ASSERT_EQ(fnReadAsDescribed().m_nMsgId, 0) << type << ' ' << depth << ' ' << width;
                ASSERT_EQ(m_Image.BitCount, type == 0 ? 8u : type == 2 ? 24u : 32u);
                ASSERT_EQ(fnPixelsOf(m_Image), fnExpected(png))
                    << type << ' ' << depth << ' ' << width << 'x' << height << ' ' << interlaced;
                EXPECT_EQ(type == 0, m_Image.BitCount == 8 && m_Image.fnIsGrayScale());
            }
        }
    }
}

TEST_F(PngFile, APaletteStaysAPalette) {
    for (const int depth : {1, 2, 4, 8}) {
        for (const bool interlaced : {false, true}) {
            TestPng png = fnNoise(131, 66, 3, depth);
            png.m_bInterlaced = interlaced;
            fnPut(png.fnMake());
            ASSERT_EQ(fnReadAsDescribed().m_nMsgId, 0);
            EXPECT_EQ(m_Image.BitCount, depth == 8 ? 8u : 4u);
            EXPECT_EQ(fnPaletteOf(m_Image), png.m_Palette);
            Bytes expected;
            for (std::uint32_t y = 0; y < png.m_nHeight; ++y)
                for (std::size_t x = 0; x < png.m_nWidth; ++x)
                    expected.push_back(static_cast<std::uint8_t>(fnSample(png, y, x)));
            EXPECT_EQ(fnPixelsOf(m_Image), expected) << depth;
        }
    }
}

TEST_F(PngFile, TransparencyGives32Bits) {
    TestPng palette = fnNoise(9, 4, 3, 2);
    palette.m_Transparent = {0, 100};
    fnPut(palette.fnMake());
    ASSERT_EQ(fnReadAsDescribed().m_nMsgId, 0);
    ASSERT_EQ(m_Image.BitCount, 32u);
    Bytes expected;
    for (std::uint32_t y = 0; y < 4; ++y) {
        for (std::size_t x = 0; x < 9; ++x) {
            const unsigned int index = fnSample(palette, y, x);
            const RGBQUAD& color = palette.m_Palette[index];
            const std::uint8_t alpha = index < 2 ? palette.m_Transparent[index] : 255;
            expected.insert(expected.end(), {alpha, color.rgbRed, color.rgbGreen, color.rgbBlue});
        }
    }
    EXPECT_EQ(fnPixelsOf(m_Image), expected);

    TestPng grey;
    grey.m_nWidth = 2;
    grey.m_nColorType = 0;
    grey.m_Rows = {7, 8};
    grey.m_ClearGrey = {7};
    fnPut(grey.fnMake());
    ASSERT_EQ(fnReadAsDescribed().m_nMsgId, 0);
    EXPECT_EQ(fnPixelsOf(m_Image), (Bytes{0, 7, 7, 7, 255, 8, 8, 8}));

    TestPng color;
    color.m_nWidth = 2;
    color.m_Rows = {1, 2, 3, 1, 2, 4};
    color.m_ClearGrey = {1, 2, 3};
    fnPut(color.fnMake());
    ASSERT_EQ(fnReadAsDescribed().m_nMsgId, 0);
    EXPECT_EQ(fnPixelsOf(m_Image), (Bytes{0, 1, 2, 3, 255, 1, 2, 4}));
}

TEST_F(PngFile, TheClearColourOfA16BitPictureIsComparedAt16Bits) {
    TestPng png;
    png.m_nWidth = 2;
    png.m_nColorType = 0;
    png.m_nDepth = 16;
    png.m_Rows = {0x40, 0x00, 0x40, 0x01};
    png.m_ClearGrey = {0x4000};
    fnPut(png.fnMake());
    ASSERT_EQ(fnReadAsDescribed().m_nMsgId, 0);
    EXPECT_EQ(fnPixelsOf(m_Image), (Bytes{0, 64, 64, 64, 255, 64, 64, 64}));
}

TEST_F(PngFile, ResolutionAndTitleAreRead) {
    TestPng png = fnNoise(3, 3, 2, 8);
    png.m_nDotsX = 11811;
    png.m_nDotsY = 2835;
    png.m_Title = "The sea";
    for (const bool behind : {false, true}) {
        png.m_bTitleBehind = behind;
        fnPut(png.fnMake());
        ASSERT_EQ(fnRead().m_nMsgId, 0);
        EXPECT_EQ(m_Image.DpiX, 300);
        EXPECT_EQ(m_Image.DpiY, 72);
        EXPECT_STREQ(m_Image.Title, "The sea");
        EXPECT_EQ(m_Image.fnGetFioPlugin(), PICTURE_PNG);
    }
}

TEST_F(PngFile, WithoutAResolutionTheImageHasTheScreensResolution) {
    TestPng png = fnNoise(3, 3, 2, 8);
    for (const int unit : {0, 1}) { // an aspect ratio only; a resolution below one dot per inch
        png.m_nDotsX = png.m_nDotsY = unit == 0 ? 11811 : 10;
        png.m_nUnit = unit;
        fnPut(png.fnMake());
        m_Image.DpiX = m_Image.DpiY = 5;
        m_Image.Title = "old";
        ASSERT_EQ(fnReadAsDescribed().m_nMsgId, 0);
        EXPECT_EQ(m_Image.DpiX, 96);
        EXPECT_EQ(m_Image.DpiY, 96);
        EXPECT_STREQ(m_Image.Title, "") << "the title of an earlier picture is none of this one";
    }
}

TEST_F(PngFile, SamplesOf16BitsAreRoundedNotTruncated) {
    for (unsigned int value = 0; value < 65536; ++value)
        ASSERT_EQ(q32::fnScale16(static_cast<std::uint16_t>(value)), (value * 255 + 32767) / 65535);
}

TEST_F(PngFile, AHugeSizeInASmallFileIsCorruptedAndTakesNoMemory) {
    TestPng png = fnNoise(1, 1, 2, 8);
    Bytes file = png.fnMake();
    // 20,000 x 20,000 in the header, with the right checksum.
    const Bytes header = {0, 0, 0x4E, 0x20, 0, 0, 0x4E, 0x20, 8, 2, 0, 0, 0};
    std::copy(header.begin(), header.end(), file.begin() + 16);
    std::uint32_t crc = 0xFFFFFFFFu;
    for (std::size_t i = 12; i < 29; ++i) {
        crc ^= file[i];
        for (int bit = 0; bit < 8; ++bit)
            crc = crc >> 1 ^ (crc & 1 ? 0xEDB88320u : 0);
    }
    for (int i = 0; i < 4; ++i)
        file[29 + static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(~crc >> (24 - 8 * i));
    fnPut(file);
    m_World->m_pMemory->m_Reserve.fnFail(1, CqHeadlessCalls::kForever);
    const std::uint64_t reserved = m_World->m_pMemory->m_Reserve.fnGetCount();
    EXPECT_EQ(fnRead().m_nMsgId, -6);
    EXPECT_EQ(m_World->m_pMemory->m_Reserve.fnGetCount(), reserved);
}

TEST_F(PngFile, FeaturesThatTheImageDropsAreReported) {
    const auto partsOf = [&](const TestPng& png) {
        fnPut(png.fnMake());
        const CqPictureResult result = fnRead();
        EXPECT_TRUE(result.fnIsDone());
        EXPECT_EQ(result.m_bReduced, result.m_nParts != 0);
        return result.m_nParts;
    };
    const TestPng plain = fnNoise(5, 4, PNG_COLOR_TYPE_RGB, 8);
    EXPECT_EQ(partsOf(plain), 0u);
    EXPECT_EQ(partsOf(fnNoise(5, 4, PNG_COLOR_TYPE_RGB_ALPHA, 8)), 0u);
    TestPng titled = plain;
    titled.m_Title = "A title is kept";
    EXPECT_EQ(partsOf(titled), 0u);
    EXPECT_EQ(partsOf(fnNoise(5, 4, PNG_COLOR_TYPE_GRAY, 16)), PICTURE_PART_DEPTH);
    // A header, and one entry of noise: libpng refuses extreme compression ratios.
    Bytes profile(0x160);
    std::mt19937 random(1);
    std::generate(profile.begin() + 0x90, profile.end(),
                  [&] { return static_cast<std::uint8_t>(random()); });
    const auto put = [&](std::size_t at, std::string_view text) {
        std::copy(text.begin(), text.end(), profile.begin() + static_cast<std::ptrdiff_t>(at));
    };
    profile[2] = 1;
    profile[3] = 0x60;
    put(12, "mntrRGB XYZ ");
    put(36, "acsp");
    put(68, std::string_view("\0\0\xF6\xD6\0\1\0\0\0\0\xD3\x2D", 12));
    put(128, std::string_view("\0\0\0\1desc\0\0\0\x90\0\0\0\xD0", 16));
    Bytes notes = {'I', 'I', '*', 0, 8, 0, 0, 0, 0, 0};
    const auto putText = [](png_structp png, png_infop info, const char* key) {
        png_text text{};
        text.compression = PNG_TEXT_COMPRESSION_NONE;
        text.key = const_cast<char*>(key);
        text.text = const_cast<char*>("a note");
        text.text_length = 6;
        png_set_text(png, info, &text, 1);
    };
    TestPng program = plain;
    program.m_MoreChunks = [&](void* png, void* info) {
        putText(static_cast<png_structp>(png), static_cast<png_infop>(info), "Software");
    };
    EXPECT_EQ(partsOf(program), 0u) << "another one writes it now";
    const std::function<void(png_structp, png_infop)> chunks[] = {
        [&](png_structp png, png_infop info) {
            png_set_iCCP(png, info, "profile", PNG_COMPRESSION_TYPE_BASE, profile.data(), 0x160);
        },
        [&](png_structp png, png_infop info) {
            png_set_eXIf_1(png, info, static_cast<png_uint_32>(notes.size()), notes.data());
        },
        [&](png_structp png, png_infop info) { // an animation of two frames
            png_byte frames[] = {0, 0, 0, 2, 0, 0, 0, 0};
            png_unknown_chunk chunk = {{'a', 'c', 'T', 'L', 0}, frames, 8, PNG_HAVE_IHDR};
            png_set_keep_unknown_chunks(png, PNG_HANDLE_CHUNK_ALWAYS, chunk.name, 1);
            png_set_unknown_chunks(png, info, &chunk, 1);
        },
        [&](png_structp png, png_infop info) { putText(png, info, "Author"); },
        [&](png_structp png, png_infop info) { putText(png, info, "Copyright"); },
    };
    const PICTURE_PART kParts[] = {PICTURE_PART_PROFILE, PICTURE_PART_NOTES, PICTURE_PART_PAGES,
                                   PICTURE_PART_NOTES, PICTURE_PART_NOTES};
    for (std::size_t i = 0; i < std::size(chunks); ++i) {
        TestPng more = plain;
        more.m_MoreChunks = [&](void* png, void* info) {
            chunks[i](static_cast<png_structp>(png), static_cast<png_infop>(info));
        };
        EXPECT_EQ(partsOf(more), kParts[i]) << i;
    }
}

} // namespace
