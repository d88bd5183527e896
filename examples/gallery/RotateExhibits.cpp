// Rotating by right angles and by others.
#include "examples/gallery/Charts.h"
#include "examples/gallery/ExhibitPictures.h"
#include "examples/gallery/Exhibits.h"

namespace {

template <int ANGLE, bool SMOOTH>
void fnRotate(Easel& easel) {
    easel.m_Picture.fnRotate(ANGLE, CqColor(70, 74, 82, 255), nullptr, SMOOTH, nullptr);
}

/// The centre of a rotated picture, four times as large.
template <int ANGLE, bool SMOOTH>
void fnRotateClose(Easel& easel) {
    fnRotate<ANGLE, SMOOTH>(easel);
    fnCutMiddle(easel.m_Picture, 100, 75);
    fnMagnify(easel.m_Picture, 4);
}

template <void (*PREPARE)(CqImage&), void (*DO)(Easel&)>
void fnOf(Easel& easel) {
    PREPARE(easel.m_Picture);
    DO(easel);
}

constexpr Step kRight[] = {
    {"90 degrees: clockwise", fnRotate<90, false>},
    {"-90 degrees: counter-clockwise", fnRotate<-90, false>},
    {"180 degrees", fnRotate<180, false>},
};

constexpr Step kAny[] = {
    {"30 degrees, nearest pixel: counter-clockwise, against the sense of right angles",
     fnRotate<30, false>},
    {"30 degrees, bilinear", fnRotate<30, true>},
    {"-8 degrees, nearest pixel", fnRotate<-8, false>},
    {"-8 degrees, bilinear", fnRotate<-8, true>},
};

constexpr Step kClose[] = {
    {"-8 degrees, nearest pixel", fnRotateClose<-8, false>},
    {"-8 degrees, bilinear", fnRotateClose<-8, true>},
};

constexpr Step kGrid[] = {
    {"5 degrees, nearest pixel: lines break into steps", fnOf<fnMakeGridChart, fnRotate<5, false>>},
    {"5 degrees, bilinear: no steps, and straight from edge to edge",
     fnOf<fnMakeGridChart, fnRotate<5, true>>},
    {"The first, four times as large", fnOf<fnMakeGridChart, fnRotateClose<5, false>>},
    {"The second, four times as large", fnOf<fnMakeGridChart, fnRotateClose<5, true>>},
};

constexpr Step kDepths[] = {
    {"8 bits, grey, bilinear", fnOf<fnToGrey, fnRotateClose<-8, true>>},
    {"8 bits, 216 colours: never blended, though it was asked for",
     fnOf<fnToIndexed, fnRotateClose<-8, true>>},
    {"16 bits: angles other than right ones give an empty picture",
     fnOf<fnToHiColor, fnRotateClose<-8, true>>},
};

constexpr Exhibit kExhibits[] = {
    {"turn-right", "Right angles", "Exact: every pixel is moved, none is computed.", fnFirst,
     kRight},
    {"turn", "Any angle", "The picture grows so that its corners fit in.", fnFirst, kAny},
    {"turn-close", "The middle, four times as large", "", fnFirst, kClose},
    {"turn-grid", "A grid of thin lines", "", fnFirst, kGrid},
    {"turn-depth", "Other depths, four times as large", "", fnFirst, kDepths},
};

} // namespace

std::span<const Exhibit> fnRotateExhibits() {
    return kExhibits;
}
