// Edits of the darkroom on a picture of 10,000 x 10,000 pixels of 24 bits, with the step that
// undoes them: "reports" counts the calls of the progress object, "wait" is the longest time
// between two, and "stop" the time from Esc, pressed halfway, to the end of an edit that leaves the
// picture as it was. Times are milliseconds.

#include "bench/OperationBench.h"
#include "examples/darkroom/model/Document.h"
#include "examples/darkroom/model/Operation.h"

#include <algorithm>
#include <chrono>

namespace {

using Clock = std::chrono::steady_clock;
constexpr unsigned int kSide = 10000;

double fnMilliseconds(Clock::duration time) {
    return std::chrono::duration<double, std::milli>(time).count();
}

/// Notes when it is called, and presses Esc after a time.
class Watch final : public CqProgressDisplay {
public:
    explicit Watch(Clock::duration escape) : CqProgressDisplay(false), m_Escape(m_Start + escape) {}
    void fnDrawStatus(unsigned int percent, bool* aborted) override {
        fnNote();
        ++m_nReports;
        CqProgressDisplay::fnDrawStatus(percent, aborted);
    }
    bool fnIsAborted() const override { return Clock::now() >= m_Escape; }
    void fnNote() {
        const Clock::time_point now = Clock::now();
        m_Longest = std::max(m_Longest, now - m_Last);
        m_Last = now;
    }
    Clock::duration fnGetTaken() const { return m_Last - m_Start; }
    Clock::duration fnGetLongest() const { return m_Longest; }
    Clock::duration fnGetSinceEscape() const { return m_Last - m_Escape; }
    std::size_t fnGetReports() const { return m_nReports; }

private:
    Clock::time_point m_Start = Clock::now();
    Clock::time_point m_Last = m_Start;
    Clock::time_point m_Escape;
    Clock::duration m_Longest{};
    std::size_t m_nReports = 0;
};

struct Edit {
    const char* m_pszOperation;
    darkroom::Values m_Values;
};

void fnMeasure(benchmark::State& state, darkroom::Document& document, const Edit& edit) {
    const darkroom::Operation* operation = darkroom::fnFindOperation(edit.m_pszOperation);
    const auto apply = [&](Watch& watch) {
        const bool aborted = document.fnApply(*operation, edit.m_Values, &watch).m_bAborted;
        watch.fnNote();
        return aborted;
    };
    double wait = 0.0;
    double stop = 0.0;
    std::size_t reports = 0;
    for (auto _ : state) {
        Watch watch(std::chrono::hours(1));
        if (apply(watch)) {
            state.SkipWithError("the edit wasn't done");
            break;
        }
        state.PauseTiming();
        wait = std::max(wait, fnMilliseconds(watch.fnGetLongest()));
        reports = watch.fnGetReports();
        document.fnUndo();
        Watch stopped(watch.fnGetTaken() / 2);
        if (apply(stopped))
            stop = std::max(stop, fnMilliseconds(stopped.fnGetSinceEscape()));
        else
            document.fnUndo(); // it was done before
        state.ResumeTiming();
    }
    state.counters["reports"] = static_cast<double>(reports);
    state.counters["wait"] = wait;
    state.counters["stop"] = stop;
}

} // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    q32::bench::fnAttach();
    {
        darkroom::Document document(10);
        document.fnNew(kSide, kSide, CqColor(0, 0, 0), nullptr);
        q32::bench::fnPaint(document.fnGetImage());
        const Edit edits[] = {{"balance", {20, 10, 5}},
                              {"hue", {40, -30}},
                              {"levels", {10, 120, 240, 0, 255}},
                              {"soften", {50}},
                              {"blur", {50}},
                              {"unsharp", {20, 100, 0}},
                              {"resize", {3333, 3333, 1}},
                              {"rotate", {30 * darkroom::kDegree, 1, 0}},
                              {"right", {}}};
        for (const Edit& edit : edits)
            benchmark::RegisterBenchmark(
                edit.m_pszOperation,
                [&](benchmark::State& state) { fnMeasure(state, document, edit); })
                ->Unit(benchmark::kMillisecond)
                ->UseRealTime();
        // The first edits of a process take fresh memory for the picture and the steps.
        for (int i = 0; i < 3; ++i) {
            document.fnApply(*darkroom::fnFindOperation(edits[0].m_pszOperation), edits[0].m_Values,
                             nullptr);
            document.fnUndo();
        }
        benchmark::RunSpecifiedBenchmarks();
    }
    q32Detach();
    return 0;
}
