// What two threads gain, and what they could: an operation on one thread, the same divided by the
// library among two, and two threads that each do it with a picture of half the height. The last
// has no serial part and no pieces; what it lacks to twice the speed, the threads take from each
// other: bandwidth of the memory and the clock. Then the shares of the divided operation's best
// run: what the caller alone does, the processor time of all pieces, how late the other thread
// begins and how far apart both end.
//
//   HalvesBench [ROUNDS [PART OF A NAME]]   best times of 15 rounds in milliseconds

#include "bench/OperationBench.h"

#include <algorithm>
#include <atomic>
#include <barrier>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace {

/// The operands of an operation. It works on a copy of the source.
struct Operands {
    Operands(unsigned bits, unsigned width, unsigned height)
        : m_Source(width, height, bits, q32GreyRamp, 256), m_Mask(width, height),
          m_OtherMask(width - 1, height - 1) {
        q32::bench::fnPaint(m_Source);
        q32::bench::fnPaint(m_Mask);
        q32::bench::fnPaint(m_OtherMask);
    }

    CqImage m_Source;
    CqImage m_Image;
    CqMask m_Mask;
    CqMask m_OtherMask;
};

struct Case {
    const char* m_pName;
    unsigned m_nBits, m_nWidth, m_nHeight;
    /// `parts`: 1, or 2 for a picture of half the height.
    std::function<void(Operands&, unsigned parts)> m_fnRun;
};

std::vector<Case> fnCases() {
    const auto resample = [](unsigned width, unsigned height, bool filter) {
        return [=](Operands& on, unsigned parts) {
            on.m_Image.fnResample(width, height / parts, filter, nullptr);
        };
    };
    const auto rotate = [](double angle, bool antiAlias) {
        return [=](Operands& on, unsigned) {
            on.m_Image.fnRotate(angle, CqColor(), nullptr, antiAlias, nullptr);
        };
    };
    const auto convert = [](unsigned bits) {
        return [=](Operands& on, unsigned) { on.m_Image.fnConvert(bits, false, nullptr); };
    };
    return {
        {"filter 24 bits to a third", 24, 4000, 3000, resample(1333, 1000, true)},
        {"filter grey to a third", 8, 4000, 3000, resample(1333, 1000, true)},
        {"filter 32 bits to a third", 32, 4000, 3000, resample(1333, 1000, true)},
        {"enlarge by filter, 4 times", 24, 1000, 750, resample(4000, 3000, true)},
        {"filter, height only", 24, 4000, 3000, resample(4000, 1000, true)},
        {"nearest to a third", 24, 4000, 3000, resample(1333, 1000, false)},
        {"nearest, 2 times", 24, 4000, 3000, resample(8000, 6000, false)},
        {"90 degrees, 8 bits", 8, 4000, 3000, rotate(90.0, false)},
        {"90 degrees, 24 bits", 24, 4000, 3000, rotate(90.0, false)},
        {"90 degrees, 32 bits", 32, 4000, 3000, rotate(90.0, false)},
        {"30 degrees bilinear, 24 bits", 24, 4000, 3000, rotate(30.0, true)},
        {"30 degrees nearest, 24 bits", 24, 4000, 3000, rotate(30.0, false)},
        {"brightness, 24 bits", 24, 4000, 3000,
         [](Operands& on, unsigned) { on.m_Image.fnBrightContrast(10, -5, false, nullptr); }},
        {"balance, 24 bits", 24, 4000, 3000,
         [](Operands& on, unsigned) { on.m_Image.fnColorBalance(10, -5, 3, false, nullptr); }},
        {"hue, 24 bits", 24, 4000, 3000,
         [](Operands& on, unsigned) { on.m_Image.fnHueSaturation(10, 0, false, nullptr); }},
        {"8 to 24 bits", 8, 4000, 3000, convert(24)},
        {"24 to 32 bits", 24, 4000, 3000, convert(32)},
        {"merge by a mask", 24, 4000, 3000,
         [](Operands& on, unsigned) {
             const CqMergeParam param(MERGE_MASK, 0, &on.m_Mask);
             on.m_Image.fnMerge(on.m_Source, nullptr, param, 0, 0);
         }},
        {"sum of whole masks", 8, 4000, 3000,
         [](Operands& on, unsigned) { on.m_Mask.fnMerge(on.m_OtherMask, true); }},
        {"blur, sigma 5", 24, 4000, 3000,
         [](Operands& on, unsigned) { q32Blur(on.m_Image, 5.0, nullptr); }},
    };
}

double fnThreadTime() {
    timespec now;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) * 1e-6;
}

double fnRealTime() {
    return std::chrono::duration<double, std::milli>(
               std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

/// Where the time of a divided operation goes, in milliseconds. Processor time is that of this
/// program alone, whatever else the machine does.
struct Shares {
    double m_dSerial = 0; ///< of the processor, of the caller outside of tasks
    double m_dPieces = 0; ///< of the processor, of all pieces
    double m_dLate = 0;   ///< from the beginning of a task to the first piece of another thread
    double m_dLast = 0;   ///< between the ends of the threads' last pieces
    int m_nPieces = 0;
};

/// The threads of a platform, or none, with the shares of what they do.
class SwitchedWork final : public CqWorkService {
public:
    explicit SwitchedWork(std::shared_ptr<CqWorkService> threads)
        : m_pThreads(std::move(threads)) {}

    std::uint32_t fnGetConcurrency() override { return m_bOn ? m_pThreads->fnGetConcurrency() : 1; }
    std::chrono::nanoseconds fnGetOverhead() override { return m_pThreads->fnGetOverhead(); }
    void fnRun(std::uint32_t count, CqWorkPieces& pieces) noexcept override {
        const double before = fnThreadTime();
        const double start = fnRealTime();
        Timed timed(pieces);
        m_pThreads->fnRun(count, timed);
        m_Shares.m_nPieces += static_cast<int>(count);
        m_Shares.m_dPieces += timed.m_Threads[0].m_dTime + timed.m_Threads[1].m_dTime;
        const auto& other = timed.m_Threads[1];
        if (other.m_dEnd != 0) {
            m_Shares.m_dLate += other.m_dFirst - start;
            m_Shares.m_dLast += std::abs(other.m_dEnd - timed.m_Threads[0].m_dEnd);
        }
        m_dInTasks += fnThreadTime() - before;
    }

    /// Runs `work`, and sets the shares.
    double fnTime(const std::function<void()>& work) {
        m_Shares = {};
        m_dInTasks = 0;
        const double before = fnThreadTime();
        const double start = fnRealTime();
        work();
        const double time = fnRealTime() - start;
        m_Shares.m_dSerial = fnThreadTime() - before - m_dInTasks;
        return time;
    }

    Shares m_Shares;
    std::atomic<bool> m_bOn = false;

private:
    struct alignas(64) Times {
        double m_dTime = 0;
        double m_dFirst = 0;
        double m_dEnd = 0;
    };
    class Timed final : public CqWorkPieces {
    public:
        explicit Timed(CqWorkPieces& pieces) : m_Pieces(pieces) {}
        void fnRunPiece(std::uint32_t index, std::uint32_t worker) noexcept override {
            Times& times = m_Threads[worker];
            if (times.m_dFirst == 0)
                times.m_dFirst = fnRealTime();
            const double before = fnThreadTime();
            m_Pieces.fnRunPiece(index, worker);
            times.m_dTime += fnThreadTime() - before;
            times.m_dEnd = fnRealTime();
        }

        Times m_Threads[2];

    private:
        CqWorkPieces& m_Pieces;
    };

    std::shared_ptr<CqWorkService> m_pThreads;
    double m_dInTasks = 0;
};

double fnTimeWhole(const Case& work, Operands& operands, SwitchedWork& threads) {
    operands.m_Image = operands.m_Source;
    return threads.fnTime([&] { work.m_fnRun(operands, 1); });
}

/// Both threads begin at once; the longer time counts.
double fnTimeHalves(const Case& work, Operands& first, Operands& second) {
    std::barrier<> start(2);
    double times[2];
    const auto run = [&](Operands& operands, double& time) {
        operands.m_Image = operands.m_Source;
        start.arrive_and_wait();
        const double began = fnRealTime();
        work.m_fnRun(operands, 2);
        time = fnRealTime() - began;
    };
    {
        const std::jthread other([&] { run(second, times[1]); });
        run(first, times[0]);
    }
    return std::max(times[0], times[1]);
}

void fnMeasure(const Case& work, int rounds, SwitchedWork& threads) {
    Operands whole(work.m_nBits, work.m_nWidth, work.m_nHeight);
    Operands first(work.m_nBits, work.m_nWidth, work.m_nHeight / 2);
    Operands second(work.m_nBits, work.m_nWidth, work.m_nHeight / 2);
    double one = 1e9;
    double two = 1e9;
    double halves = 1e9;
    Shares shares;
    for (int i = 0; i < rounds; ++i) {
        threads.m_bOn = false;
        one = std::min(one, fnTimeWhole(work, whole, threads));
        halves = std::min(halves, fnTimeHalves(work, first, second));
        threads.m_bOn = true;
        const double time = fnTimeWhole(work, whole, threads);
        if (time < two) {
            two = time;
            shares = threads.m_Shares;
        }
    }
    std::printf("%-30s %7.2f %7.2f %7.2f  %5.2f of %5.2f  %6.2f %7.2f %6.2f %6.2f %6d\n",
                work.m_pName, one, two, halves, one / two, one / halves, shares.m_dSerial,
                shares.m_dPieces, shares.m_dLate, shares.m_dLast, shares.m_nPieces);
    std::fflush(stdout);
}

} // namespace

int main(int argc, char** argv) {
    const int rounds = argc > 1 ? static_cast<int>(std::strtol(argv[1], nullptr, 10)) : 15;
    const std::string part = argc > 2 ? argv[2] : "";
    CqPosixOptions options;
    options.m_nConcurrency = 2;
    CqPlatform platform = q32PosixPlatform(options);
    const auto threads = std::make_shared<SwitchedWork>(platform.m_pWork);
    platform.m_pWork = threads;
    if (!q32Attach(platform))
        return 1;
    q32GetVMPolicy()->fnSetRamLimit(0xFFFFFFFFu);
    std::printf("%-30s %7s %7s %7s  gain of halves  %6s %7s %6s %6s pieces\n", "", "one", "two",
                "halves", "serial", "pieces", "late", "last");
    for (const Case& work : fnCases())
        if (std::string(work.m_pName).find(part) != std::string::npos)
            fnMeasure(work, rounds, *threads);
    q32Detach();
}
