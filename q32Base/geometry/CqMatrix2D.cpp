#include "q32Base/geometry/CqMatrix2D.h"

namespace {

/// Reduces an angle to -360 to 360, both included. Subtracting 360 repeatedly would give the same
/// bits, since each difference is exact below 2^56; from there on it would never end.
double fnReduceAngle(double angle) {
    if (!(std::fabs(angle) > 360.0))
        return angle;
    const double rest = std::fmod(angle, 360.0);
    return rest == 0.0 ? std::copysign(360.0, angle) : rest;
}

/// Whether a scale is neither 1 nor -1.
bool fnIsScaled(double scale) {
    return q32::fnIsDifferent(std::fabs(scale), 1.0);
}

} // namespace

CqMatrix2D::CqMatrix2D(const CqPoint2D& centre, double scaleX, double scaleY, double angle,
                       double transX, double transY)
    : m_ScaleX(scaleX), m_ScaleY(scaleY) {
    if (angle != 0.0) {
        const double radians = q32::fnRadians(fnReduceAngle(angle));
        const double sine = std::sin(radians);
        const double cosine = std::cos(radians);
        m_ShearY = sine * scaleX;
        m_ShearX = -(sine * scaleY);
        m_ScaleX = cosine * scaleX;
        m_ScaleY = cosine * scaleY;
    }
    const double cx = centre.m_X;
    const double cy = centre.m_Y;
    m_TransX = cx - (cy * m_ShearX + cx * m_ScaleX) + transX;
    m_TransY = cy - (cx * m_ShearY + cy * m_ScaleY) + transY;
}

bool CqMatrix2D::operator==(const CqMatrix2D& other) const {
    return q32::fnIsSame(m_ScaleX, other.m_ScaleX) && q32::fnIsSame(m_ShearX, other.m_ShearX) &&
           q32::fnIsSame(m_TransX, other.m_TransX) && q32::fnIsSame(m_ShearY, other.m_ShearY) &&
           q32::fnIsSame(m_ScaleY, other.m_ScaleY) && q32::fnIsSame(m_TransY, other.m_TransY);
}

bool CqMatrix2D::operator!=(const CqMatrix2D& other) const {
    using q32::fnIsDifferent;
    return fnIsDifferent(m_ScaleX, other.m_ScaleX) ||
           (fnIsDifferent(m_ShearX, other.m_ShearX) && fnIsDifferent(m_TransX, other.m_TransX)) ||
           (fnIsDifferent(m_ShearY, other.m_ShearY) && fnIsDifferent(m_ScaleY, other.m_ScaleY)) ||
           fnIsDifferent(m_TransY, other.m_TransY);
}

void CqMatrix2D::fnRotate(double angle) {
    const double radians = q32::fnRadians(angle);
    const double sine = std::sin(radians);
    const double cosine = std::cos(radians);
    *this = CqMatrix2D(cosine, cosine, sine, -sine, 0.0, 0.0);
}

void CqMatrix2D::fnConcat(const CqMatrix2D& next, CqMatrix2D& result) const {
    CqMatrix2D product(next.m_ScaleX * m_ScaleX, m_ScaleY * next.m_ScaleY, 0.0, 0.0,
                       next.m_ScaleX * m_TransX + next.m_TransX,
                       next.m_ScaleY * m_TransY + next.m_TransY);
    if (!(q32::fnIsZero(m_ShearY) && q32::fnIsZero(m_ShearX) && q32::fnIsZero(next.m_ShearY) &&
          q32::fnIsZero(next.m_ShearX))) {
        product.m_ScaleX += next.m_ShearX * m_ShearY;
        product.m_ScaleY += next.m_ShearY * m_ShearX;
        product.m_ShearY = next.m_ShearY * m_ScaleX + next.m_ScaleY * m_ShearY;
        product.m_ShearX = next.m_ScaleX * m_ShearX + next.m_ShearX * m_ScaleY;
        product.m_TransX += next.m_ShearX * m_TransY;
        product.m_TransY += next.m_ShearY * m_TransX;
    }
    result = product;
}

void CqMatrix2D::fnInverse() {
    const CqMatrix2D old(*this);
    if (q32::fnIsZero(m_ShearY) && q32::fnIsZero(m_ShearX)) {
        const double a = 1.0 / old.m_ScaleX;
        const double d = 1.0 / old.m_ScaleY;
        *this = CqMatrix2D(a, d, 0.0, 0.0, -(a * old.m_TransX), -(d * old.m_TransY));
        return;
    }
    const double k = 1.0 / (old.m_ScaleY * old.m_ScaleX - old.m_ShearX * old.m_ShearY);
    m_ScaleX = k * old.m_ScaleY;
    m_ShearY = -(k * old.m_ShearY);
    m_ShearX = -(k * old.m_ShearX);
    m_ScaleY = k * old.m_ScaleX;
    m_TransX = (old.m_TransY * old.m_ShearX - old.m_TransX * old.m_ScaleY) * k;
    m_TransY = (old.m_TransX * old.m_ShearY - old.m_TransY * old.m_ScaleX) * k;
}

bool CqMatrix2D::fnIsIdentity() const {
    return q32::fnIsSame(std::fabs(m_ScaleX), 1.0) && q32::fnIsSame(std::fabs(m_ScaleY), 1.0) &&
           q32::fnIsZero(m_ShearY) && q32::fnIsZero(m_ShearX) && q32::fnIsZero(m_TransX) &&
           q32::fnIsZero(m_TransY);
}

bool CqMatrix2D::fnHasScaleOnly() const {
    return q32::fnIsZero(m_ShearY) && q32::fnIsZero(m_ShearX) && fnIsScaled(m_ScaleX) &&
           fnIsScaled(m_ScaleY);
}

bool CqMatrix2D::fnHasTranslateOnly() const {
    return q32::fnIsZero(m_ScaleX) && q32::fnIsZero(m_ScaleY) && q32::fnIsZero(m_ShearY) &&
           q32::fnIsZero(m_ShearX) &&
           (std::fabs(m_TransX) > GEOM_EPSILON || std::fabs(m_TransY) > GEOM_EPSILON);
}

void CqPoint2D::fnTransform(const CqMatrix2D& matrix) {
    // A shear of exactly 0 omits its term, so that an infinite coordinate doesn't give 0 x
    // infinity.
    double x = matrix.m_ScaleX * m_X + matrix.m_TransX;
    if (matrix.m_ShearX != 0.0)
        x += m_Y * matrix.m_ShearX;
    double y = matrix.m_ScaleY * m_Y + matrix.m_TransY;
    if (matrix.m_ShearY != 0.0)
        y += matrix.m_ShearY * m_X;
    m_X = x;
    m_Y = y;
}
