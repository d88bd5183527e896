// What the checked variant of the library says where a host breaks its rules.
#include "platforms/headless/headless.h"
#include "q32Base/q32Base.h"

#include <gtest/gtest.h>

namespace {

/// A call that breaks a rule, and what the library says of it.
struct Fault {
    const char* m_szName;
    const char* m_szSentence;
    void (*m_pRun)();
};

constexpr char kEmpty[] = " has no pixels; allocate it, or read a picture into it, first";

/// Runs a call on an image without storage.
template <typename Call>
void fnOnEmpty(const Call& call) {
    CqImage image;
    call(image);
}

/// Runs a call on a picture of 20 by 10 pixels.
template <typename Call>
void fnOnPicture(const Call& call) {
    CqImage image(20, 10, 24);
    call(image);
}

#define Q32_EMPTY(function, ...)                                                                      \
    {                                                                                                 \
#function " on an empty image", "CqImage::" #function ": the image",                          \
            [] { fnOnEmpty(                                                                           \
                     [](CqImage& image) { static_cast<void>(image.function(__VA_ARGS__)); }); } \
    }

const CRect kRect(0, 0, 5, 5);

const Fault kEmptyFaults[] = {
    Q32_EMPTY(fnGetPixelAddr, 0, 0),
    Q32_EMPTY(fnGetPixelColor, 0, 0),
    Q32_EMPTY(fnSetPixelColor, 0, 0, CqColor()),
    Q32_EMPTY(fnIsGrayScale),
    Q32_EMPTY(fnGetMaxTileSize),
    Q32_EMPTY(fnGetPaletteEntry, 0, 0, nullptr),
    Q32_EMPTY(fnSetPaletteEntry, 0, 0, nullptr),
    Q32_EMPTY(fnDrawInit, 1, false, kRect, CPoint(0, 0), nullptr),
    Q32_EMPTY(fnDrawInit, 1.0, kRect, nullptr),
    Q32_EMPTY(fnDraw, nullptr, kRect, 0, 0, false, false),
    Q32_EMPTY(fnKeyDraw, nullptr, kRect, 0, 0, CqMergeParam(CqColor()), false, false),
    Q32_EMPTY(fnFill, CqColor(), nullptr, false),
    Q32_EMPTY(fnConvert, 24, false, nullptr),
    Q32_EMPTY(fnBrightContrast, 1, 1, false, nullptr),
    Q32_EMPTY(fnColorBalance, 1, 1, 1, false, nullptr),
    Q32_EMPTY(fnHueSaturation, 1, 1, false, nullptr),
    Q32_EMPTY(fnThresholding, 1, false, nullptr),
    Q32_EMPTY(fnResample, 5u, 5u, true, nullptr),
    Q32_EMPTY(fnResample, 0.5, 0.5, nullptr),
    Q32_EMPTY(fnRotate, 90, CqColor(), nullptr, false, nullptr),
    Q32_EMPTY(fnDrawLine, 0, 0, 1, 1, CqColor(), false),
    {"fnAccessTile on an empty image", "CqImage::fnAccessTile: the image",
     [] {
         fnOnEmpty([](CqImage& image) {
             CqImageTile tile;
             image.fnAccessTile(0, &tile);
         });
     }},
    {"fnAccessLine on an empty image", "CqImage::fnAccessLine: the image",
     [] {
         fnOnEmpty([](CqImage& image) {
             CqImageLine line;
             image.fnAccessLine(0, &line, true);
         });
     }},
    {"fnCreateRgn on an empty image", "CqImage::fnCreateRgn: the image",
     [] {
         fnOnEmpty([](CqImage& image) {
             CRgn region;
             image.fnCreateRgn(0, region);
         });
     }},
    {"fnGetPalette on an empty image", "CqImage::fnGetPalette: the image",
     [] {
         fnOnEmpty([](CqImage& image) {
             CPalette palette;
             image.fnGetPalette(palette);
         });
     }},
    {"fnFill with an empty pattern", "CqImage::fnFill: pattern",
     [] {
         fnOnPicture([](CqImage& image) {
             CqImage empty;
             image.fnFill(empty, nullptr, nullptr);
         });
     }},
    {"fnCopyBlock of an empty image", "CqImage::fnCopyBlock: src",
     [] {
         fnOnPicture([](CqImage& image) {
             CqImage empty;
             image.fnCopyBlock(empty, nullptr, 0, 0);
         });
     }},
    {"fnMerge of an empty image", "CqImage::fnMerge: src",
     [] {
         fnOnPicture([](CqImage& image) {
             CqImage empty;
             image.fnMerge(empty, nullptr, CqMergeParam(CqColor()), 0, 0);
         });
     }},
    {"a copy of an empty image", "CqImage::operator=: the source",
     [] { fnOnEmpty([](CqImage& image) { const CqImage copy(image); }); }},
};

#define Q32_OUTSIDE(text, ...)                                                                     \
    {                                                                                              \
        text, text, [] { fnOnPicture([]([[maybe_unused]] CqImage& image) { __VA_ARGS__; }); }      \
    }

const Fault kOutsideFaults[] = {
    Q32_OUTSIDE("CqImage::fnGetPixelColor: x is 20, but the width is 20",
                image.fnGetPixelColor(20, 0)),
    Q32_OUTSIDE("CqImage::fnGetPixelColor: y is -1, but the height is 10",
                image.fnGetPixelColor(19, -1)),
    Q32_OUTSIDE("CqImage::fnSetPixelColor: y is 10, but the height is 10",
                image.fnSetPixelColor(0, 10, CqColor())),
    Q32_OUTSIDE("CqImage::fnGetPixelAddr: x is -1, but the width is 20",
                image.fnGetPixelAddr(-1, 0)),
    Q32_OUTSIDE("CqImage::fnAccessLine: row is 10, but the height is 10", CqImageLine line;
                image.fnAccessLine(10, &line, true)),
    Q32_OUTSIDE("CqImage::fnAccessTile: index is 1, but the number of tiles is 1", CqImageTile tile;
                image.fnAccessTile(1, &tile)),
    Q32_OUTSIDE("CqImage::fnAccessTile: x is 20, but the width is 20", CqImageTile tile;
                CPoint point(20, 0); image.fnAccessTile(point, &tile)),
    Q32_OUTSIDE("CqImageLine::fnGetPixelColor: x is 20, but the width is 20", CqImageLine line;
                image.fnAccessLine(0, &line, true); line.fnGetPixelColor(20)),
    Q32_OUTSIDE("CqImageLine::fnSetPixelColor: x is -1, but the width is 20", CqImageLine line;
                image.fnAccessLine(0, &line, true); line.fnSetPixelColor(-1, CqColor())),
    Q32_OUTSIDE("CqImageLine::fnStartSegment: x is 20, but the width is 20", CqImageLine line(true);
                image.fnAccessLine(0, &line, true); line.fnStartSegment(20)),
    Q32_OUTSIDE("CqImageLine::fnFillColor: the end is 20, but the width is 20", CqImageLine line;
                image.fnAccessLine(0, &line, true); line.fnFillColor(CqColor(), 10, 11)),
    Q32_OUTSIDE("CqImageLine::fnGetPixelColor: the accessor is free; place it by "
                "CqImage::fnAccessLine first",
                CqImageLine line;
                line.fnGetPixelColor(0)),
    Q32_OUTSIDE("CqImageLine::fnSetPixel: the accessor is free", CqImageLine line(true);
                line.fnSetPixel(0, 0, 0, 0)),
    Q32_OUTSIDE("CqImageLine::fnNextPixel: the accessor is free", CqImageLine line(true);
                line.fnNextPixel()),
    Q32_OUTSIDE("CqImageLine::fnReverseLine: the accessor is free", CqImageLine line;
                line.fnReverseLine()),
    Q32_OUTSIDE("CqImageTile::fnCopy: the accessor is free; place it by CqImage::fnAccessTile",
                CqImageTile tile;
                image.fnAccessTile(0, &tile); CqImageTile free; tile.fnCopy(free)),
};

const Fault kDetachedFaults[] = {
    {"an image", "CqImage::CqImage: the library isn't attached; call q32Attach or q32RunHost first",
     [] { const CqImage image; }},
    {"a sound", "CqWave::fnAlloc: the library isn't attached",
     [] { CqWave().fnAlloc(1, 8, 8000, 100, false); }},
    {"a gauge", "a function that needs the platform: the library isn't attached",
     [] { const CqProgressDisplay progress(true); }},
};

class Checked : public testing::Test {
protected:
    Checked() { EXPECT_TRUE(q32Attach(q32HeadlessPlatform())); }
    ~Checked() override { q32Detach(); }
    Checked(const Checked&) = delete;
    Checked& operator=(const Checked&) = delete;
};

} // namespace

TEST_F(Checked, OperationsOnAnImageWithoutPixelsNameThemselves) {
    for (const Fault& fault : kEmptyFaults)
        EXPECT_DEATH(fault.m_pRun(),
                     std::string("^q32Base: ") + fault.m_szSentence + kEmpty + "\\.\n$")
            << fault.m_szName;
}

TEST_F(Checked, PositionsOutsideNameTheArgumentAndItsLimit) {
    for (const Fault& fault : kOutsideFaults)
        EXPECT_DEATH(fault.m_pRun(), std::string("^q32Base: ") + fault.m_szSentence)
            << fault.m_szName;
}

TEST(CheckedStart, AForgottenAttachIsNamed) {
    for (const Fault& fault : kDetachedFaults)
        EXPECT_DEATH(fault.m_pRun(), std::string("^q32Base: ") + fault.m_szSentence)
            << fault.m_szName;
}

TEST_F(Checked, WhatIsAllowedPasses) {
    CqImage image(20, 10, 24);
    CqImageLine line;
    image.fnAccessLine(9, &line, false);
    line.fnSetPixelColor(19, CqColor(1, 2, 3));
    line.fnFillColor(CqColor(), 0, 19);
    line.fnUnAssociate();
    EXPECT_EQ(image.fnGetPixelColor(19, 9), CqColor(1, 2, 3));
    CqImage empty;
    EXPECT_TRUE(empty.fnGetScratchPath().IsEmpty());
    EXPECT_EQ(empty.fnCountLosses(), 0u);
    image.fnSwapBuf(empty);
    EXPECT_EQ(empty.Width, 20u);
}
