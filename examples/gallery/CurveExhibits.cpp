// Curves with their control polygons, flattenings, parts and tangents.
#include "examples/gallery/CurveDrawing.h"
#include "examples/gallery/ExhibitPictures.h"
#include "examples/gallery/Exhibits.h"
#include "q32Base/geometry/CqMatrix2D.h"

#include <string>

namespace {

constexpr CqPoint2D kWave[] = {{30.0, 270.0}, {160.0, 5.0}, {240.0, 295.0}, {370.0, 30.0}};
constexpr CqPoint2D kLoop[] = {{90.0, 30.0}, {390.0, 285.0}, {10.0, 285.0}, {310.0, 30.0}};
constexpr CqPoint2D kCusp[] = {{50.0, 270.0}, {350.0, 20.0}, {50.0, 20.0}, {350.0, 270.0}};

CqCubicBezier2D fnCurve(const CqPoint2D (&points)[4]) {
    return CqCubicBezier2D(points[0], points[1], points[2], points[3], 1);
}

template <const CqPoint2D (&POINTS)[4]>
void fnShow(Easel& easel) {
    fnDim(easel.m_Picture);
    fnDrawWithPolygon(easel.m_Picture, fnCurve(POINTS));
}

/// Part of what `fnShow` draws, ten times as large.
void fnShowClose(Easel& easel) {
    fnShow<kWave>(easel);
    fnCut(easel.m_Picture, CRect(CPoint(140, 125), CSize(40, 30)));
    fnMagnify(easel.m_Picture, 10);
}

template <int QUARTERS>
void fnFlatten(Easel& easel) {
    fnDim(easel.m_Picture);
    CqCubicBezier2D curve = fnCurve(kWave);
    curve.fnRasterize(easel.m_Picture, kPolygonColor);
    CqPolyline2D polyline;
    curve.fnTessellate(polyline, QUARTERS / 4.0);
    fnDrawPolyline(easel.m_Picture, polyline, kCurveColor);
    const int count = polyline.fnGetNumberLine();
    easel.m_Note = std::to_string(count) + (count == 1 ? " segment" : " segments");
}

/// Splits a curve into eighths, in two colours.
void fnSplit(CqImage& image, CqCubicBezier2D curve, int depth, bool second) {
    if (depth == 0) {
        curve.fnRasterize(image, second ? kSecondColor : kCurveColor);
        fnDrawSquare(image, curve.m_Points[0], kMarkColor);
        fnDrawSquare(image, curve.m_Points[3], kMarkColor);
        return;
    }
    CqCubicBezier2D left, right;
    curve.fnBinarySubdivide(left, right);
    fnSplit(image, left, depth - 1, false);
    fnSplit(image, right, depth - 1, true);
}

/// A comb of first derivatives, rotated by 90 degrees so that they are clear of the curve.
void fnShowDerivatives(Easel& easel) {
    fnDim(easel.m_Picture);
    CqCubicBezier2D curve = fnCurve(kLoop);
    constexpr int kTeeth = 60;
    for (int i = 0; i <= kTeeth; ++i) {
        const double t = static_cast<double>(i) / kTeeth;
        const CqPoint2D place = curve.fnComputeValue(t);
        const CqPoint2D way = curve.fnDerivative1(t);
        const CqPoint2D tip = place + CqPoint2D(way.m_Y, -way.m_X) * 0.06;
        CqLine2D(place, tip).fnRasterize(easel.m_Picture, kPolygonColor);
    }
    curve.fnRasterize(easel.m_Picture, kCurveColor);
}

void fnShowCutAt(Easel& easel) {
    fnDim(easel.m_Picture);
    CqCubicBezier2D left, right;
    fnCurve(kLoop).fnSubdivide(0.3, left, right);
    for (CqCubicBezier2D* part : {&left, &right})
        fnDrawChain(easel.m_Picture, part->m_Points, kPolygonColor);
    left.fnRasterize(easel.m_Picture, kCurveColor);
    right.fnRasterize(easel.m_Picture, kSecondColor);
    fnDrawSquare(easel.m_Picture, right.m_Points[0], kMarkColor);
}

/// One curve, rotated 36 times about the centre by a matrix.
void fnShowRosette(Easel& easel) {
    fnDim(easel.m_Picture);
    const CqPoint2D middle(200, 150);
    CqCubicBezier2D petal(middle, CqPoint2D(320, 40), CqPoint2D(355, 190), CqPoint2D(300, 225), 1);
    const CqMatrix2D turn(middle, 1, 1, 10, 0, 0);
    for (int i = 0; i < 36; ++i) {
        CqColor color;
        color.fnAssignFromHSB(i * 10, 150, 255);
        petal.fnRasterize(easel.m_Picture, color);
        for (CqPoint2D& point : petal.m_Points)
            point.fnTransform(turn);
    }
}

constexpr Step kPolygons[] = {
    {"A wave", fnShow<kWave>},
    {"A loop", fnShow<kLoop>},
    {"A cusp", fnShow<kCusp>},
    {"A piece of the wave, ten times as large: one pixel a step, without gaps", fnShowClose},
};

constexpr Step kFlattenings[] = {
    {"Within 32 pixels", fnFlatten<128>},
    {"Within 8 pixels", fnFlatten<32>},
    {"Within 2 pixels", fnFlatten<8>},
    {"Within a quarter of a pixel", fnFlatten<1>},
};

constexpr Step kParts[] = {
    {"Halved three times",
     [](Easel& easel) {
         fnDim(easel.m_Picture);
         fnSplit(easel.m_Picture, fnCurve(kWave), 3, false);
     }},
    {"Cut at t = 0.3, with the polygons of both parts", fnShowCutAt},
    {"First derivatives, turned by 90 degrees: the longer, the faster the curve runs",
     fnShowDerivatives},
    {"One curve, turned by a matrix in steps of 10 degrees", fnShowRosette},
};

constexpr Exhibit kExhibits[] = {
    {"curves", "Curves and their control polygons", "", fnFirst, kPolygons},
    {"flatten", "Flattenings",
     "Yellow is the polyline with its vertices, blue the curve that it stands for.", fnFirst,
     kFlattenings},
    {"parts", "Parts, tangents, transforms", "", fnFirst, kParts},
};

} // namespace

std::span<const Exhibit> fnCurveExhibits() {
    return kExhibits;
}
