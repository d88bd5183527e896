/// @file
/// An attached library whose main window has a status bar, and a display with accessible internals.
#pragma once

#include "platforms/headless/headless.h"
#include "q32Base/module/Module.h"
#include "q32Base/services/CqProgressDisplay.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

/// Attaches the library for its lifetime.
class ProgressWorld : public testing::Test {
protected:
    ProgressWorld() : m_World(q32HeadlessWorld()) {
        m_Frame.fnSetMessageBar(&m_Bar);
        m_World->m_pWindows->fnSetMainWnd(&m_Frame);
    }
    void SetUp() override { ASSERT_TRUE(q32Attach(m_World->fnPlatform())); }
    void TearDown() override {
        EXPECT_EQ(fnScreen().fnGetOpenDCs(), 0u);
        EXPECT_EQ(m_World->m_pMisuses->fnGetAll(), std::vector<std::string>());
        q32Detach();
    }

    CqHeadlessScreen& fnScreen() { return *m_World->m_pScreen; }
    CqHeadlessKeyboard& fnKeyboard() { return *m_World->m_pKeyboard; }
    CqHeadlessPaintCalls& fnPaint() { return m_World->m_pScreen->m_Paint; }

    std::shared_ptr<CqHeadlessWorld> m_World;
    CqHeadlessWnd m_Frame{CRect(0, 0, 640, 480)};
    CqHeadlessStatusBar m_Bar{CRect(10, 440, 310, 460)}; // 300 x 20
};

/// Shows the protected fields.
class OpenDisplay : public CqProgressDisplay {
public:
    using CqProgressDisplay::CqProgressDisplay;
    using CqProgressDisplay::m_bAborted;
    using CqProgressDisplay::m_Bitmap;
    using CqProgressDisplay::m_Font;
    using CqProgressDisplay::m_nLastPercent;
    using CqProgressDisplay::m_nRangeHigh;
    using CqProgressDisplay::m_nRangeLow;
    using CqProgressDisplay::m_pProgressCtrl;
    using CqProgressDisplay::m_pStatusBar;
    using CqProgressDisplay::m_rcGauge;
    using CqProgressDisplay::m_rcText;
};
