/// @file
/// Plain reference versions of the operations of both Bezier curves, over vectors of points.
#pragma once

#include "q32Base/geometry/CqLine2D.h"
#include "tests/geometry/GeometryTestTools.h"

#include <functional>
#include <vector>

using Points = std::vector<CqPoint2D>;

/// De Casteljau with clamped ends.
inline CqPoint2D fnPlainValue(Points p, double t) {
    if (t < 1e-10)
        return p.front();
    if (t > 0.9999999999)
        return p.back();
    const double u = 1.0 - t;
    for (std::size_t steps = p.size() - 1; steps > 0; --steps)
        for (std::size_t i = 0; i < steps; ++i)
            p[i] = CqPoint2D(p[i].m_X * u + p[i + 1].m_X * t, p[i].m_Y * u + p[i + 1].m_Y * t);
    return p[0];
}

inline void fnPlainHalve(const Points& p, Points& left, Points& right) {
    const auto each = [&](double (*rule)(const double*)) {
        double x[4] = {};
        double y[4] = {};
        for (std::size_t i = 0; i < p.size(); ++i) {
            x[i] = p[i].m_X;
            y[i] = p[i].m_Y;
        }
        return CqPoint2D(rule(x), rule(y));
    };
    if (p.size() == 3) {
        const CqPoint2D m =
            each([](const double* v) { return ((v[2] + v[1]) * 0.5 + (v[1] + v[0]) * 0.5) * 0.5; });
        left = {p[0], each([](const double* v) { return (v[1] + v[0]) * 0.5; }), m};
        right = {m, each([](const double* v) { return (v[2] + v[1]) * 0.5; }), p[2]};
        return;
    }
    const CqPoint2D m =
        each([](const double* v) { return (v[0] + 3.0 * (v[1] + v[2]) + v[3]) / 8.0; });
    left = {p[0], each([](const double* v) { return (v[0] + v[1]) / 2.0; }),
            each([](const double* v) { return (v[0] + 2.0 * v[1] + v[2]) / 4.0; }), m};
    right = {m, each([](const double* v) { return (v[1] + 2.0 * v[2] + v[3]) / 4.0; }),
             each([](const double* v) { return (v[2] + v[3]) / 2.0; }), p[3]};
}

inline double fnPlainDistance(const Points& p, const CqPoint2D& inner) {
    const double vx = p.back().m_X - p[0].m_X;
    const double vy = p.back().m_Y - p[0].m_Y;
    const double wx = inner.m_X - p[0].m_X;
    const double wy = inner.m_Y - p[0].m_Y;
    const double t = (vx * wx + vy * wy) / (vx * vx + vy * vy);
    const double dx = inner.m_X - (p[0].m_X + vx * t);
    const double dy = inner.m_Y - (p[0].m_Y + vy * t);
    return std::sqrt(dx * dx + dy * dy);
}

inline bool fnPlainFlat(const Points& p, double threshold) {
    const double d1 = fnPlainDistance(p, p[1]);
    if (p.size() == 3)
        return !(d1 >= threshold);
    const double d2 = fnPlainDistance(p, p[2]);
    const double d = d2 < d1 ? d1 : d2;
    return !(d >= threshold);
}

using Emit = std::function<void(const Points&, double, double)>;

inline void fnPlainFlatten(const Points& p, double tolerance, const Emit& emit, double low = 0.0,
                           double high = 1.0) {
    if (fnPlainFlat(p, tolerance)) {
        emit(p, low, high);
        return;
    }
    Points left;
    Points right;
    fnPlainHalve(p, left, right);
    const double mid = (low + high) * 0.5;
    fnPlainFlatten(left, tolerance, emit, low, mid);
    fnPlainFlatten(right, tolerance, emit, mid, high);
}

/// Parameters of all crossings with a segment.
inline std::vector<double> fnPlainCrossings(const Points& p, const CqLine2D& line) {
    std::vector<double> hits;
    if (fnPlainFlat(p, 0.5)) {
        double s;
        if (CqLine2D(p[0], p.back()).fnIntersectLine(line, s, nullptr))
            hits.push_back(s);
        return hits;
    }
    fnPlainFlatten(p, 0.5, [&](const Points& part, double low, double high) {
        double s;
        if (CqLine2D(part[0], part.back()).fnIntersectLine(line, s, nullptr))
            hits.push_back(low + (high - low) * s);
    });
    return hits;
}

/// Random control points of several kinds: plain, cusped, looped, collinear, closed, huge, tiny.
inline Points fnRandomPoints(CqRandom& random, std::size_t count) {
    Points p(count);
    for (CqPoint2D& point : p)
        point = random.fnPoint(-100, 100);
    switch (random.fnInt(0, 9)) {
    case 0: // collinear, out of order
        for (CqPoint2D& point : p)
            point = CqPoint2D(1.0, 2.0) + CqPoint2D(3.0, -1.0) * random.fnBetween(-50, 50);
        break;
    case 1: // a cusp: the inner points cross over
        p[1] = p.back() + (p.back() - p[0]) * random.fnBetween(-2, 2);
        p[count - 2] = p[0];
        break;
    case 2: // closed
        p.back() = p[0];
        break;
    case 3: // doubled points
        p[1] = p[0];
        break;
    case 4:
        p[count - 2] = p.back();
        break;
    case 5: // small
        for (CqPoint2D& point : p)
            point *= 1e-3;
        break;
    case 6: // a single point
        for (CqPoint2D& point : p)
            point = p[0];
        break;
    default:
        break;
    }
    return p;
}
