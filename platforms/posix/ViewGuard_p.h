#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>

namespace q32::posix {

/// A mapped view of a file that survives the loss of its pages: when the file was cut by another
/// process, or its disk can't supply a page, an access gets zeros in place of the signal SIGBUS,
/// and the loss is counted.
///
/// The handler of that signal is the process's. It passes on what no view of this kind explains.
class ViewGuard {
public:
    /// Installs the handler, at the first call. False when the system refuses.
    static bool fnInstall();

    /// Guards nothing.
    ViewGuard() = default;
    /// Guards the whole pages of a view until destruction, which must precede its unmapping.
    /// Without memory for the record, it guards nothing.
    /// @param file  the descriptor of the file, which must outlive this object
    ViewGuard(int file, void* view, std::size_t size);
    ViewGuard(ViewGuard&& other) noexcept : m_pEntry(std::exchange(other.m_pEntry, nullptr)) {}
    ViewGuard& operator=(ViewGuard&& other) noexcept {
        std::swap(m_pEntry, other.m_pEntry);
        return *this;
    }
    ~ViewGuard();

    explicit operator bool() const { return m_pEntry != nullptr; }
    /// How often pages of this view were replaced by zeros.
    std::uint32_t fnCountLosses() const;
    /// Whether any view of this process has or had a loss: an answer that costs nothing.
    static bool fnIsAnyLost();

    /// For the handler: replaces the pages at a fault. False when no guarded view holds it, or the
    /// system refuses. Safe in a signal handler.
    static bool fnReplace(std::uintptr_t address) noexcept;

private:
    struct Entry;
    friend struct GuardTable;
    Entry* m_pEntry = nullptr;
};

} // namespace q32::posix
