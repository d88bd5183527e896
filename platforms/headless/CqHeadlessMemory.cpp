#include "platforms/headless/CqHeadlessMemory.h"

#include "q32Base/framework/Memory.h"

#include <cstring>
#include <string>
#include <utility>

CqHeadlessMemory::CqHeadlessMemory(std::uint64_t physicalBytes,
                                   std::shared_ptr<CqHeadlessMisuses> misuses)
    : m_nPhysicalBytes(physicalBytes), m_pMisuses(std::move(misuses)) {}

std::size_t CqHeadlessMemory::fnGetCommittedRanges() const {
    std::size_t count = 0;
    for (const auto& [address, range] : m_Ranges)
        count += range.m_bCommitted ? 1u : 0u;
    return count;
}

std::uint64_t CqHeadlessMemory::fnGetCommittedBytes() const {
    std::uint64_t bytes = 0;
    for (const auto& [address, range] : m_Ranges)
        bytes += range.m_bCommitted ? range.m_Block.fnGetSize() : 0u;
    return bytes;
}

void* CqHeadlessMemory::fnReserve(std::size_t size) {
    if (!m_Reserve.fnPass() || size == 0)
        return nullptr;
    Range range;
    if (!range.m_Block.fnResize(size))
        return nullptr;
    void* address = range.m_Block.fnGetData();
    const bool kept = q32::fnTryMemory([&] { m_Ranges.emplace(address, std::move(range)); });
    return kept ? address : nullptr;
}

CqHeadlessMemory::Range* CqHeadlessMemory::fnFindRange(void* address, std::size_t size,
                                                       const char* call) {
    const auto found = m_Ranges.find(address);
    const char* wrong = found == m_Ranges.end() ? "an address that isn't reserved"
                        : found->second.m_Block.fnGetSize() != size ? "a part of a range"
                                                                    : nullptr;
    if (!wrong)
        return &found->second;
    m_pMisuses->fnAdd(std::string(call) + " of " + wrong);
    return nullptr;
}

bool CqHeadlessMemory::fnCommit(void* address, std::size_t size) {
    if (!m_Commit.fnPass())
        return false;
    Range* range = fnFindRange(address, size, "commit");
    if (!range)
        return false;
    if (range->m_bUsed && !range->m_bCommitted)
        std::memset(address, 0, size);
    range->m_bCommitted = range->m_bUsed = true;
    return true;
}

void CqHeadlessMemory::fnDecommit(void* address, std::size_t size) {
    if (Range* range = fnFindRange(address, size, "decommit"))
        range->m_bCommitted = false;
}

bool CqHeadlessMemory::fnRelease(void* address, std::size_t size) {
    // This fails, but isn't a misuse: the library's own failure path does it on purpose.
    if (!address || !fnFindRange(address, size, "release"))
        return false;
    m_Ranges.erase(address);
    ++m_nReleased;
    return true;
}
