#include "tests/contract/ContractBackEnd.h"

#include <vector>

namespace {

/// The application, its main window and their parts.
class WindowContract : public ContractTest {
protected:
    /// The parameter of PBM_SETRANGE.
    static LPARAM fnMakeRange(int low, int high) { return low | high << 16; }

    CqWindowService& m_Windows = *m_World.m_Platform.m_pWindows;
    ContractHost& m_Host = *m_World.m_pHost;
};

TEST_P(WindowContract, ThereIsNoApplicationUntilTheHostHasOne) {
    EXPECT_EQ(m_Windows.fnGetApp(), nullptr);
    EXPECT_EQ(m_Windows.fnGetMainWnd(), nullptr);
    m_Host.fnOpen();
    EXPECT_EQ(m_Windows.fnGetApp(), &m_Host.fnGetApp());
    EXPECT_EQ(m_Windows.fnGetMainWnd(), &m_Host.fnGetFrame());
    m_Host.fnForget();
    EXPECT_EQ(m_Windows.fnGetApp(), nullptr);
    EXPECT_EQ(m_Windows.fnGetMainWnd(), nullptr);
}

TEST_P(WindowContract, AFrameHasAMessageBarAndABarHasNone) {
    m_Host.fnOpen();
    CWnd* bar = m_Host.fnGetFrame().GetMessageBar();
    ASSERT_NE(bar, nullptr);
    EXPECT_EQ(bar->GetMessageBar(), nullptr);
    EXPECT_EQ(m_Host.fnGetProgress().GetMessageBar(), nullptr);
}

TEST_P(WindowContract, ClientAreasBeginAtZeroAndHaveASize) {
    m_Host.fnOpen();
    for (const CWnd* window : {&m_Host.fnGetFrame(), m_Host.fnGetFrame().GetMessageBar(),
                               static_cast<CWnd*>(&m_Host.fnGetProgress())}) {
        EXPECT_TRUE(window->IsWindow());
        const CRect client = window->GetClientRect();
        EXPECT_EQ(client.TopLeft(), CPoint(0, 0));
        EXPECT_GT(client.Width(), 0);
        EXPECT_GT(client.Height(), 0);
    }
}

TEST_P(WindowContract, AnErasedBarHasOneColour) {
    m_Host.fnOpen();
    CWnd& bar = *m_Host.fnGetFrame().GetMessageBar();
    CqScreenService& screen = *m_World.m_Platform.m_pScreen;
    CDC* dc = screen.fnGetDC(&bar);
    ASSERT_NE(dc, nullptr);
    EXPECT_TRUE(dc->InvertRect(CRect(0, 0, 10, 10)));
    bar.SendMessage(WM_ERASEBKGND, reinterpret_cast<WPARAM>(dc), 0);
    screen.fnReleaseDC(&bar, dc);
    const ContractPicture seen = m_Host.fnGetBarPicture();
    EXPECT_EQ(seen.m_nWidth, bar.GetClientRect().Width());
    EXPECT_EQ(seen.m_nHeight, bar.GetClientRect().Height());
    for (const std::uint32_t pixel : seen.m_Pixels)
        ASSERT_EQ(pixel, seen.m_Pixels.front());
}

TEST_P(WindowContract, AProgressControlShowsItsRangeAndPosition) {
    m_Host.fnOpen();
    CProgressCtrl& progress = m_Host.fnGetProgress();
    progress.SendMessage(PBM_SETRANGE, 0, fnMakeRange(0, 100));
    for (const int position : {0, 1, 50, 99, 100, 37}) {
        progress.SendMessage(PBM_SETPOS, static_cast<WPARAM>(position), 0);
        EXPECT_EQ(m_Host.fnGetProgressState(), (std::vector<int>{0, 100, position}));
    }
    progress.SendMessage(PBM_SETRANGE, 0, fnMakeRange(20, 40000));
    progress.SendMessage(PBM_SETPOS, 30000, 0);
    EXPECT_EQ(m_Host.fnGetProgressState(), (std::vector<int>{20, 40000, 30000}));
}

TEST_P(WindowContract, WindowsOfAWindowThatHasEndedCountAsNone) {
    m_Host.fnOpen();
    CWnd& bar = *m_Host.fnGetFrame().GetMessageBar();
    m_Host.fnEndWindow();
    const RECT part{0, 0, 5, 5};
    for (CWnd* window : {&m_Host.fnGetFrame(), &bar, static_cast<CWnd*>(&m_Host.fnGetProgress())}) {
        EXPECT_FALSE(window->IsWindow());
        EXPECT_EQ(m_World.m_Platform.m_pScreen->fnGetDC(window), nullptr);
        window->SendMessage(PBM_SETPOS, 5, 0);
        window->InvalidateRect(nullptr, true);
        window->InvalidateRect(&part, false);
    }
}

} // namespace

Q32_CONTRACT(WindowContract, WINDOWS);
