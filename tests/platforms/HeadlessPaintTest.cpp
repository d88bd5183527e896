#include "platforms/headless/headless.h"
#include "q32Base/framework/CBitmap.h"
#include "q32Base/framework/CFont.h"
#include "q32Base/module/Module.h"

#include <gtest/gtest.h>

#include <climits>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace {

constexpr std::uint32_t kBlack = 0, kWhite = 0xFFFFFF, kFace = 0xC0C0C0, kGround = 0x123456;

class HeadlessPaint : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(q32Attach(m_World->fnPlatform()));
        fnScreen().fnClear(kGround);
        m_pDC = m_Window.GetDC();
    }
    void TearDown() override {
        m_Window.ReleaseDC(m_pDC);
        q32Detach();
    }
    CqHeadlessScreen& fnScreen() { return *m_World->m_pScreen; }
    CqHeadlessPaintCalls& fnPaint() { return m_World->m_pScreen->m_Paint; }
    std::uint32_t fnAt(int x, int y) { return fnScreen().fnGetPixel(100 + x, 50 + y); }
    /// The number of changed pixels of the screen.
    std::size_t fnChanged() {
        std::size_t changed = 0;
        for (int y = 0; y < fnScreen().fnGetMode().m_nHeight; ++y)
            for (int x = 0; x < fnScreen().fnGetMode().m_nWidth; ++x)
                changed += fnScreen().fnGetPixel(x, y) != kGround;
        return changed;
    }

    std::shared_ptr<CqHeadlessWorld> m_World = q32HeadlessWorld();
    CqHeadlessWnd m_Window{CRect(100, 50, 200, 90)}; // 100 x 40
    CDC* m_pDC = nullptr;
};

} // namespace

TEST_F(HeadlessPaint, FillsAndInvertsInsideTheClientAreaOnly) {
    EXPECT_TRUE(m_pDC->FillRect(CRect(-5, -5, 10, 3), COLOR_BTNFACE));
    EXPECT_EQ(fnAt(0, 0), kFace);
    EXPECT_EQ(fnAt(9, 2), kFace);
    EXPECT_EQ(fnChanged(), 30u);
    EXPECT_TRUE(m_pDC->InvertRect(CRect(95, 38, INT_MAX, INT_MAX)));
    EXPECT_EQ(fnAt(99, 39), kGround ^ 0xFFFFFFu);
    EXPECT_EQ(fnChanged(), 40u);
    EXPECT_TRUE(m_pDC->FillRect(CRect(20, 20, 10, 30), COLOR_BTNFACE)); // inverted
    EXPECT_EQ(fnChanged(), 40u);
}

TEST_F(HeadlessPaint, PaintsNothingOnAWindowOffTheScreen) {
    for (const CRect& place : {CRect(-200, -200, -100, -100), CRect(5000, 50, 5100, 90),
                               CRect(INT_MIN, INT_MIN, INT_MIN + 10, INT_MIN + 10)}) {
        m_Window.fnMove(place);
        EXPECT_TRUE(m_pDC->FillRect(CRect(0, 0, 100, 40), COLOR_BTNFACE));
        EXPECT_EQ(fnChanged(), 0u);
    }
    m_Window.fnMove(CRect(-95, -38, 5, 2)); // its last five columns and two rows are visible
    EXPECT_TRUE(m_pDC->FillRect(CRect(0, 0, 100, 40), COLOR_BTNFACE));
    EXPECT_EQ(fnChanged(), 10u);
}

TEST_F(HeadlessPaint, MeasuresTextInIntegerMultiplesOfOneFont) {
    const std::pair<LONG, LONG> kHeights[] = {{0, 11},   {11, 11},  {21, 11},       {22, 22},
                                              {-9, 11},  {-17, 11}, {-18, 22},      {35, 33},
                                              {-27, 33}, {5, 11},   {INT_MIN, 858}, {INT_MAX, 704}};
    for (const auto& [asked, height] : kHeights) {
        LOGFONTA record{};
        record.lfHeight = asked;
        CFont font;
        ASSERT_TRUE(font.CreateFontIndirect(&record));
        EXPECT_EQ(m_pDC->SelectObject(&font), nullptr);
        TEXTMETRICA metrics{};
        EXPECT_TRUE(m_pDC->GetTextMetrics(&metrics));
        EXPECT_EQ(metrics.tmHeight, height) << asked;
        EXPECT_EQ(metrics.tmAscent + metrics.tmDescent, metrics.tmHeight);
        CSize size;
        EXPECT_TRUE(m_pDC->GetTextExtentPoint32("abcd", 3, &size));
        EXPECT_EQ(size, CSize(3 * 6 * height / 11, height));
        CRect rect(7, 8, 0, 0);
        EXPECT_EQ(m_pDC->DrawText("abcd", -1, &rect, DT_CALCRECT | DT_SINGLELINE), height);
        EXPECT_EQ(rect, CRect(7, 8, 7 + 4 * 6 * height / 11, 8 + height));
        EXPECT_EQ(m_pDC->SelectObject(static_cast<CFont*>(nullptr)), &font);
    }
    EXPECT_EQ(fnChanged(), 0u);
}

TEST_F(HeadlessPaint, GivesEveryCharacterADistinctGlyph) {
    const CqHeadlessFont font(11);
    std::set<std::string> pictures;
    const auto picture = [&](int code) {
        std::string text;
        for (int y = 0; y < 11; ++y)
            for (int x = 0; x < 6; ++x)
                text += font.fnIsInk(static_cast<char>(code), x, y) ? 'X' : '.';
        return text;
    };
    for (int code = 0x20; code < 0x80; ++code)
        EXPECT_TRUE(pictures.insert(picture(code)).second) << code;
    EXPECT_EQ(picture(' ').find('X'), std::string::npos);
    EXPECT_EQ(picture(0x1F), picture(0x7F));
    EXPECT_EQ(picture(0xE4), picture(0x7F));
    EXPECT_FALSE(font.fnIsInk('A', -1, 5));
    EXPECT_FALSE(font.fnIsInk('A', 2, -1));
    EXPECT_FALSE(font.fnIsInk('A', 2, 11));
}

TEST_F(HeadlessPaint, WritesTextOpaqueOrTransparentAndClipsItToItsRectangle) {
    CRect place(10, 5, 22, 16); // two characters
    EXPECT_EQ(m_pDC->DrawText("IIII", -1, &place, DT_SINGLELINE), 11);
    EXPECT_EQ(fnChanged(), 12u * 11);
    EXPECT_EQ(fnAt(10, 5), kWhite);
    EXPECT_EQ(fnAt(12, 9), kBlack);
    EXPECT_EQ(m_pDC->SetBkMode(TRANSPARENT), OPAQUE);
    CRect middle(40, 20, 70, 40);
    m_pDC->DrawText("I", -1, &middle, DT_SINGLELINE | DT_CENTER | DT_VCENTER);
    EXPECT_EQ(fnAt(40 + 12 + 2, 20 + 4 + 4), kBlack);
    EXPECT_EQ(fnAt(40 + 12, 20 + 4), kGround);
    EXPECT_EQ(fnChanged(), 12u * 11 + 11); // the ink of an I
    EXPECT_EQ(m_pDC->SetBkMode(OPAQUE), TRANSPARENT);
    CRect none(0, 0, 50, 20);
    EXPECT_EQ(m_pDC->DrawText("", -1, &none, DT_SINGLELINE), 11);
    EXPECT_EQ(m_pDC->DrawText("x", -1, &none, 0), 0); // multiple lines aren't supported
}

TEST_F(HeadlessPaint, CopiesABitmapThatWasPaintedOn) {
    const std::unique_ptr<CDC> memory = m_pDC->CreateCompatibleDC();
    ASSERT_TRUE(memory);
    EXPECT_TRUE(memory->FillRect(CRect(0, 0, 10, 10), COLOR_BTNFACE)); // without a bitmap
    CBitmap bitmap;
    ASSERT_TRUE(bitmap.CreateCompatibleBitmap(m_pDC, 20, 10));
    EXPECT_EQ(m_pDC->SelectObject(&bitmap), nullptr); // windows accept none
    EXPECT_EQ(memory->SelectObject(&bitmap), nullptr);
    EXPECT_TRUE(memory->FillRect(CRect(0, 0, 5, 10), COLOR_BTNFACE));
    EXPECT_TRUE(m_pDC->BitBlt(30, 10, 40, 40, memory.get(), 2, 1, SRCCOPY));
    EXPECT_EQ(fnAt(30, 10), kFace);
    EXPECT_EQ(fnAt(33, 10), kBlack);  // a new bitmap is zero
    EXPECT_EQ(fnAt(48, 10), kGround); // beyond the bitmap
    EXPECT_EQ(fnChanged(), 18u * 9);
    EXPECT_FALSE(m_pDC->BitBlt(0, 0, 5, 5, memory.get(), 0, 0, SRCCOPY + 1));
    EXPECT_FALSE(m_pDC->BitBlt(0, 0, 5, 5, nullptr, 0, 0, SRCCOPY));
    EXPECT_FALSE(m_pDC->BitBlt(0, 0, 5, 5, m_pDC, 0, 0, SRCCOPY));
    EXPECT_EQ(memory->SelectObject(static_cast<CBitmap*>(nullptr)), &bitmap);
    EXPECT_TRUE(m_World->m_pMisuses->fnGetAll().empty());
}

TEST_F(HeadlessPaint, ReportsASelectionThatWasNotRestored) {
    CBitmap bitmap;
    ASSERT_TRUE(bitmap.CreateCompatibleBitmap(m_pDC, 2, 2));
    {
        const std::unique_ptr<CDC> memory = m_pDC->CreateCompatibleDC();
        memory->SelectObject(&bitmap);
    }
    EXPECT_EQ(m_World->m_pMisuses->fnGetAll().size(), 1u);
}

TEST_F(HeadlessPaint, FailsEachScriptedCall) {
    CRect rect(0, 0, 50, 20);
    TEXTMETRICA metrics{};
    CSize size(7, 7);
    LOGFONTA record{};
    CqHeadlessPaintCalls& paint = fnPaint();
    for (CqHeadlessCalls* calls :
         {&paint.m_CreateDC, &paint.m_CreateBitmap, &paint.m_CreateFont, &paint.m_IconTitleFont,
          &paint.m_TextMetrics, &paint.m_TextExtent, &paint.m_DrawText, &paint.m_FillRect,
          &paint.m_InvertRect, &paint.m_BitBlt})
        calls->fnFail();
    CBitmap bitmap;
    CFont font;
    const std::unique_ptr<CDC> other(m_pDC->CreateCompatibleDC());
    EXPECT_EQ(other, nullptr);
    EXPECT_FALSE(bitmap.CreateCompatibleBitmap(m_pDC, 2, 2));
    EXPECT_FALSE(font.CreateIconTitleFont());
    EXPECT_FALSE(font.CreateFontIndirect(&record));
    EXPECT_FALSE(m_pDC->GetTextMetrics(&metrics));
    EXPECT_FALSE(m_pDC->GetTextExtentPoint32("x", 1, &size));
    EXPECT_EQ(size, CSize(7, 7));
    EXPECT_EQ(m_pDC->DrawText("x", 1, &rect, DT_SINGLELINE | DT_CALCRECT), 0);
    EXPECT_EQ(rect, CRect(0, 0, 50, 20));
    EXPECT_FALSE(m_pDC->FillRect(rect, COLOR_BTNFACE));
    EXPECT_FALSE(m_pDC->InvertRect(rect));
    EXPECT_FALSE(m_pDC->BitBlt(0, 0, 1, 1, m_pDC, 0, 0, SRCCOPY));
    EXPECT_EQ(fnChanged(), 0u);
    EXPECT_TRUE(m_pDC->FillRect(rect, COLOR_BTNFACE)); // fails only once
    EXPECT_FALSE(bitmap.CreateCompatibleBitmap(m_pDC, 0, 5));
    EXPECT_FALSE(bitmap.CreateCompatibleBitmap(m_pDC, 5, -1));
    EXPECT_FALSE(bitmap.CreateCompatibleBitmap(m_pDC, 32768, 1));
    EXPECT_FALSE(bitmap.CreateCompatibleBitmap(nullptr, 5, 5));
}

TEST(FrameworkPainting, ADeviceContextThatDoesNotPaintFails) {
    class Plain : public CDC {
        int GetDeviceCaps(int) const override { return 0; }
        CPalette* SelectPalette(CPalette*, bool) override { return nullptr; }
        UINT RealizePalette() override { return 0; }
    } plain;
    CDC& dc = plain;
    CRect rect(0, 0, 1, 1);
    CSize size;
    TEXTMETRICA metrics;
    EXPECT_EQ(dc.CreateCompatibleDC(), nullptr);
    EXPECT_EQ(dc.SelectObject(static_cast<CFont*>(nullptr)), nullptr);
    EXPECT_EQ(dc.SelectObject(static_cast<CBitmap*>(nullptr)), nullptr);
    EXPECT_FALSE(dc.GetTextMetrics(&metrics));
    EXPECT_FALSE(dc.GetTextExtentPoint32("x", 1, &size));
    EXPECT_EQ(dc.DrawText("x", 1, &rect, DT_SINGLELINE), 0);
    EXPECT_EQ(dc.SetBkMode(OPAQUE), 0);
    EXPECT_FALSE(dc.FillRect(rect, COLOR_BTNFACE));
    EXPECT_FALSE(dc.InvertRect(rect));
    EXPECT_FALSE(dc.BitBlt(0, 0, 1, 1, &dc, 0, 0, SRCCOPY));
}
