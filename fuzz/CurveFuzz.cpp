/// @file Curves, lines and polylines of any coordinates: parts begin and end where the curve does,
/// parameters stay in range, and drawing stays inside the image.

#include "fuzz/FuzzInput.h"
#include "q32Base/geometry/CqCubicBezier2D.h"
#include "q32Base/geometry/CqPolyline2D.h"
#include "q32Base/geometry/CqQuadBezier2D.h"
#include "q32Base/geometry/CurveLimit.h"

#include <bit>
#include <cmath>
#include <type_traits>

namespace {

using namespace q32::fuzz;

constexpr std::uint32_t kMaxParts = 4096;

CqPoint2D fnPoint(Input& input) {
    const double x = input.fnReal();
    return {x, input.fnReal()};
}

bool fnIsSame(double a, double b) {
    return std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b) ||
           (std::isnan(a) && std::isnan(b));
}
bool fnIsSame(const CqPoint2D& a, const CqPoint2D& b) {
    return fnIsSame(a.m_X, b.m_X) && fnIsSame(a.m_Y, b.m_Y);
}

void fnCheckRange(int count, int most, const double* t) {
    fnCheck(count >= 0 && count <= most, "a curve has no more crossings than its degree");
    for (int i = 0; i < count; ++i)
        fnCheck(!(t[i] < 0.0) && !(t[i] > 1.0), "a crossing lies on the curve");
}

void fnCross(const CqCubicBezier2D& curve, double at) {
    double v[3] = {};
    double t[3] = {};
    fnCheckRange(curve.fnIntersectX(at, v[0], t[0], v[1], t[1], v[2], t[2]), 3, t);
    fnCheckRange(curve.fnIntersectY(at, v[0], t[0], v[1], t[1], v[2], t[2]), 3, t);
}
void fnCross(const CqQuadBezier2D& curve, double at) {
    double v[2] = {};
    double t[2] = {};
    fnCheckRange(curve.fnIntersectX(at, v[0], t[0], v[1], t[1]), 2, t);
    fnCheckRange(curve.fnIntersectY(at, v[0], t[0], v[1], t[1]), 2, t);
}

int fnCountHits(const CqCubicBezier2D& curve, const CqLine2D& line) {
    double t[3];
    return curve.fnIntersectLine(line, t[0], t[1], t[2]);
}
int fnCountHits(const CqQuadBezier2D& curve, const CqLine2D& line) {
    double t[2];
    return curve.fnIntersectLine(line, t[0], t[1]);
}

template <typename Curve>
void fnTryCurve(const Curve& curve, Input& input) {
    constexpr std::size_t kLast = std::extent_v<decltype(Curve::m_Points)> - 1;
    Curve left;
    Curve right;
    curve.fnSubdivide(input.fnReal(), left, right);
    fnCheck(fnIsSame(left.m_Points[kLast], right.m_Points[0]), "parts meet");
    curve.fnBinarySubdivide(left, right);
    fnCheck(fnIsSame(left.m_Points[0], curve.m_Points[0]) &&
                fnIsSame(right.m_Points[kLast], curve.m_Points[kLast]),
            "halves end where the curve does");
    fnCheck(fnIsSame(curve.fnComputeValue(0.0), curve.m_Points[0]) &&
                fnIsSame(curve.fnComputeValue(1.0), curve.m_Points[kLast]),
            "a curve begins and ends at its points");
    fnCross(curve, input.fnReal());
    Curve back = curve;
    back.fnReverse();
    fnCheck(fnIsSame(back.m_Points[0], curve.m_Points[kLast]),
            "a reversed curve begins at its end");
    const CqPoint2D start = fnPoint(input);
    fnCheck(fnCountHits(curve, CqLine2D(start, fnPoint(input))) >= 0, "hits are counted");
}

void fnTryTessellation(const CqCubicBezier2D& curve, double tolerance, CqPolyline2D& line) {
    if (!fnTry([&] { curve.fnTessellate(line, tolerance); })) {
        fnCheck(line.fnGetNumberLine() <= static_cast<int>(kMaxParts), "the limit holds");
        line.fnRemoveAll();
        return;
    }
    const int count = line.fnGetNumberLine();
    fnCheck(count >= 1, "a curve has a segment");
    fnCheck(fnIsSame(line.fnGetVertex(0), curve.m_Points[0]) &&
                fnIsSame(line.fnGetVertex(count), curve.m_Points[3]),
            "segments end where the curve does");
    double end = 0.0;
    for (int i = 0; i < count; ++i) {
        double t0 = 0.0;
        double t1 = 0.0;
        fnCheck(line.fnGetParam(i, t0, t1) == 0 && t0 == end && t1 > t0, "parameters follow");
        end = t1;
    }
    fnCheck(end == 1.0, "and reach the end");
}

void fnTryPolyline(CqPolyline2D& line, Input& input) {
    for (unsigned int i = input.fnBelow(8); i > 0; --i) {
        const CqPoint2D start = fnPoint(input);
        line.fnAddLine(start, fnPoint(input));
    }
    line.fnFindBoundRect();
    int index = 0;
    double t = 0.0;
    const bool found = line.fnIntersectPoint(fnPoint(input), index, t, nullptr);
    // A foot at a distance beyond all numbers is found, but no segment is the nearest.
    fnCheck(index >= -1 && index < line.fnGetNumberLine() && (found || index == -1),
            "a segment is found or none");
    CqPolyline2D::Values values;
    CqPolyline2D::Places places;
    line.fnIntersectX(input.fnReal(), values, &places);
    line.fnIntersectY(input.fnReal(), values, nullptr);
    const int vertices = line.fnGetNumberVertex();
    line.fnAppend(line);
    line.fnReverse();
    fnCheck(line.fnGetNumberVertex() == 2 * vertices, "a polyline may be appended to itself");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fnWorld();
    q32SetCurveLimit(kMaxParts);
    const Balance balance;
    Input input(data, size);
    CqPoint2D points[4];
    for (CqPoint2D& point : points)
        point = fnPoint(input);
    CqCubicBezier2D cubic(points[0], points[1], points[2], points[3], 1.0);
    fnTryCurve(cubic, input);
    fnTryCurve(CqQuadBezier2D(points[0], points[1], points[2], 1.0), input);
    const std::unique_ptr<CqImage> image = fnMakeImage(input, 140);
    CqLine2D(points[1], points[2]).fnRasterize(*image, input.fnColor());
    CqPolyline2D line;
    fnTryTessellation(cubic, 0.01 + std::fabs(std::fmod(input.fnReal(), 8.0)), line);
    const CqColor color = input.fnColor();
    fnTry([&] { cubic.fnRasterize(*image, color); });
    fnTryPolyline(line, input);
    return 0;
}
