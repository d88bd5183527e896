// What a task of the work service costs: one whose pieces do nothing, and how much of its time a
// task of some work saves. Divided work pays where "work" takes less real time than its
// microseconds.

#include "bench/OperationBench.h"

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <thread>

namespace {

class Nothing final : public CqWorkPieces {
public:
    void fnRunPiece(std::uint32_t, std::uint32_t) noexcept override {}
};

void fnRunEmptyTask(benchmark::State& state) {
    const std::shared_ptr<CqWorkService> work = q32::bench::fnMakePlatform().m_pWork;
    if (!work)
        return state.SkipWithError("one thread: set Q32_BENCH_THREADS");
    Nothing pieces;
    for (auto _ : state)
        work->fnRun(static_cast<std::uint32_t>(state.range(0)), pieces);
}
BENCHMARK(fnRunEmptyTask)
    ->Name("empty task of")
    ->Unit(benchmark::kMicrosecond)
    ->UseRealTime()
    ->Arg(2)
    ->Arg(16)
    ->Arg(128);

using Clock = std::chrono::steady_clock;

/// Pieces that keep a processor busy for some time each.
class Busy final : public CqWorkPieces {
public:
    explicit Busy(std::chrono::nanoseconds time) : m_Time(time) {}
    void fnRunPiece(std::uint32_t, std::uint32_t) noexcept override {
        const Clock::time_point end = Clock::now() + m_Time;
        while (Clock::now() < end) {
        }
    }

private:
    std::chrono::nanoseconds m_Time;
};

/// Work of so many microseconds in 16 pieces. After a pause the threads sleep and must be woken.
void fnRunTask(benchmark::State& state) {
    const std::shared_ptr<CqWorkService> work = q32::bench::fnMakePlatform().m_pWork;
    if (!work)
        return state.SkipWithError("one thread: set Q32_BENCH_THREADS");
    constexpr std::uint32_t kPieces = 16;
    Busy pieces(std::chrono::nanoseconds(1000 * state.range(0) / kPieces));
    for (auto _ : state) {
        std::this_thread::sleep_for(std::chrono::milliseconds(state.range(1)));
        const Clock::time_point start = Clock::now();
        work->fnRun(kPieces, pieces);
        state.SetIterationTime(std::chrono::duration<double>(Clock::now() - start).count());
    }
}
BENCHMARK(fnRunTask)
    ->Name("task, us of work/ms of pause before")
    ->Unit(benchmark::kMicrosecond)
    ->UseManualTime()
    ->ArgsProduct({{20, 40, 80, 160, 320, 640}, {0, 5}});

} // namespace

BENCHMARK_MAIN();
