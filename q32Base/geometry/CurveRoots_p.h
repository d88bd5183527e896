/// @file
/// Where Bezier curves cross vertical and horizontal lines, by the roots of their polynomials.
#pragma once

#include "q32Base/geometry/BezierFlattening_p.h"

namespace q32 {

/// Real roots of x^3 + a x^2 + b x + c = 0, in the order in which the closed form (Cardano's, with
/// the cosine form for three roots) gives them, not sorted. Roots near 0 become exactly 0.
/// @return 1, 2 (with a double root) or 3; a triple root counts once. Slots beyond the count are
///         left as they were.
int fnSolveCubic(double a, double b, double c, double (&roots)[3]);

/// Roots in t of the curve's polynomial less `value`, by its actual degree; 0 to 3 of them. `a0` is
/// the first point less the value. Roots of a cubic clearly outside 0 to 1 may be omitted; the
/// others keep their order.
int fnFindRoots(const double (&points)[4], double a0, double (&roots)[3]);
int fnFindRoots(const double (&points)[3], double a0, double (&roots)[3]);

/// Crossings of a curve with the line along which the coordinate `along` is `value`. A curve that
/// lies on that line has none, and a curve that starts or ends on it has only that crossing,
/// deliberately.
/// @param slots  receive the other coordinate and t of each crossing, in the order of the roots;
///               those beyond the count are left as they were
/// @return how many; at most the curve's degree, which is the number of slots
template <int kCount>
int fnFindCrossings(const CqPoint2D (&points)[kCount], double CqPoint2D::*along,
                    double CqPoint2D::*other, double value, double* const (&slots)[kCount - 1][2]) {
    double a[kCount];
    double b[kCount];
    bool stroke = true;
    for (int i = 0; i < kCount; ++i) {
        a[i] = points[i].*along;
        b[i] = points[i].*other;
        stroke = stroke && fnIsZero(a[0] - a[i]);
    }
    int count = 0;
    const auto tell = [&](double found, double t) {
        *slots[count][0] = found;
        *slots[count][1] = t;
        ++count;
    };
    const double a0 = a[0] - value;
    if (stroke)
        return 0;
    if (fnIsZero(a0)) {
        tell(b[0], 0.0);
        return count;
    }
    if (fnIsZero(a[kCount - 1] - value)) {
        tell(b[kCount - 1], 1.0);
        return count;
    }
    double roots[3];
    const int found = fnFindRoots(a, a0, roots);
    for (int i = 0; i < found; ++i) {
        const double t = roots[i];
        if (fnIsZero(t))
            tell(fnEvaluate(b, t), 0.0);
        else if (fnIsSame(t, 1.0))
            tell(fnEvaluate(b, t), 1.0);
        else if (t > GEOM_EPSILON && t < GEOM_PARAM_ALMOST_ONE)
            tell(fnEvaluate(b, t), t);
    }
    return count;
}

} // namespace q32
