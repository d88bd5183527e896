// Flattens, intersects and draws curves; draws lines. Coordinates are random with a fixed seed.

#include "platforms/headless/headless.h"
#include "q32Base/geometry/CqCubicBezier2D.h"
#include "q32Base/geometry/CqPolyline2D.h"
#include "q32Base/image/CqImage.h"
#include "q32Base/module/Module.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

namespace {

constexpr double kCurveRange = 1000.0;
constexpr unsigned int kImageSize = 2000;
constexpr int kSegments = 100000;

class Scene {
public:
    explicit Scene(double range) : m_Coordinate(0.0, range) {}

    double fnNumber() { return m_Coordinate(m_Random); }
    CqPoint2D fnPoint() {
        const double x = fnNumber();
        return {x, fnNumber()};
    }
    CqCubicBezier2D fnCurve() {
        const CqPoint2D p0 = fnPoint();
        const CqPoint2D p1 = fnPoint();
        const CqPoint2D p2 = fnPoint();
        return {p0, p1, p2, fnPoint(), 1.0};
    }
    std::vector<CqCubicBezier2D> fnCurves(int count) {
        std::vector<CqCubicBezier2D> curves;
        for (int i = 0; i < count; ++i)
            curves.push_back(fnCurve());
        return curves;
    }

private:
    std::mt19937 m_Random{20250101};
    std::uniform_real_distribution<double> m_Coordinate;
};

void fnReportRate(benchmark::State& state, const char* name, double perPass) {
    state.counters[name] = benchmark::Counter(perPass * static_cast<double>(state.iterations()),
                                              benchmark::Counter::kIsRate);
}

void fnTessellate(benchmark::State& state, double tolerance) {
    const auto curves = Scene(kCurveRange).fnCurves(100000);
    CqPolyline2D polyline;
    double segments = 0.0;
    for (auto _ : state) {
        segments = 0.0;
        for (const CqCubicBezier2D& curve : curves) {
            curve.fnTessellate(polyline, tolerance);
            segments += polyline.fnGetNumberLine();
        }
    }
    fnReportRate(state, "segments", segments);
    fnReportRate(state, "curves", static_cast<double>(curves.size()));
}

void fnIntersect(benchmark::State& state) {
    Scene scene(kCurveRange);
    const auto curves = scene.fnCurves(1000000);
    std::vector<double> lines;
    for (std::size_t i = 0; i < curves.size(); ++i)
        lines.push_back(scene.fnNumber());
    double y[3];
    double t[3];
    for (auto _ : state) {
        int hits = 0;
        for (std::size_t i = 0; i < curves.size(); ++i)
            hits += curves[i].fnIntersectX(lines[i], y[0], t[0], y[1], t[1], y[2], t[2]);
        benchmark::DoNotOptimize(hits);
    }
    fnReportRate(state, "curves", static_cast<double>(curves.size()));
}

void fnDrawSegments(benchmark::State& state, unsigned int bits) {
    CqImage image(kImageSize, kImageSize, bits, nullptr, 0);
    Scene scene(kImageSize - 1);
    std::vector<CqLine2D> lines;
    double pixels = 0.0;
    for (int i = 0; i < kSegments; ++i) {
        const CqPoint2D start = scene.fnPoint();
        const CqLine2D line(start, scene.fnPoint());
        pixels += std::max(std::fabs(line.m_End.m_X - line.m_Start.m_X),
                           std::fabs(line.m_End.m_Y - line.m_Start.m_Y)) +
                  1.0;
        lines.push_back(line);
    }
    const CqColor color(255, 255, 255, 255);
    for (auto _ : state)
        for (CqLine2D& line : lines)
            line.fnRasterize(image, color);
    fnReportRate(state, "pixels", pixels);
}

void fnDrawCurves(benchmark::State& state, unsigned int bits) {
    CqImage image(kImageSize, kImageSize, bits, nullptr, 0);
    auto curves = Scene(kImageSize - 1).fnCurves(20000);
    const CqColor color(255, 255, 255, 255);
    for (auto _ : state)
        for (CqCubicBezier2D& curve : curves)
            curve.fnRasterize(image, color);
    fnReportRate(state, "curves", static_cast<double>(curves.size()));
}

} // namespace

BENCHMARK_CAPTURE(fnTessellate, "tolerance 0.1", 0.1)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(fnTessellate, "tolerance 0.5", 0.5)->Unit(benchmark::kMillisecond);
BENCHMARK(fnIntersect)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(fnDrawSegments, "8 bits", 8)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(fnDrawSegments, "32 bits", 32)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(fnDrawCurves, "8 bits", 8)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(fnDrawCurves, "32 bits", 32)->Unit(benchmark::kMillisecond);

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv) || !q32Attach(q32HeadlessPlatform()))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    q32Detach();
    return 0;
}
