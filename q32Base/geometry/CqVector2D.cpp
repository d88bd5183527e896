#include "q32Base/geometry/CqVector2D.h"

double CqVector2D::fnIntersectAngle(const CqVector2D& other, bool radians) const {
    const double dot = fnDotProduct(other);
    double cosine = std::sqrt(dot * dot / fnSquaredLength() / other.fnSquaredLength());
    if (dot <= 0.0)
        cosine = -cosine;
    // Rounding can move the cosine out of the domain of the arccosine.
    if (cosine >= 1.0)
        cosine = 1.0;
    else if (cosine < -1.0)
        cosine = -1.0;
    const double angle = std::acos(cosine);
    return radians ? angle : q32::fnDegrees(angle);
}

void CqVector2D::fnNormalize() {
    const double length = fnFindLength();
    if (length > GEOM_EPSILON) {
        m_X /= length;
        m_Y /= length;
    } else {
        m_X = 0.0;
        m_Y = 0.0;
    }
}
