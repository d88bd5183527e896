// Intersections of curves and polylines with lines.
#include "examples/gallery/CurveDrawing.h"
#include "examples/gallery/Exhibits.h"
#include "q32Base/geometry/CqQuadBezier2D.h"

#include <algorithm>
#include <cstdio>
#include <string>

namespace {

constexpr int kChords = 64; ///< with which a quadratic curve is drawn

CqCubicBezier2D fnWave() {
    return CqCubicBezier2D(CqPoint2D(20.0, 170.0), CqPoint2D(190.0, -210.0),
                           CqPoint2D(210.0, 510.0), CqPoint2D(380.0, 130.0), 1);
}

/// Marks each of `count` intersections at the positions that `place` returns, and notes their
/// parameters.
template <typename Place>
void fnMark(Easel& easel, int count, const double* values, Place place) {
    easel.m_Note = "t =";
    for (int i = 0; i < count; ++i) {
        fnDrawRing(easel.m_Picture, place(i), kMarkColor);
        char text[32];
        std::snprintf(text, sizeof text, " %.3f", values[i]);
        easel.m_Note += text;
    }
}

void fnCrossY(Easel& easel) {
    fnDim(easel.m_Picture);
    CqCubicBezier2D curve = fnWave();
    constexpr double kY = 150;
    CqLine2D(CqPoint2D(0.0, kY), CqPoint2D(399.0, kY)).fnRasterize(easel.m_Picture, kSecondColor);
    curve.fnRasterize(easel.m_Picture, kCurveColor);
    double x[3], t[3];
    const int count = curve.fnIntersectY(kY, x[0], t[0], x[1], t[1], x[2], t[2]);
    fnMark(easel, count, t, [&](int i) { return CqPoint2D(x[i], kY); });
}

void fnCrossX(Easel& easel) {
    fnDim(easel.m_Picture);
    CqCubicBezier2D curve(CqPoint2D(60, 40), CqPoint2D(560, 130), CqPoint2D(-160, 170),
                          CqPoint2D(340, 260), 1);
    constexpr double kX = 200;
    CqLine2D(CqPoint2D(kX, 0.0), CqPoint2D(kX, 299.0)).fnRasterize(easel.m_Picture, kSecondColor);
    curve.fnRasterize(easel.m_Picture, kCurveColor);
    double y[3], t[3];
    const int count = curve.fnIntersectX(kX, y[0], t[0], y[1], t[1], y[2], t[2]);
    fnMark(easel, count, t, [&](int i) { return CqPoint2D(kX, y[i]); });
}

void fnCrossLine(Easel& easel) {
    fnDim(easel.m_Picture);
    CqCubicBezier2D curve = fnWave();
    CqLine2D line(CqPoint2D(60, 40), CqPoint2D(340, 265));
    line.fnRasterize(easel.m_Picture, kSecondColor);
    curve.fnRasterize(easel.m_Picture, kCurveColor);
    double t[3];
    const int count = std::min(3, curve.fnIntersectLine(line, t[0], t[1], t[2]));
    fnMark(easel, count, t, [&](int i) { return curve.fnComputeValue(t[i]); });
}

void fnCrossQuadratic(Easel& easel) {
    fnDim(easel.m_Picture);
    const CqQuadBezier2D curve(CqPoint2D(40, 270), CqPoint2D(200, -200), CqPoint2D(360, 250), 1);
    constexpr double kY = 110;
    CqLine2D(CqPoint2D(0.0, kY), CqPoint2D(399.0, kY)).fnRasterize(easel.m_Picture, kSecondColor);
    CqPoint2D chain[kChords + 1];
    for (int i = 0; i <= kChords; ++i)
        chain[i] = curve.fnComputeValue(static_cast<double>(i) / kChords);
    fnDrawChain(easel.m_Picture, chain, kCurveColor);
    double x[2], t[2];
    const int count = curve.fnIntersectY(kY, x[0], t[0], x[1], t[1]);
    fnMark(easel, count, t, [&](int i) { return CqPoint2D(x[i], kY); });
}

/// A flattened wave, intersected by vertical lines.
void fnCrossPolyline(Easel& easel) {
    fnDim(easel.m_Picture);
    CqPolyline2D polyline;
    CqCubicBezier2D(CqPoint2D(60, 40), CqPoint2D(560, 130), CqPoint2D(-160, 170),
                    CqPoint2D(340, 260), 1)
        .fnTessellate(polyline, 6);
    fnDrawPolyline(easel.m_Picture, polyline, kCurveColor);
    int count = 0;
    for (int x = 80; x <= 320; x += 30) {
        CqLine2D(CqPoint2D(x, 0), CqPoint2D(x, 299)).fnRasterize(easel.m_Picture, kSecondColor);
        CqPolyline2D::Values values;
        polyline.fnIntersectX(x, values, nullptr);
        for (int i = 0; i < values.GetSize(); ++i)
            fnDrawRing(easel.m_Picture, CqPoint2D(static_cast<double>(x), values[i]), kMarkColor);
        count += values.GetSize();
    }
    easel.m_Note = std::to_string(count) + " crossings";
}

constexpr Step kCurves[] = {
    {"A horizontal line, solved as a cubic equation", fnCrossY},
    {"A vertical line", fnCrossX},
    {"Any segment, by halving the curve", fnCrossLine},
    {"A quadratic curve", fnCrossQuadratic},
    {"A flattened curve and vertical lines; one through a vertex meets both of its segments",
     fnCrossPolyline},
};

constexpr Exhibit kExhibits[] = {
    {"cross-curve", "Where lines are met",
     "Crossings come in the order of the formula, not of the way along the curve.", fnFirst,
     kCurves},
};

} // namespace

std::span<const Exhibit> fnCrossingExhibits() {
    return kExhibits;
}
