// Where curves and polylines cross lines, and which of their points is nearest.
#include "examples/gallery/CurveDrawing.h"
#include "examples/gallery/Exhibits.h"
#include "q32Base/geometry/CqQuadBezier2D.h"

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

namespace {

constexpr int kChords = 64; ///< by which a quadratic curve is drawn

CqCubicBezier2D fnWave() {
    return CqCubicBezier2D(CqPoint2D(20.0, 170.0), CqPoint2D(190.0, -210.0),
                           CqPoint2D(210.0, 510.0), CqPoint2D(380.0, 130.0), 1);
}

/// Marks places and notes the parameters that they were found at.
void fnMark(Easel& easel, const std::vector<CqPoint2D>& places, const std::vector<double>& values) {
    for (const CqPoint2D& place : places)
        fnDrawRing(easel.m_Picture, place, kMarkColor);
    easel.m_Note = "t =";
    for (const double value : values) {
        char text[32];
        std::snprintf(text, sizeof text, " %.3f", value);
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
    std::vector<CqPoint2D> places;
    for (int i = 0; i < count; ++i)
        places.emplace_back(x[i], kY);
    fnMark(easel, places, {t, t + count});
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
    std::vector<CqPoint2D> places;
    for (int i = 0; i < count; ++i)
        places.emplace_back(kX, y[i]);
    fnMark(easel, places, {t, t + count});
}

void fnCrossLine(Easel& easel) {
    fnDim(easel.m_Picture);
    CqCubicBezier2D curve = fnWave();
    CqLine2D line(CqPoint2D(60, 40), CqPoint2D(340, 265));
    line.fnRasterize(easel.m_Picture, kSecondColor);
    curve.fnRasterize(easel.m_Picture, kCurveColor);
    double t[3];
    const int count = std::min(3, curve.fnIntersectLine(line, t[0], t[1], t[2]));
    std::vector<CqPoint2D> places;
    for (int i = 0; i < count; ++i)
        places.push_back(curve.fnComputeValue(t[i]));
    fnMark(easel, places, {t, t + count});
}

void fnCrossQuadratic(Easel& easel) {
    fnDim(easel.m_Picture);
    const CqQuadBezier2D curve(CqPoint2D(40, 270), CqPoint2D(200, -200), CqPoint2D(360, 250), 1);
    constexpr double kY = 110;
    CqLine2D(CqPoint2D(0.0, kY), CqPoint2D(399.0, kY)).fnRasterize(easel.m_Picture, kSecondColor);
    std::vector<CqPoint2D> chain;
    for (int i = 0; i <= kChords; ++i)
        chain.push_back(curve.fnComputeValue(static_cast<double>(i) / kChords));
    fnDrawChain(easel.m_Picture, chain, kCurveColor);
    double x[2], t[2];
    const int count = curve.fnIntersectY(kY, x[0], t[0], x[1], t[1]);
    std::vector<CqPoint2D> places;
    for (int i = 0; i < count; ++i)
        places.emplace_back(x[i], kY);
    fnMark(easel, places, {t, t + count});
}

/// A flattened wave, crossed by vertical lines.
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

/// From a grid of points, the ways to the nearest feet on a polyline.
void fnShowFeet(Easel& easel) {
    fnDim(easel.m_Picture);
    CqPolyline2D polyline;
    fnWave().fnTessellate(polyline, 0.25);
    int missed = 0;
    for (int y = 25; y < 300; y += 50)
        for (int x = 25; x < 400; x += 50) {
            const CqPoint2D point(x, y);
            CqPoint2D foot;
            int index;
            double t;
            if (!polyline.fnIntersectPoint(point, index, t, &foot)) {
                ++missed;
                continue;
            }
            CqLine2D(point, foot).fnRasterize(easel.m_Picture, kSecondColor);
            fnDrawSquare(easel.m_Picture, point, kPolygonColor);
        }
    fnWave().fnRasterize(easel.m_Picture, kCurveColor);
    easel.m_Note = std::to_string(missed) + " points have none";
}

constexpr Step kCurves[] = {
    {"A horizontal line, solved as a cubic equation", fnCrossY},
    {"A vertical line", fnCrossX},
    {"Any segment, by halving the curve", fnCrossLine},
    {"A quadratic curve", fnCrossQuadratic},
};

constexpr Step kPolylines[] = {
    {"Vertical lines", fnCrossPolyline},
    {"From a grid of points, the nearest foot of a perpendicular on any of the segments",
     fnShowFeet},
};

constexpr Exhibit kExhibits[] = {
    {"cross-curve", "Curves and lines",
     "Crossings come in the order of the formula, not of the way along the curve.", fnFirst,
     kCurves},
    {"cross-chain", "Polylines", "", fnFirst, kPolylines},
};

} // namespace

std::span<const Exhibit> fnCrossingExhibits() {
    return kExhibits;
}
