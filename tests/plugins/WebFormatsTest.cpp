// GIF and WebP. Formats are never removed, so these tests have a program of their own.
#include "plugins/WebFormats.h"

#include "q32Base/image/CqImage.h"
#include "tests/plugins/PictureTest.h"
#include "tests/support/FailingAllocator.h"

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <optional>
#include <random>
#include <webp/encode.h>

namespace {

/// A GIF file, put together by hand: its codes are 9 bits wide and stand for one pixel each.
class GifMaker {
public:
    GifMaker(unsigned int width, unsigned int height) : m_nWidth(width), m_nHeight(height) {
        fnAdd("GIF89a");
        fnAddSize(width, height);
        fnAdd({0xF7, 0, 0}); // a palette of 256 colours
        fnAddPalette(0);
    }

    /// The palette's entry.
    static RGBQUAD fnColor(unsigned int shift, unsigned int index) {
        const auto byte = [](unsigned int value) { return static_cast<unsigned char>(value); };
        return {byte(index * 7 + shift), byte(255 - index), byte(index), 0};
    }
    static unsigned int fnIndex(unsigned int x, unsigned int y) { return (x * 5 + y * 11) % 256; }

    void fnAddControl(unsigned int transparent) { fnAdd({0x21, 0xF9, 4, 1, 0, 0, transparent, 0}); }
    void fnAddComment() { fnAdd({0x21, 0xFE, 2, 'h', 'i', 0}); }
    void fnAddApplication(std::string_view name) {
        fnAdd({0x21, 0xFF, 11});
        fnAdd(name);
        fnAdd({3, 1, 0, 0, 0});
    }
    void fnAddFrame(const CRect& place, bool interlaced, std::optional<unsigned int> palette) {
        fnAdd({0x2C});
        fnAddSize(static_cast<unsigned int>(place.left), static_cast<unsigned int>(place.top));
        fnAddSize(static_cast<unsigned int>(place.Width()),
                  static_cast<unsigned int>(place.Height()));
        fnAdd({(palette ? 0x87u : 0u) | (interlaced ? 0x40u : 0u)});
        if (palette)
            fnAddPalette(*palette);
        fnAdd({8});
        std::vector<unsigned int> rows;
        const auto height = static_cast<unsigned int>(place.Height());
        for (const auto& [first, step] :
             interlaced ? std::vector<std::pair<unsigned int, unsigned int>>{{0, 8},
                                                                             {4, 8},
                                                                             {2, 4},
                                                                             {1, 2}}
                        : std::vector<std::pair<unsigned int, unsigned int>>{{0, 1}})
            for (unsigned int y = first; y < height; y += step)
                rows.push_back(y);
        for (const unsigned int y : rows)
            for (unsigned int x = 0; x < static_cast<unsigned int>(place.Width()); ++x)
                fnAddPixel(fnIndex(x, y));
        fnAddCode(257);
        fnEndCodes();
    }
    const Bytes& fnEnd() {
        fnAdd({0x3B});
        return m_Bytes;
    }
    CRect fnWhole() const {
        return {0, 0, static_cast<LONG>(m_nWidth), static_cast<LONG>(m_nHeight)};
    }

private:
    void fnAdd(std::string_view text) { m_Bytes.insert(m_Bytes.end(), text.begin(), text.end()); }
    void fnAdd(std::initializer_list<unsigned int> bytes) {
        for (const unsigned int byte : bytes)
            m_Bytes.push_back(static_cast<std::uint8_t>(byte));
    }
    void fnAddSize(unsigned int a, unsigned int b) { fnAdd({a % 256, a / 256, b % 256, b / 256}); }
    void fnAddPalette(unsigned int shift) {
        for (unsigned int i = 0; i < 256; ++i) {
            const RGBQUAD color = fnColor(shift, i);
            fnAdd({color.rgbRed, color.rgbGreen, color.rgbBlue});
        }
    }
    void fnAddPixel(unsigned int index) {
        if (m_nPixels++ % 200 == 0)
            fnAddCode(256); // before codes grow wider
        fnAddCode(index);
    }
    void fnAddCode(unsigned int code) {
        for (int bit = 0; bit < 9; ++bit)
            m_Bits.push_back((code >> bit & 1) != 0);
    }
    void fnEndCodes() {
        Bytes data((m_Bits.size() + 7) / 8);
        for (std::size_t i = 0; i < m_Bits.size(); ++i)
            data[i / 8] = static_cast<std::uint8_t>(data[i / 8] | (m_Bits[i] ? 1 << i % 8 : 0));
        for (std::size_t at = 0; at < data.size(); at += 255) {
            const std::size_t count = std::min<std::size_t>(255, data.size() - at);
            m_Bytes.push_back(static_cast<std::uint8_t>(count));
            m_Bytes.insert(m_Bytes.end(), data.begin() + static_cast<std::ptrdiff_t>(at),
                           data.begin() + static_cast<std::ptrdiff_t>(at + count));
        }
        m_Bytes.push_back(0);
        m_Bits.clear();
        m_nPixels = 0;
    }

    unsigned int m_nWidth;
    unsigned int m_nHeight;
    Bytes m_Bytes;
    std::vector<bool> m_Bits;
    unsigned int m_nPixels = 0;
};

class WebFormats : public PictureTest {
protected:
    WebFormats() { EXPECT_TRUE(q32AddWebFormats()); }

    static Bytes fnMakeGif(unsigned int width, unsigned int height, bool interlaced = false) {
        GifMaker gif(width, height);
        gif.fnAddFrame(gif.fnWhole(), interlaced, std::nullopt);
        return gif.fnEnd();
    }
    Bytes fnMakeWebp(CqImage& image, unsigned int quality = 100) {
        CqPictureOptions options;
        options.m_nQuality = quality;
        EXPECT_TRUE(fnWrite(image, PICTURE_WEBP, options).fnIsDone());
        const std::string file = fnGet();
        return {file.begin(), file.end()};
    }
    /// Each beginning of a file is refused, and the image stays.
    void fnExpectBeginningsRefused(const Bytes& file, std::size_t from) {
        for (std::size_t length = from; length < file.size(); ++length) {
            fnPut(Bytes(file.begin(), file.begin() + static_cast<std::ptrdiff_t>(length)));
            ASSERT_NO_FATAL_FAILURE(fnExpectRefused(-6)) << length;
        }
    }
    /// Damaged files give a picture or a message.
    void fnExpectDamageBorne(const Bytes& file) {
        std::mt19937 random(4);
        for (int round = 0; round < 400; ++round) {
            Bytes damaged = file;
            for (unsigned int i = random() % 4 + 1; i > 0; --i)
                damaged[random() % damaged.size()] = static_cast<std::uint8_t>(random());
            fnPut(damaged);
            CqImage image;
            const CqPictureResult result = q32ReadPicture(kPath, image);
            ASSERT_EQ(result.fnIsDone(), image.TileMap != nullptr);
        }
    }
    void fnExpectLimits(const Bytes& file, unsigned int width, unsigned int height) {
        fnPut(file);
        const auto read = [&](const CqPictureLimits& limits) {
            CqImage image;
            return q32ReadPicture(kPath, image, limits);
        };
        CqPictureLimits limits;
        limits.m_nPixels = std::uint64_t{width} * height;
        EXPECT_TRUE(read(limits).fnIsDone());
        --limits.m_nPixels;
        EXPECT_EQ(read(limits).m_eLimit, PICTURE_LIMIT_PIXELS);
        limits = {};
        limits.m_nStorageBytes = 100;
        EXPECT_EQ(read(limits).m_eLimit, PICTURE_LIMIT_STORAGE);
        limits = {};
        limits.m_nCodecBytes = 50;
        EXPECT_EQ(read(limits).m_eLimit, PICTURE_LIMIT_CODEC);
    }
    void fnExpectAborts(const Bytes& file) {
        fnPut(file);
        RecordedProgress all;
        ASSERT_TRUE(fnRead(&all).fnIsDone());
        ASSERT_GT(all.m_Percents.size(), 3u);
        EXPECT_EQ(all.m_Percents.back(), 100u);
        EXPECT_TRUE(std::is_sorted(all.m_Percents.begin(), all.m_Percents.end()));
        for (std::size_t at = 1; at <= all.m_Percents.size(); ++at) {
            RecordedProgress progress;
            progress.m_nAbortAt = at;
            CqImage image;
            const CqPictureResult result = q32ReadPicture(kPath, image, &progress);
            ASSERT_TRUE(result.m_bAborted) << at;
            ASSERT_FALSE(image.TileMap);
        }
    }
    void fnExpectFailedAllocations(const Bytes& file) {
        fnPut(file);
        ASSERT_TRUE(fnRead().fnIsDone());
        const Bytes expected = fnPixelsOf(m_Image);
        std::optional<CqImage> image;
        unsigned int refused = 0;
        fnFailEachAllocation(
            [&] { image.emplace(); },
            [&](CqAllocationFailure& failure) {
                const CqPictureResult result = q32ReadPicture(kPath, *image);
                failure.fnEnd();
                // The world of the tests makes do without some blocks, and needs others to read.
                if (result.fnIsDone()) {
                    EXPECT_EQ(fnPixelsOf(*image), expected);
                    return;
                }
                ++refused;
                EXPECT_TRUE(result.m_nMsgId == -1 || result.m_nMsgId == -3 || result.m_nMsgId == -4)
                    << result.m_nMsgId;
                EXPECT_FALSE(image->TileMap);
            });
        EXPECT_GT(refused, 3u);
    }
};

void fnAppend(Bytes& bytes, std::uint32_t value, int count) {
    for (int i = 0; i < count; ++i)
        bytes.push_back(static_cast<std::uint8_t>(value >> 8 * i));
}

void fnAppendChunk(Bytes& bytes, std::string_view name, const Bytes& data) {
    bytes.insert(bytes.end(), name.begin(), name.end());
    fnAppend(bytes, static_cast<std::uint32_t>(data.size()), 4);
    bytes.insert(bytes.end(), data.begin(), data.end());
    if (data.size() % 2 != 0)
        bytes.push_back(0);
}

/// An animation of 40 x 30 pixels whose frames are a still picture of 20 x 10 at (6, 4).
Bytes fnMakeAnimation(const Bytes& still, int frames) {
    const Bytes data(still.begin() + 12, still.end()); // its chunks
    Bytes body{'W', 'E', 'B', 'P'};
    Bytes head;
    fnAppend(head, 0x3A, 4); // animated, with alpha, metadata and a profile
    fnAppend(head, 39, 3);
    fnAppend(head, 29, 3);
    fnAppendChunk(body, "VP8X", head);
    fnAppendChunk(body, "ICCP", Bytes(10, 7));
    Bytes anim;
    fnAppend(anim, 0, 4);
    fnAppend(anim, 0, 2);
    fnAppendChunk(body, "ANIM", anim);
    for (int i = 0; i < frames; ++i) {
        Bytes frame;
        fnAppend(frame, 3, 3); // halves
        fnAppend(frame, 2, 3);
        fnAppend(frame, 19, 3);
        fnAppend(frame, 9, 3);
        fnAppend(frame, 100, 3);
        fnAppend(frame, 0, 1);
        frame.insert(frame.end(), data.begin(), data.end());
        fnAppendChunk(body, "ANMF", frame);
    }
    fnAppendChunk(body, "EXIF", Bytes(8, 9));
    Bytes file;
    fnAppendChunk(file, "RIFF", body);
    return file;
}

TEST_F(WebFormats, AGifThatFillsItsCanvasKeepsItsPalette) {
    for (const bool interlaced : {false, true}) {
        for (const auto& [width, height] :
             {std::pair(1u, 1u), std::pair(3u, 5u), std::pair(67u, 41u)}) {
            fnPut(fnMakeGif(width, height, interlaced));
            const CqPictureResult result = fnReadAsDescribed();
            ASSERT_TRUE(result.fnIsDone());
            EXPECT_FALSE(result.m_bReduced);
            ASSERT_EQ(m_Image.BitCount, 8u);
            ASSERT_EQ(m_Image.Width, width);
            ASSERT_EQ(m_Image.Height, height);
            EXPECT_EQ(m_Image.fnGetFioPlugin(), static_cast<unsigned int>(PICTURE_GIF));
            for (unsigned int y = 0; y < height; ++y) {
                const Bytes row = fnRowOf(m_Image, y);
                for (unsigned int x = 0; x < width; ++x)
                    ASSERT_EQ(row[x], GifMaker::fnIndex(x, y)) << x << ", " << y;
            }
            const std::vector<RGBQUAD> palette = fnPaletteOf(m_Image);
            ASSERT_EQ(palette.size(), 256u);
            for (unsigned int i = 0; i < 256; ++i)
                ASSERT_TRUE(palette[i] == GifMaker::fnColor(0, i)) << i;
        }
    }
}

TEST_F(WebFormats, AFramesOwnPaletteComesFirst) {
    GifMaker gif(9, 4);
    gif.fnAddFrame(gif.fnWhole(), false, 31);
    fnPut(gif.fnEnd());
    ASSERT_TRUE(fnRead().fnIsDone());
    EXPECT_TRUE(fnPaletteOf(m_Image)[200] == GifMaker::fnColor(31, 200));
}

TEST_F(WebFormats, ATransparentColorOrASmallFrameGivesAlpha) {
    for (const bool small : {false, true}) {
        const unsigned int hidden = GifMaker::fnIndex(2, 1);
        GifMaker gif(30, 20);
        const CRect frame = small ? CRect(5, 6, 25, 16) : gif.fnWhole();
        if (!small)
            gif.fnAddControl(hidden);
        gif.fnAddFrame(frame, true, std::nullopt);
        fnPut(gif.fnEnd());
        ASSERT_TRUE(fnReadAsDescribed().fnIsDone());
        ASSERT_EQ(m_Image.BitCount, 32u);
        for (int y = 0; y < 20; ++y)
            for (int x = 0; x < 30; ++x) {
                const unsigned int index =
                    GifMaker::fnIndex(static_cast<unsigned int>(x - frame.left),
                                      static_cast<unsigned int>(y - frame.top));
                const bool clear = !frame.PtInRect(CPoint(x, y)) || (!small && index == hidden);
                const RGBQUAD color = GifMaker::fnColor(0, index);
                const CqColor expected =
                    clear ? CqColor(0, 0, 0, 0)
                          : CqColor(color.rgbRed, color.rgbGreen, color.rgbBlue, 255);
                ASSERT_EQ(m_Image.fnGetPixelColor(x, y), expected) << x << ", " << y;
            }
    }
}

TEST_F(WebFormats, AFrameBeyondTheCanvasOfAGifEnlargesIt) {
    GifMaker gif(10, 8);
    gif.fnAddFrame(CRect(4, 2, 16, 12), false, std::nullopt);
    fnPut(gif.fnEnd());
    ASSERT_TRUE(fnRead().fnIsDone());
    EXPECT_EQ(m_Image.Width, 16u);
    EXPECT_EQ(m_Image.Height, 12u);
}

TEST_F(WebFormats, WhatAGifHoldsBesideItsFirstFrameIsNoted) {
    const auto parts = [&](const std::function<void(GifMaker&)>& before,
                           const std::function<void(GifMaker&)>& after) {
        GifMaker gif(9, 4);
        before(gif);
        gif.fnAddFrame(gif.fnWhole(), false, std::nullopt);
        after(gif);
        fnPut(gif.fnEnd());
        const CqPictureResult result = fnRead();
        EXPECT_TRUE(result.fnIsDone());
        return result.m_nParts;
    };
    const auto nothing = [](GifMaker&) {};
    EXPECT_EQ(parts([](GifMaker& gif) { gif.fnAddApplication("NETSCAPE2.0"); }, nothing), 0u);
    EXPECT_EQ(parts([](GifMaker& gif) { gif.fnAddComment(); }, nothing), PICTURE_PART_NOTES);
    EXPECT_EQ(parts(nothing, [](GifMaker& gif) { gif.fnAddComment(); }), PICTURE_PART_NOTES);
    EXPECT_EQ(parts([](GifMaker& gif) { gif.fnAddApplication("ICCRGBG1012"); }, nothing),
              PICTURE_PART_PROFILE);
    EXPECT_EQ(parts(nothing,
                    [](GifMaker& gif) {
                        gif.fnAddControl(3); // of that frame: it doesn't make the first transparent
                        gif.fnAddFrame(CRect(1, 1, 3, 3), false, std::nullopt);
                    }),
              PICTURE_PART_PAGES);
    EXPECT_EQ(m_Image.BitCount, 8u);
}

TEST_F(WebFormats, ADamagedGifIsRefusedOrReadAndLeavesTheImage) {
    const Bytes file = fnMakeGif(21, 13);
    fnExpectBeginningsRefused(file, 6);
    fnExpectDamageBorne(file);
    GifMaker empty(10, 10);
    fnPut(empty.fnEnd());
    fnExpectRefused(-6);
}

TEST_F(WebFormats, LimitsAbortsAndFailuresOfMemoryEndTheReadingOfAGif) {
    fnExpectLimits(fnMakeGif(60, 40), 60, 40);
    fnExpectAborts(fnMakeGif(21, 13));
    fnExpectFailedAllocations(fnMakeGif(21, 13));
}

TEST_F(WebFormats, AGifIsNotWritten) {
    const auto image = fnMakeNoise(5, 5, 24, 1);
    EXPECT_EQ(fnWrite(*image, PICTURE_GIF).m_nMsgId, -102);
    EXPECT_FALSE(q32FindPictureFormat("a.gif")->m_bCanWrite);
}

TEST_F(WebFormats, AWebpOfFullQualityIsReadAsItWas) {
    for (const unsigned int bits : {4u, 8u, 16u, 24u, 32u}) {
        const auto image = fnMakeNoise(67, 45, bits, bits, 16);
        fnMakeWebp(*image);
        const CqPictureResult result = fnReadAsDescribed();
        ASSERT_TRUE(result.fnIsDone()) << bits;
        EXPECT_FALSE(result.m_bReduced);
        EXPECT_EQ(m_Image.BitCount, bits == 32 ? 32u : 24u);
        EXPECT_EQ(fnColorsOf(m_Image), fnColorsOf(*image)) << bits;
        if (bits == 32) {
            EXPECT_EQ(fnPixelsOf(m_Image), fnPixelsOf(*image)) << "also where nothing shows";
        }
    }
}

TEST_F(WebFormats, AWebpOfLowerQualityIsSmallerAndClose) {
    CqImage image;
    image.fnAlloc(120, 90, 24, nullptr, 0);
    for (int y = 0; y < 90; ++y)
        for (int x = 0; x < 120; ++x)
            image.fnSetPixelColor(x, y,
                                  CqColor(static_cast<unsigned char>(x * 2),
                                          static_cast<unsigned char>(y * 2), 90, 255));
    const Bytes fine = fnMakeWebp(image, 90);
    ASSERT_TRUE(fnRead().fnIsDone());
    const Bytes before = fnColorsOf(image);
    const Bytes after = fnColorsOf(m_Image);
    ASSERT_EQ(before.size(), after.size());
    for (std::size_t i = 0; i < before.size(); ++i)
        ASSERT_LE(std::abs(before[i] - after[i]), 16) << i;
    EXPECT_LT(fnMakeWebp(image, 10).size(), fine.size());
}

TEST_F(WebFormats, TheFirstFrameOfAnAnimationIsPlacedOnItsCanvas) {
    const auto image = fnMakeNoise(20, 10, 24, 3);
    for (const int frames : {1, 2}) {
        fnPut(fnMakeAnimation(fnMakeWebp(*image), frames));
        const CqPictureResult result = fnReadAsDescribed();
        ASSERT_TRUE(result.fnIsDone());
        EXPECT_EQ(result.m_nParts, PICTURE_PART_PROFILE | PICTURE_PART_NOTES |
                                       (frames > 1 ? PICTURE_PART_PAGES : 0u));
        ASSERT_EQ(m_Image.BitCount, 32u);
        ASSERT_EQ(m_Image.Width, 40u);
        ASSERT_EQ(m_Image.Height, 30u);
        for (int y = 0; y < 30; ++y)
            for (int x = 0; x < 40; ++x) {
                const bool inside = x >= 6 && x < 26 && y >= 4 && y < 14;
                const CqColor pixel = inside ? image->fnGetPixelColor(x - 6, y - 4) : CqColor();
                ASSERT_EQ(m_Image.fnGetPixelColor(x, y),
                          inside ? CqColor(pixel.m_Red, pixel.m_Green, pixel.m_Blue, 255)
                                 : CqColor(0, 0, 0, 0))
                    << x << ", " << y;
            }
    }
}

TEST_F(WebFormats, ADamagedWebpIsRefusedOrReadAndLeavesTheImage) {
    const auto image = fnMakeNoise(12, 9, 32, 3);
    for (const unsigned int quality : {100u, 60u}) {
        const Bytes file = fnMakeWebp(*image, quality);
        fnExpectBeginningsRefused(file, 16);
        fnExpectDamageBorne(file);
    }
    fnExpectDamageBorne(fnMakeAnimation(fnMakeWebp(*fnMakeNoise(20, 10, 24, 3)), 2));
}

TEST_F(WebFormats, TheHeadOfAWebpAloneIsDamaged) {
    const Bytes head = {'R', 'I', 'F', 'F', 4, 0, 0, 0, 'W', 'E', 'B', 'P'};
    fnPut(head);
    CqImage image;
    EXPECT_EQ(q32ReadPicture(kPath, image).m_nMsgId, -6);
    EXPECT_EQ(image.TileMap, nullptr);
}

TEST_F(WebFormats, LimitsAbortsAndFailuresOfMemoryEndTheReadingOfAWebp) {
    const auto image = fnMakeNoise(60, 40, 24, 3);
    const Bytes file = fnMakeWebp(*image);
    fnExpectLimits(file, 60, 40);
    fnExpectAborts(file);
    fnExpectFailedAllocations(file);
}

TEST_F(WebFormats, WritingAWebpIsAbortedAnywhereAndLeavesTheFormerFile) {
    const auto image = fnMakeNoise(40, 30, 24, 3);
    for (const unsigned int quality : {100u, 75u}) {
        CqPictureOptions options;
        options.m_nQuality = quality;
        RecordedProgress all;
        ASSERT_TRUE(fnWrite(*image, PICTURE_WEBP, options, &all).fnIsDone());
        ASSERT_GT(all.m_Percents.size(), 30u);
        EXPECT_TRUE(std::is_sorted(all.m_Percents.begin(), all.m_Percents.end()));
        for (std::size_t at = 1; at <= all.m_Percents.size(); ++at) {
            fnPut("former");
            RecordedProgress progress;
            progress.m_nAbortAt = at;
            ASSERT_TRUE(fnWrite(*image, PICTURE_WEBP, options, &progress).m_bAborted) << at;
            ASSERT_EQ(fnGet(), "former");
        }
    }
}

TEST_F(WebFormats, WhatCantBeWrittenAsWebpLeavesTheFormerFile) {
    fnPut("former");
    CqImage wide;
    wide.fnAlloc(WEBP_MAX_DIMENSION + 1, 1, 24, nullptr, 0);
    EXPECT_EQ(fnWrite(wide, PICTURE_WEBP).m_nMsgId, -5);
    EXPECT_EQ(fnGet(), "former");
    const auto image = fnMakeNoise(40, 30, 24, 3);
    fnFailEachAllocation([&](CqAllocationFailure& failure) {
        const CqPictureResult result = fnWrite(*image, PICTURE_WEBP);
        const bool happened = failure.fnHappened();
        failure.fnEnd();
        // The disk of the test fails, too, when it gets no memory.
        ASSERT_TRUE(happened ? result.m_nMsgId == -1 || result.m_nMsgId == -5 : result.fnIsDone());
        ASSERT_EQ(fnGet() == "former", happened);
    });
}

} // namespace
