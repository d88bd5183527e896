#include "platforms/win32/CqWin32View.h"
#include "platforms/win32/win32.h"
#include "q32Base/framework/CCmdUI.h"
#include "q32Base/framework/CDocument.h"
#include "q32Base/framework/Exceptions.h"
#include "q32Base/image/CqImage.h"
#include "q32Base/image/CqImageLine.h"
#include "q32Base/module/Module.h"
#include "q32Base/services/CqUndoMngr.h"
#include "tests/support/FailingAllocator.h"
#include "tests/support/Win32Capture.h"

#include <gtest/gtest.h>

#include <exception>
#include <memory>
#include <stdexcept>

namespace {

constexpr LONG kSide = 120;

CqColor fnGetColor(int x, int y) {
    // Corners of the colour cube, which every screen has, in cells of 4 x 4 pixels.
    const int cell = x / 4 * 7 + y / 4 * 3;
    const auto part = [cell](int bit) {
        return static_cast<unsigned char>((cell >> bit) % 2 == 0 ? 0 : 255);
    };
    return CqColor(part(0), part(1), part(2));
}

int fnGetScreenBits() {
    const HDC screen = ::GetDC(nullptr);
    const int bits = ::GetDeviceCaps(screen, BITSPIXEL);
    ::ReleaseDC(nullptr, screen);
    return bits;
}

class Win32View : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(q32Attach(q32Win32Platform(q32Win32Windows())));
        m_Frame = q32::test::fnMakePlainWindow({30, 30, 30 + kSide, 30 + kSide});
        m_pImage = std::make_unique<CqImage>(400u, 300u, 24u);
        CqImageLine line;
        for (int y = 0; y < 300; ++y) {
            m_pImage->fnAccessLine(y, &line, false);
            for (int x = 0; x < 400; ++x)
                line.fnSetPixelColor(x, fnGetColor(x, y));
            line.fnUnAssociate();
        }
        m_pView = std::make_unique<CqWin32View>(m_Frame, RECT{0, 0, kSide, kSide}, 1);
        ASSERT_NE(m_pView->fnGetHandle(), nullptr);
        m_pView->fnSetImage(m_pImage.get());
        ::UpdateWindow(m_pView->fnGetHandle());
    }
    void TearDown() override {
        m_pView.reset();
        m_pImage.reset();
        ::DestroyWindow(m_Frame);
        q32Detach();
        q32SetMessageService(nullptr);
    }
    /// What waits to be painted.
    CRect fnGetStale() const {
        RECT stale{};
        ::GetUpdateRect(m_pView->fnGetHandle(), &stale, FALSE);
        return CRect(stale);
    }
    /// The screen shows the image at the view's scale and origin, the same by its parts as at once.
    void fnExpectShown() {
        const HWND window = m_pView->fnGetHandle();
        ::UpdateWindow(window);
        const CRect client = m_pView->GetClientRect();
        const std::vector<std::uint32_t> seen = q32::test::fnCapture(window);
        ::InvalidateRect(window, nullptr, FALSE);
        ::UpdateWindow(window);
        EXPECT_EQ(q32::test::fnCapture(window), seen);
        const int bits = fnGetScreenBits();
        if (bits == 8)
            return; // Wine shows this window black; the viewer's test sees colours there
        // On 16 bits the dither to 5 bits changes the lower ones.
        const std::uint32_t mask = bits == 16 ? 0xF8F8F8 : 0xFFFFFF;
        for (LONG y = 0; y < client.bottom; y += 3)
            for (LONG x = 0; x < client.right; x += 3) {
                const CPoint from = m_pView->fnToImage(CPoint(x, y));
                const CqColor color = fnGetColor(from.x, from.y);
                const std::uint32_t expected = static_cast<std::uint32_t>(color.m_Red) << 16 |
                                               static_cast<std::uint32_t>(color.m_Green) << 8 |
                                               color.m_Blue;
                ASSERT_EQ(seen[static_cast<std::size_t>(y * client.right + x)] & mask,
                          expected & mask)
                    << x << ", " << y;
            }
    }

    HWND m_Frame = nullptr;
    std::unique_ptr<CqImage> m_pImage;
    std::unique_ptr<CqWin32View> m_pView;
};

TEST_F(Win32View, ItShowsTheImageWhereverItIsScrolledTo) {
    fnExpectShown();
    for (const CPoint& origin : {CPoint(17, 0), CPoint(30, 41), CPoint(5, 100), CPoint(5, 99)}) {
        m_pView->fnScrollTo(origin);
        EXPECT_EQ(m_pView->fnGetOrigin(), origin);
        fnExpectShown();
    }
    m_pView->fnScrollTo(CPoint(100000, -5));
    EXPECT_EQ(m_pView->fnGetOrigin().x, 400 - m_pView->GetClientRect().Width());
    EXPECT_EQ(m_pView->fnGetOrigin().y, 0);
    fnExpectShown();
}

TEST_F(Win32View, ItShowsTheImageAtEveryScale) {
    for (const int scale : {2, 5, 16}) {
        m_pView->fnSetScale(scale, CPoint(40, 30));
        EXPECT_EQ(m_pView->fnGetScale(), scale);
        fnExpectShown();
    }
    m_pView->fnSetScale(-2, CPoint(0, 0));
    EXPECT_EQ(m_pView->fnGetScale(), -2);
    m_pView->fnSetScale(0, CPoint(0, 0));
    EXPECT_EQ(m_pView->fnGetScale(), 1);
    m_pView->fnSetScale(99, CPoint(0, 0));
    EXPECT_EQ(m_pView->fnGetScale(), 16);
    m_pView->fnFit();
    EXPECT_EQ(m_pView->fnGetScale(), -4);
}

TEST_F(Win32View, OnlyAChangedPartIsStale) {
    EXPECT_TRUE(fnGetStale().IsRectEmpty());
    const RECT part{10, 20, 30, 25};
    m_pView->fnUpdateImage(&part);
    EXPECT_EQ(fnGetStale(), CRect(10, 20, 31, 26)) << "with what rounding may touch";
    ::UpdateWindow(m_pView->fnGetHandle());
    m_pView->fnScrollTo(CPoint(0, 10));
    EXPECT_EQ(fnGetStale().Height(), 10) << "the rest moves";
}

TEST_F(Win32View, APartThatReachesFarBeyondTheImageIsStaleUpToTheEdgeOfTheView) {
    m_pView->fnSetScale(16, CPoint(0, 0));
    ::UpdateWindow(m_pView->fnGetHandle());
    const RECT part{1, 2, 200'000'000, 3}; // 3,200,000,000 pixels of the screen
    m_pView->fnUpdateImage(&part);
    EXPECT_EQ(fnGetStale(), CRect(16, 32, m_pView->GetClientRect().right, 49));
    ::UpdateWindow(m_pView->fnGetHandle());
    const RECT beyond{200'000'000, -200'000'000, 200'000'001, 200'000'000};
    m_pView->fnUpdateImage(&beyond);
    EXPECT_TRUE(fnGetStale().IsRectEmpty());
}

TEST_F(Win32View, WhatTheHostThrowsWhileAMessageIsHandledWaitsForTheHost) {
    EXPECT_EQ(m_pView->fnTakeFailure(), nullptr);
    m_pView->m_OnMoved = [] { throw std::runtime_error("of the host"); };
    ::SendMessageW(m_pView->fnGetHandle(), WM_KEYDOWN, VK_ADD, 0);
    ::SendMessageW(m_pView->fnGetHandle(), WM_KEYDOWN, VK_ADD, 0);
    EXPECT_EQ(m_pView->fnGetScale(), 3) << "the view is complete";
    const std::exception_ptr failure = m_pView->fnTakeFailure();
    ASSERT_NE(failure, nullptr);
    EXPECT_THROW(std::rethrow_exception(failure), std::runtime_error);
    EXPECT_EQ(m_pView->fnTakeFailure(), nullptr) << "only the first one";
    EXPECT_THROW(m_pView->fnSetScale(5, CPoint(0, 0)), std::runtime_error)
        << "a call of the host's own gets it at once";
    EXPECT_EQ(m_pView->fnTakeFailure(), nullptr);
    m_pView->m_OnMoved = [] { AfxThrowMemoryException(); };
    ::SendMessageW(m_pView->fnGetHandle(), WM_KEYDOWN, VK_ADD, 0); // never taken
}

TEST_F(Win32View, WithoutMemoryForTheListOfStalePartsTheirBoxIsPainted) {
    const HWND window = m_pView->fnGetHandle();
    fnExpectShown();
    const std::vector<std::uint32_t> shown = q32::test::fnCapture(window);
    for (std::size_t failing = 1; failing < 12; ++failing) {
        // What lies there would stay if nothing were drawn.
        const HDC dc = ::GetDC(window);
        ::PatBlt(dc, 0, 0, kSide, kSide, WHITENESS);
        ::ReleaseDC(window, dc);
        ::InvalidateRect(window, nullptr, FALSE);
        {
            const CqAllocationFailure failure(failing);
            ::UpdateWindow(window);
        }
        EXPECT_TRUE(fnGetStale().IsRectEmpty()) << "it isn't asked again";
        EXPECT_EQ(m_pView->fnTakeFailure(), nullptr);
        if (failing <= 2) {
            EXPECT_EQ(q32::test::fnCapture(window), shown) << failing;
        }
    }
}

TEST_F(Win32View, TheWheelZoomsAboutTheMouse) {
    const POINT about{40, 60};
    const CPoint before = m_pView->fnToImage(about);
    POINT screen = about;
    ::ClientToScreen(m_pView->fnGetHandle(), &screen);
    int moves = 0;
    m_pView->m_OnMoved = [&] { ++moves; };
    const auto turn = [&](int delta) {
        ::SendMessageW(m_pView->fnGetHandle(), WM_MOUSEWHEEL,
                       MAKEWPARAM(0, static_cast<WORD>(delta)), MAKELPARAM(screen.x, screen.y));
    };
    turn(WHEEL_DELTA / 2);
    EXPECT_EQ(m_pView->fnGetScale(), 1) << "half a step";
    turn(WHEEL_DELTA / 2);
    EXPECT_EQ(m_pView->fnGetScale(), 2);
    EXPECT_EQ(m_pView->fnToImage(about), before);
    EXPECT_GT(moves, 0);
    turn(-3 * WHEEL_DELTA);
    EXPECT_EQ(m_pView->fnGetScale(), -3);
}

TEST_F(Win32View, AFramesMessagesAboutPalettesAndTheDisplayRepaintIt) {
    LRESULT result = 0;
    for (const UINT message : {WM_QUERYNEWPALETTE, WM_PALETTECHANGED, WM_DISPLAYCHANGE}) {
        ::UpdateWindow(m_pView->fnGetHandle());
        EXPECT_TRUE(fnGetStale().IsRectEmpty());
        EXPECT_TRUE(m_pView->fnOnFrameMessage(message, 0, result)) << message;
        EXPECT_EQ(result, TRUE);
        EXPECT_FALSE(fnGetStale().IsRectEmpty()) << message;
        fnExpectShown();
    }
    const auto own = reinterpret_cast<WPARAM>(m_pView->fnGetHandle());
    EXPECT_FALSE(m_pView->fnOnFrameMessage(WM_PALETTECHANGED, own, result)) << "its own change";
    EXPECT_FALSE(m_pView->fnOnFrameMessage(WM_PAINT, 0, result));
    EXPECT_TRUE(fnGetStale().IsRectEmpty());
}

TEST_F(Win32View, AnotherDensityIsReadAndLeftToTheFrame) {
    LRESULT result = 99;
    ::UpdateWindow(m_pView->fnGetHandle());
    EXPECT_FALSE(m_pView->fnOnFrameMessage(WM_DPICHANGED, MAKEWPARAM(192, 192), result));
    EXPECT_EQ(result, 99) << "the frame takes its new place by itself";
    EXPECT_FALSE(fnGetStale().IsRectEmpty());
    fnExpectShown();
}

/// A document that nobody has changed.
class Document final : public CDocument {
public:
    int IsModified() override { return 0; }
    void SetModifiedFlag(bool) override {}
};

class Snapshot final : public CObject {};

TEST_F(Win32View, AToolBarOfTheSystemFollowsWhatCanBeUndone) {
    const INITCOMMONCONTROLSEX kinds{sizeof kinds, ICC_BAR_CLASSES};
    ASSERT_TRUE(::InitCommonControlsEx(&kinds));
    const HWND bar = ::CreateWindowExW(0, TOOLBARCLASSNAMEW, nullptr, WS_CHILD | WS_VISIBLE, 0, 0,
                                       0, 0, m_Frame, nullptr, nullptr, nullptr);
    ASSERT_NE(bar, nullptr);
    ::SendMessageW(bar, TB_BUTTONSTRUCTSIZE, sizeof(TBBUTTON), 0);
    TBBUTTON buttons[2]{};
    buttons[0].idCommand = ID_EDIT_UNDO;
    buttons[1].idCommand = ID_EDIT_REDO;
    for (TBBUTTON& button : buttons)
        button.fsState = TBSTATE_ENABLED;
    ::SendMessageW(bar, TB_ADDBUTTONSW, 2, reinterpret_cast<LPARAM>(buttons));
    const auto isEnabled = [bar](UINT command) {
        return ::SendMessageW(bar, TB_ISBUTTONENABLED, command, 0) != 0;
    };
    ASSERT_TRUE(isEnabled(ID_EDIT_UNDO) && isEnabled(ID_EDIT_REDO));

    CqWin32ToolBar control(bar);
    Document document;
    CqUndoMngr undo;
    ASSERT_TRUE(undo.fnCreate(&document, 3, &control));
    EXPECT_FALSE(isEnabled(ID_EDIT_UNDO) || isEnabled(ID_EDIT_REDO));
    undo.fnAddUndoBuf(new Snapshot, 0);
    EXPECT_TRUE(isEnabled(ID_EDIT_UNDO));
    delete undo.fnUndo(new Snapshot, 0, nullptr);
    EXPECT_FALSE(isEnabled(ID_EDIT_UNDO));
    EXPECT_TRUE(isEnabled(ID_EDIT_REDO));
    ::DestroyWindow(bar);
    EXPECT_FALSE(control.IsWindow());
    undo.fnRemoveAll();
}

TEST_F(Win32View, ItsWindowMayGoFirst) {
    ::DestroyWindow(m_pView->fnGetHandle());
    EXPECT_FALSE(m_pView->IsWindow());
    LRESULT result = 0;
    EXPECT_FALSE(m_pView->fnOnFrameMessage(WM_QUERYNEWPALETTE, 0, result));
    m_pView->fnSetScale(3, CPoint(0, 0));
    m_pView->fnScrollTo(CPoint(5, 5));
    m_pView->fnUpdateImage(nullptr);
}

} // namespace
