#include "examples/gallery/ExhibitShapes.h"

#include <algorithm>
#include <cmath>

namespace {

/// Makes a square mask whose weights are a function of (x, y).
template <typename Weight>
void fnMakeSquare(CqMask& mask, const CPoint& corner, int side, Weight weight) {
    mask.fnAlloc(static_cast<unsigned int>(side), static_cast<unsigned int>(side));
    CqImageLine line;
    for (int y = 0; y < side; ++y) {
        mask.fnAccessLine(static_cast<unsigned int>(y), &line, false);
        for (int x = 0; x < side; ++x)
            line.LineBuffer[x] = static_cast<unsigned char>(weight(x, y));
    }
    mask.fnSetPos(corner);
}

} // namespace

void fnMakeDisc(CqMask& mask, const CPoint& corner, int core, int edge) {
    fnMakeSquare(mask, corner, 2 * edge, [core, edge](int x, int y) {
        const double distance = std::hypot(x + 0.5 - edge, y + 0.5 - edge);
        const double fade = std::max<double>(edge - core, 1e-9); // a step when they are equal
        return static_cast<int>(255 * std::clamp((edge - distance) / fade, 0.0, 1.0));
    });
}

void fnMakeSlope(CqMask& mask, const CPoint& corner, int side, int most) {
    fnMakeSquare(mask, corner, side, [side, most](int x, int) { return most * x / (side - 1); });
}
