#pragma once

#include "platforms/headless/CqHeadlessBlock.h"
#include "platforms/headless/CqHeadlessCalls.h"
#include "q32Base/platform/CqMemoryService.h"
#include "q32Base/platform/Export.h"

#include <map>
#include <memory>

/// Address space of the headless world. Ranges are real memory; access before a commit is the
/// caller's error and isn't trapped.
class Q32_API CqHeadlessMemory final : public CqMemoryService {
public:
    /// `misuses` receives releases and commits of what isn't reserved.
    CqHeadlessMemory(std::uint64_t physicalBytes, std::shared_ptr<CqHeadlessMisuses> misuses);

    CqHeadlessCalls m_Reserve; ///< calls of fnReserve
    CqHeadlessCalls m_Commit;  ///< calls of fnCommit

    /// Sets the bytes of RAM that the machine reports.
    void fnSetPhysicalBytes(std::uint64_t bytes) { m_nPhysicalBytes = bytes; }
    /// Sets the bytes that the library's blocks may hold together, as the service reports them;
    /// initially `kNoMemoryLimit`.
    void fnSetBlockLimit(std::uint64_t bytes) { m_nBlockLimit = bytes; }
    /// Currently reserved ranges, including committed ones.
    std::size_t fnGetReservedRanges() const { return m_Ranges.size(); }
    /// Currently committed ranges.
    std::size_t fnGetCommittedRanges() const;
    /// Currently committed bytes.
    std::uint64_t fnGetCommittedBytes() const;
    /// Ranges released since the start.
    std::uint64_t fnGetReleased() const { return m_nReleased; }

    void* fnReserve(std::size_t size) override;
    bool fnCommit(void* address, std::size_t size) override;
    void fnDecommit(void* address, std::size_t size) override;
    bool fnRelease(void* address, std::size_t size) override;
    std::uint64_t fnGetPhysicalBytes() override { return m_nPhysicalBytes; }
    std::uint64_t fnGetBlockLimit() override { return m_nBlockLimit; }

private:
    struct Range {
        CqHeadlessBlock m_Block;
        bool m_bCommitted = false;
        bool m_bUsed = false; ///< was committed before: may no longer be all zero
    };
    Q32_LOCAL Range* fnFindRange(void* address, std::size_t size, const char* call);

    std::map<void*, Range> m_Ranges;
    std::uint64_t m_nPhysicalBytes;
    std::uint64_t m_nBlockLimit = kNoMemoryLimit;
    std::uint64_t m_nReleased = 0;
    std::shared_ptr<CqHeadlessMisuses> m_pMisuses;
};
