#pragma once

#include "q32Base/platform/Export.h"

#include <type_traits>

/// A point in space. Unlike in the 2-D geometry, comparisons are exact, deliberately.
struct Q32_API CqPoint3D {
    /// The origin.
    constexpr CqPoint3D() = default;
    /// The given coordinates; integers are converted exactly.
    constexpr CqPoint3D(int x, int y, int z) : m_X(x), m_Y(y), m_Z(z) {}
    constexpr CqPoint3D(double x, double y, double z) : m_X(x), m_Y(y), m_Z(z) {}
    CqPoint3D(const CqPoint3D&) = default;

    CqPoint3D& operator=(const CqPoint3D&) = default;

    /// Add or subtract each coordinate, or multiply all by a factor.
    void operator+=(const CqPoint3D& other) { fnAdd(other); }
    void operator-=(const CqPoint3D& other) { fnSubtract(other); }
    void operator*=(double factor) { fnScale(factor); }
    /// Multiplies by the reciprocal.
    void operator/=(double divisor) { fnScale(1.0 / divisor); }
    /// The same in a new point; `/` multiplies by the reciprocal too.
    CqPoint3D operator+(const CqPoint3D& other) const {
        return {m_X + other.m_X, m_Y + other.m_Y, m_Z + other.m_Z};
    }
    CqPoint3D operator-(const CqPoint3D& other) const {
        return {m_X - other.m_X, m_Y - other.m_Y, m_Z - other.m_Z};
    }
    CqPoint3D operator*(double factor) const { return {m_X * factor, m_Y * factor, m_Z * factor}; }
    CqPoint3D operator/(double divisor) const { return *this * (1.0 / divisor); }
    /// Whether all coordinates are exactly equal; a not-a-number never is.
    bool operator==(const CqPoint3D& other) const {
        return m_X == other.m_X && m_Y == other.m_Y && m_Z == other.m_Z;
    }
    /// The negation of `==`.
    bool operator!=(const CqPoint3D& other) const { return !(*this == other); }

    /// The same as `+=`, `-=` and `*=`.
    void fnAdd(const CqPoint3D& other) { *this = *this + other; }
    void fnSubtract(const CqPoint3D& other) { *this = *this - other; }
    void fnScale(double factor) { *this = *this * factor; }

    /// Euclidean distance to another point.
    double fnFindDistance(const CqPoint3D& other) const;

    double m_X = 0.0; ///< in the caller's units, as the others
    double m_Y = 0.0; ///< second coordinate
    double m_Z = 0.0; ///< third coordinate
};

static_assert(std::is_trivially_copyable_v<CqPoint3D> && std::is_standard_layout_v<CqPoint3D>);
static_assert(sizeof(CqPoint3D) == 3 * sizeof(double));
