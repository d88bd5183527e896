// Merging one picture with another.
#include "examples/gallery/ExhibitPictures.h"
#include "examples/gallery/Exhibits.h"
#include "examples/gallery/ExhibitShapes.h"

namespace {

constexpr unsigned long kMagenta = 0xFF00FF;
constexpr unsigned long kGreen = 0x00FF00;

/// The second photograph in a disc, with a key colour around it.
void fnMakeCutOut(Easel& easel, CqImage& source, unsigned long key) {
    CqMask disc;
    fnMakeDisc(disc, CPoint(90, 40), 110, 110);
    source.fnAlloc(kSceneWidth, kSceneHeight, 24, nullptr, 0);
    source.fnFill(CqColor(key), nullptr, false);
    source.fnMerge(easel.m_Scenes.m_Second, &disc.m_rectBound, CqMergeParam(disc),
                   disc.m_rectBound.left, disc.m_rectBound.top);
}

void fnMergeKey(Easel& easel, unsigned long key) {
    CqImage source;
    fnMakeCutOut(easel, source, key);
    if (easel.m_Picture.BitCount == 16)
        fnToHiColor(source);
    easel.m_Picture.fnMerge(source, nullptr, CqMergeParam(key), 0, 0);
}

void fnMergeDisc(Easel& easel, int core, int edge) {
    CqMask disc;
    fnMakeDisc(disc, CPoint(200 - edge, 150 - edge), core, edge);
    easel.m_Picture.fnMerge(easel.m_Scenes.m_Second, &disc.m_rectBound, CqMergeParam(disc),
                            disc.m_rectBound.left, disc.m_rectBound.top);
}

/// Merges the second photograph by its own alpha, at a depth.
void fnMergeAlpha(Easel& easel, unsigned int depth) {
    CqImage source;
    source = easel.m_Scenes.m_Second;
    source.fnConvert(depth, false, nullptr);
    easel.m_Picture.fnConvert(depth, false, nullptr);
    const CRect part(100, 75, 300, 225);
    easel.m_Picture.fnMerge(source, &part, CqMergeParam(MERGE_ALPHA, 0, nullptr), 100, 75);
}

constexpr Step kKeys[] = {
    {"What is laid over; magenta is the key",
     [](Easel& easel) { fnMakeCutOut(easel, easel.m_Picture, kMagenta); }},
    {"Merged: the key's pixels are left out", [](Easel& easel) { fnMergeKey(easel, kMagenta); }},
    {"16 bits, key green: the merge reads no green, so that the key is never met and its pixels "
     "are laid over as black; words are stored low byte first, which are other colours to the rest "
     "of the library",
     [](Easel& easel) {
         fnToHiColor(easel.m_Picture);
         fnMergeKey(easel, kGreen);
     }},
};

constexpr Step kMasks[] = {
    {"A disc with a hard edge", [](Easel& easel) { fnMergeDisc(easel, 120, 120); }},
    {"A soft edge: sums of weighted colours aren't divided by 255, so that almost every weight "
     "between none and all gives white",
     [](Easel& easel) { fnMergeDisc(easel, 90, 140); }},
};

constexpr Step kAlphas[] = {
    {"24 bits have no alpha: the rectangle is copied",
     [](Easel& easel) { fnMergeAlpha(easel, 24); }},
    {"32 bits: the merge writes nothing at this depth",
     [](Easel& easel) { fnMergeAlpha(easel, 32); }},
};

constexpr Exhibit kExhibits[] = {
    {"merge-key", "By a key colour", "", fnFirst, kKeys},
    {"merge-mask", "By a mask", "Each pixel is weighed by the mask's byte.", fnFirst, kMasks},
    {"merge-alpha", "By alpha", "", fnFirst, kAlphas},
};

} // namespace

std::span<const Exhibit> fnMergeExhibits() {
    return kExhibits;
}
