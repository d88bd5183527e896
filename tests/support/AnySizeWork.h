/// @file
/// A work service that divides work of any size, so that small tests run on several threads.
#pragma once

#include "q32Base/platform/CqWorkService.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <utility>

namespace q32::test {

/// The threads of another service, for work of any size, or none.
class AnySizeWork final : public CqWorkService {
public:
    explicit AnySizeWork(std::shared_ptr<CqWorkService> threads) : m_pThreads(std::move(threads)) {}

    std::uint32_t fnGetConcurrency() override {
        return m_bAlone ? 1 : m_pThreads->fnGetConcurrency();
    }
    void fnRun(std::uint32_t count, CqWorkPieces& pieces) noexcept override {
        m_pThreads->fnRun(count, pieces);
    }
    std::chrono::nanoseconds fnGetOverhead() override { return {}; }

    std::atomic<bool> m_bAlone = false;

private:
    std::shared_ptr<CqWorkService> m_pThreads;
};

} // namespace q32::test
