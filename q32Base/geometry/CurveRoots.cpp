#include "q32Base/geometry/CurveRoots_p.h"

#include <bit>
#include <cassert>
#include <cstdint>

namespace q32 {

namespace {

constexpr double kThird = 0.3333333333333333;

double fnCubeRoot(double value) {
    return value >= 0.0 ? std::pow(value, kThird) : -std::pow(-value, kThird);
}

/// Roots of a2 t^2 + a1 t + a0, or of the lower-degree polynomial if a2 is near 0. A double root,
/// where the curve only touches the line, isn't reported, deliberately.
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

/// Assumed relative error bound of approximate values; they are much more accurate.
constexpr double kApproximationError = 1e-3;

/// Cube root to about five digits, at a fraction of the cost: a third of the exponent, then one
/// step of Halley's method. Infinity gives not-a-number.
double fnApproximateCubeRoot(double value) {
    const double size = std::fabs(value);
    // The constant is two thirds of the exponent's bias, chosen for the least error.
    const std::uint64_t bits =
        std::bit_cast<std::uint64_t>(size) / 3 + (std::uint64_t{715094163} << 32);
    const double guess = std::bit_cast<double>(bits);
    const double cube = guess * guess * guess;
    return std::copysign(guess * (cube + size + size) / (cube + cube + size), value);
}

/// Collects roots, given before the shift by a third of `a`. With `kInside` those clearly outside 0
/// to 1 are omitted: approximate values identify them, which saves most powers and cosines.
template <bool kInside>
class RootList {
public:
    RootList(double a, double (&roots)[3]) : m_dA(a), m_dRoots(roots) {}

    /// Whether a root with this approximate value, and an error bound relative to `size`, may be
    /// inside 0 to 1. Not-a-number may be.
    bool fnMayCount(double approximate, double size) const {
        if constexpr (!kInside)
            return true;
        const double margin = size * kApproximationError + std::fabs(m_dA) * 1e-9 + 1e-9;
        const double root = approximate - m_dA * kThird;
        return !(root < -margin || root > 1.0 + margin);
    }
    void fnAddUnshifted(double root) { fnAdd((root * 3.0 - m_dA) * kThird); }
    void fnAdd(double root) {
        assert(m_nCount < 3);
        m_dRoots[m_nCount++] = fnIsZero(root) ? 0.0 : root;
    }
    int fnGetCount() const { return m_nCount; }

private:
    double m_dA;
    double (&m_dRoots)[3];
    int m_nCount = 0;
};

/// Three roots by cosines, of an angle from 0 to a third of pi.
template <bool kInside>
void fnAddThree(double p, double p3, double q, RootList<kInside>& list) {
    const double phi = std::acos(-(q / std::sqrt(-p3))) * kThird;
    const double s = std::sqrt(-p);
    const double x = phi * phi;
    const double cosine = 1.0 + x * (-1.0 / 2 + x * (1.0 / 24 - x * (1.0 / 720)));
    const double sine = phi * (1.0 + x * (-1.0 / 6 + x * (1.0 / 120 - x * (1.0 / 5040))));
    const double apart = sine * 1.7320508; // the square root of 3
    if (list.fnMayCount(2.0 * cosine * s, s))
        list.fnAddUnshifted(2.0 * std::cos(phi) * s);
    if (list.fnMayCount((apart - cosine) * s, s))
        list.fnAddUnshifted(-2.0 * std::cos(phi + GEOM_PI * kThird) * s);
    if (list.fnMayCount((-apart - cosine) * s, s))
        list.fnAddUnshifted(-2.0 * std::cos(phi - GEOM_PI * kThird) * s);
}

template <bool kInside>
int fnSolve(double a, double b, double c, double (&roots)[3]) {
    const double q = (a * a * a * 0.07407407407407407 - a * b * kThird + c) * 0.5;
    const double p = (b - a * a * kThird) * kThird;
    const double p3 = p * p * p;
    const double d = p3 + q * q;
    RootList<kInside> list(a, roots);
    if (fnIsZero(d) && !(std::fabs(q) >= GEOM_EPSILON)) {
        list.fnAdd(a * -0.3333333333333333); // the triple root needs no shift
    } else if (fnIsZero(d)) {
        const double w = fnCubeRoot(-q);
        list.fnAddUnshifted(2.0 * w);
        list.fnAddUnshifted(-w);
    } else if (d < 0.0) {
        fnAddThree(p, p3, q, list);
    } else {
        const double r = std::sqrt(d);
        const double u = fnApproximateCubeRoot(r - q);
        const double v = fnApproximateCubeRoot(-q - r);
        if (list.fnMayCount(u + v, std::fabs(u) + std::fabs(v)))
            list.fnAddUnshifted(fnCubeRoot(r - q) + fnCubeRoot(-q - r));
    }
    return list.fnGetCount();
}

} // namespace

int fnSolveCubic(double a, double b, double c, double (&roots)[3]) {
    return fnSolve<false>(a, b, c, roots);
}

int fnFindRoots(const double (&p)[4], double a0, double (&roots)[3]) {
    const double a3 = p[3] + (3.0 * p[1] - p[0] - 3.0 * p[2]);
    const double a2 = 3.0 * p[0] - 6.0 * p[1] + 3.0 * p[2];
    const double a1 = 3.0 * p[1] - 3.0 * p[0];
    if (std::fabs(a3) >= GEOM_EPSILON)
        return fnSolve<true>(a2 / a3, a1 / a3, a0 / a3, roots);
    return fnSolveQuadratic(a2, a1, a0, roots);
}

int fnFindRoots(const double (&p)[3], double a0, double (&roots)[3]) {
    const double a2 = p[0] - (p[1] + p[1]) + p[2];
    const double a1 = (p[1] - p[0]) + (p[1] - p[0]);
    return fnSolveQuadratic(a2, a1, a0, roots);
}

} // namespace q32
