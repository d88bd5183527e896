#include "q32Base/geometry/CqCubicBezier2D.h"
#include "q32Base/geometry/CqPolyline2D.h"
#include "q32Base/geometry/CqQuadBezier2D.h"
#include "tests/checksums/Checksum.h"

namespace {

CqPoint2D fnPoint(Random& random) {
    const double x = fnBetween(random, -50000, 50000) / 100.0;
    return {x, fnBetween(random, -50000, 50000) / 100.0};
}

CqCubicBezier2D fnCubic(Random& random) {
    const CqPoint2D points[] = {fnPoint(random), fnPoint(random), fnPoint(random), fnPoint(random)};
    return {points[0], points[1], points[2], points[3], 1.0};
}

CqQuadBezier2D fnQuadratic(Random& random) {
    const CqPoint2D points[] = {fnPoint(random), fnPoint(random), fnPoint(random)};
    return {points[0], points[1], points[2], 1.0};
}

void fnAddPoint(Checksum& sum, const CqPoint2D& point) {
    sum.fnAdd(point.m_X);
    sum.fnAdd(point.m_Y);
}

void fnAddParts(Checksum& sum, Random& random) {
    constexpr double kTolerances[] = {0.01, 0.5, 10.0};
    CqPolyline2D parts;
    fnCubic(random).fnTessellate(parts, kTolerances[random() % 3]);
    for (int i = 0; i < parts.fnGetNumberVertex(); ++i)
        fnAddPoint(sum, parts.fnGetVertex(i));
    for (int i = 0; i < parts.fnGetNumberLine(); ++i) {
        double range[2] = {};
        sum.fnAdd(parts.fnGetParam(i, range[0], range[1]));
        sum.fnAdd(range, sizeof range);
    }
}

void fnAddHalves(Checksum& sum, Random& random) {
    const double t = fnBetween(random, 0, 100) / 100.0;
    CqCubicBezier2D cubic[2];
    fnCubic(random).fnSubdivide(t, cubic[0], cubic[1]);
    for (const CqCubicBezier2D& half : cubic)
        for (const CqPoint2D& point : half.m_Points)
            fnAddPoint(sum, point);
    CqQuadBezier2D quadratic[2];
    fnQuadratic(random).fnSubdivide(t, quadratic[0], quadratic[1]);
    for (const CqQuadBezier2D& half : quadratic)
        for (const CqPoint2D& point : half.m_Points)
            fnAddPoint(sum, point);
}

/// Where a line crosses a curve, and how long that is.
void fnAddCrossings(Checksum& sum, Random& random) {
    const CqPoint2D from = fnPoint(random);
    const CqLine2D line(from, fnPoint(random));
    const CqCubicBezier2D cubic = fnCubic(random);
    double t[3] = {};
    sum.fnAdd(cubic.fnIntersectLine(line, t[0], t[1], t[2]));
    sum.fnAdd(cubic.fnFindLength());
    const CqQuadBezier2D quadratic = fnQuadratic(random);
    sum.fnAdd(quadratic.fnIntersectLine(line, t[0], t[1]));
    sum.fnAdd(t, sizeof t);
    double place[2] = {};
    sum.fnAdd(quadratic.fnIntersectX(from.m_X, place[0], t[0], place[1], t[1]));
    sum.fnAdd(place, sizeof place);
    sum.fnAdd(t, sizeof t);
}

} // namespace

void fnPrintCurves() {
    for (std::uint32_t seed = 0; seed < 100; ++seed) {
        Random random(seed);
        const std::string number = std::to_string(seed);
        Checksum parts;
        fnAddParts(parts, random);
        parts.fnPrint("flatten/" + number);
        Checksum halves;
        fnAddHalves(halves, random);
        halves.fnPrint("divide/" + number);
        Checksum crossings;
        fnAddCrossings(crossings, random);
        crossings.fnPrint("cross/" + number);
    }
}
