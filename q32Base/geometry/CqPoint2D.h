#pragma once

#include "q32Base/framework/Values.h"
#include "q32Base/geometry/GeometryTolerance.h"
#include "q32Base/platform/Export.h"

#include <type_traits>

struct CqMatrix2D;

/// A point in double coordinates, in the caller's units. No axis is ever flipped; a positive angle
/// rotates positive x toward positive y. Nothing fails: arithmetic follows IEEE 754 throughout.
struct Q32_API CqPoint2D {
    /// The origin.
    constexpr CqPoint2D() = default;
    /// The given coordinates; integers are converted exactly.
    constexpr CqPoint2D(int x, int y) : m_X(x), m_Y(y) {}
    constexpr CqPoint2D(double x, double y) : m_X(x), m_Y(y) {}
    CqPoint2D(const CPoint& point) : m_X(point.x), m_Y(point.y) {}
    CqPoint2D(const CqPoint2D&) = default;

    CqPoint2D& operator=(const CqPoint2D&) = default;
    /// Converts integer coordinates exactly.
    CqPoint2D& operator=(const CPoint& point) { return *this = CqPoint2D(point); }

    /// Truncates each coordinate toward zero, without rounding. Coordinates are clamped to 32 bits,
    /// and not-a-number gives 0.
    operator CPoint() const { return {q32::fnTruncate(m_X), q32::fnTruncate(m_Y)}; }

    /// Add or subtract each coordinate, or multiply both by a factor.
    void operator+=(const CqPoint2D& other) { fnAdd(other); }
    void operator-=(const CqPoint2D& other) { fnSubtract(other); }
    void operator*=(double factor) { fnScale(factor); }
    /// Multiplies by the reciprocal, which is a division only where the reciprocal is exact.
    void operator/=(double divisor) { fnScale(1.0 / divisor); }
    /// The same in a new point; `/` multiplies by the reciprocal too.
    CqPoint2D operator+(const CqPoint2D& other) const { return {m_X + other.m_X, m_Y + other.m_Y}; }
    CqPoint2D operator-(const CqPoint2D& other) const { return {m_X - other.m_X, m_Y - other.m_Y}; }
    CqPoint2D operator*(double factor) const { return {m_X * factor, m_Y * factor}; }
    CqPoint2D operator/(double divisor) const { return *this * (1.0 / divisor); }

    /// Equal within GEOM_EPSILON per coordinate. At exactly that distance neither this nor
    /// `operator!=` is true, deliberately.
    bool operator==(const CqPoint2D& other) const {
        return q32::fnIsSame(m_X, other.m_X) && q32::fnIsSame(m_Y, other.m_Y);
    }
    /// Different by more than GEOM_EPSILON in either coordinate: not the negation of `operator==`.
    bool operator!=(const CqPoint2D& other) const {
        return q32::fnIsDifferent(m_X, other.m_X) || q32::fnIsDifferent(m_Y, other.m_Y);
    }

    /// The same as `+=`, `-=` and `*=`.
    void fnAdd(const CqPoint2D& other) { *this = *this + other; }
    void fnSubtract(const CqPoint2D& other) { *this = *this - other; }
    void fnScale(double factor) { *this = *this * factor; }

    /// Square of the distance to another point; spares the root where distances are compared.
    double fnSquaredDistance(const CqPoint2D& other) const {
        const double dx = m_X - other.m_X;
        const double dy = m_Y - other.m_Y;
        return dx * dx + dy * dy;
    }
    /// Euclidean distance to another point.
    double fnFindDistance(const CqPoint2D& other) const {
        return std::sqrt(fnSquaredDistance(other));
    }
    /// Direction of the step from `from` to this point, measured from the positive x axis: in
    /// degrees, -180 to 180, or in radians. 0 for equal points. A step whose x changes by less than
    /// GEOM_EPSILON counts as vertical.
    double fnComputeAngle(const CqPoint2D& from, bool radians) const;
    /// Applies the matrix in place.
    void fnTransform(const CqMatrix2D& matrix);

    double m_X = 0.0; ///< horizontal
    double m_Y = 0.0; ///< vertical
};

static_assert(std::is_trivially_copyable_v<CqPoint2D> && std::is_standard_layout_v<CqPoint2D>);
static_assert(sizeof(CqPoint2D) == 2 * sizeof(double));
