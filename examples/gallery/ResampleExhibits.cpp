// Enlarging and reducing: nearest neighbour compared with the filter.
#include "examples/gallery/Charts.h"
#include "examples/gallery/ExhibitPictures.h"
#include "examples/gallery/Exhibits.h"

namespace {

template <unsigned int WIDTH, unsigned int HEIGHT, bool FILTER>
void fnSize(Easel& easel) {
    easel.m_Picture.fnResample(WIDTH, HEIGHT, FILTER, nullptr);
}

/// Enlarges a piece of 100 x 75 pixels from the centre four times.
template <bool FILTER>
void fnEnlarge(Easel& easel) {
    fnCutMiddle(easel.m_Picture, 100, 75);
    fnSize<400, 300, FILTER>(easel);
}

/// The same after replacing the picture by a chart.
template <void (*CHART)(CqImage&), void (*DO)(Easel&)>
void fnOf(Easel& easel) {
    CHART(easel.m_Picture);
    DO(easel);
}

/// A piece of the line chart, to the upper right of its centre.
void fnCutFan(Easel& easel) {
    fnCut(easel.m_Picture, CRect(CPoint(640, 380), CSize(100, 75)));
}

template <bool FILTER>
void fnEnlargeFan(Easel& easel) {
    fnCutFan(easel);
    fnSize<400, 300, FILTER>(easel);
}

template <void (*DEPTH)(CqImage&), void (*DO)(Easel&)>
void fnAt(Easel& easel) {
    DEPTH(easel.m_Picture);
    DO(easel);
}

constexpr Step kReduced[] = {
    {"Nearest pixel: grain and broken edges", fnSize<400, 300, false>},
    {"Filter", fnSize<400, 300, true>},
};

constexpr Step kEnlarged[] = {
    {"Nearest pixel", fnEnlarge<false>},
    {"Filter: no blocks, and no frame at the edges", fnEnlarge<true>},
};

constexpr Step kLines[] = {
    {"Nearest pixel: two of three lines' pixels are lost",
     fnOf<fnMakeLineChart, fnSize<400, 300, false>>},
    {"Filter: every line stays, paler and smooth", fnOf<fnMakeLineChart, fnSize<400, 300, true>>},
};

constexpr Step kFan[] = {
    {"Nearest pixel", fnOf<fnMakeLineChart, fnEnlargeFan<false>>},
    {"Filter", fnOf<fnMakeLineChart, fnEnlargeFan<true>>},
};

constexpr Step kRings[] = {
    {"Nearest pixel: rings that aren't there", fnOf<fnMakeRingChart, fnSize<400, 300, false>>},
    {"Filter: what is too fine becomes an even grey",
     fnOf<fnMakeRingChart, fnSize<400, 300, true>>},
};

constexpr Step kOneWay[] = {
    {"The width alone, to a half", fnSize<200, 300, true>},
    {"The height alone, to a half", fnSize<400, 150, true>},
    {"Both", fnSize<200, 150, true>},
};

constexpr Step kDepths[] = {
    {"8 bits, grey: filtered", fnAt<fnToGrey, fnEnlarge<true>>},
    {"8 bits, 216 colours: a palette picture takes the nearest pixel, though the filter was asked "
     "for",
     fnAt<fnToIndexed, fnEnlarge<true>>},
    {"The same by factors, which always filter: means of indices are other colours",
     fnAt<fnToIndexed,
          [](Easel& easel) {
              fnCutMiddle(easel.m_Picture, 100, 75);
              easel.m_Picture.fnResample(4.0, 4.0, nullptr);
          }>},
    {"16 bits: the filter takes green from the bytes the other way round, and colours change",
     fnAt<fnToHiColor, fnEnlarge<true>>},
};

constexpr Exhibit kExhibits[] = {
    {"reduce", "A whole photograph, reduced", "To 400 x 300 pixels.", fnPhotograph, kReduced},
    {"enlarge", "A piece of it, four times as large", "", fnFirst, kEnlarged},
    {"lines-reduce", "Thin lines, reduced to a third", "72 lines of one pixel each, and a frame.",
     fnFirst, kLines},
    {"lines-enlarge", "Thin lines, four times as large", "", fnFirst, kFan},
    {"rings", "Rings, reduced to a third",
     "Only the innermost third of the rings can be held at the smaller size.", fnFirst, kRings},
    {"one-way", "One direction at a time", "", fnFirst, kOneWay},
    {"resample-depth", "Other depths", "", fnFirst, kDepths},
};

} // namespace

std::span<const Exhibit> fnResampleExhibits() {
    return kExhibits;
}
