#include "q32Base/geometry/CqPoint3D.h"

#include <cmath>

double CqPoint3D::fnFindDistance(const CqPoint3D& other) const {
    const CqPoint3D step = *this - other;
    return std::sqrt(step.m_X * step.m_X + step.m_Y * step.m_Y + step.m_Z * step.m_Z);
}
