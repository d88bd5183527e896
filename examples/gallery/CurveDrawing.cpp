#include "examples/gallery/CurveDrawing.h"

#include "q32Base/geometry/CqMatrix2D.h"

const CqColor kCurveColor(255, 220, 70, 255);
const CqColor kPolygonColor(130, 190, 255, 255);
const CqColor kMarkColor(255, 110, 90, 255);
const CqColor kSecondColor(120, 240, 150, 255);

void fnDim(CqImage& image) {
    image.fnBrightContrast(-30, -25, false, nullptr);
}

void fnDrawChain(CqImage& image, std::span<const CqPoint2D> points, const CqColor& color) {
    for (std::size_t i = 1; i < points.size(); ++i)
        CqLine2D(points[i - 1], points[i]).fnRasterize(image, color);
}

void fnDrawSquare(CqImage& image, const CqPoint2D& point, const CqColor& color) {
    for (int dy = -2; dy <= 2; ++dy)
        CqLine2D(point + CqPoint2D(-2, dy), point + CqPoint2D(2, dy)).fnRasterize(image, color);
}

void fnDrawRing(CqImage& image, const CqPoint2D& point, const CqColor& color) {
    constexpr double kRadius = 5;
    constexpr double kArm = 0.5523 * kRadius; // of a curve that approximates a quarter circle
    CqCubicBezier2D quarter(point + CqPoint2D(kRadius, 0.0), point + CqPoint2D(kRadius, kArm),
                            point + CqPoint2D(kArm, kRadius), point + CqPoint2D(0.0, kRadius), 1);
    const CqMatrix2D turn(point, 1, 1, 90, 0, 0);
    for (int i = 0; i < 4; ++i) {
        quarter.fnRasterize(image, color);
        for (CqPoint2D& control : quarter.m_Points)
            control.fnTransform(turn);
    }
}

void fnDrawWithPolygon(CqImage& image, CqCubicBezier2D curve) {
    fnDrawChain(image, curve.m_Points, kPolygonColor);
    for (const CqPoint2D& point : curve.m_Points)
        fnDrawSquare(image, point, kPolygonColor);
    curve.fnRasterize(image, kCurveColor);
}

void fnDrawPolyline(CqImage& image, const CqPolyline2D& polyline, const CqColor& color) {
    for (int i = 0; i < polyline.fnGetNumberLine(); ++i)
        polyline.fnGetLine(i).fnRasterize(image, color);
    for (int i = 0; i < polyline.fnGetNumberVertex(); ++i)
        fnDrawSquare(image, polyline.fnGetVertex(i), color);
}
