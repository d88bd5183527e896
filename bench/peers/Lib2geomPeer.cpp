// lib2geom: intersections of cubics with vertical lines, by its own root finder; and the
// straightforward closed form without early exits.

#include "Curves.h"

#include <2geom/bezier-curve.h>
#include <cmath>
#include <numbers>

namespace {

using Figures = std::vector<std::array<double, 8>>;

struct Work {
    Figures m_Curves;
    std::vector<double> m_Lines;
};

Work fnWork() {
    Coordinates coordinates(1000.0);
    Work work{coordinates.fnFigures<8>(1000000), {}};
    for (std::size_t i = 0; i < work.m_Curves.size(); ++i)
        work.m_Lines.push_back(coordinates.fnNumber());
    return work;
}

void fnLib2geom(benchmark::State& state) {
    const Work work = fnWork();
    std::vector<Geom::CubicBezier> curves;
    for (const auto& c : work.m_Curves)
        curves.emplace_back(Geom::Point(c[0], c[1]), Geom::Point(c[2], c[3]),
                            Geom::Point(c[4], c[5]), Geom::Point(c[6], c[7]));
    for (auto _ : state) {
        double sum = 0.0;
        for (std::size_t i = 0; i < curves.size(); ++i)
            for (const double t : curves[i].roots(work.m_Lines[i], Geom::X))
                sum += curves[i].valueAt(t, Geom::Y);
        benchmark::DoNotOptimize(sum);
    }
    fnReportRate(state, "curves", static_cast<double>(curves.size()));
}

/// The sum of y where the cubic with the x coordinates `c` meets x.
double fnCrossingsOf(const std::array<double, 8>& c, double x) {
    const double a3 = c[6] - c[0] + 3.0 * (c[2] - c[4]);
    const double a = 3.0 * (c[0] - 2.0 * c[2] + c[4]) / a3;
    const double b = 3.0 * (c[2] - c[0]) / a3;
    const double d = (c[0] - x) / a3;
    const double p = (b - a * a / 3.0) / 3.0;
    const double q = (a * a * a * 2.0 / 27.0 - a * b / 3.0 + d) / 2.0;
    const double discriminant = p * p * p + q * q;
    double t[3];
    int count = 1;
    if (discriminant < 0.0) {
        const double s = 2.0 * std::sqrt(-p);
        const double phi = std::acos(-q / std::sqrt(-p * p * p)) / 3.0;
        count = 3;
        for (int i = 0; i < 3; ++i)
            t[i] = s * std::cos(phi - i * 2.0 * std::numbers::pi / 3.0) - a / 3.0;
    } else {
        const double r = std::sqrt(discriminant);
        t[0] = std::cbrt(r - q) + std::cbrt(-q - r) - a / 3.0;
    }
    double sum = 0.0;
    for (int i = 0; i < count; ++i) {
        const double u = 1.0 - t[i];
        if (t[i] >= 0.0 && t[i] <= 1.0)
            sum += u * u * u * c[1] + 3.0 * u * u * t[i] * c[3] + 3.0 * u * t[i] * t[i] * c[5] +
                   t[i] * t[i] * t[i] * c[7];
    }
    return sum;
}

void fnClosedForm(benchmark::State& state) {
    const Work work = fnWork();
    for (auto _ : state) {
        double sum = 0.0;
        for (std::size_t i = 0; i < work.m_Curves.size(); ++i)
            sum += fnCrossingsOf(work.m_Curves[i], work.m_Lines[i]);
        benchmark::DoNotOptimize(sum);
    }
    fnReportRate(state, "curves", static_cast<double>(work.m_Curves.size()));
}

} // namespace

BENCHMARK(fnLib2geom)->Unit(benchmark::kMillisecond);
BENCHMARK(fnClosedForm)->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
