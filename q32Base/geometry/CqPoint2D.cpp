#include "q32Base/geometry/CqPoint2D.h"

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
