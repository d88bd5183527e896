/// @file
/// What the Bezier curves share: evaluation, halving, the flatness test, and the recursion that
/// divides a curve into flat parts.
///
/// A cubic halves in closed form, a quadratic by repeated interpolation; that difference and the
/// order of all sums affect the results.
#pragma once

#include "q32Base/framework/CArray.h"
#include "q32Base/framework/Memory.h"
#include "q32Base/geometry/CqLine2D.h"
#include "q32Base/geometry/CurveLimit.h"

#include <algorithm>
#include <cassert>
#include <cmath>
#include <cstdint>
#include <limits>

namespace q32 {

/// Flatness, in pixels, for drawing curves and intersecting them with lines.
inline constexpr double kCurveFlatness = 0.5;
/// Distances between a curve's points below this fraction of its largest coordinate are rounding
/// errors: each halving rounds by up to 1.5 units in the last place, and a curve of that size is
/// flat to that limit after at most 26 halvings.
inline constexpr double kCurveRounding = 1.0 / 281474976710656.0; // 2^-48
/// Halvings after which a part counts as flat, whatever its points. No finite curve gets this far.
inline constexpr int kCurveDepth = 28;

/// De Casteljau's algorithm at t; the result is `work[0]`. Values are doubles or points.
template <typename Value, int kCount>
Value fnInterpolate(Value (&work)[kCount], double t) {
    const double u = 1.0 - t;
    for (int steps = kCount - 1; steps > 0; --steps)
        for (int i = 0; i < steps; ++i)
            work[i] = work[i] * u + work[i + 1] * t;
    return work[0];
}

/// A curve's value at t. Near the ends and beyond them it is the end point itself.
template <typename Value, int kCount>
Value fnEvaluate(const Value (&points)[kCount], double t) {
    if (t < GEOM_EPSILON)
        return points[0];
    if (t > GEOM_PARAM_ALMOST_ONE)
        return points[kCount - 1];
    Value work[kCount];
    std::copy_n(points, kCount, work);
    return fnInterpolate(work, t);
}

/// Halves a cubic. The results may be the curve itself.
inline void fnHalve(const CqPoint2D (&p)[4], CqPoint2D (&left)[4], CqPoint2D (&right)[4]) {
    const CqPoint2D p0 = p[0];
    const CqPoint2D p3 = p[3];
    const CqPoint2D l1 = (p0 + p[1]) * 0.5;
    const CqPoint2D l2 = (p0 + p[1] * 2.0 + p[2]) * 0.25;
    const CqPoint2D middle = (p0 + (p[1] + p[2]) * 3.0 + p3) * 0.125;
    const CqPoint2D r1 = (p[1] + p[2] * 2.0 + p3) * 0.25;
    const CqPoint2D r2 = (p[2] + p3) * 0.5;
    left[0] = p0;
    left[1] = l1;
    left[2] = l2;
    left[3] = middle;
    right[0] = middle;
    right[1] = r1;
    right[2] = r2;
    right[3] = p3;
}

/// Halves a quadratic.
inline void fnHalve(const CqPoint2D (&p)[3], CqPoint2D (&left)[3], CqPoint2D (&right)[3]) {
    const CqPoint2D p0 = p[0];
    const CqPoint2D p2 = p[2];
    const CqPoint2D a = (p[1] + p0) * 0.5;
    const CqPoint2D b = (p2 + p[1]) * 0.5;
    const CqPoint2D middle = (b + a) * 0.5;
    left[0] = p0;
    left[1] = a;
    left[2] = middle;
    right[0] = middle;
    right[1] = b;
    right[2] = p2;
}

/// The smallest double whose square root is at or above `value`, so that squares can be compared
/// instead of roots.
inline double fnSquareOfRoot(double value) {
    if (value <= 0.0)
        return 0.0;
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    double square = value * value;
    while (square > 0.0 && std::sqrt(std::nextafter(square, 0.0)) >= value)
        square = std::nextafter(square, 0.0);
    while (std::sqrt(square) < value)
        square = std::nextafter(square, kInfinity);
    return square;
}

/// Tests whether a curve's inner points lie closer to the line through its ends than a threshold. A
/// curve that ends where it starts has no such line; its distances are not-a-number, and it counts
/// as flat, deliberately.
///
/// The distance that counts is that to the foot of the perpendicular, as computed, with its
/// divisions. It is needed only where it lies near the threshold; elsewhere an estimate without
/// divisions decides: the cross product of chord and step, over the chord's length.
///
/// Error bound, with u = 2^-53 and M, the largest coordinate of the curve; its parts exceed it by
/// rounding only. Steps and chords are at most 2.9 M long. The foot's parameter deviates by at most
/// 9 u |step| / |chord|, so the foot by 11 u |step| along the chord and by u (1.5 M + |step|)
/// through the addition, and the vector to it by 40 u M in all. The cross product deviates by 6 u
/// |step| |chord|, the estimated distance so by 18 u M. Both together are less than 64 u M, that
/// is, 2^-47 M, besides a few u of the distance itself. So if M is at most 2^26 times the
/// threshold, the two differ by less than 2^-20 thresholds, and an estimate whose square is off the
/// threshold's by more than 2^-18 parts of it is on the same side.
class FlatnessTest {
public:
    template <int kCount>
    FlatnessTest(const CqPoint2D (&points)[kCount], double threshold) {
        double largest = 0.0;
        for (const CqPoint2D& point : points)
            largest = std::max({largest, std::fabs(point.m_X), std::fabs(point.m_Y)});
        const double rounding = largest * kCurveRounding;
        const double limit = threshold < rounding ? rounding : threshold;
        m_dLimit = fnSquareOfRoot(limit);
        // Within these bounds no square overflows, and none that matters underflows.
        if (limit > 1e-20 && largest < 1e70 && largest <= limit * 67108864.0) {
            m_dSurelyFlat = m_dLimit * (1.0 - kMargin);
            m_dSurelyBent = m_dLimit * (1.0 + kMargin);
        }
    }

    bool operator()(const CqPoint2D (&p)[4]) const {
        const CqVector2D direction = p[3] - p[0];
        const double c1 = fnCross(direction, p[1] - p[0]);
        const double c2 = fnCross(direction, p[2] - p[0]);
        const double s1 = c1 * c1;
        const double s2 = c2 * c2;
        switch (fnEstimate(direction, s2 < s1 ? s1 : s2)) {
        case FLAT:
            return true;
        case BENT:
            return false;
        default:
            const CqLine2D chord(p[0], p[3]);
            const double d1 = fnSquaredDistance(chord, p[1]);
            const double d2 = fnSquaredDistance(chord, p[2]);
            return !((d2 < d1 ? d1 : d2) >= m_dLimit);
        }
    }
    bool operator()(const CqPoint2D (&p)[3]) const {
        return !(fnSquaredDistance(CqLine2D(p[0], p[2]), p[1]) >= m_dLimit);
    }

private:
    static constexpr double kMargin = 1.0 / 262144.0; // 2^-18
    /// Squares of shorter chords may have lost bits to underflow.
    static constexpr double kMinChord = 1e-200;

    enum Estimate { FLAT, BENT, NEAR_LIMIT };

    /// @param square of the larger cross product. Comparisons with not-a-number are false.
    Estimate fnEstimate(const CqVector2D& direction, double square) const {
        const double chord = direction.fnDotProduct(direction);
        if (!(chord > kMinChord))
            return NEAR_LIMIT;
        if (square < m_dSurelyFlat * chord)
            return FLAT;
        return square > m_dSurelyBent * chord ? BENT : NEAR_LIMIT;
    }
    static double fnCross(const CqVector2D& a, const CqVector2D& b) {
        return a.m_X * b.m_Y - a.m_Y * b.m_X;
    }

    static double fnSquaredDistance(const CqLine2D& chord, const CqPoint2D& point) {
        double t;
        CqPoint2D foot;
        chord.fnFindNearestPoint(point, t, &foot);
        return point.fnSquaredDistance(foot);
    }

    double m_dLimit;
    double m_dSurelyFlat = -1.0; ///< never
    double m_dSurelyBent = std::numeric_limits<double>::infinity();
};

/// Halves a curve that isn't flat until `isFlat` holds for each part, and passes the parts to
/// `emit(points, tLow, tHigh)` in order of increasing t.
template <int kCount, typename IsFlat, typename Emit>
void fnHalveUntilFlat(const CqPoint2D (&curve)[kCount], double tLow, double tHigh,
                      const IsFlat& isFlat, const Emit& emit, int depth = 0) {
    assert(depth < kCurveDepth);
    CqPoint2D left[kCount];
    CqPoint2D right[kCount];
    fnHalve(curve, left, right);
    const double tMid = (tLow + tHigh) * 0.5;
    const bool last = depth + 1 >= kCurveDepth;
    if (last || isFlat(left))
        emit(left, tLow, tMid);
    else
        fnHalveUntilFlat(left, tLow, tMid, isFlat, emit, depth + 1);
    if (last || isFlat(right))
        emit(right, tMid, tHigh);
    else
        fnHalveUntilFlat(right, tMid, tHigh, isFlat, emit, depth + 1);
}

/// Passes the flat parts of any curve to `emit`; a flat curve as one part, with 0.0 and 1.0.
template <int kCount, typename IsFlat, typename Emit>
void fnFlatten(const CqPoint2D (&curve)[kCount], const IsFlat& isFlat, const Emit& emit) {
    if (isFlat(curve))
        emit(curve, 0.0, 1.0);
    else
        fnHalveUntilFlat(curve, 0.0, 1.0, isFlat, emit);
}

/// Counts the parts of one curve. Raises the memory exception beyond the host's limit.
class PartCount {
public:
    void fnAdd() {
        if (!fnTryAdd())
            AfxThrowMemoryException();
    }
    /// False beyond the limit.
    bool fnTryAdd() {
        if (m_nLeft == 0)
            return false;
        --m_nLeft;
        return true;
    }

private:
    std::uint32_t m_nLeft = q32GetCurveLimit();
};

/// Crossings of a curve with a segment. The slots are filled in order; each further crossing
/// replaces the last slot.
/// @return the count, which may exceed the number of slots; 0 when memory for the hits runs out,
///         and for a curve of more parts than the host permits
template <int kCount, int kSlots>
int fnIntersectCurve(const CqPoint2D (&curve)[kCount], const CqLine2D& line,
                     double* const (&slots)[kSlots]) {
    const FlatnessTest isFlat(curve, kCurveFlatness);
    if (isFlat(curve))
        return CqLine2D(curve[0], curve[kCount - 1]).fnIntersectLine(line, *slots[0], nullptr) ? 1
                                                                                               : 0;
    CArray<double, double> hits;
    PartCount parts;
    const bool collected = fnTryMemory([&] {
        fnHalveUntilFlat(
            curve, 0.0, 1.0, isFlat,
            [&](const CqPoint2D(&part)[kCount], double tLow, double tHigh) {
                parts.fnAdd();
                double s;
                if (CqLine2D(part[0], part[kCount - 1]).fnIntersectLine(line, s, nullptr))
                    hits.Add(tLow + (tHigh - tLow) * s);
            });
    });
    if (!collected)
        return 0;
    for (int i = 0; i < hits.GetSize(); ++i)
        *slots[std::min(i, kSlots - 1)] = hits[i];
    return hits.GetSize();
}

} // namespace q32
