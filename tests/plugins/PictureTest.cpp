#include "tests/plugins/PictureTest.h"

#include "q32Base/image/CqImageLine.h"
#include "q32Base/module/Module.h"

#include <random>

namespace {

/// Attaches the library in the world before the first image.
std::shared_ptr<CqHeadlessWorld> fnStart() {
    auto world = q32HeadlessWorld();
    q32Attach(world->fnPlatform());
    return world;
}

} // namespace

PictureTest::PictureTest() : m_World(fnStart()), m_Image(*new CqImage), m_pImage(&m_Image) {}

PictureTest::~PictureTest() {
    m_pImage.reset();
    EXPECT_EQ(m_World->m_pDisks->fnGetOpenFiles(), 0u);
    q32Detach();
    EXPECT_TRUE(m_World->m_pMisuses->fnGetAll().empty());
}

void PictureTest::fnExpectRefused(int message) {
    m_Image.fnAlloc(3, 2, 8, nullptr, 0);
    m_Image.Title = "kept";
    m_Image.DpiX = 77;
    m_Image.fnSetFioPlugin(99);
    const CqTileMap* map = m_Image.TileMap;
    const CqPictureResult result = fnRead();
    EXPECT_EQ(result.m_nMsgId, message);
    EXPECT_FALSE(result.m_bAborted);
    EXPECT_FALSE(result.fnIsDone());
    EXPECT_STREQ(result.m_strPath, kPath);
    EXPECT_EQ(m_Image.TileMap, map);
    EXPECT_EQ(m_Image.Width, 3u);
    EXPECT_STREQ(m_Image.Title, "kept");
    EXPECT_EQ(m_Image.DpiX, 77);
    EXPECT_EQ(m_Image.fnGetFioPlugin(), 99u);
}

CqPictureResult PictureTest::fnReadAsDescribed() {
    const CqPictureResult result = fnRead();
    EXPECT_TRUE(result.fnIsDone());
    CqPictureFacts facts;
    const CqPictureResult described = q32DescribePicture(kPath, facts);
    EXPECT_TRUE(described.fnIsDone());
    EXPECT_EQ(described.m_bReduced, result.m_bReduced);
    EXPECT_EQ(described.m_nParts, result.m_nParts);
    EXPECT_EQ(facts.m_eFormat, m_Image.fnGetFioPlugin());
    EXPECT_EQ(facts.m_nWidth, m_Image.Width);
    EXPECT_EQ(facts.m_nHeight, m_Image.Height);
    EXPECT_EQ(facts.m_nBitCount, m_Image.BitCount);
    EXPECT_EQ(facts.m_nColors, m_Image.PaletteCount);
    EXPECT_EQ(facts.m_bGrey, m_Image.BitCount == 8 && m_Image.fnIsGrayScale());
    EXPECT_EQ(facts.m_nDpiX, m_Image.DpiX);
    EXPECT_EQ(facts.m_nDpiY, m_Image.DpiY);
    EXPECT_STREQ(facts.m_strTitle, m_Image.Title);
    return result;
}

Bytes fnRowOf(CqImage& image, std::uint32_t y) {
    CqImageLine line;
    image.fnAccessLine(y, &line, true);
    if (image.BitCount != 4)
        return {line.LineBuffer, line.LineBuffer + line.RowBytes};
    Bytes row(image.Width);
    for (std::uint32_t x = 0; x < image.Width; ++x)
        row[x] = static_cast<std::uint8_t>(line.LineBuffer[x / 2] >> (x % 2 == 0 ? 4 : 0) & 0x0F);
    return row;
}

Bytes fnPixelsOf(CqImage& image) {
    Bytes all;
    for (std::uint32_t y = 0; y < image.Height; ++y) {
        const Bytes row = fnRowOf(image, y);
        all.insert(all.end(), row.begin(), row.end());
    }
    return all;
}

Bytes fnColorsOf(CqImage& image) {
    const Bytes pixels = fnPixelsOf(image);
    std::vector<RGBQUAD> palette = fnPaletteOf(image);
    palette.resize(256);
    const std::size_t step = image.BitCount < 8 ? 1 : image.BitCount / 8;
    Bytes colors;
    for (std::size_t at = 0; at < pixels.size(); at += step) {
        const std::uint8_t* p = pixels.data() + at;
        if (image.BitCount <= 8) {
            const RGBQUAD& color = palette[*p];
            colors.insert(colors.end(), {color.rgbRed, color.rgbGreen, color.rgbBlue});
        } else if (image.BitCount == 16) {
            const int value = p[0] << 8 | p[1];
            colors.insert(colors.end(), {static_cast<std::uint8_t>((value >> 11 & 31) << 3),
                                         static_cast<std::uint8_t>((value >> 5 & 63) << 2),
                                         static_cast<std::uint8_t>((value & 31) << 3)});
        } else {
            colors.insert(colors.end(), p + step - 3, p + step);
        }
    }
    return colors;
}

std::vector<RGBQUAD> fnPaletteOf(CqImage& image) {
    std::vector<RGBQUAD> palette(image.PaletteCount);
    image.fnGetPaletteEntry(0, image.PaletteCount, palette.data());
    return palette;
}

bool operator==(const RGBQUAD& a, const RGBQUAD& b) {
    return a.rgbRed == b.rgbRed && a.rgbGreen == b.rgbGreen && a.rgbBlue == b.rgbBlue &&
           a.rgbReserved == b.rgbReserved;
}

std::unique_ptr<CqImage> fnMakeNoise(std::uint32_t width, std::uint32_t height, unsigned int bits,
                                     unsigned int seed, unsigned int colors) {
    std::mt19937 random(seed);
    const unsigned int count = bits > 8 ? 0 : colors != 0 ? colors : 1u << bits;
    std::vector<RGBQUAD> palette(count);
    for (RGBQUAD& color : palette)
        color = {static_cast<BYTE>(random()), static_cast<BYTE>(random()),
                 static_cast<BYTE>(random()), 0};
    auto image = std::make_unique<CqImage>();
    image->fnAlloc(width, height, bits, palette.data(), count);
    for (std::uint32_t y = 0; y < height; ++y) {
        CqImageLine line;
        image->fnAccessLine(y, &line, false);
        for (std::uint32_t i = 0; i < line.RowBytes; ++i) {
            const auto value = static_cast<unsigned int>(random());
            line.LineBuffer[i] =
                static_cast<unsigned char>(bits == 8   ? value % count
                                           : bits == 4 ? (value % count) << 4 | (value >> 8) % count
                                                       : value);
        }
    }
    return image;
}
