/// @file The system's screen shows what the screen of the headless world shows for the same calls.
/// Run on screens of each depth by scripts/test-windows.

#include "platforms/headless/headless.h"
#include "platforms/win32/win32.h"
#include "q32Base/display/CqDisplayProperty.h"
#include "q32Base/framework/CBitmap.h"
#include "q32Base/framework/CPalette.h"
#include "q32Base/image/CqImage.h"
#include "q32Base/image/CqMask.h"
#include "q32Base/module/Module.h"
#include "tests/support/Random.h"
#include "tests/support/Win32Capture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace {

constexpr unsigned int kFreeColors = 230; ///< at most, of a screen of 256 beside the static ones
constexpr int kWidth = 96;
constexpr int kHeight = 64;
constexpr RECT kPlace{40, 30, 40 + kWidth, 30 + kHeight};

using Picture = std::vector<std::uint32_t>;

/// A world with a window, and what its screen shows there.
struct World {
    CqScreenService& m_Screen;
    CWnd& m_Wnd;
    std::function<Picture()> m_Look;
};
/// Draws, and looks after each step.
using Scene = std::function<std::vector<Picture>(World& world)>;

int fnGetScreenBits() {
    const HDC screen = ::GetDC(nullptr);
    const int bits = ::GetDeviceCaps(screen, BITSPIXEL);
    ::ReleaseDC(nullptr, screen);
    return bits;
}

/// Detaches the library. The palette that it keeps is one of this world's screen.
void fnEnd() {
    q32GetDisplayProperty()->fnGetPalette666()->DeleteObject();
    q32Detach();
    q32SetMessageService(nullptr);
}

std::vector<Picture> fnShowHeadless(const Scene& scene, int bits) {
    CqHeadlessOptions options;
    options.m_Mode = {800, 600, bits};
    const auto world = q32HeadlessWorld(options);
    EXPECT_TRUE(q32Attach(world->fnPlatform()));
    std::vector<Picture> pictures;
    {
        CqHeadlessWnd window{kPlace};
        World made{*world->m_pScreen, window, [&] {
                       Picture picture;
                       for (int y = kPlace.top; y < kPlace.bottom; ++y)
                           for (int x = kPlace.left; x < kPlace.right; ++x)
                               picture.push_back(world->m_pScreen->fnGetPixel(x, y));
                       return picture;
                   }};
        pictures = scene(made);
    }
    fnEnd();
    return pictures;
}

std::vector<Picture> fnShowReal(const Scene& scene) {
    const CqPlatform platform = q32Win32Platform(q32Win32Windows());
    EXPECT_TRUE(q32Attach(platform));
    std::vector<Picture> pictures;
    {
        CqWin32Wnd window(q32::test::fnMakePlainWindow(kPlace));
        World made{*platform.m_pScreen, window,
                   [&] { return q32::test::fnCapture(window.fnGetHandle()); }};
        pictures = scene(made);
        ::DestroyWindow(window.fnGetHandle());
    }
    fnEnd();
    return pictures;
}

void fnExpectSame(const std::vector<Picture>& expected, const std::vector<Picture>& seen) {
    ASSERT_EQ(seen.size(), expected.size());
    const bool isBlank = std::ranges::all_of(expected, [](const Picture& picture) {
        return std::ranges::count(picture, picture.front()) == kWidth * kHeight;
    });
    EXPECT_FALSE(isBlank) << "there is something to compare";
    for (std::size_t step = 0; step < seen.size(); ++step) {
        ASSERT_EQ(seen[step].size(), expected[step].size());
        std::size_t others = 0;
        std::size_t first = 0;
        for (std::size_t i = 0; i < seen[step].size(); ++i)
            if (seen[step][i] != expected[step][i] && others++ == 0)
                first = i;
        EXPECT_EQ(others, 0u) << "step " << step << ", first at " << first % kWidth << ", "
                              << first / kWidth << ": " << std::hex << seen[step][first]
                              << " instead of " << expected[step][first];
    }
}

void fnCompare(const Scene& scene) {
    const int bits = fnGetScreenBits();
    SCOPED_TRACE(testing::Message() << "screen of " << bits << " bits");
    const std::vector<Picture> expected = fnShowHeadless(scene, bits);
    fnExpectSame(expected, fnShowReal(scene));
}

std::unique_ptr<CPalette> fnMakePalette(const std::vector<std::uint32_t>& colors) {
    std::vector<std::uint8_t> block(sizeof(LOGPALETTE) + colors.size() * sizeof(PALETTEENTRY));
    auto* log = reinterpret_cast<LOGPALETTE*>(block.data());
    log->palVersion = 0x300;
    log->palNumEntries = static_cast<WORD>(colors.size());
    for (std::size_t i = 0; i < colors.size(); ++i) {
        const PALETTEENTRY entry{static_cast<BYTE>(colors[i] >> 16),
                                 static_cast<BYTE>(colors[i] >> 8), static_cast<BYTE>(colors[i]),
                                 0};
        std::memcpy(block.data() + offsetof(LOGPALETTE, palPalEntry) + i * sizeof entry, &entry,
                    sizeof entry);
    }
    auto palette = std::make_unique<CPalette>();
    EXPECT_TRUE(palette->CreatePalette(log));
    return palette;
}

/// A bitmap of random bytes, whose table holds random colours or indices below 256.
struct Dib {
    struct {
        BITMAPINFOHEADER m_Head{};
        std::array<std::uint8_t, 1024> m_Table{};
    } m_Header;
    std::vector<std::uint8_t> m_Bytes;

    /// @param screen  bits of what it is going to be drawn on
    Dib(int bits, LONG height, Random& random, bool indices, int screen = fnGetScreenBits()) {
        m_Header.m_Head = {sizeof(BITMAPINFOHEADER),
                           kWidth,
                           height,
                           1,
                           static_cast<WORD>(bits),
                           BI_RGB,
                           0,
                           0,
                           0,
                           0,
                           0};
        const std::size_t stride = (static_cast<std::size_t>(kWidth * bits) + 31) / 32 * 4;
        m_Bytes.resize(stride * static_cast<std::size_t>(std::abs(height)));
        // Wine looks for the nearest of 256 colours by five bits of each part, and takes the others
        // as 4.
        const bool few = bits >= 24 && screen == 8;
        for (std::uint8_t& byte : m_Bytes) {
            byte = static_cast<std::uint8_t>(random());
            if (few)
                byte = static_cast<std::uint8_t>((byte & 0xF8) | 4);
        }
        for (std::size_t i = 0; i < 1024; ++i)
            m_Header.m_Table[i] =
                indices && i % 2 == 1 ? std::uint8_t{0} : static_cast<std::uint8_t>(random());
    }
    void fnPut(World& world, CDC* dc, UINT use, const CPoint& at) const {
        const auto rows = static_cast<UINT>(std::abs(m_Header.m_Head.biHeight));
        EXPECT_EQ(world.m_Screen.fnSetDIBitsToDevice(dc, at.x, at.y, kWidth, rows, 0, 0, 0, rows,
                                                     m_Bytes.data(), &m_Header.m_Head, use),
                  static_cast<int>(rows));
    }
};

/// Fills the window, whose first pixels are the system's.
void fnBlacken(World& world, CDC* dc) {
    Random random(1);
    Dib black(32, kHeight, random, false);
    std::ranges::fill(black.m_Bytes, std::uint8_t{0});
    black.fnPut(world, dc, DIB_RGB_COLORS, CPoint(0, 0));
}

/// Random colours that a screen of 5, 6 and 5 bits has.
std::uint32_t fnGetColor565(Random& random) {
    const std::uint32_t red = random() % 32;
    const std::uint32_t green = random() % 64;
    const std::uint32_t blue = random() % 32;
    return (red << 3 | red >> 2) << 16 | (green << 2 | green >> 4) << 8 | blue << 3 | blue >> 2;
}

/// As many colours as a screen of 256 has, the twenty static ones included.
std::vector<std::uint32_t> fnGetAllColors() {
    Random random(99);
    std::vector<std::uint32_t> colors = {0x000000, 0x800000, 0x008000, 0x808000, 0x000080,
                                         0x800080, 0x008080, 0xC0C0C0, 0xC0DCC0, 0xA6CAF0,
                                         0xFFFBF0, 0xA0A0A4, 0x808080, 0xFF0000, 0x00FF00,
                                         0xFFFF00, 0x0000FF, 0xFF00FF, 0x00FFFF, 0xFFFFFF};
    while (colors.size() < 256)
        colors.push_back(random() & 0xFFFFFFu);
    return colors;
}

/// On a screen of 256 colours: realizes a palette that takes all of them. Among fewer Wine would
/// also find colours that aren't in the palette.
std::unique_ptr<CPalette> fnTakeAllColors(CDC& dc) {
    if (dc.GetDeviceCaps(BITSPIXEL) != 8)
        return nullptr;
    auto palette = fnMakePalette(fnGetAllColors());
    dc.SelectPalette(palette.get(), false);
    dc.RealizePalette();
    return palette;
}

TEST(Win32Screen, ColoursOfEveryDepthAreTheSame) {
    for (const int bits : {1, 4, 8, 16, 24, 32}) {
        if (bits == 16 && fnGetScreenBits() == 8)
            continue; // has no colours that Wine doesn't change first; see Dib
        SCOPED_TRACE(testing::Message() << "bitmap of " << bits << " bits");
        fnCompare([bits](World& world) {
            Random random(static_cast<std::uint32_t>(bits));
            std::vector<Picture> pictures;
            const CClientDC dc(&world.m_Wnd);
            const auto palette = fnTakeAllColors(*dc.GetDC());
            fnBlacken(world, dc.GetDC());
            for (const LONG height : {LONG{40}, LONG{-40}}) {
                const Dib dib(bits, height, random, false);
                dib.fnPut(world, dc.GetDC(), DIB_RGB_COLORS, CPoint(3, 5));
                pictures.push_back(world.m_Look());
            }
            dc->SelectPalette(nullptr, true);
            return pictures;
        });
    }
}

TEST(Win32Screen, IndicesIntoARealizedPaletteAreTheSame) {
    for (const int bits : {1, 4, 8}) {
        SCOPED_TRACE(testing::Message() << "bitmap of " << bits << " bits");
        fnCompare([bits](World& world) {
            Random random(static_cast<std::uint32_t>(bits));
            std::vector<std::uint32_t> colors(kFreeColors);
            for (std::uint32_t& color : colors)
                color = fnGetColor565(random);
            const auto palette = fnMakePalette(colors);
            const CClientDC dc(&world.m_Wnd);
            fnBlacken(world, dc.GetDC());
            dc->SelectPalette(palette.get(), false);
            dc->RealizePalette();
            const Dib dib(bits, 40, random, true);
            dib.fnPut(world, dc.GetDC(), DIB_PAL_COLORS, CPoint(-3, 30));
            std::vector<Picture> pictures = {world.m_Look()};
            dc->SelectPalette(nullptr, true);
            return pictures;
        });
    }
}

TEST(Win32Screen, IndicesWithoutAPaletteAreTheSystemsTwentyColours) {
    fnCompare([](World& world) {
        Random random(3);
        const CClientDC dc(&world.m_Wnd);
        fnBlacken(world, dc.GetDC());
        Dib dib(8, 40, random, true);
        for (std::size_t i = 0; i < 512; i += 2)
            dib.m_Header.m_Table[i] = static_cast<std::uint8_t>(dib.m_Header.m_Table[i] % 24);
        dib.fnPut(world, dc.GetDC(), DIB_PAL_COLORS, CPoint(0, 0));
        return std::vector<Picture>{world.m_Look()};
    });
}

/// For its life, the system fills with the colours of the scripted screen.
class SystemColors {
public:
    SystemColors() {
        for (std::size_t i = 0; i < kColors.size(); ++i)
            m_Former[i] = ::GetSysColor(kColors[i]);
        fnSet({RGB(192, 192, 192), RGB(0, 0, 0)});
    }
    ~SystemColors() { fnSet(m_Former); }
    SystemColors(const SystemColors&) = delete;
    SystemColors& operator=(const SystemColors&) = delete;

    static constexpr std::array<INT, 2> kColors = {COLOR_BTNFACE, COLOR_WINDOWTEXT};

private:
    static void fnSet(const std::array<COLORREF, 2>& colors) {
        ::SetSysColors(static_cast<int>(kColors.size()), kColors.data(), colors.data());
    }

    std::array<COLORREF, 2> m_Former{};
};

/// A bitmap of the corners of the colour cube, which every screen has.
Dib fnMakeCorners(Random& random) {
    Dib dib(4, kHeight, random, false);
    for (std::size_t i = 0; i < 64; ++i)
        dib.m_Header.m_Table[i] = dib.m_Header.m_Table[i] % 2 == 0 ? 0 : 255;
    return dib;
}

/// Somewhere about the window; it may be empty or reversed.
RECT fnMakeRect(Random& random) {
    const auto side = [&] { return static_cast<LONG>(random() % 120) - 20; };
    const LONG left = side();
    const LONG top = side();
    const LONG right = side();
    return {left, top, right, side()};
}

TEST(Win32Screen, FilledRectanglesAreTheSame) {
    const SystemColors colors;
    fnCompare([](World& world) {
        Random random(5);
        const CClientDC dc(&world.m_Wnd);
        fnBlacken(world, dc.GetDC());
        fnMakeCorners(random).fnPut(world, dc.GetDC(), DIB_RGB_COLORS, CPoint(0, 0));
        std::vector<Picture> pictures;
        for (int i = 0; i < 10; ++i) {
            const INT color = SystemColors::kColors[random() % 2];
            EXPECT_TRUE(dc->FillRect(fnMakeRect(random), color));
            pictures.push_back(world.m_Look());
        }
        return pictures;
    });
}

TEST(Win32Screen, CopiesFromABitmapAreTheSame) {
    fnCompare([](World& world) {
        Random random(6);
        const CClientDC dc(&world.m_Wnd);
        fnBlacken(world, dc.GetDC());
        CBitmap bitmap;
        EXPECT_TRUE(bitmap.CreateCompatibleBitmap(dc.GetDC(), kWidth, kHeight));
        const std::unique_ptr<CDC> memory = dc->CreateCompatibleDC();
        memory->SelectObject(&bitmap);
        fnMakeCorners(random).fnPut(world, dc.GetDC(), DIB_RGB_COLORS, CPoint(0, 0));
        EXPECT_TRUE(memory->BitBlt(0, 0, kWidth, kHeight, dc.GetDC(), 0, 0, SRCCOPY));
        EXPECT_TRUE(memory->InvertRect(RECT{20, 10, 70, 40}));
        std::vector<Picture> pictures;
        for (int i = 0; i < 10; ++i) {
            const CRect to(fnMakeRect(random));
            const int x = static_cast<int>(random() % 80) - 20;
            const int y = static_cast<int>(random() % 80) - 20;
            EXPECT_TRUE(
                dc->BitBlt(to.left, to.top, to.Width(), to.Height(), memory.get(), x, y, SRCCOPY));
            pictures.push_back(world.m_Look());
        }
        memory->SelectObject(static_cast<CBitmap*>(nullptr));
        return pictures;
    });
}

TEST(Win32Screen, InversionsAreTheSame) {
    fnCompare([](World& world) {
        Random random(4);
        const CClientDC dc(&world.m_Wnd);
        fnBlacken(world, dc.GetDC());
        fnMakeCorners(random).fnPut(world, dc.GetDC(), DIB_RGB_COLORS, CPoint(0, 0));
        std::vector<Picture> pictures = {world.m_Look()};
        for (int i = 0; i < 10; ++i) {
            EXPECT_TRUE(dc->InvertRect(fnMakeRect(random)));
            pictures.push_back(world.m_Look());
        }
        return pictures;
    });
}

/// Ramps of colours; one of 8 bits has a palette of such.
CqColor fnGetRamp(unsigned int x, unsigned int y) {
    const auto part = [](unsigned int value) { return static_cast<unsigned char>(value); };
    return CqColor(part(x * 5), part(y * 7), part((x ^ y) * 3));
}

/// A picture of `bits` bits with every kind of edge. The library narrows none by itself.
void fnMakeImage(CqImage& image, unsigned int bits, unsigned int width = 150) {
    std::array<RGBQUAD, kFreeColors> palette{};
    for (unsigned int i = 0; i < palette.size(); ++i) {
        const CqColor color = fnGetRamp(i, i / 3);
        palette[i] = {color.m_Blue, color.m_Green, color.m_Red, 0};
    }
    image.fnAlloc(width, 150, bits, palette.data(), bits == 8 ? kFreeColors : 0);
    for (int y = 0; y < 150; ++y)
        for (int x = 0; x < static_cast<int>(width); ++x)
            if (bits == 8)
                *image.fnGetPixelAddr(x, y) =
                    static_cast<unsigned char>(static_cast<unsigned int>(x * 3 + y) % kFreeColors);
            else
                image.fnSetPixelColor(
                    x, y, fnGetRamp(static_cast<unsigned int>(x), static_cast<unsigned int>(y)));
}

/// Draws an image of `bits` bits.
Scene fnDrawScaled(unsigned int bits, unsigned int factor, bool shrink) {
    return [=](World& world) {
        const CClientDC dc(&world.m_Wnd);
        // The right edge is seen when it shrinks. On 256 colours, Wine gives what lies beyond it
        // the black of an entry that has become another colour meanwhile.
        CqImage image;
        fnMakeImage(image, bits, dc->GetDeviceCaps(BITSPIXEL) == 8 ? 220 : 150);
        const CRect all(0, 0, kWidth, kHeight);
        fnBlacken(world, dc.GetDC());
        image.fnDrawInit(factor, shrink, all, CPoint(7, 9), &world.m_Wnd);
        EXPECT_TRUE(image.fnDraw(dc.GetDC(), all, 7, 9, false, false));
        return std::vector<Picture>{world.m_Look()};
    };
}

/// Draws with a gamma, or without it.
Scene fnDrawWithGamma(bool without) {
    return [without](World& world) {
        CqImage image;
        fnMakeImage(image, 24);
        q32GetDisplayProperty()->fnSetGammaValue(260);
        const CRect all(0, 0, kWidth, kHeight);
        const CClientDC dc(&world.m_Wnd);
        fnBlacken(world, dc.GetDC());
        image.fnDrawInit(1u, false, all, CPoint(), &world.m_Wnd);
        EXPECT_TRUE(image.fnDraw(dc.GetDC(), all, 0, 0, without, false));
        std::vector<Picture> pictures = {world.m_Look()};
        q32GetDisplayProperty()->fnEnableGamma(true);
        q32GetDisplayProperty()->fnSetGammaValue(180);
        return pictures;
    };
}

/// Draws an image of `bits` bits without a key, over other colours.
Scene fnDrawWithKey(unsigned int bits, MERGE_TYPE type) {
    return [=](World& world) {
        CqImage image;
        fnMakeImage(image, bits);
        const CqColor key = image.fnGetPixelColor(0, 0);
        const CRect hole(20, 15, 60, 40);
        image.fnFill(key, &hole, false);
        CqMask mask(150, 150);
        mask.fnFill(CqColor(255, 255, 255), nullptr, false);
        mask.fnFill(CqColor(0, 0, 0), &hole, false);
        const CRect all(0, 0, kWidth, kHeight);
        const CClientDC dc(&world.m_Wnd);
        fnBlacken(world, dc.GetDC());
        Random random(7);
        fnMakeCorners(random).fnPut(world, dc.GetDC(), DIB_RGB_COLORS, CPoint(0, 0));
        image.fnDrawInit(1u, false, all, CPoint(), &world.m_Wnd);
        image.fnKeyDraw(dc.GetDC(), all, 3, 5, CqMergeParam(type, 0, &mask), false, false);
        return std::vector<Picture>{world.m_Look()};
    };
}

constexpr unsigned int kImageBits[] = {8, 16, 24, 32};
constexpr std::pair<unsigned int, bool> kScales[] = {{1, false}, {3, false}, {2, true}};
constexpr MERGE_TYPE kKeys[] = {MERGE_KEY, MERGE_MASK, MERGE_ALPHA};

TEST(Win32Screen, ImagesAreDrawnTheSameAtEveryScale) {
    for (const unsigned int bits : kImageBits)
        for (const auto& [factor, shrink] : kScales) {
            SCOPED_TRACE(testing::Message() << bits << " bits, factor " << factor);
            fnCompare(fnDrawScaled(bits, factor, shrink));
        }
}

TEST(Win32Screen, GammaIsTheSameAndSoIsDrawingWithoutIt) {
    for (const bool without : {false, true}) {
        SCOPED_TRACE(without ? "without" : "with gamma");
        fnCompare(fnDrawWithGamma(without));
    }
}

TEST(Win32Screen, WhatAKeyLeavesOfAnImageIsTheSame) {
    for (const unsigned int bits : kImageBits)
        for (const MERGE_TYPE type : kKeys) {
            SCOPED_TRACE(testing::Message() << bits << " bits, rule " << type);
            fnCompare(fnDrawWithKey(bits, type));
        }
}

/// A device context of memory with a bitmap of `bits`. Its colours of 16 bits are 5-6-5; a bitmap
/// of 8 bits has all colours.
class MemoryBitmap {
public:
    explicit MemoryBitmap(int bits) : m_DC(::CreateCompatibleDC(nullptr)) {
        struct {
            BITMAPINFOHEADER m_Head;
            std::uint32_t m_Table[256]; // masks, or colours to be set
        } header{{sizeof(BITMAPINFOHEADER), kWidth, -kHeight, 1, static_cast<WORD>(bits),
                  bits == 16 ? DWORD{BI_BITFIELDS} : DWORD{BI_RGB}, 0, 0, 0, 0, 0},
                 {0xF800, 0x07E0, 0x001F}};
        void* bytes = nullptr;
        m_Bitmap = ::CreateDIBSection(m_DC, reinterpret_cast<const BITMAPINFO*>(&header),
                                      DIB_RGB_COLORS, &bytes, nullptr, 0);
        m_Initial = ::SelectObject(m_DC, m_Bitmap);
        if (bits == 8)
            fnSetColors(fnGetAllColors());
    }
    ~MemoryBitmap() {
        ::SelectObject(m_DC, m_Initial);
        ::DeleteObject(m_Bitmap);
        ::DeleteDC(m_DC);
    }
    MemoryBitmap(const MemoryBitmap&) = delete;
    MemoryBitmap& operator=(const MemoryBitmap&) = delete;

    HDC fnGet() const { return m_DC; }
    /// The colours of a bitmap of 8 bits.
    void fnSetColors(const std::vector<std::uint32_t>& colors) const {
        std::vector<RGBQUAD> table;
        for (const std::uint32_t color : colors)
            table.push_back({static_cast<BYTE>(color), static_cast<BYTE>(color >> 8),
                             static_cast<BYTE>(color >> 16), 0});
        ::SetDIBColorTable(m_DC, 0, static_cast<UINT>(table.size()), table.data());
    }

private:
    HDC m_DC;
    HBITMAP m_Bitmap;
    HGDIOBJ m_Initial;
};

/// Draws with `draw` on a scripted screen and on a bitmap in memory, of the same depth.
void fnCompareInMemory(int screen,
                       const std::function<std::vector<Picture>(World& world, CDC* dc)>& draw) {
    const std::vector<Picture> expected = fnShowHeadless(
        [&](World& world) {
            const CClientDC dc(&world.m_Wnd);
            const auto palette = fnTakeAllColors(*dc.GetDC());
            std::vector<Picture> pictures = draw(world, dc.GetDC());
            dc->SelectPalette(nullptr, true);
            return pictures;
        },
        screen);
    fnExpectSame(expected, fnShowReal([&](World& world) {
                     const MemoryBitmap memory(screen);
                     const std::unique_ptr<CDC> dc = q32Win32DC(memory.fnGet(), screen);
                     EXPECT_EQ(dc->GetDeviceCaps(BITSPIXEL), screen);
                     const auto palette = fnTakeAllColors(*dc);
                     World there{world.m_Screen, world.m_Wnd, [&] {
                                     return q32::test::fnCapture(memory.fnGet(), kWidth, kHeight);
                                 }};
                     std::vector<Picture> pictures = draw(there, dc.get());
                     dc->SelectPalette(nullptr, true);
                     return pictures;
                 }));
}

TEST(Win32Memory, BitmapsOfEveryDepthShowWhatSuchScreensShow) {
    for (const int screen : {8, 16, 24, 32})
        for (const int bits : {1, 4, 8, 16, 24, 32}) {
            if (bits == 16 && screen == 8)
                continue; // has no colours that Wine doesn't change first; see Dib
            SCOPED_TRACE(testing::Message() << screen << " bits, bitmap of " << bits);
            fnCompareInMemory(screen, [=](World& world, CDC* dc) {
                Random random(static_cast<std::uint32_t>(bits));
                fnBlacken(world, dc);
                const Dib dib(bits, 50, random, false, screen);
                dib.fnPut(world, dc, DIB_RGB_COLORS, CPoint(5, -6));
                return std::vector<Picture>{world.m_Look()};
            });
        }
}

TEST(Win32Memory, FillsAndInversionsOfEveryDepthAreTheSame) {
    const SystemColors colors;
    for (const int screen : {16, 24, 32}) {
        SCOPED_TRACE(testing::Message() << screen << " bits");
        fnCompareInMemory(screen, [](World& world, CDC* dc) {
            Random random(8);
            fnBlacken(world, dc);
            fnMakeCorners(random).fnPut(world, dc, DIB_RGB_COLORS, CPoint(0, 0));
            std::vector<Picture> pictures;
            for (int i = 0; i < 10; ++i) {
                EXPECT_TRUE(dc->FillRect(fnMakeRect(random), SystemColors::kColors[i % 2]));
                EXPECT_TRUE(dc->InvertRect(fnMakeRect(random)));
                pictures.push_back(world.m_Look());
            }
            return pictures;
        });
    }
}

/// The colours that a screen of 256 has while a palette is realized.
std::vector<std::uint32_t> fnGetRealizedColors(const CPalette& palette) {
    std::vector<std::uint32_t> colors = fnGetAllColors();
    colors.resize(20); // the static ones
    std::vector<PALETTEENTRY> entries(palette.GetEntryCount());
    palette.GetPaletteEntries(0, palette.GetEntryCount(), entries.data());
    for (const PALETTEENTRY& entry : entries)
        colors.push_back(std::uint32_t{entry.peRed} << 16 | std::uint32_t{entry.peGreen} << 8 |
                         entry.peBlue);
    return colors;
}

/// A screen of another depth: a bitmap in memory, which every window is.
class MemoryScreen final : public CqScreenService {
public:
    MemoryScreen(std::shared_ptr<CqScreenService> own, const MemoryBitmap& memory, int bits)
        : m_pOwn(std::move(own)), m_Memory(memory), m_nBits(bits) {}

    CDC* fnGetDC(CWnd*) override {
        m_DCs.push_back(q32Win32DC(m_Memory.fnGet(), m_nBits));
        return m_DCs.back().get();
    }
    void fnReleaseDC(CWnd*, CDC* dc) noexcept override {
        std::erase_if(m_DCs, [dc](const auto& open) { return open.get() == dc; });
    }
    int fnSetDIBitsToDevice(CDC* dc, int x, int y, UINT width, UINT height, int sourceX,
                            int sourceY, UINT startScan, UINT scans, const void* bits,
                            const BITMAPINFOHEADER* header, UINT use) override {
        // As if the device realized the palette.
        if (CPalette* const palette = m_nBits == 8 ? dc->SelectPalette(nullptr, true) : nullptr) {
            dc->SelectPalette(palette, false);
            m_Memory.fnSetColors(fnGetRealizedColors(*palette));
        }
        return m_pOwn->fnSetDIBitsToDevice(dc, x, y, width, height, sourceX, sourceY, startScan,
                                           scans, bits, header, use);
    }
    std::unique_ptr<CqPaletteObject> fnCreatePalette(const LOGPALETTE& palette) override {
        return m_pOwn->fnCreatePalette(palette);
    }
    void fnPaletteGone(const CPalette& palette) noexcept override {
        m_pOwn->fnPaletteGone(palette);
    }
    std::unique_ptr<CqRegionObject> fnCreateRectRegion(const RECT& rect) override {
        return m_pOwn->fnCreateRectRegion(rect);
    }
    bool fnGetIconTitleFont(LOGFONTA& font) override { return m_pOwn->fnGetIconTitleFont(font); }
    std::unique_ptr<CqFontObject> fnCreateFont(const LOGFONTA& font) override {
        return m_pOwn->fnCreateFont(font);
    }
    std::unique_ptr<CqBitmapObject> fnCreateCompatibleBitmap(CDC* dc, int width,
                                                             int height) override {
        return m_pOwn->fnCreateCompatibleBitmap(dc, width, height);
    }

private:
    std::shared_ptr<CqScreenService> m_pOwn;
    const MemoryBitmap& m_Memory;
    int m_nBits;
    std::vector<std::unique_ptr<CDC>> m_DCs;
};

/// Shows a scene on a library whose screen is a bitmap of that depth.
std::vector<Picture> fnShowInMemory(const Scene& scene, int bits) {
    const MemoryBitmap memory(bits);
    CqPlatform platform = q32Win32Platform(q32Win32Windows());
    platform.m_pScreen = std::make_shared<MemoryScreen>(platform.m_pScreen, memory, bits);
    EXPECT_TRUE(q32Attach(platform));
    std::vector<Picture> pictures;
    {
        CqHeadlessWnd window{kPlace};
        World made{*platform.m_pScreen, window,
                   [&] { return q32::test::fnCapture(memory.fnGet(), kWidth, kHeight); }};
        pictures = scene(made);
    }
    fnEnd();
    return pictures;
}

TEST(Win32Memory, ImagesAreDrawnInEveryDepthAsOnSuchAScreen) {
    std::vector<std::pair<std::string, Scene>> scenes = {{"with gamma", fnDrawWithGamma(false)},
                                                         {"without", fnDrawWithGamma(true)}};
    for (const unsigned int bits : kImageBits) {
        const std::string image = "image of " + std::to_string(bits);
        for (const auto& [factor, shrink] : kScales)
            scenes.emplace_back(image + ", factor " + std::to_string(factor),
                                fnDrawScaled(bits, factor, shrink));
        for (const MERGE_TYPE type : kKeys)
            scenes.emplace_back(image + ", rule " + std::to_string(type),
                                fnDrawWithKey(bits, type));
    }
    for (const int screen : {8, 16, 24, 32})
        for (const auto& [name, scene] : scenes) {
            SCOPED_TRACE(testing::Message() << screen << " bits, " << name);
            const std::vector<Picture> expected = fnShowHeadless(scene, screen);
            fnExpectSame(expected, fnShowInMemory(scene, screen));
        }
}

} // namespace
