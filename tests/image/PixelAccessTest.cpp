#include "q32Base/image/PixelAccess.h"

#include "tests/image/PlainPixels.h"
#include "tests/operations/PlainImage.h"
#include "tests/support/AttachedTest.h"
#include "tests/support/FailingAllocator.h"
#include "tests/support/Sanitizers.h"

#include <algorithm>
#include <cstring>
#include <numeric>

namespace {

using namespace q32::test;

constexpr PIXEL_ORDER kOrders[] = {PIXEL_STORED, PIXEL_ARGB32, PIXEL_BGRA32, PIXEL_BGRX32,
                                   PIXEL_RGB24,  PIXEL_GREY8,  PIXEL_BGR24};
constexpr unsigned char kGuard = 0xC7;

/// Rows with a stride and guards around them.
struct Field {
    Bytes m_Bytes;
    std::size_t m_nStride;
    std::size_t m_nRow;

    Field(const CRect& rect, std::size_t pixelBytes, std::size_t gap)
        : m_nStride(static_cast<std::size_t>(rect.Width()) * pixelBytes + gap),
          m_nRow(static_cast<std::size_t>(rect.Width()) * pixelBytes) {
        m_Bytes.assign(m_nStride * static_cast<std::size_t>(rect.Height()) + 2, kGuard);
    }
    unsigned char* fnGetData() { return m_Bytes.data() + 1; }
};

class PixelAccess : public AttachedTest {
protected:
    /// Includes equal entries, greys, and entries beyond the count of a short palette.
    static void fnAlloc(CqImage& image, Random& random, unsigned int width, unsigned int height,
                        unsigned int bits) {
        RGBQUAD palette[256] = {};
        for (RGBQUAD& entry : palette) {
            const auto level = static_cast<BYTE>(random() % 3 * 127);
            entry = {level, static_cast<BYTE>(random() % 2 ? level : 0), level,
                     static_cast<BYTE>(random())};
        }
        const unsigned int all = bits == 4 ? 16 : 256;
        image.fnAlloc(width, height, bits, palette, random() % 2 ? all : 1 + random() % all);
        fnSetRandom(image, random);
    }

    static CRect fnChooseRect(Random& random, const CqImage& image) {
        const auto width = static_cast<LONG>(image.Width);
        const auto height = static_cast<LONG>(image.Height);
        return random() % 4 ? fnRandomRect(random, image) : CRect(0, 0, width, height);
    }
};

TEST_F(PixelAccess, ReadingGivesEveryPixelOfARectangleInTheRequestedOrder) {
    Random random(1);
    for (int round = 0; round < fnRandomCases(300); ++round) {
        CqImage image;
        fnAlloc(image, random, fnRandomSide(random), fnRandomSide(random), fnRandomBits(random));
        const PIXEL_ORDER order = kOrders[random() % std::size(kOrders)];
        const CRect rect = fnChooseRect(random, image);
        const std::size_t bytes = fnBytesOf(image.BitCount, order);
        Field out(rect, bytes, random() % 2 * (random() % 9));
        Field expected = out;
        const Rows rows = fnRows(image);
        for (int y = rect.top; y < rect.bottom; ++y)
            for (int x = rect.left; x < rect.right; ++x) {
                const Bytes pixel =
                    fnInOrder(image,
                              fnStored(image.BitCount, rows[static_cast<std::size_t>(y)],
                                       static_cast<unsigned int>(x)),
                              order);
                std::copy(pixel.begin(), pixel.end(),
                          expected.fnGetData() +
                              static_cast<std::size_t>(y - rect.top) * expected.m_nStride +
                              static_cast<std::size_t>(x - rect.left) * bytes);
            }
        ASSERT_TRUE(q32ReadPixels(image, rect, order, out.fnGetData(), out.m_nStride));
        ASSERT_TRUE(out.m_Bytes == expected.m_Bytes)
            << image.BitCount << " bits, order " << order << ", " << image.Width << " x "
            << image.Height << ", from " << rect.left << ", " << rect.top << " to " << rect.right
            << ", " << rect.bottom;
        ASSERT_TRUE(fnRows(image) == rows);
    }
}

TEST_F(PixelAccess, WritingStoresExactlyThePixelsOfARectangle) {
    Random random(2);
    for (int round = 0; round < fnRandomCases(300); ++round) {
        CqImage image;
        fnAlloc(image, random, fnRandomSide(random), fnRandomSide(random), fnRandomBits(random));
        const PIXEL_ORDER order = kOrders[random() % std::size(kOrders)];
        const CRect rect = fnChooseRect(random, image);
        const std::size_t bytes = fnBytesOf(image.BitCount, order);
        Field in(rect, bytes, random() % 2 * (random() % 9));
        for (unsigned char& byte : in.m_Bytes) // often a colour of the palette
            byte = static_cast<unsigned char>(random() % 2 ? random() % 3 * 127 : random());
        Rows expected = fnRows(image);
        for (int y = rect.top; y < rect.bottom; ++y)
            for (int x = rect.left; x < rect.right; ++x) {
                const unsigned char* pixel = in.fnGetData() +
                                             static_cast<std::size_t>(y - rect.top) * in.m_nStride +
                                             static_cast<std::size_t>(x - rect.left) * bytes;
                fnStore(image.BitCount, expected[static_cast<std::size_t>(y)],
                        static_cast<unsigned int>(x),
                        fnToStored(image, Bytes(pixel, pixel + bytes), order));
            }
        const Bytes before = in.m_Bytes;
        ASSERT_TRUE(q32WritePixels(image, rect, order, in.fnGetData(), in.m_nStride));
        ASSERT_TRUE(fnRows(image) == expected)
            << image.BitCount << " bits, order " << order << ", " << image.Width << " x "
            << image.Height << ", from " << rect.left << ", " << rect.top << " to " << rect.right
            << ", " << rect.bottom;
        ASSERT_TRUE(in.m_Bytes == before);
    }
}

TEST_F(PixelAccess, PickingGivesThePixelsOfARowInListOrder) {
    Random random(3);
    for (int round = 0; round < fnRandomCases(200); ++round) {
        CqImage image;
        fnAlloc(image, random, fnRandomSide(random), 1 + random() % 140, fnRandomBits(random));
        const PIXEL_ORDER order = kOrders[random() % std::size(kOrders)];
        const std::size_t bytes = fnBytesOf(image.BitCount, order);
        const unsigned int y = random() % image.Height;
        std::vector<std::uint32_t> columns(random() % 600);
        for (std::uint32_t& column : columns)
            column = random() % image.Width;
        if (random() % 2)
            std::sort(columns.begin(), columns.end());
        Bytes out(columns.size() * bytes + 1, kGuard);
        Bytes expected;
        const Bytes row = fnRows(image)[y];
        for (const std::uint32_t column : columns) {
            const Bytes pixel = fnInOrder(image, fnStored(image.BitCount, row, column), order);
            expected.insert(expected.end(), pixel.begin(), pixel.end());
        }
        expected.push_back(kGuard);
        ASSERT_TRUE(
            CqPixelReader(image, order).fnPick(y, columns.data(), columns.size(), out.data()));
        ASSERT_TRUE(out == expected) << image.BitCount << " bits, order " << order;
    }
}

TEST_F(PixelAccess, PickingRowsAndColumnsGivesTheirCrossings) {
    Random random(6);
    for (int round = 0; round < fnRandomCases(300); ++round) {
        CqImage image;
        fnAlloc(image, random, fnRandomSide(random), fnRandomSide(random), fnRandomBits(random));
        const PIXEL_ORDER order = kOrders[random() % std::size(kOrders)];
        const std::size_t bytes = fnBytesOf(image.BitCount, order);
        // Often close together, as a view lists them.
        const auto list = [&](std::uint32_t length) {
            const std::uint32_t first = random() % length;
            const std::uint32_t reach = random() % 2 ? length - first : 1 + random() % 4;
            std::vector<std::uint32_t> places(random() % 40);
            for (std::uint32_t& place : places)
                place = std::min(length - 1, first + random() % reach);
            if (random() % 4)
                std::sort(places.begin(), places.end());
            return places;
        };
        const std::vector<std::uint32_t> rows = list(image.Height);
        const std::vector<std::uint32_t> columns = list(image.Width);
        const std::size_t stride = columns.size() * bytes + random() % 5;
        Bytes out(rows.size() * stride + 1, kGuard);
        Bytes expected = out;
        const Rows stored = fnRows(image);
        for (std::size_t y = 0; y < rows.size(); ++y)
            for (std::size_t x = 0; x < columns.size(); ++x) {
                const Bytes pixel =
                    fnInOrder(image, fnStored(image.BitCount, stored[rows[y]], columns[x]), order);
                std::copy(pixel.begin(), pixel.end(), expected.data() + y * stride + x * bytes);
            }
        const CqPixelReader reader(image, order);
        ASSERT_TRUE(reader.fnPick(rows.data(), rows.size(), columns.data(), columns.size(),
                                  out.data(), stride));
        ASSERT_TRUE(out == expected) << image.BitCount << " bits, order " << order;
    }
}

TEST_F(PixelAccess, RowsAreReadAndWrittenFromOddPixelsAndAcrossTheEdgesOfTiles) {
    Random random(4);
    for (const unsigned int bits : {4u, 8u, 16u, 24u, 32u})
        for (const PIXEL_ORDER order : kOrders) {
            CqImage image;
            fnAlloc(image, random, 300, 130, bits);
            const CqPixelReader reader(image, order);
            const CqPixelWriter writer(image, PIXEL_STORED);
            ASSERT_EQ(reader.fnGetPixelBytes(), fnBytesOf(bits, order));
            ASSERT_EQ(writer.fnGetPixelBytes(), fnBytesOf(bits, PIXEL_STORED));
            for (const unsigned int y : {0u, 127u, 128u, 129u})
                for (const unsigned int x : {0u, 1u, 126u, 127u, 128u, 129u, 255u, 299u, 300u})
                    for (const unsigned int count : {0u, 1u, 2u, 3u, 128u, 171u}) {
                        Rows rows = fnRows(image);
                        Bytes in(count * writer.fnGetPixelBytes());
                        for (unsigned char& byte : in)
                            byte = static_cast<unsigned char>(random() % (bits == 4 ? 16 : 256));
                        const bool inside = x + count <= 300;
                        ASSERT_EQ(writer.fnWriteRow(x, y, count, in.data()), inside);
                        Bytes expected;
                        for (unsigned int i = 0; inside && i < count; ++i) {
                            const std::size_t size = writer.fnGetPixelBytes();
                            const Bytes pixel(in.data() + i * size, in.data() + (i + 1) * size);
                            fnStore(bits, rows[y], x + i, pixel);
                            const Bytes ordered = fnInOrder(image, pixel, order);
                            expected.insert(expected.end(), ordered.begin(), ordered.end());
                        }
                        ASSERT_TRUE(fnRows(image) == rows);
                        Bytes out(inside ? count * reader.fnGetPixelBytes() : 0);
                        ASSERT_EQ(reader.fnReadRow(x, y, count, out.data()), inside);
                        ASSERT_TRUE(out == expected) << bits << " bits, order " << order << " at "
                                                     << x << ", " << y << ": " << count;
                    }
        }
}

TEST_F(PixelAccess, AreasOutsideTheImageAreRefusedBeforeTheFirstByte) {
    Random random(5);
    constexpr LONG kMin = INT32_MIN;
    constexpr LONG kMax = INT32_MAX;
    const CRect outside[] = {{-1, 0, 5, 5},      {0, -1, 5, 5},      {0, 0, 131, 5},
                             {0, 0, 5, 141},     {130, 0, 131, 1},   {5, 0, 4, 1},
                             {0, 5, 1, 4},       {kMin, 0, kMax, 1}, {0, kMin, 1, kMax},
                             {kMax, 0, kMin, 1}, {-1, 0, -1, 0},     {131, 0, 131, 0}};
    for (const unsigned int bits : {4u, 8u, 16u, 24u, 32u}) {
        CqImage image;
        fnAlloc(image, random, 130, 140, bits);
        const Rows rows = fnRows(image);
        for (const PIXEL_ORDER order : kOrders) {
            Bytes block(4 * 130 * 140, kGuard);
            for (const CRect& rect : outside) {
                EXPECT_FALSE(q32ReadPixels(image, rect, order, block.data(), 4 * 130));
                EXPECT_FALSE(q32WritePixels(image, rect, order, block.data(), 4 * 130));
            }
            const CqPixelReader reader(image, order);
            const CqPixelWriter writer(image, order);
            const std::size_t bytes = reader.fnGetPixelBytes();
            EXPECT_FALSE(reader.fnRead({0, 0, 130, 2}, block.data(), 130 * bytes - 1));
            EXPECT_FALSE(writer.fnWrite({0, 0, 130, 2}, block.data(), 130 * bytes - 1));
            EXPECT_FALSE(reader.fnReadRow(1, 0, 130, block.data()));
            EXPECT_FALSE(reader.fnReadRow(1, 0, 0xFFFFFFFF, block.data()));
            EXPECT_FALSE(reader.fnReadRow(131, 0, 0, block.data()));
            EXPECT_FALSE(reader.fnReadRow(0, 140, 1, block.data()));
            EXPECT_FALSE(writer.fnWriteRow(1, 0, 0xFFFFFFFF, block.data()));
            EXPECT_FALSE(writer.fnWriteRow(0, 0xFFFFFFFF, 1, block.data()));
            const std::uint32_t columns[] = {0, 130, 0};
            EXPECT_FALSE(reader.fnPick(0, columns, 3, block.data()));
            EXPECT_FALSE(reader.fnPick(140, columns, 1, block.data()));
            const std::uint32_t picked[] = {0, 140};
            EXPECT_FALSE(reader.fnPick(picked, 2, columns, 1, block.data(), 4));
            EXPECT_FALSE(reader.fnPick(columns, 1, picked, 2, block.data(), 8));
            EXPECT_FALSE(reader.fnPick(columns, 1, columns, 1, block.data(), bytes - 1));
            EXPECT_TRUE(reader.fnPick(0, columns, 0, block.data()));
            EXPECT_TRUE(reader.fnRead({130, 140, 130, 140}, block.data(), 0));
            EXPECT_TRUE(writer.fnWrite({7, 0, 7, 140}, block.data(), 0));
            EXPECT_EQ(block, Bytes(block.size(), kGuard));
        }
        EXPECT_TRUE(fnRows(image) == rows);
    }
}

TEST_F(PixelAccess, AnImageWithoutStorageOrWithOtherStorageIsRefused) {
    unsigned char pixel[4] = {};
    CqImage image;
    const CqPixelReader early(image, PIXEL_ARGB32);
    EXPECT_FALSE(q32ReadPixels(image, {0, 0, 1, 1}, PIXEL_ARGB32, pixel, 4));
    EXPECT_FALSE(q32WritePixels(image, {0, 0, 1, 1}, PIXEL_ARGB32, pixel, 4));
    image.fnAlloc(2, 2, 24, nullptr, 0);
    EXPECT_FALSE(early.fnReadRow(0, 0, 1, pixel));
    const CqPixelReader reader(image, PIXEL_ARGB32);
    const CqPixelWriter writer(image, PIXEL_ARGB32);
    EXPECT_TRUE(writer.fnWriteRow(0, 0, 1, pixel));
    EXPECT_TRUE(reader.fnReadRow(0, 0, 1, pixel));
    CqImage other(5, 5, 8, nullptr, 0);
    image.fnSwapBuf(other);
    const std::uint32_t column = 0;
    EXPECT_FALSE(reader.fnReadRow(0, 0, 1, pixel));
    EXPECT_FALSE(reader.fnPick(0, &column, 1, pixel));
    EXPECT_FALSE(writer.fnWriteRow(0, 0, 1, pixel));
}

TEST_F(PixelAccess, NewStorageAtTheAddressOfTheOldOneIsRefused) {
    unsigned char pixel[4] = {};
    const std::uint32_t column = 0;
    bool repeated = false;
    for (int tries = 0; tries < 100 && !repeated; ++tries) {
        CqImage image(100, 100, 32, nullptr, 0);
        const CqTileMap* const old = image.TileMap;
        const CqPixelReader reader(image, PIXEL_ARGB32);
        const CqPixelWriter writer(image, PIXEL_ARGB32);
        image.fnAlloc(1, 1, 8, nullptr, 0);
        image.fnAlloc(2, 1, 8, nullptr, 0);
        repeated = image.TileMap == old;
        EXPECT_FALSE(reader.fnRead({0, 0, 1, 1}, pixel, 4));
        EXPECT_FALSE(reader.fnReadRow(0, 0, 1, pixel));
        EXPECT_FALSE(reader.fnPick(0, &column, 1, pixel));
        EXPECT_FALSE(writer.fnWrite({0, 0, 1, 1}, pixel, 4));
        EXPECT_FALSE(writer.fnWriteRow(0, 0, 1, pixel));
    }
    // Sanitizers keep freed addresses back for a while; elsewhere the second map takes the first
    // one's.
    EXPECT_TRUE(repeated || kAddressSanitizer || kThreadSanitizer);
}

TEST_F(PixelAccess, AGreyOfEqualChannelsIsThatChannel) {
    for (int level = 0; level < 256; ++level) {
        CqImage image(1, 1, 24, nullptr, 0);
        const auto grey = static_cast<unsigned char>(level);
        unsigned char out = 0;
        ASSERT_TRUE(q32WritePixels(image, {0, 0, 1, 1}, PIXEL_GREY8, &grey, 1));
        ASSERT_TRUE(q32ReadPixels(image, {0, 0, 1, 1}, PIXEL_GREY8, &out, 1));
        EXPECT_EQ(out, grey);
    }
}

TEST_F(PixelAccess, NothingIsAllocated) {
    CqImage image(300, 10, 4, nullptr, 0);
    unsigned char row[4 * 300] = {};
    CqAllocationFailure failure(1, true);
    EXPECT_TRUE(q32ReadPixels(image, {1, 0, 300, 1}, PIXEL_ARGB32, row, sizeof(row)));
    EXPECT_TRUE(q32WritePixels(image, {1, 0, 300, 1}, PIXEL_BGRX32, row, sizeof(row)));
    EXPECT_FALSE(failure.fnHappened());
}

} // namespace
