#include "tests/support/AttachedTest.h"

#include <cstring>

namespace {

class CqImageTileTest : public AttachedTest {};

TEST_F(CqImageTileTest, BeginsFree) {
    const CqImageTile tile;
    EXPECT_EQ(tile.Index, -1);
    EXPECT_FALSE(tile.Claim);
    EXPECT_EQ(tile.Pixels, nullptr);
    EXPECT_TRUE(CqImageTile(true).Claim);
}

TEST_F(CqImageTileTest, ATileOfTheLastColumnHasAShorterRow) {
    CqImage image(200, 150, 24, nullptr, 0);
    CqImageTile tile;
    image.fnAccessTile(0, &tile);
    EXPECT_EQ(tile.RowBytes, 128u * 3);
    EXPECT_EQ(tile.Size, 128u * 3 * 128);
    image.fnAccessTile(3, &tile);
    EXPECT_EQ(tile.Left, 128);
    EXPECT_EQ(tile.Top, 128);
    EXPECT_EQ(tile.Right, 200);
    EXPECT_EQ(tile.Bottom, 150);
    EXPECT_EQ(tile.Width, 72);
    EXPECT_EQ(tile.Height, 22);
    EXPECT_EQ(tile.RowBytes, 72u * 3);
    EXPECT_EQ(tile.Size, 72u * 3 * 22);
    EXPECT_EQ(tile.BitCount, 24u);
    EXPECT_EQ(tile.BytesPerPixel, 3u);
}

TEST_F(CqImageTileTest, IsSelectedByThePositionOfAPixel) {
    CqImage image(300, 300, 8, nullptr, 0);
    const struct {
        LONG x, y;
        int index;
    } cases[] = {{0, 0, 0},     {127, 127, 0}, {128, 127, 1},
                 {127, 128, 3}, {299, 299, 8}, {256, 128, 5}};
    for (const auto& c : cases) {
        CPoint position(c.x, c.y);
        CqImageTile tile;
        image.fnAccessTile(position, &tile);
        EXPECT_EQ(tile.Index, c.index) << c.x << "," << c.y;
    }
    CqImage wide(1000, 1, 4, nullptr, 0);
    CPoint outside(999, 0);
    CqImageTile tile;
    wide.fnAccessTile(outside, &tile);
    EXPECT_EQ(tile.Index, 0);
}

TEST_F(CqImageTileTest, CopiesItsOwnByteCountWithoutCheckingDepthOrSize) {
    CqImage from(8, 1, 32, nullptr, 0);
    CqImage to(5, 2, 8, nullptr, 0);
    CqImageTile source;
    CqImageTile target;
    from.fnAccessTile(0, &source);
    to.fnAccessTile(0, &target);
    for (unsigned int i = 0; i < 32; ++i)
        source.Pixels[i] = static_cast<unsigned char>(100 + i);
    target.fnCopy(source);
    EXPECT_EQ(std::memcmp(target.Pixels, source.Pixels, 10), 0);
}

} // namespace
