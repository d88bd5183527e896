// The state of a picture after Esc.
#include "examples/gallery/Displays.h"
#include "examples/gallery/Exhibits.h"

namespace {

const CqColor kBackground(70, 74, 82, 255);

template <unsigned int PERCENT>
void fnStopTone(Easel& easel) {
    StopDisplay stop(PERCENT);
    easel.m_Picture.fnHueSaturation(140, 20, false, &stop);
}

template <unsigned int PERCENT>
void fnStopHalfway(Easel& easel) {
    StopDisplay stop(PERCENT);
    easel.m_Picture.fnRotate(180, kBackground, nullptr, false, &stop);
}

template <unsigned int PERCENT>
void fnStopRest(Easel& easel) {
    StopDisplay stop(PERCENT);
    easel.m_Picture.fnRotate(30, kBackground, nullptr, true, &stop);
    easel.m_Picture.fnResample(200, 150, true, &stop);
}

constexpr Step kTones[] = {
    {"Stopped at 25 percent: four tiles of twelve are done", fnStopTone<25>},
    {"At 50 percent", fnStopTone<50>},
    {"At 75 percent", fnStopTone<75>},
};

constexpr Step kTurns[] = {
    {"Stopped at 25 percent", fnStopHalfway<25>},
    {"At 50 percent", fnStopHalfway<50>},
    {"At 75 percent", fnStopHalfway<75>},
};

constexpr Step kRest[] = {
    {"Stopped at 50 percent: as it was", fnStopRest<50>},
    {"At 75 percent: as it was", fnStopRest<75>},
};

constexpr Exhibit kExhibits[] = {
    {"stop-tone", "Tone", "Tiles of 128 x 128 pixels are changed one after another.", fnFirst,
     kTones},
    {"stop-turn", "A turn by 180 degrees",
     "Done in place: rows are exchanged from the outside inward.", fnFirst, kTurns},
    {"stop-rest", "Resampling and all other turns",
     "The new picture takes the old one's place only when it is whole.", fnFirst, kRest},
};

} // namespace

std::span<const Exhibit> fnAbortExhibits() {
    return kExhibits;
}
