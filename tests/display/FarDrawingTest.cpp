// Destinations that reach far beyond the screen.

#include "q32Base/memory/CqTileMap_p.h"
#include "tests/display/DisplayWorld.h"
#include "tests/display/DrawReference.h"

#include <limits>
#include <map>
#include <utility>

namespace {

constexpr int kScreenWidth = 640;
constexpr int kScreenHeight = 480;
constexpr std::uint64_t kMaxPixels = (kScreenWidth + 2048ull) * (kScreenHeight + 2048ull);

/// The device bytes that the recorded blocks put at a point of the screen; none if no block does.
std::vector<std::uint8_t> fnShown(const std::vector<CqHeadlessDraw>& draws, int x, int y) {
    std::vector<std::uint8_t> bytes;
    for (const CqHeadlessDraw& draw : draws) {
        const int column = x - draw.m_nX;
        const int row = y - draw.m_nY;
        const int width = static_cast<int>(draw.m_nWidth);
        const int height = static_cast<int>(draw.m_nHeight);
        if (column < 0 || column >= width || row < 0 || row >= height)
            continue;
        const std::size_t size = draw.m_Header->biBitCount / 8u;
        const std::uint8_t* at =
            &draw.m_Rows[static_cast<std::size_t>(height - 1 - row) * draw.m_nStride +
                         static_cast<std::size_t>(column) * size];
        bytes.assign(at, at + size);
    }
    return bytes;
}

std::uint64_t fnCountPixels(const std::vector<CqHeadlessDraw>& draws) {
    std::uint64_t pixels = 0;
    for (const CqHeadlessDraw& draw : draws)
        pixels += std::uint64_t{draw.m_nWidth} * draw.m_nHeight;
    return pixels;
}

struct Far {
    int m_nDepth;
    int m_nFactor;
    CRect m_Destination;
    int m_nX;
    int m_nY;
};

} // namespace

TEST(FarDrawing, ShowsTheSamePixelsAsTheRuleAndDrawsLittleElse) {
    // The screen shows a boundary of tiles, one of pixels, or a corner of the picture.
    const Far cases[] = {
        {24, 300, CRect(-38100, -38200, 50000, 50000), 0, 0},
        {8, 301, CRect(-38400, -38333, 51600, 51600), 3, 7},
        {4, 299, CRect(-60000, -70001, 19000, 18000), 1, 0},
        {32, 5'000'001, CRect(-640000500, -640000300, 859999500, 859999700), 0, 0},
        {16, 7'000'000, CRect(-1, -2, 2147483646, 2147483645), 897654321, 4},
        {4, 7'000'000, CRect(-77, -5, 2000000000, 2000000000), 20999000, 13999900}};
    for (const int screen : {8, 16, 24, 32}) {
        CqDisplayWorld world(screen);
        world.fnDisplay().fnSetGammaValue(220);
        for (const Far& place : cases) {
            const auto image = fnMakeNoise(300, 300, static_cast<unsigned>(place.m_nDepth));
            image->fnDrawInit(static_cast<unsigned>(place.m_nFactor), false, CRect(0, 0, 99, 99),
                              CPoint(), nullptr);
            world.fnScreen().fnClearDraws();
            ASSERT_TRUE(image->fnDraw(world.fnDC(), place.m_Destination, place.m_nX, place.m_nY,
                                      false, false));
            const std::vector<CqHeadlessDraw>& draws = world.fnScreen().fnGetDraws();
            EXPECT_LE(fnCountPixels(draws), kMaxPixels);
            EXPECT_GT(fnCountPixels(draws), 0u);

            CqReferenceSetup setup;
            setup.m_nScreenBits = screen;
            setup.m_nFactor = place.m_nFactor;
            setup.m_nGamma = 220;
            const std::int64_t scaled =
                std::min<std::int64_t>(300ll * place.m_nFactor, std::numeric_limits<int>::max());
            const std::int64_t width = std::min<std::int64_t>(place.m_Destination.Width(), scaled);
            const std::int64_t height =
                std::min<std::int64_t>(place.m_Destination.Height(), scaled);
            const std::int64_t left = std::clamp<std::int64_t>(place.m_nX, 0, scaled - width);
            const std::int64_t top = std::clamp<std::int64_t>(place.m_nY, 0, scaled - height);
            for (int y = 0; y < kScreenHeight; y += 23) {
                for (int x = 0; x < kScreenWidth; x += 17) {
                    const std::int64_t column = std::int64_t{x} - place.m_Destination.left;
                    const std::int64_t row = std::int64_t{y} - place.m_Destination.top;
                    std::vector<std::uint8_t> expected;
                    if (column < width && row < height) {
                        const int atX = static_cast<int>(left + column);
                        const int atY = static_cast<int>(top + row);
                        const auto pixel =
                            fnReferencePixel(*image, atX / place.m_nFactor, atY / place.m_nFactor);
                        const CqDevicePixel device =
                            fnReferenceDevicePixel(*image, pixel, setup, atX, atY);
                        expected.assign(device.m_Bytes.begin(),
                                        device.m_Bytes.begin() +
                                            static_cast<std::ptrdiff_t>(device.m_nCount));
                    }
                    ASSERT_EQ(fnShown(draws, x, y), expected)
                        << place.m_nDepth << " bits by " << place.m_nFactor << " on " << screen
                        << " at " << x << ", " << y;
                }
            }
        }
    }
}

TEST(FarDrawing, OfAShrunkImageDrawsOnlyWhatIsNearTheScreen) {
    CqDisplayWorld world(32);
    const auto image = fnMakeNoise(9000, 300, 8);
    image->fnDrawInit(2u, true, CRect(0, 0, 99, 99), CPoint(), nullptr);
    EXPECT_TRUE(image->fnDraw(world.fnDC(), CRect(500, 0, 5000, 150), 0, 0, false, false));
    int right = 0;
    for (const CqHeadlessDraw& draw : world.fnScreen().fnGetDraws())
        right = std::max(right, draw.m_nX + static_cast<int>(draw.m_nWidth));
    EXPECT_EQ(right, kScreenWidth + 1024);
}

TEST(FarDrawing, OfADestinationThatIsNowhereNearTheScreenSucceedsWithoutACall) {
    CqDisplayWorld world(24);
    for (const unsigned width : {100u, 300u}) { // one tile, and several
        const auto image = fnMakeNoise(width, 5, 24);
        for (const CPoint& place :
             {CPoint(2147480000, 0), CPoint(0, 2147480000), CPoint(-2147480000, 0),
              CPoint(0, -2147480000), CPoint(2147483647 - 300, 2147483647 - 5)})
            EXPECT_TRUE(
                image->fnDraw(world.fnDC(), CRect(place, CSize(300, 5)), 0, 0, false, false));
    }
    EXPECT_TRUE(world.fnScreen().fnGetDraws().empty());
}

TEST(FarDrawing, ATileInAHugeViewIsCutToo) {
    CqDisplayWorld world(32);
    const auto image = fnMakeNoise(300, 300, 24);
    const CRect view(-1000000000, -1000000000, 1000000000, 1000000000);
    image->fnDrawInit(5'000'000u, false, view, CPoint(), nullptr);
    CqImageTile tile(false);
    for (unsigned i = 0; i < image->TileCount; ++i) {
        image->fnAccessTile(i, &tile);
        EXPECT_TRUE(tile.fnDraw(world.fnDC()));
    }
    const std::vector<CqHeadlessDraw>& draws = world.fnScreen().fnGetDraws();
    EXPECT_LE(fnCountPixels(draws), kMaxPixels);
    for (const auto& [x, y] : {std::pair(0, 0), std::pair(639, 479)}) {
        const auto pixel = fnReferencePixel(*image, 200, 200);
        CqReferenceSetup setup;
        setup.m_nFactor = 5'000'000;
        const CqDevicePixel device =
            fnReferenceDevicePixel(*image, pixel, setup, 1000000000 + x, 1000000000 + y);
        EXPECT_EQ(fnShown(draws, x, y),
                  std::vector<std::uint8_t>(device.m_Bytes.begin(), device.m_Bytes.begin() + 4));
    }
}

TEST(FarDrawing, AViewWithANegativeSideDoesNotScaleBeyond32Bits) {
    CqDisplayWorld world(32);
    const auto image = fnMakeNoise(1000, 1, 24);
    image->fnDrawInit(0.0, CRect(0, 0, 100, std::numeric_limits<LONG>::min()), nullptr);
    EXPECT_EQ(image->TileMap->ImageRect,
              CRect(0, 0, std::numeric_limits<LONG>::min(), std::numeric_limits<LONG>::min()));
    image->fnDrawInit(0.0, CRect(-1, 0, 2147483646, 2147483647), nullptr);
    EXPECT_EQ(image->TileMap->ImageRect, CRect(0, 0, 2147483647, 2147483));
}
