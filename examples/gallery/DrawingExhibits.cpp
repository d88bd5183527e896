// Lines, and regions made by a key colour.
#include "examples/gallery/ExhibitPictures.h"
#include "examples/gallery/Exhibits.h"
#include "examples/gallery/Outline.h"

#include <string>

namespace {

/// Lines from one point in all directions; those that leave the picture are clipped.
void fnDrawFan(CqImage& image, const CqColor& color) {
    for (int x = -40; x <= 440; x += 20) {
        image.fnDrawLine(200, 150, x, -10, color, false);
        image.fnDrawLine(200, 150, x, 310, color, false);
    }
    for (int y = 10; y <= 290; y += 20) {
        image.fnDrawLine(200, 150, -10, y, color, false);
        image.fnDrawLine(200, 150, 410, y, color, false);
    }
}

/// Straight lines whose envelope is a curve, in four corners.
void fnDrawHull(CqImage& image, const CqColor& color) {
    for (int i = 0; i <= 20; ++i) {
        image.fnDrawLine(20 * i, 0, 0, 300 - 15 * i, color, false);
        image.fnDrawLine(20 * i, 299, 399, 300 - 15 * i, color, false);
    }
}

/// Makes a photograph black and white, and smooth enough for a region of large parts: reducing and
/// enlarging it removes the grain.
void fnMakeKey(CqImage& image) {
    fnToGrey(image);
    image.fnResample(kSceneWidth / 4, kSceneHeight / 4, true, nullptr);
    image.fnResample(kSceneWidth, kSceneHeight, true, nullptr);
    image.fnThresholding(128, false, nullptr);
}

/// The region of the dark parts: white is the key.
void fnFindDark(Easel& easel, CRgn& region) {
    CqImage key;
    key = easel.m_Scenes.m_First;
    fnMakeKey(key);
    key.fnCreateRgn(CqColor(255, 255, 255, 255), region);
    easel.m_Note = std::to_string(region.GetRects().size()) + " rectangles";
}

constexpr Step kLines[] = {
    {"24 bits", [](Easel& easel) { fnDrawFan(easel.m_Picture, CqColor(255, 230, 90, 255)); }},
    {"24 bits", [](Easel& easel) { fnDrawHull(easel.m_Picture, CqColor(255, 255, 255, 255)); }},
    {"16 bits: lines are stored low byte first, so that this yellow is drawn as another colour",
     [](Easel& easel) {
         fnToHiColor(easel.m_Picture);
         fnDrawFan(easel.m_Picture, CqColor(255, 230, 90, 255));
     }},
};

constexpr Step kRegions[] = {
    {"The key: white is cut out", [](Easel& easel) { fnMakeKey(easel.m_Picture); }},
    {"The region filled",
     [](Easel& easel) {
         CRgn region;
         fnFindDark(easel, region);
         fnFillRegion(easel.m_Picture, region, CqColor(20, 60, 110, 255));
     }},
    {"Its outline",
     [](Easel& easel) {
         CRgn region;
         fnFindDark(easel, region);
         fnDrawOutline(easel.m_Picture, region, CqColor(255, 210, 60, 255));
     }},
};

constexpr Exhibit kExhibits[] = {
    {"lines", "Lines", "One pixel wide. What lies outside the picture is left out.", fnFirst,
     kLines},
    {"region", "Regions",
     "A region is a picture without the pixels of one colour; it comes as rectangles.", fnFirst,
     kRegions},
};

} // namespace

std::span<const Exhibit> fnDrawingExhibits() {
    return kExhibits;
}
