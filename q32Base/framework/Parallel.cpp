#include "q32Base/framework/Parallel_p.h"
#include "q32Base/platform/CqPlatform.h"

#include <atomic>
#include <cassert>
#include <cmath>
#include <exception>
#include <mutex>

namespace q32 {
namespace {

/// Work that takes less than so many overheads isn't divided.
constexpr double kMinWork = 4.0;
/// The least time of a piece, in overheads.
constexpr double kMinPiece = 0.5;
/// Pieces for each thread: enough to be dealt out evenly although threads differ in speed.
constexpr std::uint32_t kPiecesEach = 16;
/// The time between two rounds of reports, in overheads: long enough that these cost little, and
/// short enough that Esc takes effect at once. With 20 microseconds it is 4 milliseconds.
constexpr double kBatchTime = 200.0;

CqWorkService* fnFindService() {
    return fnHasPlatform() ? fnPlatform().m_pWork.get() : nullptr;
}

/// Splits units into pieces, and keeps what the first one of them throws.
class Pieces final : public CqWorkPieces {
public:
    using Call = void (*)(void* work, std::uint32_t worker, std::uint32_t first, std::uint32_t end);

    Pieces(std::uint32_t first, std::uint32_t end, std::uint32_t count, Call call, void* work)
        : m_nFirst(first), m_nUnits(end - first), m_nCount(count), m_fnCall(call), m_pWork(work) {}

    void fnRunPiece(std::uint32_t index, std::uint32_t worker) noexcept override {
        assert(index < m_nCount);
        // A piece before the one that failed may fail, too, and comes first then.
        if (index >= m_nFailed.load(std::memory_order_relaxed))
            return;
        try {
            m_fnCall(m_pWork, worker, fnBegin(index), fnBegin(index + 1));
        } catch (...) {
            const std::lock_guard lock(m_Lock);
            if (index < m_nFailed.load(std::memory_order_relaxed)) {
                m_nFailed.store(index, std::memory_order_relaxed);
                m_Failure = std::current_exception();
            }
        }
    }

    void fnRethrow() const {
        if (m_Failure)
            std::rethrow_exception(m_Failure);
    }

private:
    std::uint32_t fnBegin(std::uint32_t index) const {
        return m_nFirst + static_cast<std::uint32_t>(std::uint64_t{m_nUnits} * index / m_nCount);
    }

    std::uint32_t m_nFirst;
    std::uint32_t m_nUnits;
    std::uint32_t m_nCount;
    Call m_fnCall;
    void* m_pWork;
    std::atomic<std::uint32_t> m_nFailed = 0xFFFFFFFF;
    std::mutex m_Lock;
    std::exception_ptr m_Failure;
};

} // namespace

Parallel::Parallel(std::uint32_t units, double nanoseconds, std::uint32_t batch) : m_nUnits(units) {
    CqWorkService* const service = fnFindService();
    const std::uint32_t concurrency = service ? service->fnGetConcurrency() : 1;
    const std::uint32_t workers = std::min({concurrency, units, batch});
    if (workers < 2)
        return;
    const auto overhead = static_cast<double>(service->fnGetOverhead().count());
    const double time = std::max(nanoseconds, 1e-3);
    // As many units for each thread as fit in that time, so that all end together.
    const double each = std::max(std::floor(kBatchTime * overhead / time), 1.0);
    const double whole = std::min(each * workers, static_cast<double>(std::min(units, batch)));
    if (whole * time < kMinWork * overhead)
        return;
    m_nWorkers = workers;
    m_nBatch = static_cast<std::uint32_t>(whole);
    m_dPieceUnits = std::max(kMinPiece * overhead / time, 1.0);
}

void Parallel::fnRunPieces(std::uint32_t first, std::uint32_t end, Call call, void* work) const {
    const auto most = static_cast<std::uint32_t>(std::ceil((end - first) / m_dPieceUnits));
    const std::uint32_t count = std::min({most, end - first, kPiecesEach * m_nWorkers});
    Pieces pieces(first, end, std::max(count, 1u), call, work);
    fnPlatform().m_pWork->fnRun(std::max(count, 1u), pieces);
    pieces.fnRethrow();
}

} // namespace q32
