#include "q32Base/geometry/CqPoint2D.h"

#include "q32Base/geometry/CqMatrix2D.h"

double CqPoint2D::fnComputeAngle(const CqPoint2D& from, bool radians) const {
    if (*this == from)
        return 0.0;
    const double dx = m_X - from.m_X;
    if (q32::fnIsZero(dx)) {
        const double quarter = radians ? GEOM_PI * 0.5 : 90.0;
        return m_Y < from.m_Y ? -quarter : quarter;
    }
    const double angle = std::atan2(m_Y - from.m_Y, dx);
    return radians ? angle : q32::fnDegrees(angle);
}

void CqPoint2D::fnTransform(const CqMatrix2D& matrix) {
    // A shear of exactly 0 leaves its term out, so that an infinite coordinate meets no 0 x inf.
    double x = matrix.m_ScaleX * m_X + matrix.m_TransX;
    if (matrix.m_ShearX != 0.0)
        x += m_Y * matrix.m_ShearX;
    double y = matrix.m_ScaleY * m_Y + matrix.m_TransY;
    if (matrix.m_ShearY != 0.0)
        y += matrix.m_ShearY * m_X;
    m_X = x;
    m_Y = y;
}
