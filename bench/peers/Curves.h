#pragma once

#include <benchmark/benchmark.h>

#include <array>
#include <random>
#include <vector>

/// The image that lines and curves are drawn into.
inline constexpr int kImageSize = 2000;

/// Coordinates of random figures, from 0 to `range`: x and y of each point alternate. The same
/// numbers as in GeometryBench.
class Coordinates {
public:
    explicit Coordinates(double range) : m_Number(0.0, range) {}

    double fnNumber() { return m_Number(m_Random); }
    template <std::size_t kNumbers>
    std::vector<std::array<double, kNumbers>> fnFigures(std::size_t count) {
        std::vector<std::array<double, kNumbers>> figures(count);
        for (auto& figure : figures)
            for (double& number : figure)
                number = fnNumber();
        return figures;
    }

private:
    std::mt19937 m_Random{20250101};
    std::uniform_real_distribution<double> m_Number;
};

/// Reports `perPass` items per iteration as a rate.
inline void fnReportRate(benchmark::State& state, const char* name, double perPass) {
    state.counters[name] = benchmark::Counter(perPass * static_cast<double>(state.iterations()),
                                              benchmark::Counter::kIsRate);
}
