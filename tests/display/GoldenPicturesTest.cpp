// A small colourful image on the screen, compared with reviewed pictures.

#include "tests/display/DisplayWorld.h"
#include "tests/support/GoldenPicture.h"

#include <algorithm>
#include <string>
#include <tuple>

namespace {

constexpr int kWidth = 160; // two columns and two rows of tiles, which meet at (128, 128)
constexpr int kHeight = 160;
const CRect kShown(88, 88, 160, 160); // the part that is shown

/// Ramps of hue from left to right and of brightness from the top down, a white disc where the
/// tiles meet, and a ramp of grey at the bottom.
CqColor fnPixel(int x, int y) {
    const int dx = x - 128;
    const int dy = y - 128;
    if (dx * dx + dy * dy < 9 * 9)
        return CqColor(255, 255, 255, 200);
    const int right = std::max(x - static_cast<int>(kShown.left), 0);
    const int below = std::max(y - static_cast<int>(kShown.top), 0);
    if (below >= kShown.Height() - 10) {
        const auto grey = static_cast<unsigned char>(right * 255 / (kShown.Width() - 1));
        return CqColor(grey, grey, grey, 255);
    }
    const int hue = right * 1536 / kShown.Width(); // six edges of 256 steps
    const auto channel = [&](int turn) { // full for two edges, then down, none for two, up
        const int at = (hue + turn) % 1536;
        const int full = at < 512 ? 255 : at < 768 ? 767 - at : at < 1280 ? 0 : at - 1280;
        return static_cast<unsigned char>(full * (kShown.Height() - below) / kShown.Height());
    };
    return CqColor(channel(256), channel(1280), channel(768), static_cast<unsigned char>(255 - y));
}

/// The bytes of a pixel in an image of 16, 24 or 32 bits, or an index of the default palette.
void fnStore(unsigned char* out, const CqColor& color, unsigned bits) {
    const int value = (color.m_Red >> 3) * 2048 + (color.m_Green >> 2) * 32 + (color.m_Blue >> 3);
    switch (bits) {
    case 8: // the palette has 6 levels of red, 7 of green, 6 of blue
        *out = static_cast<unsigned char>((color.m_Red + 25) / 51 * 42 +
                                          (color.m_Green * 6 + 127) / 255 * 6 +
                                          (color.m_Blue + 25) / 51);
        return;
    case 16:
        out[0] = static_cast<unsigned char>(value >> 8);
        out[1] = static_cast<unsigned char>(value);
        return;
    case 32:
        *out++ = color.m_Alpha;
        [[fallthrough]];
    default:
        out[0] = color.m_Red;
        out[1] = color.m_Green;
        out[2] = color.m_Blue;
    }
}

std::unique_ptr<CqImage> fnMakeImage(unsigned bits) {
    auto image = std::make_unique<CqImage>(kWidth, kHeight, bits, nullptr, 0u);
    CqImageLine line;
    for (int y = 0; y < kHeight; ++y) {
        image->fnAccessLine(static_cast<unsigned>(y), &line, false);
        for (int x = 0; x < kWidth; ++x) {
            if (bits == 4) { // the sixteen colours in cells
                const unsigned index = static_cast<unsigned>(x / 10 + y / 9) % 16;
                unsigned char& byte = line.LineBuffer[x / 2];
                byte = static_cast<unsigned char>(x % 2 == 0 ? index * 16 : byte | index);
            } else {
                fnStore(line.LineBuffer + static_cast<unsigned>(x) * bits / 8, fnPixel(x, y), bits);
            }
        }
    }
    return image;
}

void fnCompare(CqDisplayWorld& world, const std::string& name) {
    fnCompareGolden(world.fnScreen().fnGetPicture(), name);
}

class GoldenPictures : public testing::TestWithParam<std::tuple<int, unsigned>> {};

} // namespace

TEST_P(GoldenPictures, MatchTheScreen) {
    const auto [screen, depth] = GetParam();
    CqDisplayWorld world(screen);
    ASSERT_TRUE(world.fnScreen().fnSetMode({kShown.Width(), kShown.Height(), screen, 96, 96}));
    const auto image = fnMakeImage(depth);
    const CRect all(CPoint(0, 0), kShown.Size());
    EXPECT_TRUE(image->fnDraw(world.fnDC(), all, kShown.left, kShown.top, false, false));
    fnCompare(world, "screen" + std::to_string(screen) + "_image" + std::to_string(depth));
    world.fnDC()->SelectPalette(nullptr, true);
}

INSTANTIATE_TEST_SUITE_P(AllDepths, GoldenPictures,
                         testing::Combine(testing::Values(8, 16, 24, 32),
                                          testing::Values(4u, 8u, 16u, 24u, 32u)));

TEST(GoldenPictures, MatchGammaAndScales) {
    for (const int screen : {8, 16, 32}) {
        CqDisplayWorld world(screen);
        ASSERT_TRUE(world.fnScreen().fnSetMode({kShown.Width(), kShown.Height(), screen, 96, 96}));
        world.fnDisplay().fnSetGammaValue(220);
        const auto image = fnMakeImage(24);
        const CRect all(CPoint(0, 0), kShown.Size());
        EXPECT_TRUE(image->fnDraw(world.fnDC(), all, kShown.left, kShown.top, false, false));
        fnCompare(world, "screen" + std::to_string(screen) + "_gamma220");
        world.fnDisplay().fnSetGammaValue(180);
        image->fnDrawInit(3u, false, all, CPoint(), nullptr);
        EXPECT_TRUE(
            image->fnDraw(world.fnDC(), all, 345, 345, false, false)); // where the tiles meet
        fnCompare(world, "screen" + std::to_string(screen) + "_times3");
        world.fnScreen().fnClear();
        image->fnDrawInit(2u, true, all, CPoint(), nullptr);
        EXPECT_TRUE(image->fnDraw(world.fnDC(), all, 8, 8, false, false));
        fnCompare(world, "screen" + std::to_string(screen) + "_half");
    }
}
