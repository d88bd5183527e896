// Tone operations as seen by a host: progress, aborts, the window, the status bar and failures.

#include "q32Base/display/CqDisplayProperty.h"
#include "q32Base/framework/Exceptions.h"
#include "q32Base/services/CqProgressDisplay.h"
#include "tests/operations/ToneWorld.h"
#include "tests/support/FailingAllocator.h"

namespace q32::test {
namespace {

/// Records the percentages, inspects the image, and aborts at a chosen call.
class Watcher : public CqProgressDisplay {
public:
    Watcher() : CqProgressDisplay(false) {}

    int m_nAbortAt = -1; ///< counted from 0
    std::function<void(int call)> m_OnCall;
    std::vector<unsigned> m_Percents;

    void fnDrawStatus(unsigned int percent, bool* aborted) override {
        const int call = static_cast<int>(m_Percents.size());
        m_Percents.push_back(percent);
        if (m_OnCall)
            m_OnCall(call);
        *aborted = call == m_nAbortAt;
    }
};

class ToneProgress : public ToneWorld {};

struct Operation {
    const char* m_pName;
    std::vector<unsigned> m_Depths; ///< the depths it changes
    std::size_t m_nAllocations;
    std::function<void(CqImage&, bool draw, CqProgressDisplay*)> m_fnWork;
};

const Operation kOperations[] = {
    {"brightness",
     {8, 16, 24, 32},
     1,
     [](CqImage& image, bool draw, CqProgressDisplay* progress) {
         image.fnBrightContrast(30, 10, draw, progress);
     }},
    {"balance",
     {16, 24, 32},
     1,
     [](CqImage& image, bool draw, CqProgressDisplay* progress) {
         image.fnColorBalance(30, -10, 5, draw, progress);
     }},
    {"hue",
     {16, 24, 32},
     0,
     [](CqImage& image, bool draw, CqProgressDisplay* progress) {
         image.fnHueSaturation(30, 10, draw, progress);
     }},
    {"threshold",
     {4, 8, 16, 24, 32},
     0,
     [](CqImage& image, bool draw, CqProgressDisplay* progress) {
         image.fnThresholding(100, draw, progress);
     }},
};

TEST_F(ToneProgress, AnAbortLeavesFinishedTilesChangedAndTheRestUntouched) {
    for (const Operation& operation : kOperations)
        for (const unsigned bits : operation.m_Depths) {
            const auto whole = fnNoise(300, 140, bits);
            const int tiles = bits == 4 ? 1 : 6;
            ASSERT_EQ(whole->TileCount, static_cast<unsigned>(tiles));
            const Bytes before = fnRead(*whole);
            operation.m_fnWork(*whole, false, nullptr);
            const auto original = fnNoise(300, 140, bits);
            fnWrite(*original, before);
            for (int stop = -1; stop < tiles; ++stop) {
                CqImage image(300, 140, bits, nullptr, 0u);
                fnWrite(image, before);
                Watcher watcher;
                watcher.m_nAbortAt = stop;
                operation.m_fnWork(image, false, &watcher);
                std::vector<unsigned> percents{0, 16, 33, 50, 66, 83};
                percents.resize(static_cast<std::size_t>(stop < 0 ? tiles : stop + 1));
                ASSERT_EQ(watcher.m_Percents, percents) << operation.m_pName << ", " << bits;
                const auto done = static_cast<std::uint32_t>(percents.size());
                ASSERT_EQ(fnRead(image, 0, done), fnRead(*whole, 0, done))
                    << operation.m_pName << ", " << bits;
                ASSERT_EQ(fnRead(image, done), fnRead(*original, done))
                    << operation.m_pName << ", " << bits;
            }
        }
}

/// Calls a hook after each call of the display that paints on the status bar.
class GaugeWatcher : public CqProgressDisplay {
public:
    std::function<void(unsigned percent)> m_OnCall;
    void fnDrawStatus(unsigned int percent, bool* aborted) override {
        CqProgressDisplay::fnDrawStatus(percent, aborted);
        m_OnCall(percent);
    }
};

/// The gauge's bar is 252 pixels wide; its first row has no letters on it.
TEST_F(ToneProgress, TheStatusBarShowsTheTilesOneByOneAndIsRestored) {
    CqHeadlessWnd frame(CRect(0, 0, 640, 480));
    CqHeadlessStatusBar bar(CRect(10, 440, 310, 460));
    frame.fnSetMessageBar(&bar);
    m_World->m_pWindows->fnSetMainWnd(&frame);
    const auto image = fnNoise(300, 140, 24);
    for (const bool esc : {false, true}) {
        m_World->m_pScreen->fnClear(0xC0C0C0);
        if (esc)
            m_World->m_pKeyboard->fnPressAfter(VK_ESCAPE, 3); // found by the fourth poll
        std::vector<int> lengths;
        const std::size_t messages = bar.fnGetMessages().size();
        const std::size_t invalidations = bar.fnGetInvalidations().size();
        {
            GaugeWatcher display;
            display.m_OnCall = [&](unsigned) {
                int length = 0;
                for (int x = 10; x < 310; ++x)
                    length += m_World->m_pScreen->fnGetPixel(x, 442) == 0x3F3F3F ? 1 : 0;
                lengths.push_back(length);
            };
            image->fnBrightContrast(10, 0, false, &display);
            EXPECT_EQ(display.fnWasAborted(), esc);
            EXPECT_EQ(bar.fnGetMessages().size(), messages + 1); // wiped before the first drawing
            EXPECT_EQ(bar.fnGetInvalidations().size(), invalidations);
        }
        // 252 x 0, 16, 33, 50, 66 and 83 percent; the call that finds Esc paints nothing.
        EXPECT_EQ(lengths, esc ? (std::vector<int>{0, 40, 83, 83})
                               : (std::vector<int>{0, 40, 83, 126, 166, 209}));
        ASSERT_EQ(bar.fnGetMessages().size(), messages + 2);
        EXPECT_EQ(bar.fnGetMessages().back().m_nMessage, UINT{WM_ERASEBKGND});
        EXPECT_EQ(bar.fnGetInvalidations().size(), invalidations + 1);
    }
    m_World->m_pWindows->fnSetMainWnd(nullptr);
}

TEST_F(ToneProgress, AHostsProgressDisplayStopsTheWorkOnEsc) {
    const auto image = fnNoise(300, 140, 24);
    const Bytes before = fnRead(*image);
    m_World->m_pKeyboard->fnPressAfter(VK_ESCAPE, 2); // found by the third poll
    CqProgressDisplay display(false);
    image->fnThresholding(0, false, &display);
    EXPECT_TRUE(display.fnWasAborted());
    EXPECT_EQ(fnRead(*image, 0, 3), Bytes(fnRead(*image, 0, 3).size(), 255));
    const Bytes rest = fnRead(*image, 3);
    EXPECT_TRUE(std::equal(rest.rbegin(), rest.rend(), before.rbegin()));
}

TEST_F(ToneProgress, DrawingShowsTheWindowTileByTile) {
    CqHeadlessWnd window(CRect(20, 30, 320, 170));
    constexpr std::uint32_t kUntouched = 0x000001;
    const CPoint probes[] = {{5, 5}, {130, 5}, {260, 5}, {5, 130}, {130, 130}, {260, 139}};
    for (const Operation& operation : kOperations)
        for (const unsigned bits : operation.m_Depths) {
            m_World->m_pScreen->fnClear(kUntouched);
            CqImage image(300, 140, bits, nullptr, 0u);
            fnWrite(image, Bytes(fnRead(image).size(), 120));
            image.fnDrawInit(1u, false, CRect(0, 0, 300, 140), CPoint(), &window);
            const int tiles = bits == 4 ? 1 : 6;
            Watcher watcher;
            watcher.m_OnCall = [&](int call) {
                for (int i = 0; i < 6; ++i) {
                    const bool shown = m_World->m_pScreen->fnGetPixel(
                                           20 + probes[i].x, 30 + probes[i].y) != kUntouched;
                    EXPECT_EQ(shown, bits == 4 || i <= call)
                        << operation.m_pName << ", " << bits << " bits, tile " << i << " at "
                        << call;
                }
                EXPECT_EQ(m_World->m_pScreen->fnGetDraws().size(),
                          static_cast<std::size_t>(call + 1));
            };
            m_World->m_pScreen->fnClearDraws();
            operation.m_fnWork(image, true, &watcher);
            EXPECT_EQ(watcher.m_Percents.size(), static_cast<std::size_t>(tiles));
            m_World->m_pScreen->fnClearDraws();
            operation.m_fnWork(image, false, nullptr);
            EXPECT_TRUE(m_World->m_pScreen->fnGetDraws().empty());
        }
    EXPECT_EQ(m_World->m_pScreen->fnGetOpenDCs(), 0u);
}

TEST_F(ToneProgress, DrawingThatFailsDoesNotStopTheWork) {
    CqHeadlessWnd window(CRect(0, 0, 300, 140));
    const auto image = fnNoise(300, 140, 24);
    image->fnDrawInit(1u, false, CRect(0, 0, 300, 140), CPoint(), &window);
    m_World->m_pScreen->m_SetDIBits.fnFail(1, CqHeadlessCalls::kForever);
    image->fnThresholding(0, true, nullptr);
    EXPECT_EQ(fnRead(*image), Bytes(fnRead(*image).size(), 255));
}

TEST_F(ToneProgress, WithoutMemoryForItsTablesAnOperationChangesNothing) {
    for (const Operation& operation : kOperations) {
        const auto image = fnNoise(300, 140, 24);
        const Bytes before = fnRead(*image);
        const std::size_t failures = fnFailEachAllocation([&](CqAllocationFailure& failure) {
            bool raised = false;
            try {
                operation.m_fnWork(*image, false, nullptr);
            } catch (CMemoryException* memory) {
                memory->Delete();
                raised = true;
            }
            failure.fnEnd();
            EXPECT_EQ(raised, failure.fnHappened());
            EXPECT_EQ(fnRead(*image) == before, raised);
        });
        EXPECT_EQ(failures, operation.m_nAllocations) << operation.m_pName;
    }
}

TEST_F(ToneProgress, AnImageOfOnePixelWorks) {
    for (const Operation& operation : kOperations)
        for (const unsigned bits : operation.m_Depths) {
            const auto image = fnNoise(1, 1, bits);
            Watcher watcher;
            operation.m_fnWork(*image, false, &watcher);
            EXPECT_EQ(watcher.m_Percents, std::vector<unsigned>{0}) << operation.m_pName;
        }
}

} // namespace
} // namespace q32::test
