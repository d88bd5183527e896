#include "q32Base/geometry/CurveRoots.h"

namespace q32 {

namespace {

constexpr double kThird = 0.3333333333333333;

double fnCubeRoot(double value) {
    return value >= 0.0 ? std::pow(value, kThird) : -std::pow(-value, kThird);
}

/// Roots of a2 t^2 + a1 t + a0, or of what is left of it when a2 is near 0. A double root, where
/// the curve only touches the line, has none, deliberately.
int fnSolveQuadratic(double a2, double a1, double a0, double (&roots)[3]) {
    if (std::fabs(a2) >= GEOM_EPSILON) {
        const double discriminant = a1 * a1 - a0 * a2 * 4.0;
        if (discriminant < GEOM_EPSILON)
            return 0;
        const double r = std::sqrt(discriminant);
        roots[0] = (r - a1) / (a2 + a2);
        roots[1] = (-a1 - r) / (a2 + a2);
        return 2;
    }
    if (fnIsZero(a1))
        return 0;
    roots[0] = -(a0 / a1);
    return 1;
}

} // namespace

int fnSolveCubic(double a, double b, double c, double (&roots)[3]) {
    const double q = (a * a * a * 0.07407407407407407 - a * b * kThird + c) * 0.5;
    const double p = (b - a * a * kThird) * kThird;
    const double p3 = p * p * p;
    const double d = p3 + q * q;
    int count = 0;
    if (fnIsZero(d) && !(std::fabs(q) >= GEOM_EPSILON)) {
        roots[count++] = a * -0.3333333333333333; // the triple root needs no shift
    } else {
        if (fnIsZero(d)) {
            const double w = fnCubeRoot(-q);
            roots[count++] = 2.0 * w;
            roots[count++] = -w;
        } else if (d < 0.0) {
            const double phi = std::acos(-(q / std::sqrt(-p3))) * kThird;
            const double s = std::sqrt(-p);
            roots[count++] = 2.0 * std::cos(phi) * s;
            roots[count++] = -2.0 * std::cos(phi + GEOM_PI * kThird) * s;
            roots[count++] = -2.0 * std::cos(phi - GEOM_PI * kThird) * s;
        } else {
            const double r = std::sqrt(d);
            roots[count++] = fnCubeRoot(r - q) + fnCubeRoot(-q - r);
        }
        for (int i = 0; i < count; ++i)
            roots[i] = (roots[i] * 3.0 - a) * kThird;
    }
    for (int i = 0; i < count; ++i)
        if (fnIsZero(roots[i]))
            roots[i] = 0.0;
    return count;
}

int fnFindRoots(const double (&p)[4], double a0, double (&roots)[3]) {
    const double a3 = p[3] + (3.0 * p[1] - p[0] - 3.0 * p[2]);
    const double a2 = 3.0 * p[0] - 6.0 * p[1] + 3.0 * p[2];
    const double a1 = 3.0 * p[1] - 3.0 * p[0];
    if (std::fabs(a3) >= GEOM_EPSILON)
        return fnSolveCubic(a2 / a3, a1 / a3, a0 / a3, roots);
    return fnSolveQuadratic(a2, a1, a0, roots);
}

int fnFindRoots(const double (&p)[3], double a0, double (&roots)[3]) {
    const double a2 = p[0] - (p[1] + p[1]) + p[2];
    const double a1 = (p[1] - p[0]) + (p[1] - p[0]);
    return fnSolveQuadratic(a2, a1, a0, roots);
}

} // namespace q32
