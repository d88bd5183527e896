// Adding and subtracting masks.
#include "examples/gallery/Exhibits.h"
#include "examples/gallery/ExhibitShapes.h"

namespace {

using MaskMaker = void (*)(CqMask& one, CqMask& other);

/// Shows a mask at its position, on grey, so that its bitmap's extent is visible.
void fnShowMask(Easel& easel, CqMask& mask) {
    easel.m_Picture.fnAlloc(300, 200, 8, q32GreyRamp, 256);
    easel.m_Picture.fnFill(CqColor(96, 96, 96, 255), nullptr, false);
    const CRect& place = mask.m_rectBound;
    if (!place.IsRectEmpty())
        easel.m_Picture.fnCopyBlock(mask, nullptr, place.left, place.top);
}

void fnMakeDiscs(CqMask& one, CqMask& other) {
    fnMakeDisc(one, CPoint(30, 20), 60, 70);
    fnMakeDisc(other, CPoint(120, 40), 60, 70);
}

/// Two slopes at the same position.
void fnMakeSlopes(CqMask& one, CqMask& other) {
    fnMakeSlope(one, CPoint(50, 0), 200, 255);
    fnMakeSlope(other, CPoint(50, 0), 200, 255);
}

/// A disc, and the right part of its rectangle.
void fnMakeStrip(CqMask& one, CqMask& other) {
    fnMakeDisc(one, CPoint(60, 30), 60, 70);
    fnMakeSlope(other, CPoint(120, 10), 180, 255);
}

template <MaskMaker MAKE>
void fnShowOne(Easel& easel) {
    CqMask one, other;
    MAKE(one, other);
    fnShowMask(easel, one);
}

template <MaskMaker MAKE>
void fnShowOther(Easel& easel) {
    CqMask one, other;
    MAKE(one, other);
    fnShowMask(easel, other);
}

template <MaskMaker MAKE>
void fnAdd(Easel& easel) {
    CqMask one, other;
    MAKE(one, other);
    one += other;
    fnShowMask(easel, one);
}

template <MaskMaker MAKE>
void fnSubtract(Easel& easel) {
    CqMask one, other;
    MAKE(one, other);
    one -= other;
    fnShowMask(easel, one);
}

constexpr Step kDiscs[] = {
    {"A", fnShowOne<fnMakeDiscs>},
    {"B", fnShowOther<fnMakeDiscs>},
    {"A + B: the bitmap grows to both. White is -1 as a signed byte: added to a fading edge it "
     "gives one less than the edge, hence the dark ring",
     fnAdd<fnMakeDiscs>},
    {"A - B: the bitmap stays", fnSubtract<fnMakeDiscs>},
};

constexpr Step kSlopes[] = {
    {"A slope from 0 to 255", fnShowOne<fnMakeSlopes>},
    {"Added to itself: 64 to 127 and 128 to 191 overflow as signed bytes and become white; from "
     "192 on only the low eight bits are kept",
     fnAdd<fnMakeSlopes>},
    {"Taken off itself: nothing is left, and the bound rectangle is empty",
     fnSubtract<fnMakeSlopes>},
};

constexpr Step kStrips[] = {
    {"A disc", fnShowOne<fnMakeStrip>},
    {"A slope that covers its right part over the whole height", fnShowOther<fnMakeStrip>},
    {"The slope taken off the disc: the covered strip is cut off, whatever the weights",
     fnSubtract<fnMakeStrip>},
};

constexpr Exhibit kExhibits[] = {
    {"mask-discs", "Two discs", "Grey is outside of a mask's bitmap.", fnFirst, kDiscs},
    {"mask-slopes", "Two slopes in one place", "", fnFirst, kSlopes},
    {"mask-strip", "A strip cut off", "", fnFirst, kStrips},
};

} // namespace

std::span<const Exhibit> fnMaskExhibits() {
    return kExhibits;
}
