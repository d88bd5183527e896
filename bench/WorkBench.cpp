// What a task of the work service costs whose pieces do nothing.

#include "bench/OperationBench.h"

#include <benchmark/benchmark.h>

#include <cstdint>
#include <memory>

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

} // namespace

BENCHMARK_MAIN();
