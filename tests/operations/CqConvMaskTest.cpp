#include "q32Base/operations/CqConvMask.h"

#include "tests/operations/PlainImage.h"
#include "tests/support/AttachedTest.h"
#include "tests/support/FailingAllocator.h"

#include <algorithm>

namespace q32::test {
namespace {

class CqConvMaskTest : public AttachedTest {
protected:
    Random m_Random{5901};

    /// A column of pixels, each with its row's number.
    static void fnSetNumbers(CqImage& image) {
        Rows rows = fnRows(image);
        for (std::size_t y = 0; y < rows.size(); ++y)
            std::fill(rows[y].begin(), rows[y].end(), static_cast<unsigned char>(y));
        fnSetRows(image, rows);
    }

    /// The numbers of the rows in the window.
    static std::vector<int> fnShown(CqConvMask& window, int lines) {
        std::vector<int> shown;
        shown.reserve(static_cast<std::size_t>(lines));
        for (int i = 0; i < lines; ++i)
            shown.push_back(window.fnGetLine(i)[0]);
        return shown;
    }
};

TEST_F(CqConvMaskTest, AWindowOf3RepeatsTheEdgeRows) {
    CqImage image(1, 4, 8, q32GreyRamp, 256);
    fnSetNumbers(image);
    CqConvMask window(image, 3, -1);
    const std::vector<int> expected[] = {{0, 0, 1}, {0, 1, 2}, {1, 2, 3}, {2, 3, 3}};
    for (const std::vector<int>& rows : expected) {
        window.fnGotoNextLine();
        EXPECT_EQ(fnShown(window, 3), rows);
        unsigned char *a, *b, *c;
        window.fnGetLine(a, b, c);
        EXPECT_EQ((std::vector<int>{*a, *b, *c}), rows);
    }
}

TEST_F(CqConvMaskTest, BelowTheLastRowTheEdgeIsRepeated) {
    CqImage image(1, 2, 8, q32GreyRamp, 256);
    fnSetNumbers(image);
    CqConvMask window(image, 3, 0);
    for (int i = 0; i < 4; ++i)
        window.fnGotoNextLine();
    EXPECT_EQ(fnShown(window, 3), (std::vector<int>{1, 1, 1}));
}

TEST_F(CqConvMaskTest, AWindowOf5GivesFiveRows) {
    CqImage image(1, 6, 8, q32GreyRamp, 256);
    fnSetNumbers(image);
    CqConvMask window(image, 5, 1);
    window.fnGotoNextLine();
    unsigned char *a, *b, *c, *d, *e;
    window.fnGetLine(a, b, c, d, e);
    EXPECT_EQ((std::vector<int>{*a, *b, *c, *d, *e}), (std::vector<int>{0, 1, 2, 3, 4}));
    window.fnGotoNextLine();
    window.fnGetLine(a, b, c, d, e);
    EXPECT_EQ((std::vector<int>{*a, *b, *c, *d, *e}), (std::vector<int>{1, 2, 3, 4, 5}));
    window.fnGetLine(a, b, c); // the third is the last of the five
    EXPECT_EQ((std::vector<int>{*a, *b, *c}), (std::vector<int>{1, 2, 5}));
}

TEST_F(CqConvMaskTest, AWindowOf4LeansUpwards) {
    CqImage image(1, 9, 8, q32GreyRamp, 256);
    fnSetNumbers(image);
    CqConvMask window(image, 4, 3);
    window.fnGotoNextLine();
    EXPECT_EQ(fnShown(window, 4), (std::vector<int>{2, 3, 4, 5}));
}

TEST_F(CqConvMaskTest, AnImageOfOneRowShowsItEverywhere) {
    CqImage image(2, 1, 8, q32GreyRamp, 256);
    fnSetAll(image, 42);
    CqConvMask window(image, 5, -1);
    window.fnGotoNextLine();
    EXPECT_EQ(fnShown(window, 5), std::vector<int>(5, 42));
}

TEST_F(CqConvMaskTest, EveryWindowShowsTheRowsAroundEveryRow) {
    for (int round = 0; round < 200; ++round) {
        const int height = 1 + fnBelow(m_Random, 30);
        CqImage image(1, static_cast<unsigned int>(height), 8, q32GreyRamp, 256);
        fnSetNumbers(image);
        const int lines = 1 + fnBelow(m_Random, 9);
        const int start = fnBelow(m_Random, static_cast<unsigned int>(height)) - 1;
        CqConvMask window(image, static_cast<unsigned int>(lines), start);
        for (int y = start + 1; y < height; ++y) {
            window.fnGotoNextLine();
            for (int i = 0; i < lines; ++i) {
                const int row = y - lines / 2 + i;
                ASSERT_EQ(window.fnGetLine(i)[0], std::clamp(row, 0, height - 1));
                ASSERT_EQ(window.fnGetLineCoord(i),
                          row < 0 ? height - 1 : std::min(row, height - 1));
            }
        }
    }
}

TEST_F(CqConvMaskTest, ARowAboveTheImageIsReportedAsTheLastOne) {
    CqImage image(1, 7, 8, q32GreyRamp, 256);
    fnSetNumbers(image);
    CqConvMask window(image, 3, -1);
    window.fnGotoNextLine();
    EXPECT_EQ(window.fnGetLineCoord(0), 6);
    EXPECT_EQ(window.fnGetLine(0)[0], 0);
    EXPECT_EQ(window.fnGetLineCoord(1), 0);
}

TEST_F(CqConvMaskTest, EachRowIsFetchedOnce) {
    CqImage image(1, 9, 8, q32GreyRamp, 256);
    fnSetNumbers(image);
    CqConvMask window(image, 3, 3);
    window.fnGotoNextLine();
    fnSetAll(image, 99); // rows that are in the window stay as they were fetched
    EXPECT_EQ(fnShown(window, 3), (std::vector<int>{3, 4, 5}));
    window.fnGotoNextLine();
    EXPECT_EQ(fnShown(window, 3), (std::vector<int>{4, 5, 99}));
}

TEST_F(CqConvMaskTest, WritingIntoAWindowDoesNotReachTheImage) {
    CqImage image(1, 9, 8, q32GreyRamp, 256);
    fnSetNumbers(image);
    {
        CqConvMask window(image, 3, -1);
        for (int i = 0; i < 5; ++i) {
            window.fnGotoNextLine();
            window.fnGetLine(1)[0] = 77;
        }
        EXPECT_EQ(image.TileMap->LockedLines.GetCount(), 0);
    }
    for (unsigned char y = 0; y < 9; ++y)
        EXPECT_EQ(fnRows(image)[y][0], y);
}

TEST_F(CqConvMaskTest, AWindowOfZeroLinesHasOne) {
    CqImage image(1, 3, 8, q32GreyRamp, 256);
    fnSetNumbers(image);
    CqConvMask window(image, 0, 0);
    window.fnGotoNextLine();
    EXPECT_EQ(window.fnGetLine(0)[0], 1);
}

TEST_F(CqConvMaskTest, AStartFarOutsideTheImageShowsTheEdge) {
    CqImage image(1, 3, 8, q32GreyRamp, 256);
    fnSetNumbers(image);
    CqConvMask above(image, 3, -100);
    CqConvMask below(image, 3, 2147483647);
    for (int i = 0; i < 3; ++i) {
        above.fnGotoNextLine();
        below.fnGotoNextLine();
    }
    EXPECT_EQ(fnShown(above, 3), (std::vector<int>{0, 0, 0}));
    EXPECT_EQ(fnShown(below, 3).size(), 3u);
}

TEST_F(CqConvMaskTest, WithoutMemoryTheConstructorAndTheFirstMoveThrow) {
    CqImage image(1, 9, 8, q32GreyRamp, 256);
    fnSetNumbers(image);
    const std::size_t failures = fnFailEachAllocation([&](CqAllocationFailure& failure) {
        const bool raised = fnRaisesMemoryException([&] {
            CqConvMask window(image, 3, -1);
            window.fnGotoNextLine();
        });
        failure.fnEnd();
        EXPECT_EQ(raised, failure.fnHappened());
    });
    EXPECT_EQ(failures, 4u); // the ring, and a buffer for each of its rows
}

TEST_F(CqConvMaskTest, AFailedFirstMoveCanBeRetried) {
    CqImage image(1, 9, 8, q32GreyRamp, 256);
    fnSetNumbers(image);
    std::unique_ptr<CqConvMask> window;
    const std::size_t failures =
        fnFailEachAllocation([&] { window = std::make_unique<CqConvMask>(image, 3u, 1); },
                             [&](CqAllocationFailure& failure) {
                                 const bool raised =
                                     fnRaisesMemoryException([&] { window->fnGotoNextLine(); });
                                 failure.fnEnd();
                                 EXPECT_EQ(raised, failure.fnHappened());
                                 if (raised)
                                     window->fnGotoNextLine();
                                 EXPECT_EQ(fnShown(*window, 3), (std::vector<int>{1, 2, 3}));
                                 EXPECT_EQ(window->fnGetLineCoord(1), 2);
                                 window->fnGotoNextLine();
                                 EXPECT_EQ(fnShown(*window, 3), (std::vector<int>{2, 3, 4}));
                             });
    EXPECT_EQ(failures, 3u); // a buffer for each row of the ring
}

/// A mean over the neighbourhood of `size` x `size` pixels with repeated edges, by a window of 3 or
/// 5 rows.
Rows fnMean(CqImage& image, int size) {
    Rows result(image.Height, Bytes(image.Width));
    CqConvMask window(image, static_cast<unsigned int>(size), -1);
    const int width = static_cast<int>(image.Width);
    for (Bytes& row : result) {
        window.fnGotoNextLine();
        std::vector<unsigned char*> lines(static_cast<std::size_t>(size));
        if (size == 3)
            window.fnGetLine(lines[0], lines[1], lines[2]);
        else
            window.fnGetLine(lines[0], lines[1], lines[2], lines[3], lines[4]);
        for (int x = 0; x < width; ++x) {
            int sum = 0;
            for (const unsigned char* line : lines)
                for (int dx = -(size / 2); dx <= size / 2; ++dx)
                    sum += line[std::clamp(x + dx, 0, width - 1)];
            row[static_cast<std::size_t>(x)] = static_cast<unsigned char>(sum / (size * size));
        }
    }
    return result;
}

TEST_F(CqConvMaskTest, NeighbourhoodFiltersOf3And5SeeTheirNeighbours) {
    for (const int size : {3, 5}) {
        CqImage image(140, 131, 8, q32GreyRamp, 256);
        fnSetRandom(image, m_Random);
        const Rows rows = fnRows(image);
        Rows expected(131, Bytes(140));
        for (int y = 0; y < 131; ++y)
            for (int x = 0; x < 140; ++x) {
                int sum = 0;
                for (int dy = -(size / 2); dy <= size / 2; ++dy)
                    for (int dx = -(size / 2); dx <= size / 2; ++dx)
                        sum += rows[static_cast<std::size_t>(std::clamp(y + dy, 0, 130))]
                                   [static_cast<std::size_t>(std::clamp(x + dx, 0, 139))];
                expected[static_cast<std::size_t>(y)][static_cast<std::size_t>(x)] =
                    static_cast<unsigned char>(sum / (size * size));
            }
        EXPECT_TRUE(fnSameRows(fnMean(image, size), expected)) << size;
    }
}

} // namespace
} // namespace q32::test
