#include "q32Base/geometry/CqQuadBezier2D.h"

#include "q32Base/geometry/BezierFlattening_p.h"
#include "q32Base/geometry/CurveRoots_p.h"

CqQuadBezier2D::CqQuadBezier2D(const CqPoint2D& p0, const CqPoint2D& p1, const CqPoint2D& p2,
                               double thickness)
    : m_Points{p0, p1, p2}, m_Thickness(thickness) {
    fnFindBoundRect();
}

CqQuadBezier2D::CqQuadBezier2D(const CPoint& p0, const CPoint& p1, const CPoint& p2,
                               double thickness)
    : CqQuadBezier2D(CqPoint2D(p0), CqPoint2D(p1), CqPoint2D(p2), thickness) {}

CqPoint2D CqQuadBezier2D::fnComputeValue(double t) const {
    return q32::fnEvaluate(m_Points, t);
}

void CqQuadBezier2D::fnBinarySubdivide(CqQuadBezier2D& left, CqQuadBezier2D& right) const {
    CqPoint2D l[3];
    CqPoint2D r[3];
    q32::fnHalve(m_Points, l, r);
    const double thickness = m_Thickness;
    left = CqQuadBezier2D(l[0], l[1], l[2], thickness);
    right = CqQuadBezier2D(r[0], r[1], r[2], thickness);
}

void CqQuadBezier2D::fnSubdivide(double t, CqQuadBezier2D& left, CqQuadBezier2D& right) const {
    if (t < 0.0)
        t = 0.0;
    else if (t > 1.0)
        t = 1.0;
    const CqQuadBezier2D whole(*this); // either result may be this curve
    const auto& p = whole.m_Points;
    const CqPoint2D a = p[0] + (p[1] - p[0]) * t;
    const CqPoint2D b = p[1] + (p[2] - p[1]) * t;
    const CqPoint2D middle = a + (b - a) * t;
    left = CqQuadBezier2D(p[0], a, middle, whole.m_Thickness);
    right = CqQuadBezier2D(middle, b, p[2], whole.m_Thickness);
}

void CqQuadBezier2D::fnReverse() {
    std::swap(m_Points[0], m_Points[2]);
}

int CqQuadBezier2D::fnIntersectX(double x, double& y1, double& t1, double& y2, double& t2) const {
    return q32::fnFindCrossings(m_Points, &CqPoint2D::m_X, &CqPoint2D::m_Y, x,
                                {{&y1, &t1}, {&y2, &t2}});
}

int CqQuadBezier2D::fnIntersectY(double y, double& x1, double& t1, double& x2, double& t2) const {
    return q32::fnFindCrossings(m_Points, &CqPoint2D::m_Y, &CqPoint2D::m_X, y,
                                {{&x1, &t1}, {&x2, &t2}});
}

int CqQuadBezier2D::fnIntersectLine(const CqLine2D& line, double& t1, double& t2) const {
    return q32::fnIntersectCurve(m_Points, line, {&t1, &t2});
}

void CqQuadBezier2D::fnFindBoundRect() {
    m_BoundRect = q32::fnBox(m_Points);
}
