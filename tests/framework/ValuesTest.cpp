#include "q32Base/framework/Values.h"

#include "q32Base/framework/CTime.h"
#include "q32Base/framework/Sync.h"
#include "tests/support/FakePlatform.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstddef>
#include <thread>

TEST(CPoint, MovesAndWraps) {
    CPoint point(3, 4);
    point.Offset(-5, 1);
    EXPECT_TRUE(point == CPoint(-2, 5));
    EXPECT_FALSE(point == CPoint(-2, 4));
    EXPECT_TRUE(CPoint() == CPoint(0, 0));
    point = CPoint(INT_MAX, INT_MIN);
    point.Offset(1, -1);
    EXPECT_TRUE(point == CPoint(INT_MIN, INT_MAX));
}

TEST(CSize, ComparesBothFields) {
    EXPECT_TRUE(CSize(1, 2) == CSize(SIZE{1, 2}));
    EXPECT_FALSE(CSize(1, 2) == CSize(1, 3));
    EXPECT_TRUE(CSize() == CSize(0, 0));
}

TEST(CRect, ReportsItsSize) {
    const CRect rect(1, 2, 11, 5);
    EXPECT_EQ(rect.Width(), 10);
    EXPECT_EQ(rect.Height(), 3);
    EXPECT_TRUE(rect.Size() == CSize(10, 3));
    EXPECT_TRUE(rect.TopLeft() == CPoint(1, 2));
    EXPECT_TRUE(CRect(CPoint(1, 2), CSize(10, 3)) == rect);
    EXPECT_EQ(CRect(5, 0, 1, 0).Width(), -4);
}

TEST(CRect, CoordinatesReadFromAFileWrap) {
    const CRect rect(INT_MIN, INT_MIN, INT_MAX, INT_MAX);
    EXPECT_EQ(rect.Width(), -1);
    CRect moved = rect;
    moved.OffsetRect(1, -1);
    EXPECT_TRUE(moved == CRect(INT_MIN + 1, INT_MAX, INT_MIN, INT_MAX - 1));
    moved = rect;
    moved.InflateRect(1, 1);
    EXPECT_TRUE(moved == CRect(INT_MAX, INT_MAX, INT_MIN, INT_MIN));
    EXPECT_TRUE(CRect(CPoint(INT_MAX, 0), CSize(1, 0)) == CRect(INT_MAX, 0, INT_MIN, 0));
}

TEST(CRect, IsEmptyWithoutWidthOrHeight) {
    EXPECT_TRUE(CRect().IsRectEmpty());
    EXPECT_TRUE(CRect(0, 0, 0, 5).IsRectEmpty());
    EXPECT_TRUE(CRect(0, 5, 5, 4).IsRectEmpty());
    EXPECT_FALSE(CRect(-1, -1, 0, 0).IsRectEmpty());
}

TEST(CRect, RightAndBottomAreExclusive) {
    const CRect rect(1, 2, 3, 4);
    EXPECT_TRUE(rect.PtInRect(CPoint(1, 2)));
    EXPECT_TRUE(rect.PtInRect(CPoint(2, 3)));
    EXPECT_FALSE(rect.PtInRect(CPoint(3, 3)));
    EXPECT_FALSE(rect.PtInRect(CPoint(2, 4)));
    EXPECT_FALSE(rect.PtInRect(CPoint(0, 3)));
}

TEST(CRect, IntersectsToWhatIsShared) {
    CRect shared(9, 9, 9, 9);
    EXPECT_TRUE(shared.IntersectRect(CRect(0, 0, 10, 10), CRect(5, -5, 20, 6)));
    EXPECT_TRUE(shared == CRect(5, 0, 10, 6));
    EXPECT_FALSE(shared.IntersectRect(CRect(0, 0, 5, 5), CRect(5, 0, 9, 5)));
    EXPECT_TRUE(shared == CRect()) << "edges that touch share nothing";
    EXPECT_FALSE(shared.IntersectRect(CRect(0, 0, 5, 5), CRect(3, 3, 2, 4)));
    shared = CRect(0, 0, 10, 10);
    EXPECT_TRUE(shared.IntersectRect(shared, CRect(2, 2, 4, 4)));
    EXPECT_TRUE(shared == CRect(2, 2, 4, 4));
}

TEST(CRect, IsSetMovedAndGrown) {
    CRect rect;
    rect.SetRect(1, 2, 3, 4);
    rect.OffsetRect(10, 20);
    EXPECT_TRUE(rect == CRect(11, 22, 13, 24));
    rect.InflateRect(1, 2);
    EXPECT_TRUE(rect == CRect(10, 20, 14, 26));
    rect.SetRectEmpty();
    EXPECT_TRUE(rect == CRect(0, 0, 0, 0));
}

TEST(CTime, IsLocalTimeByThePlatformFrom1970On) {
    CqFakeWorld world;
    SYSTEMTIME time{};
    EXPECT_TRUE(CTime(59).GetAsSystemTime(time));
    EXPECT_EQ(time.wSecond, 59);
    EXPECT_FALSE(CTime(-1).GetAsSystemTime(time));
    EXPECT_TRUE(CTime().GetAsSystemTime(time));
    EXPECT_EQ(CTime(7).GetTime(), 7);
    EXPECT_TRUE(CTime(7) == CTime(7));
    world.m_pLocale->m_bMemoryFails = true;
    EXPECT_THROW(CTime(59).GetAsSystemTime(time), CMemoryException*);
    EXPECT_FALSE(CTime(-1).GetAsSystemTime(time)) << "nobody is asked";
}

TEST(CSingleLock, HoldsTheLockForItsScope) {
    CCriticalSection section;
    {
        CSingleLock lock(section);
        EXPECT_TRUE(lock.IsLocked());
        CSingleLock again(section); // by the same thread
        again.Unlock();
        again.Unlock();
        EXPECT_FALSE(again.IsLocked());
        lock.Lock();
        EXPECT_TRUE(lock.IsLocked());
    }
    std::thread([&] {
        CSingleLock lock(section);
        EXPECT_TRUE(lock.IsLocked());
    }).join();
}

TEST(CSingleLock, KeepsOtherThreadsOut) {
    CCriticalSection section;
    int counter = 0;
    const auto work = [&] {
        for (int i = 0; i < 20000; ++i) {
            const CSingleLock lock(section);
            ++counter;
        }
    };
    std::thread other(work);
    work();
    other.join();
    EXPECT_EQ(counter, 40000);
}

TEST(Records, HaveTheirPublishedLayouts) {
    EXPECT_EQ(offsetof(RGBQUAD, rgbBlue), 0u);
    EXPECT_EQ(offsetof(RGBQUAD, rgbGreen), 1u);
    EXPECT_EQ(offsetof(RGBQUAD, rgbReserved), 3u);
    EXPECT_EQ(offsetof(PALETTEENTRY, peRed), 0u);
    EXPECT_EQ(offsetof(PALETTEENTRY, peFlags), 3u);
    EXPECT_EQ(offsetof(LOGPALETTE, palNumEntries), 2u);
    EXPECT_EQ(offsetof(BITMAPINFOHEADER, biWidth), 4u);
    EXPECT_EQ(offsetof(BITMAPINFOHEADER, biHeight), 8u);
    EXPECT_EQ(offsetof(BITMAPINFOHEADER, biPlanes), 12u);
    EXPECT_EQ(offsetof(BITMAPINFOHEADER, biSizeImage), 20u);
    EXPECT_EQ(offsetof(BITMAPINFOHEADER, biXPelsPerMeter), 24u);
    EXPECT_EQ(offsetof(BITMAPINFOHEADER, biYPelsPerMeter), 28u);
    EXPECT_EQ(offsetof(BITMAPINFOHEADER, biClrImportant), 36u);
    EXPECT_EQ(offsetof(WAVEFORMATEX, nChannels), 2u);
    EXPECT_EQ(offsetof(WAVEFORMATEX, nSamplesPerSec), 4u);
    EXPECT_EQ(offsetof(WAVEFORMATEX, nAvgBytesPerSec), 8u);
    EXPECT_EQ(offsetof(WAVEFORMATEX, wBitsPerSample), 14u);
    EXPECT_EQ(offsetof(WAVEFORMATEX, cbSize), 16u);
    EXPECT_EQ(offsetof(SYSTEMTIME, wDayOfWeek), 4u);
    EXPECT_EQ(offsetof(SYSTEMTIME, wMilliseconds), 14u);
    EXPECT_EQ(offsetof(DLLVERSIONINFO, dwPlatformID), 16u);
    EXPECT_EQ(offsetof(RECT, bottom), 12u);
    EXPECT_EQ(sizeof(POINT), 8u);
    EXPECT_EQ(sizeof(SIZE), 8u);
    ULARGE_INTEGER wide{};
    wide.QuadPart = 0x0000000100000002ull;
    EXPECT_EQ(wide.LowPart, 2u);
    EXPECT_EQ(wide.HighPart, 1u);
    EXPECT_EQ(wide.u.HighPart, 1u);
}

TEST(Values, SizesDifferByEitherSide) {
    EXPECT_FALSE(CSize(1, 2) == CSize(3, 2));
    EXPECT_FALSE(CSize(1, 2) == CSize(1, 3));
}

TEST(Values, AUnionIgnoresAnEmptyRectangleOnEitherSide) {
    const CRect rect(1, 2, 3, 4);
    CRect all;
    EXPECT_TRUE(all.UnionRect(rect, CRect(9, 9, 9, 9)));
    EXPECT_TRUE(all == rect);
    EXPECT_TRUE(all.UnionRect(CRect(9, 9, 9, 9), rect));
    EXPECT_TRUE(all == rect);
    EXPECT_FALSE(all.UnionRect(CRect(9, 9, 9, 9), CRect(5, 5, 4, 9)));
    EXPECT_TRUE(all == CRect(0, 0, 0, 0));
}
