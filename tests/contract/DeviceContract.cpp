#include "tests/contract/ScreenContract.h"

namespace {

/// Device contexts.
class DeviceContract : public ScreenContractTest {};

TEST_P(DeviceContract, TheScreenReportsItsSizeItsDepthAndItsDensity) {
    CDC* dc = m_Screen.fnGetDC(nullptr);
    ASSERT_NE(dc, nullptr);
    const CRect client = m_pWindow->fnGetWnd().GetClientRect();
    EXPECT_GE(dc->GetDeviceCaps(HORZRES), client.Width());
    EXPECT_GE(dc->GetDeviceCaps(VERTRES), client.Height());
    const std::set<int> depths = {8, 16, 24, 32};
    EXPECT_TRUE(depths.contains(dc->GetDeviceCaps(BITSPIXEL)));
    EXPECT_GT(dc->GetDeviceCaps(LOGPIXELSX), 0);
    EXPECT_GT(dc->GetDeviceCaps(LOGPIXELSY), 0);
    m_Screen.fnReleaseDC(nullptr, dc);
}

TEST_P(DeviceContract, OtherCapabilitiesAreZero) {
    CDC* dc = m_Screen.fnGetDC(nullptr);
    ASSERT_NE(dc, nullptr);
    for (const int index : {-1, 0, 4, 9, 11, 13, 89, 1000, INT32_MIN})
        EXPECT_EQ(dc->GetDeviceCaps(index), 0) << index;
    m_Screen.fnReleaseDC(nullptr, dc);
}

TEST_P(DeviceContract, DeviceContextsOfAWindowAndABitmapReportTheSameScreen) {
    CDC* screen = m_Screen.fnGetDC(nullptr);
    const CClientDC window(&m_pWindow->fnGetWnd());
    ASSERT_TRUE(screen && window);
    const std::unique_ptr<CDC> bitmap = window->CreateCompatibleDC();
    ASSERT_NE(bitmap, nullptr);
    for (const int index : {HORZRES, VERTRES, BITSPIXEL, LOGPIXELSX, LOGPIXELSY}) {
        EXPECT_EQ(window->GetDeviceCaps(index), screen->GetDeviceCaps(index)) << index;
        EXPECT_EQ(bitmap->GetDeviceCaps(index), screen->GetDeviceCaps(index)) << index;
    }
    m_Screen.fnReleaseDC(nullptr, screen);
}

TEST_P(DeviceContract, SeveralMayBeOpenAndAreReleasedInAnyOrder) {
    CWnd& window = m_pWindow->fnGetWnd();
    CDC* dcs[] = {m_Screen.fnGetDC(&window), m_Screen.fnGetDC(nullptr), m_Screen.fnGetDC(&window)};
    for (const CDC* dc : dcs)
        ASSERT_NE(dc, nullptr);
    EXPECT_NE(dcs[0], dcs[2]);
    m_Screen.fnReleaseDC(&window, dcs[0]);
    EXPECT_GT(dcs[1]->GetDeviceCaps(HORZRES), 0);
    EXPECT_GT(dcs[2]->GetDeviceCaps(HORZRES), 0);
    m_Screen.fnReleaseDC(&window, dcs[2]);
    m_Screen.fnReleaseDC(nullptr, dcs[1]);
}

TEST_P(DeviceContract, AWindowThatHasEndedHasNone) {
    m_pWindow->fnEnd();
    EXPECT_FALSE(m_pWindow->fnGetWnd().IsWindow());
    EXPECT_EQ(m_Screen.fnGetDC(&m_pWindow->fnGetWnd()), nullptr);
    CDC* dc = m_Screen.fnGetDC(nullptr);
    ASSERT_NE(dc, nullptr) << "but the screen stays";
    m_Screen.fnReleaseDC(nullptr, dc);
}

TEST_P(DeviceContract, AWindowMayEndWhileItsDeviceContextIsOpen) {
    CWnd& window = m_pWindow->fnGetWnd();
    CDC* dc = m_Screen.fnGetDC(&window);
    ASSERT_NE(dc, nullptr);
    m_pWindow->fnEnd();
    dc->FillRect(CRect(0, 0, 5, 5), COLOR_BTNFACE);
    m_Screen.fnReleaseDC(&window, dc);
}

TEST_P(DeviceContract, SelectingAPaletteReturnsTheFormerOne) {
    const CClientDC dc(&m_pWindow->fnGetWnd());
    ASSERT_TRUE(dc);
    const auto one = fnMakePalette({0, 0xFFFFFF});
    const auto other = fnMakePalette({0xFF0000});
    EXPECT_EQ(dc->SelectPalette(one.get(), false), nullptr);
    EXPECT_EQ(dc->SelectPalette(other.get(), true), one.get());
    EXPECT_EQ(dc->SelectPalette(nullptr, false), other.get());
    EXPECT_EQ(dc->SelectPalette(nullptr, false), nullptr);
}

TEST_P(DeviceContract, ADestroyedPaletteIsNoLongerSelected) {
    const CClientDC first(&m_pWindow->fnGetWnd());
    const CClientDC second(&m_pWindow->fnGetWnd());
    ASSERT_TRUE(first && second);
    auto gone = fnMakePalette({0, 0xFFFFFF});
    const auto stays = fnMakePalette({0xFF0000});
    first->SelectPalette(gone.get(), false);
    second->SelectPalette(stays.get(), false);
    gone.reset();
    EXPECT_EQ(first->RealizePalette(), 0u);
    EXPECT_EQ(first->SelectPalette(nullptr, false), nullptr);
    EXPECT_EQ(second->SelectPalette(nullptr, false), stays.get());
}

TEST_P(DeviceContract, RealizationsCountWhatChangesOnTheScreen) {
    const CClientDC dc(&m_pWindow->fnGetWnd());
    ASSERT_TRUE(dc);
    EXPECT_EQ(dc->RealizePalette(), 0u) << "no palette is selected";
    const auto palette = fnMakePalette({0x123456, 0x654321, 0x0F0F0F});
    dc->SelectPalette(palette.get(), false);
    const UINT first = dc->RealizePalette();
    EXPECT_LE(first, 3u);
    if (dc->GetDeviceCaps(BITSPIXEL) != 8) {
        EXPECT_EQ(first, 0u) << "such a screen has no palette";
    }
    EXPECT_EQ(dc->RealizePalette(), 0u) << "all of it is there";
    dc->SelectPalette(nullptr, false);
    EXPECT_EQ(dc->RealizePalette(), 0u);
}

} // namespace

Q32_CONTRACT(DeviceContract, SCREEN);
