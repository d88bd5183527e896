// The table of wings and their exhibits.
#include "examples/gallery/Exhibits.h"

std::span<const Wing> fnGetWings() {
    static const Hall kOperations[] = {
        {"Fill and copy", "", fnFillExhibits()},
        {"Merge", "One picture is laid over another, pixel by pixel.", fnMergeExhibits()},
        {"Masks", "A mask is a grey picture that knows where it lies.", fnMaskExhibits()},
        {"Tone", "", fnToneExhibits()},
        {"Neighbourhood filters",
         "The library's window hands out rows and what lies around them; the filters are the "
         "gallery's own.",
         fnFilterExhibits()},
        {"Lines and regions", "", fnDrawingExhibits()},
        {"The progress gauge", "", fnGaugeExhibits()},
    };
    static const Hall kSizes[] = {
        {"Enlarging and reducing",
         "The filter is that of Mitchell and Netravali, in double precision.",
         fnResampleExhibits()},
        {"Turning", "", fnRotateExhibits()},
        {"Stopped by Esc", "", fnAbortExhibits()},
    };
    static const Hall kCurves[] = {
        {"Curves", "", fnCurveExhibits()},
        {"Crossings", "", fnCrossingExhibits()},
    };
    static const Wing kWings[] = {
        {"operations", "Operations on pixels",
         "What each operation makes of a photograph, at 24 bits unless stated otherwise, and "
         "what other depths make of it where that is worth seeing. Pictures are shown pixel for "
         "pixel.",
         "merge-key-2.png", kOperations},
        {"resampling", "Resampling and rotation",
         "Enlarged, reduced and turned: the nearest pixel beside the better way.", "turn-2.png",
         kSizes},
        {"curves", "Curves",
         "Bezier curves, computed in double precision and drawn over a photograph by the "
         "library's own rasterizers.",
         "parts-4.png", kCurves},
    };
    return kWings;
}
