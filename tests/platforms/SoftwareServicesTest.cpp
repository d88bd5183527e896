#include "platforms/software/software.h"
#include "q32Base/framework/CPalette.h"
#include "q32Base/framework/Windows.h"

#include <gtest/gtest.h>

namespace {

struct Bitmap {
    BITMAPINFOHEADER m_Header{};
    RGBQUAD m_Colors[2]{};

    explicit Bitmap(LONG height) {
        m_Header.biSize = sizeof(m_Header);
        m_Header.biWidth = 16;
        m_Header.biHeight = height;
        m_Header.biPlanes = 1;
        m_Header.biBitCount = 1;
    }
};

} // namespace

TEST(SoftwareServices, TheFourSystemServicesAreNotProvided) {
    const CqPlatform services = q32SoftwareServices();
    EXPECT_FALSE(services.m_pMemory || services.m_pScratch || services.m_pFiles ||
                 services.m_pLocale);
    EXPECT_TRUE(services.m_pScreen && services.m_pMessages && services.m_pKeyboard &&
                services.m_pResources && services.m_pWaveOut && services.m_pMixers &&
                services.m_pWindows);
}

TEST(SoftwareServices, TheScreenHasMetricsAndAcceptsInvisibleDrawing) {
    const auto screen = q32SoftwareServices().m_pScreen;
    CDC* dc = screen->fnGetDC(nullptr);
    ASSERT_NE(dc, nullptr);
    EXPECT_EQ(dc->GetDeviceCaps(HORZRES), 1024);
    EXPECT_EQ(dc->GetDeviceCaps(VERTRES), 768);
    EXPECT_EQ(dc->GetDeviceCaps(BITSPIXEL), 32);
    EXPECT_EQ(dc->GetDeviceCaps(LOGPIXELSX), 96);
    EXPECT_EQ(dc->GetDeviceCaps(LOGPIXELSY), 96);
    EXPECT_EQ(dc->GetDeviceCaps(12345), 0);
    EXPECT_FALSE(dc->FillRect({0, 0, 1, 1}, COLOR_BTNFACE)) << "it doesn't paint";

    const Bitmap bitmap(4);
    const std::uint8_t rows[16] = {};
    const auto draw = [&](CDC* target, UINT scan, UINT scans, const Bitmap& drawn) {
        return screen->fnSetDIBitsToDevice(target, 0, 0, 16, 4, 0, 0, scan, scans, rows,
                                           &drawn.m_Header, DIB_RGB_COLORS);
    };
    EXPECT_EQ(draw(dc, 0, 4, bitmap), 4);
    EXPECT_EQ(draw(dc, 3, 4, bitmap), 1) << "the bitmap has no more";
    EXPECT_EQ(draw(dc, 4, 1, bitmap), 0);
    EXPECT_EQ(draw(nullptr, 0, 4, bitmap), 0);
    EXPECT_EQ(draw(dc, 0, 4, Bitmap(0)), -1);
    screen->fnReleaseDC(nullptr, dc);
    EXPECT_EQ(draw(dc, 0, 4, bitmap), -1) << "no longer open";
}

TEST(SoftwareServices, PalettesNeedTheirVersionAndEntries) {
    const auto screen = q32SoftwareServices().m_pScreen;
    struct {
        WORD m_nVersion = 0x300;
        WORD m_nCount = 2;
        PALETTEENTRY m_Entries[2] = {{1, 2, 3, 0}, {4, 5, 6, 0}};
    } record;
    const auto create = [&] {
        return screen->fnCreatePalette(reinterpret_cast<const LOGPALETTE&>(record));
    };
    const auto palette = create();
    ASSERT_NE(palette, nullptr);
    ASSERT_EQ(palette->fnGetEntries().size(), 2u);
    EXPECT_EQ(palette->fnGetEntries()[1].peGreen, 5);
    record.m_nCount = 0;
    EXPECT_EQ(create(), nullptr);
    record.m_nCount = 2;
    record.m_nVersion = 0x200;
    EXPECT_EQ(create(), nullptr);
}

TEST(SoftwareServices, RegionsAreExactSets) {
    const auto region = q32SoftwareServices().m_pScreen->fnCreateRectRegion({0, 0, 4, 4});
    ASSERT_NE(region, nullptr);
    EXPECT_TRUE(region->fnCombine(*region, CqSoftwareRegion({0, 2, 4, 4}), RGN_DIFF));
    ASSERT_EQ(region->fnGetRects().size(), 1u);
    EXPECT_EQ(region->fnGetRects()[0].bottom, 2);
}

TEST(SoftwareServices, ABoxReturnsItsFirstButton) {
    const auto messages = q32SoftwareServices().m_pMessages;
    std::string text = "old";
    EXPECT_EQ(messages->fnShowBox("text", MB_OKCANCEL, nullptr), IDOK);
    EXPECT_EQ(messages->fnShowBox("text", MB_YESNO | MB_ICONHAND, "title"), IDYES);
    EXPECT_EQ(messages->fnShowBox(nullptr, MB_YESNOCANCEL, nullptr), IDYES);
    EXPECT_EQ(messages->fnGetLastError(), 0u);
    EXPECT_FALSE(messages->fnFormatError(2, text));
    EXPECT_EQ(text, "old");
}

TEST(SoftwareServices, ThereAreNoKeysNoSoundAndNoWindows) {
    const CqPlatform services = q32SoftwareServices();
    CqKeyMessage message;
    EXPECT_FALSE(services.m_pKeyboard->fnIsKeyDown(VK_ESCAPE));
    EXPECT_FALSE(services.m_pKeyboard->fnIsKeyDownNow(VK_ESCAPE));
    EXPECT_FALSE(services.m_pKeyboard->fnTakeKeyMessage(message));
    EXPECT_FALSE(services.m_pWaveOut->fnCanPlay({}));
    EXPECT_EQ(services.m_pWaveOut->fnOpen({}, {}), nullptr);
    EXPECT_EQ(services.m_pMixers->fnGetCount(), 0u);
    EXPECT_EQ(services.m_pMixers->fnOpen(0, {}), nullptr);
    EXPECT_EQ(services.m_pWindows->fnGetApp(), nullptr);
    EXPECT_EQ(services.m_pWindows->fnGetMainWnd(), nullptr);
}
