#include "examples/operations/Samples.h"
#include "platforms/headless/headless.h"

#include <memory>

namespace {

std::shared_ptr<CqHeadlessWorld> theWorld;

/// What the screen shows, as a picture of 24 bits.
void fnCopyScreen(CqImage& copy) {
    const CqHeadlessPicture shown = theWorld->m_pScreen->fnGetPicture();
    CqImage fresh(shown.m_nWidth, shown.m_nHeight, 24);
    CqImageLine line;
    for (std::size_t y = 0; y < shown.m_nHeight; ++y) {
        fresh.fnAccessLine(static_cast<unsigned int>(y), &line, false);
        std::copy_n(&shown.m_Rgb[y * shown.m_nWidth * 3], shown.m_nWidth * 3, line.LineBuffer);
    }
    line.fnUnAssociate();
    copy.fnSwapBuf(fresh);
}

/// Where a part of `shown` pixels begins in the middle of `length` scaled ones.
int fnMiddle(unsigned int length, const Screen& screen, int shown) {
    const unsigned int scaled =
        screen.m_bShrink ? length / screen.m_nFactor : length * screen.m_nFactor;
    return (static_cast<int>(scaled) - shown) / 2;
}

} // namespace

void fnTakeScreen(CqPlatform& platform) {
    theWorld = q32HeadlessWorld({});
    platform.m_pScreen = theWorld->m_pScreen;
    platform.m_pWindows = theWorld->m_pWindows;
}

void fnShow(CqImage& image, const Screen& screen) {
    const CSize size(screen.m_bShrink ? CSize(kWidth / screen.m_nFactor, kHeight / screen.m_nFactor)
                                      : CSize(kWidth, kHeight));
    theWorld->m_pScreen->fnSetMode({size.cx, size.cy, screen.m_nBits, 96, 96});
    CqDisplayProperty& display = *q32GetDisplayProperty();
    display.fnUpdate();
    display.fnEnableHiColorDither(screen.m_bDither);
    display.fnSetGammaValue(screen.m_nGamma);
    display.fnEnableGamma(true);
    {
        CqHeadlessWnd window(CRect(CPoint(0, 0), size));
        const CPoint origin(fnMiddle(image.Width, screen, size.cx),
                            fnMiddle(image.Height, screen, size.cy));
        const CRect view = window.GetClientRect();
        image.fnDrawInit(screen.m_nFactor, screen.m_bShrink, view, origin, &window);
        const CClientDC dc(&window);
        image.fnDraw(dc.GetDC(), view, origin.x, origin.y, false, false);
    }
    fnCopyScreen(image);
}
