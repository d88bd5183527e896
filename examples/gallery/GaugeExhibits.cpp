// The progress gauge on a status bar.
#include "examples/gallery/ExhibitPictures.h"
#include "examples/gallery/Exhibits.h"
#include "examples/gallery/Screens.h"
#include "examples/gallery/Terminal.h"
#include "q32Base/services/CqProgressDisplay.h"

namespace {

/// Paints the gauge on a status bar of 380 x 19 and captures the screen, at twice its size.
void fnPaintGauge(Easel& easel, unsigned int percent, unsigned int low, unsigned int high) {
    easel.m_World.m_pScreen->fnSetMode({kScreenWidth, kScreenHeight, 32, 96, 96});
    const CRect place(0, 0, 380, 19);
    CqHeadlessStatusBar bar(place);
    CqHeadlessWnd frame(CRect(0, 0, kScreenWidth, kScreenHeight));
    frame.fnSetMessageBar(&bar);
    easel.m_World.m_pWindows->fnSetMainWnd(&frame);
    bool aborted = false;
    {
        CqProgressDisplay display;
        display.fnSetRange(low, high);
        display.fnDrawStatus(percent, &aborted);
        // The display clears the bar when it is destroyed.
        fnCopyScreen(*easel.m_World.m_pScreen, place, easel.m_Picture);
    }
    easel.m_World.m_pWindows->fnSetMainWnd(nullptr);
    if (aborted)
        throw Aborted();
    fnMagnify(easel.m_Picture, 2);
}

template <unsigned int PERCENT, unsigned int LOW, unsigned int HIGH>
void fnGauge(Easel& easel) {
    fnPaintGauge(easel, PERCENT, LOW, HIGH);
}

constexpr Step kSteps[] = {
    {"0 percent", fnGauge<0, 0, 100>},
    {"37 percent: the bar turns the colours round, the letters' too", fnGauge<37, 0, 100>},
    {"100 percent", fnGauge<100, 0, 100>},
    {"37 percent of a range from 50 to 150: the figure is the range's, and so is the bar",
     fnGauge<37, 50, 150>},
    {"100 percent of that range: the bar ends at the gauge's end", fnGauge<100, 50, 150>},
};

constexpr Exhibit kExhibits[] = {
    {"gauge", "What the status bar shows", "Each pixel is shown as two by two.", fnFirst, kSteps},
};

} // namespace

std::span<const Exhibit> fnGaugeExhibits() {
    return kExhibits;
}
