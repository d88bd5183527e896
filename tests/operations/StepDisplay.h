/// @file
/// A progress display that records its calls and simulates Esc at a chosen call.
#pragma once

#include "q32Base/services/CqProgressDisplay.h"

#include <cstddef>
#include <vector>

namespace q32::test {

class StepDisplay : public CqProgressDisplay {
public:
    static constexpr std::size_t kNever = static_cast<std::size_t>(-1);

    /// @param abortAt  the call, counted from 0, that finds Esc pressed
    explicit StepDisplay(std::size_t abortAt = kNever)
        : CqProgressDisplay(false), m_nAbortAt(abortAt) {}

    void fnDrawStatus(unsigned int percent, bool* aborted) override {
        m_Percents.push_back(percent);
        CqProgressDisplay::fnDrawStatus(percent, aborted);
    }
    bool fnIsAborted() const override { return m_Percents.size() == m_nAbortAt + 1; }

    std::vector<unsigned int> m_Percents;

private:
    std::size_t m_nAbortAt;
};

/// The percentages of one run over `count` units.
inline std::vector<unsigned int> fnRun(unsigned int count, unsigned int base = 0,
                                       unsigned int span = 100) {
    std::vector<unsigned int> percents;
    for (unsigned int i = 0; i < count; ++i)
        percents.push_back(base + i * span / count);
    return percents;
}

} // namespace q32::test
