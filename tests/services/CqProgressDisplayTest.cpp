#include "q32Base/framework/Exceptions.h"
#include "tests/services/ProgressWorld.h"
#include "tests/support/FailingAllocator.h"

#include <climits>
#include <functional>
#include <type_traits>

namespace {

/// A host's display, which overrides the functions selected.
class HostDisplay : public CqProgressDisplay {
public:
    using CqProgressDisplay::CqProgressDisplay;
    using CqProgressDisplay::m_pStatusBar;

    std::vector<std::string> m_Calls;
    bool m_bAnswer = false;

    void fnClearStatus() const override {
        const_cast<HostDisplay*>(this)->m_Calls.emplace_back("clear");
    }
    bool fnIsAborted() const override {
        const_cast<HostDisplay*>(this)->m_Calls.emplace_back("poll");
        return m_bAnswer;
    }
};

class ReplacedDisplay : public CqProgressDisplay {
public:
    std::vector<unsigned> m_Percents;
    void fnDrawStatus(unsigned int percent, bool* aborted) override {
        m_Percents.push_back(percent);
        *aborted = percent > 50;
    }
};

class ProgressDisplay : public ProgressWorld {
protected:
    std::uint64_t fnPainted() { return fnPaint().m_BitBlt.fnGetCount(); }
    CqHeadlessProgressCtrl m_Control{CRect(0, 0, 100, 10)};
};

void fnExpectMessage(const CqHeadlessProgressCtrl& control, std::size_t index, UINT message,
                     WPARAM wParam, LPARAM lParam) {
    ASSERT_LT(index, control.fnGetMessages().size());
    EXPECT_EQ(control.fnGetMessages()[index].m_nMessage, message);
    EXPECT_EQ(control.fnGetMessages()[index].m_wParam, wParam);
    EXPECT_EQ(control.fnGetMessages()[index].m_lParam, lParam);
}

} // namespace

static_assert(!std::has_virtual_destructor_v<CqProgressDisplay>);
static_assert(std::is_polymorphic_v<CqProgressDisplay>);

TEST_F(ProgressDisplay, StartsUnabortedWithTheRange0To100) {
    const OpenDisplay display;
    unsigned low = 7, high = 7;
    display.fnGetRange(low, high);
    EXPECT_EQ(low, 0u);
    EXPECT_EQ(high, 100u);
    EXPECT_FALSE(display.fnWasAborted());
    EXPECT_EQ(display.m_pStatusBar, &m_Bar);
    EXPECT_EQ(display.m_pProgressCtrl, nullptr);
    EXPECT_TRUE(display.m_Bitmap.HasHandle());
}

TEST_F(ProgressDisplay, KeepsTheRangeThatIsSet) {
    CqProgressDisplay display(false);
    display.fnSetRange(150, 50);
    unsigned low = 0, high = 0;
    display.fnGetRange(low, high);
    EXPECT_EQ(low, 150u);
    EXPECT_EQ(high, 50u);
}

TEST_F(ProgressDisplay, HasNoOutputWithoutMainWindowOrBar) {
    m_Frame.fnSetMessageBar(nullptr);
    {
        OpenDisplay display;
        EXPECT_EQ(display.m_pStatusBar, nullptr);
        bool aborted = true;
        display.fnDrawStatus(50, &aborted);
        EXPECT_FALSE(aborted);
        EXPECT_EQ(display.m_nLastPercent, -1);
    }
    m_World->m_pWindows->fnSetMainWnd(nullptr);
    EXPECT_EQ(OpenDisplay().m_pStatusBar, nullptr);
    EXPECT_TRUE(m_Bar.fnGetMessages().empty());
    EXPECT_TRUE(m_Bar.fnGetInvalidations().empty());
}

TEST_F(ProgressDisplay, WithoutOutputStillReportsEsc) {
    OpenDisplay display(false);
    EXPECT_EQ(display.m_pStatusBar, nullptr);
    fnKeyboard().fnSetKey(VK_ESCAPE, true, true);
    bool aborted = false;
    display.fnDrawStatus(10, &aborted);
    EXPECT_TRUE(aborted);
    EXPECT_TRUE(display.fnWasAborted());
    EXPECT_EQ(fnPainted(), 0u);
}

TEST_F(ProgressDisplay, PaintsAPercentageOnceButPollsEscEachTime) {
    CqProgressDisplay display;
    bool aborted;
    display.fnDrawStatus(10, &aborted);
    display.fnDrawStatus(10, &aborted);
    EXPECT_EQ(fnPainted(), 1u);
    EXPECT_EQ(fnKeyboard().fnGetLooks(), 2u);
    display.fnDrawStatus(9, &aborted); // a decrease is a change too
    EXPECT_EQ(fnPainted(), 2u);
}

TEST_F(ProgressDisplay, DoesNotTouchTheKeyboardWithoutAFlagToSet) {
    CqProgressDisplay display;
    fnKeyboard().fnSetKey(VK_ESCAPE, true, true);
    fnKeyboard().fnPost(WM_KEYDOWN, VK_ESCAPE);
    display.fnDrawStatus(10, nullptr);
    EXPECT_EQ(fnKeyboard().fnGetLooks(), 0u);
    EXPECT_EQ(fnKeyboard().fnGetQueue().size(), 1u);
    EXPECT_EQ(fnPainted(), 1u);
    EXPECT_FALSE(display.fnWasAborted());
}

TEST_F(ProgressDisplay, PaintsNothingWhileEscIsDownAndForgetsItAfterwards) {
    OpenDisplay display;
    bool aborted = false;
    display.fnDrawStatus(10, &aborted);
    fnKeyboard().fnSetKey(VK_ESCAPE, false, true);
    display.fnDrawStatus(20, &aborted);
    EXPECT_TRUE(aborted);
    EXPECT_EQ(display.m_nLastPercent, 10);
    display.fnDrawStatus(30, nullptr); // the last poll still applies
    EXPECT_EQ(display.m_nLastPercent, 10);
    EXPECT_EQ(fnPainted(), 1u);
    fnKeyboard().fnSetKey(VK_ESCAPE, false, false);
    display.fnDrawStatus(40, &aborted);
    EXPECT_FALSE(aborted);
    EXPECT_FALSE(display.fnWasAborted());
    EXPECT_EQ(display.m_nLastPercent, 40);
}

TEST_F(ProgressDisplay, RecognizesEscByBothKeyStatesAndByItsMessages) {
    const CqProgressDisplay display(false);
    EXPECT_FALSE(display.fnIsAborted());
    fnKeyboard().fnSetKey(VK_ESCAPE, true, false);
    EXPECT_TRUE(display.fnIsAborted());
    fnKeyboard().fnSetKey(VK_ESCAPE, false, true);
    EXPECT_TRUE(display.fnIsAborted());
    fnKeyboard().fnSetKey(VK_ESCAPE, false, false);
    for (const UINT message : {WM_KEYDOWN, WM_CHAR}) {
        fnKeyboard().fnPost(message, VK_ESCAPE);
        EXPECT_TRUE(display.fnIsAborted());
        EXPECT_FALSE(display.fnIsAborted());
    }
    fnKeyboard().fnPost(WM_KEYUP, VK_ESCAPE);
    fnKeyboard().fnPost(WM_KEYDOWN, 'A');
    EXPECT_FALSE(display.fnIsAborted());
}

TEST_F(ProgressDisplay, DiscardsEveryKeyUpToEscAndLeavesOtherMessages) {
    constexpr UINT kPaint = 0x0F, kMouseMove = 0x200;
    const CqProgressDisplay display(false);
    fnKeyboard().fnPost(kPaint, 1);
    fnKeyboard().fnPost(WM_KEYDOWN, 'A');
    fnKeyboard().fnPost(WM_CHAR, 'a');
    fnKeyboard().fnPost(kMouseMove, 2);
    fnKeyboard().fnPost(WM_KEYUP, 'A');
    fnKeyboard().fnPost(WM_KEYLAST, 'B');
    EXPECT_FALSE(display.fnIsAborted());
    EXPECT_EQ(fnKeyboard().fnGetTaken().size(), 4u);
    ASSERT_EQ(fnKeyboard().fnGetQueue().size(), 2u);
    EXPECT_EQ(fnKeyboard().fnGetQueue()[0].m_nMessage, kPaint);
    EXPECT_EQ(fnKeyboard().fnGetQueue()[1].m_nMessage, kMouseMove);

    fnKeyboard().fnPost(WM_KEYDOWN, 'C');
    fnKeyboard().fnPost(WM_KEYDOWN, VK_ESCAPE);
    fnKeyboard().fnPost(WM_KEYDOWN, 'D');
    EXPECT_TRUE(display.fnIsAborted());
    ASSERT_EQ(fnKeyboard().fnGetQueue().size(), 3u); // messages after Esc stay queued
    EXPECT_EQ(fnKeyboard().fnGetQueue()[2].m_wParam, WPARAM{'D'});
}

TEST_F(ProgressDisplay, AKeyThatIsDownLeavesTheQueueUnchanged) {
    const CqProgressDisplay display(false);
    fnKeyboard().fnSetKey(VK_ESCAPE, true, false);
    fnKeyboard().fnPost(WM_KEYDOWN, 'A');
    EXPECT_TRUE(display.fnIsAborted());
    EXPECT_EQ(fnKeyboard().fnGetQueue().size(), 1u);
}

TEST_F(ProgressDisplay, RestoresTheBarAtTheEnd) {
    {
        CqProgressDisplay display;
        EXPECT_TRUE(m_Bar.fnGetMessages().empty());
    }
    ASSERT_EQ(m_Bar.fnGetMessages().size(), 1u);
    EXPECT_EQ(m_Bar.fnGetMessages()[0].m_nMessage, UINT{WM_ERASEBKGND});
    ASSERT_EQ(m_Bar.fnGetInvalidations().size(), 1u);
    EXPECT_FALSE(m_Bar.fnGetInvalidations()[0].m_Rect);
    EXPECT_FALSE(m_Bar.fnGetInvalidations()[0].m_bErase);
}

TEST_F(ProgressDisplay, SetsAControlsRangeAndEachNewValue) {
    {
        OpenDisplay display(&m_Control);
        EXPECT_EQ(display.m_pStatusBar, nullptr);
        EXPECT_EQ(display.m_nLastPercent, -1);
        fnExpectMessage(m_Control, 0, 0x401, 0, 0x00640000);
        fnExpectMessage(m_Control, 1, 0x402, 0, 0);
        display.fnSetRange(50, 150); // the control keeps its range
        display.fnDrawStatus(0, nullptr);
        fnExpectMessage(m_Control, 2, 0x402, 50, 0);
        display.fnDrawStatus(37, nullptr);
        display.fnDrawStatus(37, nullptr);
        fnExpectMessage(m_Control, 3, 0x402, 87, 0);
        display.fnDrawStatus(UINT_MAX, nullptr);
        fnExpectMessage(m_Control, 4, 0x402, 150, 0);
        display.fnClearStatus();
    }
    EXPECT_EQ(m_Control.fnGetMessages().size(), 5u);
    EXPECT_TRUE(m_Control.fnGetInvalidations().empty());
    EXPECT_TRUE(m_Bar.fnGetMessages().empty());
}

TEST_F(ProgressDisplay, AnInvertedOrWideRangeWrapsIn32Bits) {
    OpenDisplay display(&m_Control);
    display.fnSetRange(100, 0);
    display.fnDrawStatus(50, nullptr);
    // 0 - 100 is 4294967196; times 50 it wraps to 4294962296; a hundredth of that and 100 more
    fnExpectMessage(m_Control, 2, 0x402, 42949622u + 100u, 0);
    display.fnSetRange(0, 0x80000000u);
    display.fnDrawStatus(2, nullptr);
    fnExpectMessage(m_Control, 3, 0x402, 0, 0);
}

TEST_F(ProgressDisplay, ANullControlMeansNoOutput) {
    CqProgressDisplay display(static_cast<CProgressCtrl*>(nullptr));
    bool aborted = true;
    display.fnDrawStatus(5, &aborted);
    EXPECT_FALSE(aborted);
}

TEST_F(ProgressDisplay, AHostThatOverridesThePollForEscDecidesTheResult) {
    HostDisplay display(false);
    bool aborted = false;
    display.m_bAnswer = true;
    display.fnDrawStatus(1, &aborted);
    EXPECT_TRUE(aborted);
    EXPECT_TRUE(display.fnWasAborted());
    display.m_bAnswer = false;
    display.fnDrawStatus(1, &aborted);
    EXPECT_FALSE(aborted);
    EXPECT_EQ(display.m_Calls, (std::vector<std::string>{"poll", "poll"}));
}

TEST_F(ProgressDisplay, AHostThatOverridesTheWipeIsCalledBeforeTheFirstPicture) {
    HostDisplay display;
    bool aborted;
    display.fnDrawStatus(1, &aborted);
    display.fnDrawStatus(2, &aborted);
    EXPECT_EQ(display.m_Calls, (std::vector<std::string>{"poll", "clear", "poll"}));
    EXPECT_TRUE(m_Bar.fnGetMessages().empty());
}

TEST_F(ProgressDisplay, AHostThatOverridesTheDrawingIsCalledThroughThePointer) {
    ReplacedDisplay replaced;
    CqProgressDisplay* display = &replaced;
    bool aborted = false;
    display->fnDrawStatus(50, &aborted);
    EXPECT_FALSE(aborted);
    display->fnDrawStatus(51, &aborted);
    EXPECT_TRUE(aborted);
    EXPECT_EQ(replaced.m_Percents, (std::vector<unsigned>{50, 51}));
}

TEST_F(ProgressDisplay, StopsDrawingWhenItCannotBeLaidOut) {
    CqHeadlessPaintCalls& paint = fnPaint();
    for (CqHeadlessCalls* calls :
         {&fnScreen().m_GetDC, &paint.m_TextMetrics, &paint.m_DrawText, &paint.m_CreateBitmap}) {
        calls->fnFail(1);
        OpenDisplay display;
        EXPECT_EQ(display.m_pStatusBar, nullptr);
        bool aborted = true;
        display.fnDrawStatus(10, &aborted);
        EXPECT_FALSE(aborted);
    }
    EXPECT_TRUE(m_Bar.fnGetMessages().empty());
    EXPECT_TRUE(m_Bar.fnGetInvalidations().empty());
}

TEST_F(ProgressDisplay, StopsDrawingOnABarThatIsTooSmall) {
    for (const CRect& place : {CRect(0, 0, 12, 20), CRect(0, 0, 3, 20), CRect(0, 0, 300, 0)}) {
        m_Bar.fnMove(place);
        EXPECT_EQ(OpenDisplay().m_pStatusBar, nullptr);
    }
    m_Bar.fnMove(CRect(0, 0, 13, 20)); // one column
    OpenDisplay display;
    EXPECT_EQ(display.m_pStatusBar, &m_Bar);
    display.fnDrawStatus(100, nullptr);
}

TEST_F(ProgressDisplay, WorksWithoutTheFont) {
    for (CqHeadlessCalls* calls : {&fnPaint().m_IconTitleFont, &fnPaint().m_CreateFont}) {
        fnScreen().fnSetIconTitleHeight(22);
        calls->fnFail(1);
        OpenDisplay display;
        EXPECT_FALSE(display.m_Font.HasHandle());
        EXPECT_EQ(display.m_rcText, CRect(0, 0, 30, 15)); // the standard font's
        display.fnDrawStatus(10, nullptr);
        EXPECT_EQ(display.m_nLastPercent, 10);
    }
}

TEST_F(ProgressDisplay, StopsDrawingMidwayWhenADeviceContextIsUnavailable) {
    for (const bool memory : {false, true}) {
        OpenDisplay display;
        display.fnDrawStatus(10, nullptr);
        (memory ? fnPaint().m_CreateDC : fnScreen().m_GetDC).fnFail(1);
        const auto painted = fnPainted();
        const auto notified = m_Bar.fnGetMessages().size();
        display.fnDrawStatus(20, nullptr);
        EXPECT_EQ(display.m_pStatusBar, nullptr);
        EXPECT_EQ(display.m_nLastPercent, 10);
        display.fnDrawStatus(30, nullptr);
        display.fnClearStatus();
        EXPECT_EQ(fnPainted(), painted);
        EXPECT_EQ(m_Bar.fnGetMessages().size(), notified);
    }
    EXPECT_TRUE(m_Bar.fnGetInvalidations().empty());
}

TEST_F(ProgressDisplay, ContinuesAfterAFailedWipe) {
    OpenDisplay display;
    fnScreen().m_GetDC.fnFail(1);
    display.fnDrawStatus(10, nullptr);
    EXPECT_TRUE(m_Bar.fnGetMessages().empty());
    EXPECT_EQ(display.m_nLastPercent, 10);
}

TEST_F(ProgressDisplay, ContinuesAfterAFailedPaintingCall) {
    CqHeadlessPaintCalls& paint = fnPaint();
    OpenDisplay display;
    int percent = 0;
    for (CqHeadlessCalls* calls : {&paint.m_FillRect, &paint.m_TextExtent, &paint.m_DrawText,
                                   &paint.m_InvertRect, &paint.m_BitBlt}) {
        calls->fnFail(1);
        bool aborted;
        display.fnDrawStatus(static_cast<unsigned>(++percent), &aborted);
        EXPECT_EQ(calls->fnGetFailed(), 1u);
        EXPECT_EQ(display.m_nLastPercent, percent);
        EXPECT_EQ(display.m_pStatusBar, &m_Bar);
    }
}

TEST_F(ProgressDisplay, ExhaustedMemoryInPaintingNeverReachesTheOperation) {
    const std::size_t failures = fnFailEachAllocation([&](CqAllocationFailure& failure) {
        {
            CqProgressDisplay display;
            display.fnDrawStatus(10, nullptr);
        }
        failure.fnEnd();
    });
    EXPECT_GE(failures, 4u); // at least two device contexts, a font and a bitmap
}

/// A keyboard that runs out of memory throws, since a poll has no other way to fail. No other
/// key is taken for Esc, and Esc isn't lost.
TEST_F(ProgressDisplay, APollWithoutMemoryThrowsAndFindsEscTheNextTime) {
    const std::size_t failures = fnFailEachAllocation(
        [&] {
            fnKeyboard() = CqHeadlessKeyboard();
            fnKeyboard().fnPost(WM_KEYDOWN, 'A');
            fnKeyboard().fnPost(WM_KEYDOWN, VK_ESCAPE);
        },
        [&](CqAllocationFailure& failure) {
            CqProgressDisplay display(false);
            bool aborted = false;
            bool raised = false;
            try {
                display.fnDrawStatus(10, &aborted);
            } catch (CMemoryException* memory) {
                memory->Delete();
                raised = true;
            }
            failure.fnEnd();
            EXPECT_EQ(raised, failure.fnHappened());
            EXPECT_EQ(aborted, !raised);
            EXPECT_EQ(display.fnWasAborted(), !raised);
            if (!raised)
                return;
            display.fnDrawStatus(20, &aborted);
            EXPECT_TRUE(aborted);
            EXPECT_TRUE(fnKeyboard().fnGetQueue().empty());
        });
    EXPECT_EQ(failures, 2u); // a record of each key removed
}
