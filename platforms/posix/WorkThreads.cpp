#include "platforms/posix/WorkThreads_p.h"

#include <algorithm>
#include <cassert>
#include <optional>
#include <tbb/global_control.h>
#include <tbb/info.h>
#include <tbb/parallel_for.h>
#include <tbb/partitioner.h>
#include <tbb/task_arena.h>

namespace q32::posix {
namespace {

/// Places for threads that call; a further one waits until one is free, or its work is done by
/// other threads.
constexpr unsigned int kCallers = 64;

} // namespace

struct WorkThreads::Arena {
    explicit Arena(std::uint32_t concurrency)
        : m_Arena(static_cast<int>(concurrency - 1 + kCallers), kCallers) {
        assert(concurrency != 0);
        const auto cores = static_cast<std::uint32_t>(tbb::info::default_concurrency());
        if (concurrency > cores)
            m_More.emplace(tbb::global_control::max_allowed_parallelism, concurrency);
    }

    std::optional<tbb::global_control> m_More;
    tbb::task_arena m_Arena;
};

WorkThreads::WorkThreads(std::uint32_t concurrency)
    : m_nConcurrency(concurrency != 0
                         ? std::min(concurrency, 1024u)
                         : static_cast<std::uint32_t>(tbb::info::default_concurrency())),
      m_pArena(std::make_unique<Arena>(m_nConcurrency)) {}

WorkThreads::~WorkThreads() = default;

void WorkThreads::fnRun(std::uint32_t count, void (*work)(void* context, std::uint32_t worker),
                        void* context) noexcept {
    try {
        m_pArena->m_Arena.execute([&] {
            // Isolated: while it waits, this thread takes no work of other callers.
            tbb::this_task_arena::isolate([&] {
                tbb::parallel_for(
                    std::uint32_t{0}, count, [&](std::uint32_t worker) { work(context, worker); },
                    tbb::simple_partitioner());
            });
        });
    } catch (...) { // no memory to start further calls
    }
}

} // namespace q32::posix
