#pragma once

#include "q32Base/geometry/CqPoint2D.h"

/// A vector: a point's two coordinates taken as components. Adds no field. Comparisons are
/// inherited, so vectors compare with points as well.
struct Q32_API CqVector2D : CqPoint2D {
    /// The zero vector.
    constexpr CqVector2D() = default;
    CqVector2D(const CqVector2D&) = default;
    /// The vector from the origin to a point.
    CqVector2D(const CqPoint2D& point) : CqPoint2D(point) {}
    CqVector2D(const CPoint& point) : CqPoint2D(point) {}

    CqVector2D& operator=(const CqVector2D&) = default;

    /// As those of points, with a vector as the result.
    CqVector2D operator+(const CqVector2D& other) const { return CqPoint2D::operator+(other); }
    CqVector2D operator-(const CqVector2D& other) const { return CqPoint2D::operator-(other); }
    CqVector2D operator*(double factor) const { return CqPoint2D::operator*(factor); }
    /// Multiplies by the reciprocal.
    CqVector2D operator/(double divisor) const { return CqPoint2D::operator/(divisor); }

    /// Square of the length; spares the root where lengths are compared.
    double fnSquaredLength() const { return m_X * m_X + m_Y * m_Y; }
    /// Euclidean length.
    double fnFindLength() const { return std::sqrt(fnSquaredLength()); }
    /// Sum of the products of the components: 0 for perpendicular vectors.
    double fnDotProduct(const CqVector2D& other) const { return m_X * other.m_X + m_Y * other.m_Y; }
    /// The unsigned angle between two vectors: 0 to 180 degrees, or 0 to pi if `radians` is set. A
    /// vector of length zero gives not-a-number.
    double fnIntersectAngle(const CqVector2D& other, bool radians) const;
    /// Scales to length 1. A length of GEOM_EPSILON or less gives exactly zero.
    void fnNormalize();
    /// Whether both components are below GEOM_EPSILON in size; the length isn't computed.
    bool fnIsZeroVector() const { return q32::fnIsZero(m_X) && q32::fnIsZero(m_Y); }
    /// Reverses the direction.
    void fnNegate() {
        m_X = -m_X;
        m_Y = -m_Y;
    }
};

static_assert(std::is_trivially_copyable_v<CqVector2D> && std::is_standard_layout_v<CqVector2D>);
static_assert(sizeof(CqVector2D) == sizeof(CqPoint2D));
