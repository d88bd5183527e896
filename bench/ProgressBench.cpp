// The longest time between two looks for Esc, in operations on a picture of 4000 x 3000 with a
// progress object: "wait" is that of all rounds, in milliseconds. Other work on the machine adds to
// it.

#include "bench/OperationBench.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>

namespace {

using Clock = std::chrono::steady_clock;

/// Notes when it is called.
class Watch final : public CqProgressDisplay {
public:
    Watch() : CqProgressDisplay(false) {}
    void fnDrawStatus(unsigned int, bool* aborted) override {
        fnNote();
        *aborted = false;
    }
    void fnNote() {
        const Clock::time_point now = Clock::now();
        m_Longest = std::max(m_Longest, now - m_Last);
        m_Last = now;
    }
    double fnGetMilliseconds() const {
        return std::chrono::duration<double, std::milli>(m_Longest).count();
    }

private:
    Clock::time_point m_Last = Clock::now();
    Clock::duration m_Longest{};
};

template <class Operation>
void fnMeasure(benchmark::State& state, Operation operation) {
    CqImage source(4000, 3000, 24, nullptr, 0u);
    q32::bench::fnPaint(source);
    double longest = 0.0;
    for (auto _ : state) {
        state.PauseTiming();
        CqImage image(source);
        state.ResumeTiming();
        Watch watch;
        operation(image, &watch);
        watch.fnNote();
        longest = std::max(longest, watch.fnGetMilliseconds());
    }
    state.counters["wait"] = longest;
}

template <class Operation>
void fnAdd(const char* name, Operation operation) {
    benchmark::RegisterBenchmark(name,
                                 [=](benchmark::State& state) { fnMeasure(state, operation); })
        ->Unit(benchmark::kMillisecond)
        ->UseRealTime();
}

void fnAddAll() {
    const auto resample = [](unsigned int width, unsigned int height, bool filter) {
        return [=](CqImage& image, CqProgressDisplay* progress) {
            image.fnResample(width, height, filter, progress);
        };
    };
    const auto rotate = [](double angle, bool antiAlias) {
        return [=](CqImage& image, CqProgressDisplay* progress) {
            image.fnRotate(angle, CqColor(0, 0, 0), nullptr, antiAlias, progress);
        };
    };
    fnAdd("filter to 1333 x 1000", resample(1333, 1000, true));
    fnAdd("filter to 13 x 10", resample(13, 10, true));
    fnAdd("filter to 8000 x 6000", resample(8000, 6000, true));
    fnAdd("nearest to 8000 x 6000", resample(8000, 6000, false));
    fnAdd("90 degrees", rotate(90.0, false));
    fnAdd("180 degrees", rotate(180.0, false));
    fnAdd("30 degrees, bilinear", rotate(30.0, true));
    fnAdd("brightness", [](CqImage& image, CqProgressDisplay* progress) {
        image.fnBrightContrast(20, 10, false, progress);
    });
    fnAdd("balance", [](CqImage& image, CqProgressDisplay* progress) {
        image.fnColorBalance(20, 10, 5, false, progress);
    });
    fnAdd("hue", [](CqImage& image, CqProgressDisplay* progress) {
        image.fnHueSaturation(40, -30, false, progress);
    });
    fnAdd("blur",
          [](CqImage& image, CqProgressDisplay* progress) { q32Blur(image, 5.0, progress); });
    fnAdd("wide blur",
          [](CqImage& image, CqProgressDisplay* progress) { q32Blur(image, 500.0, progress); });
    fnAdd("sharpen", [](CqImage& image, CqProgressDisplay* progress) {
        q32Sharpen(image, 0.8, 90, 3, progress);
    });
    fnAdd("flip",
          [](CqImage& image, CqProgressDisplay* progress) { q32FlipHorizontal(image, progress); });
}

} // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    q32::bench::fnAttach();
    fnAddAll();
    benchmark::RunSpecifiedBenchmarks();
    q32Detach();
    return 0;
}
