#include "platforms/headless/CqHeadlessWork.h"

#include <algorithm>
#include <numeric>

void CqHeadlessWork::fnSetOrder(CQ_WORK_ORDER order, std::uint32_t seed) {
    m_eOrder = order;
    m_nSeed = seed;
}

void CqHeadlessWork::fnRun(std::uint32_t count, CqWorkPieces& pieces) noexcept {
    ++m_nTasks;
    if (count == 0)
        return;
    m_nPieces += count;
    const std::uint32_t workers = std::min(m_nConcurrency, count);
    // The first piece and the distance to the next one, which shares no divisor with the count:
    // each piece is met once, and nothing is allocated.
    std::uint64_t at = 0;
    std::uint64_t step = 1;
    if (m_eOrder == CQ_WORK_ORDER::REVERSED) {
        at = count - 1;
        step = count - 1;
    } else if (m_eOrder == CQ_WORK_ORDER::SCRAMBLED) {
        const std::uint32_t seed = m_nSeed.fetch_add(1) * 2654435761u;
        at = (seed >> 8) % count;
        step = (seed >> 4) % count;
        while (std::gcd(step, std::uint64_t{count}) != 1)
            step = (step + 1) % count;
    }
    for (std::uint32_t i = 0; i < count; ++i, at = (at + step) % count)
        pieces.fnRunPiece(static_cast<std::uint32_t>(at),
                          static_cast<std::uint32_t>((at + i) % workers));
}
