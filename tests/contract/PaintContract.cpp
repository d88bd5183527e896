#include "q32Base/framework/CBitmap.h"
#include "q32Base/framework/CFont.h"
#include "tests/contract/ScreenContract.h"

#include <algorithm>
#include <memory>
#include <utility>

namespace {

/// Painting: text, fills and bitmaps.
class PaintContract : public ScreenContractTest {
protected:
    static constexpr UINT kLine = DT_SINGLELINE | DT_CENTER | DT_VCENTER;

    /// Runs `work` on a device context of the window, then captures the window.
    template <typename Work>
    ContractPicture fnPaint(Work work) {
        {
            const CClientDC dc(&m_pWindow->fnGetWnd());
            EXPECT_TRUE(dc);
            if (dc)
                work(*dc.GetDC());
        }
        return m_pWindow->fnGetPicture();
    }
    static LOGFONTA fnMakeFont(LONG height) {
        LOGFONTA font{};
        font.lfHeight = height;
        return font;
    }
    /// Something inside a rectangle must have changed, and nothing outside.
    void fnExpectChangedInside(const ContractPicture& seen, const CRect& part) {
        ContractPicture picture = seen;
        bool changed = false;
        for (int y = 0; y < picture.m_nHeight; ++y)
            for (int x = 0; x < picture.m_nWidth; ++x) {
                if (part.PtInRect(CPoint(x, y)))
                    changed = changed || picture.fnAt(x, y) != 0xFFFFFFu;
                else
                    ASSERT_EQ(picture.fnAt(x, y), 0xFFFFFFu) << x << ", " << y;
            }
        EXPECT_TRUE(changed);
    }
};

TEST_P(PaintContract, AFilledRectangleHasOneColourAndItsExactPosition) {
    const CRect rect(5, 6, 25, 16);
    ContractPicture seen = fnPaint([&](CDC& dc) { EXPECT_TRUE(dc.FillRect(rect, COLOR_BTNFACE)); });
    const std::uint32_t face = seen.fnAt(5, 6);
    for (int y = 0; y < seen.m_nHeight; ++y)
        for (int x = 0; x < seen.m_nWidth; ++x)
            ASSERT_EQ(seen.fnAt(x, y), rect.PtInRect(CPoint(x, y)) ? face : 0xFFFFFFu)
                << x << ", " << y;
}

TEST_P(PaintContract, InversionFlipsEveryBitAndTwiceNone) {
    const CRect rect(5, 6, 25, 16);
    const auto invert = [&](CDC& dc) { EXPECT_TRUE(dc.InvertRect(rect)); };
    ContractPicture once = fnPaint(invert);
    for (int y = 0; y < once.m_nHeight; ++y)
        for (int x = 0; x < once.m_nWidth; ++x)
            ASSERT_EQ(once.fnAt(x, y), rect.PtInRect(CPoint(x, y)) ? 0u : 0xFFFFFFu)
                << x << ", " << y;
    EXPECT_EQ(fnPaint(invert), m_Before);
}

TEST_P(PaintContract, EmptyAndInvertedRectanglesPaintNothing) {
    const ContractPicture seen = fnPaint([](CDC& dc) {
        for (const RECT& rect :
             {RECT{5, 5, 5, 9}, RECT{5, 5, 9, 5}, RECT{9, 5, 5, 9}, RECT{5, 9, 9, 5},
              RECT{9, 9, 5, 5}, RECT{INT32_MAX, 0, INT32_MIN, 9}}) {
            dc.FillRect(rect, COLOR_BTNFACE);
            dc.InvertRect(rect);
        }
    });
    EXPECT_EQ(seen, m_Before);
}

TEST_P(PaintContract, RectanglesAreClippedToTheWindow) {
    ContractPicture seen = fnPaint([](CDC& dc) {
        dc.InvertRect(CRect(-1000, -1000, 0, 1000));
        dc.InvertRect(CRect(100000, 0, 200000, 10));
        dc.FillRect(CRect(-9, -9, 0, 0), COLOR_BTNFACE);
    });
    EXPECT_EQ(seen, m_Before);
    seen = fnPaint([](CDC& dc) {
        dc.InvertRect(RECT{INT32_MIN, INT32_MIN, INT32_MAX, INT32_MAX});
    });
    for (const std::uint32_t pixel : seen.m_Pixels)
        ASSERT_EQ(pixel, 0u);
}

TEST_P(PaintContract, TheIconTitleFontCanBeCreated) {
    LOGFONTA font{};
    ASSERT_TRUE(m_Screen.fnGetIconTitleFont(font));
    EXPECT_NE(font.lfHeight, 0);
    EXPECT_NE(m_Screen.fnCreateFont(font), nullptr);
}

TEST_P(PaintContract, AFontIsCreatedForEveryHeight) {
    for (const LONG height : {0, 1, -1, 12, -12, 300, -300, 100000, INT32_MAX, INT32_MIN})
        EXPECT_NE(m_Screen.fnCreateFont(fnMakeFont(height)), nullptr) << height;
}

TEST_P(PaintContract, AFontsMetricsAgreeAndGrowWithIt) {
    LONG last = 0;
    for (const LONG height : {11, 44, 110}) {
        const LOGFONTA log = fnMakeFont(height);
        CFont font;
        ASSERT_TRUE(font.CreateFontIndirect(&log));
        fnPaint([&](CDC& dc) {
            EXPECT_EQ(dc.SelectObject(&font), nullptr);
            TEXTMETRICA metrics{};
            ASSERT_TRUE(dc.GetTextMetrics(&metrics));
            EXPECT_EQ(metrics.tmHeight, metrics.tmAscent + metrics.tmDescent);
            EXPECT_GT(metrics.tmHeight, last);
            EXPECT_GT(metrics.tmAveCharWidth, 0);
            EXPECT_GE(metrics.tmMaxCharWidth, metrics.tmAveCharWidth);
            SIZE size{};
            ASSERT_TRUE(dc.GetTextExtentPoint32("Text", 4, &size));
            EXPECT_EQ(size.cy, metrics.tmHeight);
            last = metrics.tmHeight;
            EXPECT_EQ(dc.SelectObject(static_cast<CFont*>(nullptr)), &font);
        });
    }
}

TEST_P(PaintContract, ATextIsMeasuredByItsCountOrToItsEnd) {
    fnPaint([](CDC& dc) {
        SIZE none{-1, -1};
        SIZE two{};
        SIZE four{};
        SIZE all{};
        EXPECT_TRUE(dc.GetTextExtentPoint32("abcd", 0, &none));
        EXPECT_TRUE(dc.GetTextExtentPoint32("abcd", 2, &two));
        EXPECT_TRUE(dc.GetTextExtentPoint32("abcd", 4, &four));
        EXPECT_TRUE(dc.GetTextExtentPoint32("abcd", -1, &all));
        EXPECT_EQ(none.cx, 0);
        EXPECT_GT(two.cx, 0);
        EXPECT_GT(four.cx, two.cx);
        EXPECT_EQ(all.cx, four.cx);
        EXPECT_EQ(all.cy, four.cy);
    });
}

TEST_P(PaintContract, MeasuringByDrawTextWritesNothing) {
    const ContractPicture seen = fnPaint([](CDC& dc) {
        SIZE size{};
        ASSERT_TRUE(dc.GetTextExtentPoint32("50%", 3, &size));
        RECT rect{7, 9, 1, 2};
        EXPECT_EQ(dc.DrawText("50%", -1, &rect, DT_SINGLELINE | DT_CALCRECT), size.cy);
        EXPECT_EQ(rect.left, 7);
        EXPECT_EQ(rect.top, 9);
        EXPECT_EQ(rect.right, 7 + size.cx);
        EXPECT_EQ(rect.bottom, 9 + size.cy);
    });
    EXPECT_EQ(seen, m_Before);
}

TEST_P(PaintContract, TextOfSeveralLinesIsNotWritten) {
    const ContractPicture seen = fnPaint([](CDC& dc) {
        RECT rect{0, 0, 50, 30};
        EXPECT_EQ(dc.DrawText("50%", -1, &rect, DT_CENTER), 0);
        EXPECT_EQ(rect.right, 50);
        EXPECT_EQ(rect.bottom, 30);
    });
    EXPECT_EQ(seen, m_Before);
}

TEST_P(PaintContract, TextIsWrittenInsideItsRectangleAlone) {
    const CRect rect(10, 10, 28, 18);
    const ContractPicture seen = fnPaint([&](CDC& dc) {
        RECT place = rect;
        EXPECT_EQ(dc.SetBkMode(TRANSPARENT), OPAQUE);
        EXPECT_GT(dc.DrawText("MMMMMMMM", -1, &place, kLine), 0);
        EXPECT_EQ(CRect(place), rect);
        EXPECT_EQ(dc.SetBkMode(OPAQUE), TRANSPARENT);
    });
    fnExpectChangedInside(seen, rect);
}

TEST_P(PaintContract, TextInNoRectangleIsNotWritten) {
    const ContractPicture seen = fnPaint([](CDC& dc) {
        for (RECT rect : {RECT{10, 10, 10, 30}, RECT{30, 10, 10, 30}, RECT{-500, 0, -400, 30},
                          RECT{5000, 5000, 6000, 6000}})
            dc.DrawText("MMMM", -1, &rect, kLine);
    });
    EXPECT_EQ(seen, m_Before);
}

TEST_P(PaintContract, ABitmapIsBlackAtFirst) {
    const ContractPicture seen = fnPaint([](CDC& dc) {
        CBitmap bitmap;
        ASSERT_TRUE(bitmap.CreateCompatibleBitmap(&dc, 30, 30));
        const std::unique_ptr<CDC> memory = dc.CreateCompatibleDC();
        ASSERT_NE(memory, nullptr);
        EXPECT_EQ(memory->SelectObject(&bitmap), nullptr);
        EXPECT_TRUE(dc.BitBlt(0, 0, 30, 30, memory.get(), 0, 0, SRCCOPY));
        EXPECT_EQ(memory->SelectObject(static_cast<CBitmap*>(nullptr)), &bitmap);
    });
    ContractPicture expected = m_Before;
    for (int y = 0; y < 30; ++y)
        for (int x = 0; x < 30; ++x)
            expected.fnAt(x, y) = 0;
    EXPECT_EQ(seen, expected);
}

TEST_P(PaintContract, BitmapsWithoutASizeOrADeviceFail) {
    fnPaint([&](CDC& dc) {
        for (const auto& [width, height] :
             {std::pair{0, 5}, {5, 0}, {-1, 5}, {5, -1}, {INT32_MIN, 5}, {0, 0}})
            EXPECT_EQ(m_Screen.fnCreateCompatibleBitmap(&dc, width, height), nullptr);
    });
    EXPECT_EQ(m_Screen.fnCreateCompatibleBitmap(nullptr, 5, 5), nullptr);
}

TEST_P(PaintContract, AWindowSelectsNoBitmap) {
    const ContractPicture seen = fnPaint([](CDC& dc) {
        CBitmap bitmap;
        ASSERT_TRUE(bitmap.CreateCompatibleBitmap(&dc, 8, 8));
        EXPECT_EQ(dc.SelectObject(&bitmap), nullptr);
        EXPECT_EQ(dc.SelectObject(static_cast<CBitmap*>(nullptr)), nullptr);
    });
    EXPECT_EQ(seen, m_Before);
}

TEST_P(PaintContract, WithoutABitmapAMemoryDeviceContextDrawsNothing) {
    const ContractPicture seen = fnPaint([](CDC& dc) {
        const std::unique_ptr<CDC> memory = dc.CreateCompatibleDC();
        ASSERT_NE(memory, nullptr);
        memory->InvertRect(CRect(0, 0, 9, 9));
        memory->FillRect(CRect(0, 0, 9, 9), COLOR_BTNFACE);
        RECT rect{0, 0, 30, 20};
        memory->DrawText("MM", -1, &rect, kLine);
        dc.BitBlt(0, 0, 30, 30, memory.get(), 0, 0, SRCCOPY);
        memory->BitBlt(0, 0, 30, 30, &dc, 0, 0, SRCCOPY);
    });
    EXPECT_EQ(seen, m_Before);
}

TEST_P(PaintContract, PartsAreCopiedAsFarAsBothSidesHavePixels) {
    // A bitmap whose right half is white and left half black.
    Random random(3);
    for (int i = 0; i < 60; ++i) {
        fnWhiten();
        ContractPicture expected = m_Before;
        const auto around = [&](int least, UINT span) {
            return least + static_cast<int>(random() % span);
        };
        const int x = around(-20, 90);
        const int y = around(-20, 70);
        const int width = around(-3, 50);
        const int height = around(-3, 50);
        const int sourceX = around(-15, 50);
        const int sourceY = around(-15, 50);
        const ContractPicture seen = fnPaint([&](CDC& dc) {
            CBitmap bitmap;
            ASSERT_TRUE(bitmap.CreateCompatibleBitmap(&dc, 24, 20));
            const std::unique_ptr<CDC> memory = dc.CreateCompatibleDC();
            ASSERT_NE(memory, nullptr);
            memory->SelectObject(&bitmap);
            EXPECT_TRUE(memory->InvertRect(CRect(12, 0, 24, 20)));
            EXPECT_TRUE(dc.BitBlt(x, y, width, height, memory.get(), sourceX, sourceY, SRCCOPY));
            memory->SelectObject(static_cast<CBitmap*>(nullptr));
        });
        for (int row = std::max(y, 0); row < std::min(y + height, expected.m_nHeight); ++row)
            for (int column = std::max(x, 0); column < std::min(x + width, expected.m_nWidth);
                 ++column) {
                const CPoint from(column - x + sourceX, row - y + sourceY);
                if (CRect(0, 0, 24, 20).PtInRect(from))
                    expected.fnAt(column, row) = from.x < 12 ? 0u : 0xFFFFFFu;
            }
        ASSERT_EQ(seen, expected) << x << ", " << y << ", " << width << " x " << height << ", "
                                  << sourceX << ", " << sourceY;
    }
}

TEST_P(PaintContract, TheWindowIsCopiedIntoABitmapAndBack) {
    const ContractPicture seen = fnPaint([](CDC& dc) {
        CBitmap bitmap;
        ASSERT_TRUE(bitmap.CreateCompatibleBitmap(&dc, 10, 10));
        const std::unique_ptr<CDC> memory = dc.CreateCompatibleDC();
        ASSERT_NE(memory, nullptr);
        memory->SelectObject(&bitmap);
        EXPECT_TRUE(memory->BitBlt(0, 0, 10, 10, &dc, 0, 0, SRCCOPY));
        EXPECT_TRUE(dc.InvertRect(CRect(0, 0, 10, 10)));
        EXPECT_TRUE(dc.BitBlt(0, 0, 10, 10, memory.get(), 0, 0, SRCCOPY));
        memory->SelectObject(static_cast<CBitmap*>(nullptr));
    });
    EXPECT_EQ(seen, m_Before);
}

TEST_P(PaintContract, OtherOperationsAndNoSourceFail) {
    const ContractPicture seen = fnPaint([](CDC& dc) {
        CBitmap bitmap;
        ASSERT_TRUE(bitmap.CreateCompatibleBitmap(&dc, 10, 10));
        const std::unique_ptr<CDC> memory = dc.CreateCompatibleDC();
        ASSERT_NE(memory, nullptr);
        memory->SelectObject(&bitmap);
        EXPECT_FALSE(dc.BitBlt(0, 0, 10, 10, memory.get(), 0, 0, 0x00660046));
        EXPECT_FALSE(dc.BitBlt(0, 0, 10, 10, nullptr, 0, 0, SRCCOPY));
        memory->SelectObject(static_cast<CBitmap*>(nullptr));
    });
    EXPECT_EQ(seen, m_Before);
}

} // namespace

Q32_CONTRACT(PaintContract, SCREEN);
