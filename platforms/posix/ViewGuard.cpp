#include "platforms/posix/ViewGuard_p.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <memory>
#include <new>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace q32::posix {

/// One guarded view. An entry is taken by its file and in force by its address, the last to be set
/// and the first to be cleared, so that the handler never sees half of one.
struct ViewGuard::Entry {
    std::atomic<bool> m_bTaken = false;
    std::atomic<std::uintptr_t> m_nBegin = 0; ///< 0: not in force
    std::atomic<std::uintptr_t> m_nEnd = 0;   ///< of the last page
    std::atomic<int> m_nFile = -1;
    std::atomic<std::uint32_t> m_nLosses = 0;
    std::size_t m_nNumber = 0; ///< in the table
};

/// All guarded views, in chunks that are never freed, so that a signal handler can walk them at any
/// time without a lock.
struct GuardTable {
    static constexpr std::size_t kChunks = 64;
    static constexpr std::size_t kEntries = 1024; ///< with the chunks, what the system maps at most

    struct Chunk {
        ViewGuard::Entry m_Entries[kEntries];
    };

    std::atomic<Chunk*> m_Chunks[kChunks] = {};
    std::atomic<std::size_t> m_nFirstFree = 0;

    static Chunk* fnGetChunk(std::atomic<Chunk*>& place) {
        Chunk* chunk = place.load();
        if (chunk)
            return chunk;
        std::unique_ptr<Chunk> fresh(new (std::nothrow) Chunk);
        if (fresh && place.compare_exchange_strong(chunk, fresh.get()))
            chunk = fresh.release();
        return chunk;
    }

    /// Null when memory is exhausted or the table is full.
    ViewGuard::Entry* fnTake() {
        // Threads may have left free entries before the first known one.
        ViewGuard::Entry* const entry = fnTakeFrom(m_nFirstFree.load());
        return entry ? entry : fnTakeFrom(0);
    }

    ViewGuard::Entry* fnTakeFrom(std::size_t first) {
        for (std::size_t n = first; n < kChunks * kEntries; ++n) {
            Chunk* const chunk = fnGetChunk(m_Chunks[n / kEntries]);
            if (!chunk)
                return nullptr;
            ViewGuard::Entry& entry = chunk->m_Entries[n % kEntries];
            if (entry.m_bTaken.exchange(true))
                continue;
            entry.m_nNumber = n;
            m_nFirstFree.store(n + 1);
            return &entry;
        }
        return nullptr;
    }

    void fnGiveBack(ViewGuard::Entry& entry) {
        const std::size_t number = entry.m_nNumber;
        entry.m_nBegin.store(0);
        entry.m_bTaken.store(false);
        if (number < m_nFirstFree.load())
            m_nFirstFree.store(number);
    }

    ViewGuard::Entry* fnFind(std::uintptr_t address) {
        for (const std::atomic<Chunk*>& place : m_Chunks) {
            Chunk* const chunk = place.load();
            if (!chunk)
                return nullptr;
            for (ViewGuard::Entry& entry : chunk->m_Entries) {
                const std::uintptr_t begin = entry.m_nBegin.load();
                if (begin != 0 && begin <= address && address < entry.m_nEnd.load())
                    return &entry;
            }
        }
        return nullptr;
    }
};

namespace {

static_assert(std::atomic<std::uintptr_t>::is_always_lock_free &&
                  std::atomic<std::uint32_t>::is_always_lock_free &&
                  std::atomic<bool>::is_always_lock_free && std::atomic<void*>::is_always_lock_free,
              "the signal handler may not wait for a lock");

constinit GuardTable g_Table;
constinit std::atomic<bool> g_bAnyLost = false;
std::uintptr_t g_nPage = 4096; ///< set before the handler is installed
struct sigaction g_Before {};  ///< likewise

std::uintptr_t fnWholePages(std::uintptr_t bytes) {
    return (bytes + g_nPage - 1) & ~(g_nPage - 1);
}

bool fnMapZeros(std::uintptr_t begin, std::uintptr_t end) {
    auto* const where = reinterpret_cast<void*>(begin); // NOLINT(performance-no-int-to-ptr)
    return ::mmap(where, end - begin, PROT_READ | PROT_WRITE,
                  MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED | MAP_NORESERVE, -1, 0) != MAP_FAILED;
}

/// Replaces the page of a fault, and with it everything behind the end of a file that was cut: one
/// range for each page could exceed the number that the system maps.
bool fnReplacePages(std::uintptr_t fault, std::uintptr_t begin, std::uintptr_t end, int file) {
    const std::uintptr_t page = fault & ~(g_nPage - 1);
    struct stat facts {};
    if (::fstat(file, &facts) == 0 && facts.st_size >= 0) {
        const std::uintptr_t left = fnWholePages(static_cast<std::uintptr_t>(facts.st_size));
        if (left <= page - begin && fnMapZeros(begin + left, end))
            return true;
    }
    return fnMapZeros(page, page + g_nPage) || fnMapZeros(page, end);
}

/// Does what would have happened without this handler.
void fnPassOn(int signal, siginfo_t* info, void* context) {
    if ((g_Before.sa_flags & SA_SIGINFO) != 0)
        return g_Before.sa_sigaction(signal, info, context);
    const bool isFault = info->si_code > 0;
    if (g_Before.sa_handler == SIG_IGN && !isFault)
        return;
    if (g_Before.sa_handler != SIG_DFL && g_Before.sa_handler != SIG_IGN)
        return g_Before.sa_handler(signal);
    struct sigaction standard {};
    standard.sa_handler = SIG_DFL;
    ::sigaction(SIGBUS, &standard, nullptr);
    if (!isFault) // a fault is repeated by itself
        ::raise(SIGBUS);
}

void fnHandle(int signal, siginfo_t* info, void* context) {
    const int cause = errno;
    const auto address = reinterpret_cast<std::uintptr_t>(info->si_addr);
    bool replaced = false;
    if (info->si_code > 0)
        replaced = ViewGuard::fnReplace(address);
    if (!replaced)
        fnPassOn(signal, info, context);
    errno = cause;
}

} // namespace

bool ViewGuard::fnReplace(std::uintptr_t address) noexcept {
    Entry* const entry = g_Table.fnFind(address);
    if (!entry || !fnReplacePages(address, entry->m_nBegin.load(), entry->m_nEnd.load(),
                                  entry->m_nFile.load()))
        return false;
    entry->m_nLosses.fetch_add(1);
    g_bAnyLost.store(true);
    return true;
}

bool ViewGuard::fnInstall() {
    static const bool installed = [] {
        g_nPage = static_cast<std::uintptr_t>(::sysconf(_SC_PAGESIZE));
        if (::sigaction(SIGBUS, nullptr, &g_Before) != 0)
            return false;
        struct sigaction guard {};
        guard.sa_sigaction = fnHandle;
        guard.sa_mask = g_Before.sa_mask;
        guard.sa_flags = SA_SIGINFO | SA_ONSTACK | (g_Before.sa_flags & (SA_NODEFER | SA_RESTART));
        return ::sigaction(SIGBUS, &guard, nullptr) == 0;
    }();
    return installed;
}

ViewGuard::ViewGuard(int file, void* view, std::size_t size) : m_pEntry(g_Table.fnTake()) {
    if (!m_pEntry)
        return;
    const auto begin = reinterpret_cast<std::uintptr_t>(view);
    m_pEntry->m_nLosses.store(0);
    m_pEntry->m_nFile.store(file);
    m_pEntry->m_nEnd.store(begin + fnWholePages(size));
    m_pEntry->m_nBegin.store(begin);
}

ViewGuard::~ViewGuard() {
    if (!m_pEntry)
        return;
    g_Table.fnGiveBack(*m_pEntry);
}

std::uint32_t ViewGuard::fnCountLosses() const {
    return m_pEntry ? m_pEntry->m_nLosses.load() : 0;
}

bool ViewGuard::fnIsAnyLost() {
    return g_bAnyLost.load(std::memory_order_relaxed);
}

} // namespace q32::posix
