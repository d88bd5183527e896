#include "q32Base/geometry/CqCubicBezier2D.h"

#include "q32Base/framework/CArchive.h"
#include "q32Base/geometry/BezierFlattening_p.h"
#include "q32Base/geometry/CqPolyline2D.h"
#include "q32Base/geometry/CurveRoots_p.h"
#include "q32Base/geometry/PartList_p.h"
#include "q32Base/geometry/SegmentDrawing_p.h"
#include "q32Base/image/CqImage.h"

namespace {

using Points = CqPoint2D[4];

double fnChord(const Points& p) {
    return p[0].fnFindDistance(p[3]);
}

/// The length as the mean of polygon and chord, after two levels of halving. The upper levels
/// average their halves instead of adding them, deliberately.
double fnMeanLength(const Points& p, int depth) {
    Points left;
    Points right;
    q32::fnHalve(p, left, right);
    if (depth + 1 < 3)
        return (fnMeanLength(left, depth + 1) + fnMeanLength(right, depth + 1)) * 0.5;
    double polygon = 0.0;
    for (const Points* half : {&left, &right})
        for (int i = 0; i < 3; ++i)
            polygon += (*half)[i].fnFindDistance((*half)[i + 1]);
    return (polygon + (fnChord(left) + fnChord(right))) * 0.5;
}

/// Whether a curve is flat, or lies so far beyond one edge of an image that none of its parts can
/// touch a pixel. Such a part needn't be divided further, since nothing of it is visible.
class FlatOrUnseen {
public:
    FlatOrUnseen(const Points& points, const CqImage& image)
        : m_IsFlat(points, q32::kCurveFlatness) {
        double largest = 0.0;
        for (const CqPoint2D& point : points)
            largest = std::max({largest, std::fabs(point.m_X), std::fabs(point.m_Y)});
        // Rounding may move parts out of the hull of their curve.
        const double margin = 2.0 + largest * q32::kCurveRounding * 256.0;
        m_Seen = CqRect2D(-margin, -margin, image.Width + margin, image.Height + margin);
    }

    bool operator()(const Points& p) const {
        const CqRect2D box = q32::fnBox(p);
        return m_IsFlat(p) || box.m_Right < m_Seen.m_Left || box.m_Left > m_Seen.m_Right ||
               box.m_Bottom < m_Seen.m_Top || box.m_Top > m_Seen.m_Bottom;
    }

private:
    q32::FlatnessTest m_IsFlat;
    CqRect2D m_Seen;
};

} // namespace

CqCubicBezier2D::CqCubicBezier2D(const CqPoint2D& p0, const CqPoint2D& p1, const CqPoint2D& p2,
                                 const CqPoint2D& p3, double thickness)
    : m_Points{p0, p1, p2, p3}, m_Thickness(thickness) {
    fnFindBoundRect();
}

CqCubicBezier2D::CqCubicBezier2D(const CPoint& p0, const CPoint& p1, const CPoint& p2,
                                 const CPoint& p3, double thickness)
    : CqCubicBezier2D(CqPoint2D(p0), CqPoint2D(p1), CqPoint2D(p2), CqPoint2D(p3), thickness) {}

CqPoint2D CqCubicBezier2D::fnComputeValue(double t) const {
    return q32::fnEvaluate(m_Points, t);
}

CqPoint2D CqCubicBezier2D::fnDerivative1(double t) const {
    CqPoint2D q[3];
    for (int i = 0; i < 3; ++i)
        q[i] = (m_Points[i + 1] - m_Points[i]) * 3.0;
    return q32::fnEvaluate(q, t);
}

CqPoint2D CqCubicBezier2D::fnDerivative2(double t) const {
    const auto& p = m_Points;
    if (t < GEOM_EPSILON)
        return (p[2] - p[1] * 2.0 + p[0]) * 6.0;
    if (t > GEOM_PARAM_ALMOST_ONE)
        return (p[3] - p[2] * 2.0 + p[1]) * 6.0;
    CqPoint2D q[3];
    for (int i = 0; i < 3; ++i)
        q[i] = (p[i + 1] - p[i]) * 3.0;
    CqPoint2D r[2] = {(q[1] - q[0]) * 2.0, (q[2] - q[1]) * 2.0};
    return q32::fnInterpolate(r, t);
}

double CqCubicBezier2D::fnBernstein0(double t) {
    const double u = 1.0 - t;
    return q32::fnIsZero(t) ? 1.0 : u * u * u;
}

double CqCubicBezier2D::fnBernstein1(double t) {
    const double u = 1.0 - t;
    return q32::fnIsZero(t) ? 0.0 : u * u * t * 3.0;
}

double CqCubicBezier2D::fnBernstein2(double t) {
    const double u = 1.0 - t;
    return q32::fnIsZero(t) ? 0.0 : u * t * t * 3.0;
}

double CqCubicBezier2D::fnBernstein3(double t) {
    return q32::fnIsZero(t) ? 0.0 : t * t * t;
}

void CqCubicBezier2D::fnBinarySubdivide(CqCubicBezier2D& left, CqCubicBezier2D& right) const {
    Points l;
    Points r;
    q32::fnHalve(m_Points, l, r);
    const double thickness = m_Thickness;
    left = CqCubicBezier2D(l[0], l[1], l[2], l[3], thickness);
    right = CqCubicBezier2D(r[0], r[1], r[2], r[3], thickness);
}

void CqCubicBezier2D::fnSubdivide(double t, CqCubicBezier2D& left, CqCubicBezier2D& right) const {
    if (t < 0.0)
        t = 0.0;
    else if (t > 1.0)
        t = 1.0;
    const double u = 1.0 - t;
    const CqCubicBezier2D whole(*this); // either result may be this curve
    const auto& p = whole.m_Points;
    const CqPoint2D q1 = p[0] * u + p[1] * t;
    const CqPoint2D q2 = p[0] * u * u + p[1] * 2.0 * t * u + p[2] * t * t;
    const CqPoint2D q3 =
        p[0] * u * u * u + p[1] * 3.0 * t * u * u + p[2] * 3.0 * t * t * u + p[3] * t * t * t;
    const CqPoint2D q4 = p[1] * u * u + p[2] * 2.0 * t * u + p[3] * t * t;
    const CqPoint2D q5 = p[2] * u + p[3] * t;
    left = CqCubicBezier2D(p[0], q1, q2, q3, whole.m_Thickness);
    right = CqCubicBezier2D(q3, q4, q5, p[3], whole.m_Thickness);
}

void CqCubicBezier2D::fnReverse() {
    std::swap(m_Points[0], m_Points[3]);
    std::swap(m_Points[1], m_Points[2]);
}

double CqCubicBezier2D::fnFindLength() const {
    return fnMeanLength(m_Points, 0);
}

int CqCubicBezier2D::fnIntersectX(double x, double& y1, double& t1, double& y2, double& t2,
                                  double& y3, double& t3) const {
    return q32::fnFindCrossings(m_Points, &CqPoint2D::m_X, &CqPoint2D::m_Y, x,
                                {{&y1, &t1}, {&y2, &t2}, {&y3, &t3}});
}

int CqCubicBezier2D::fnIntersectY(double y, double& x1, double& t1, double& x2, double& t2,
                                  double& x3, double& t3) const {
    return q32::fnFindCrossings(m_Points, &CqPoint2D::m_Y, &CqPoint2D::m_X, y,
                                {{&x1, &t1}, {&x2, &t2}, {&x3, &t3}});
}

int CqCubicBezier2D::fnIntersectLine(const CqLine2D& line, double& t1, double& t2,
                                     double& t3) const {
    return q32::fnIntersectCurve(m_Points, line, {&t1, &t2, &t3});
}

void CqCubicBezier2D::fnTessellate(CqPolyline2D& polyline, double tolerance) const {
    const CqCubicBezier2D curve(*this);
    polyline.fnRemoveAll();
    q32::PartCount parts;
    CqPolyline2D::PartList list(polyline);
    q32::fnFlatten(curve.m_Points, q32::FlatnessTest(curve.m_Points, tolerance),
                   [&](const Points& part, double tLow, double tHigh) {
                       if (!parts.fnTryAdd()) {
                           list.fnFlush();
                           AfxThrowMemoryException();
                       }
                       list.fnAdd(part[0], part[3], tLow, tHigh);
                   });
    list.fnFlush();
}

void CqCubicBezier2D::fnRasterize(CqImage& image, const CqColor& color) {
    const q32::DigitalLine line(image, color);
    q32::PartCount parts;
    q32::fnFlatten(m_Points, FlatOrUnseen(m_Points, image),
                   [&](const Points& part, double, double) {
                       parts.fnAdd();
                       q32::fnDrawSegment(line, part[0], part[3]);
                   });
    line.fnRequirePixels();
}

void CqCubicBezier2D::fnSerialize(CArchive& ar) {
    if (!ar.IsLoading()) {
        for (const CqPoint2D& point : m_Points)
            ar << point.m_X << point.m_Y;
        return;
    }
    Points loaded;
    for (CqPoint2D& point : loaded)
        ar >> point.m_X >> point.m_Y;
    std::copy_n(loaded, 4, m_Points);
    fnFindBoundRect();
}

void CqCubicBezier2D::fnFindBoundRect() {
    m_BoundRect = q32::fnBox(m_Points);
}
