#include "q32Base/memory/PageWalk_p.h"
#include "q32Base/platform/CqPlatform.h"

#include <algorithm>
#include <cassert>

namespace q32 {
namespace {

constexpr std::uint32_t kCellHeight = CqTileMap::kMaxTileSize;
constexpr std::uint32_t kAheadBytes = 4u << 20; ///< enough for a disk to work on

/// Merges contiguous bytes into one piece of advice.
class AdvisedRange {
public:
    explicit AdvisedRange(CQ_VIEW_ADVICE advice) : m_Advice(advice) {}
    ~AdvisedRange() { fnAdvise(); }
    AdvisedRange(const AdvisedRange&) = delete;
    AdvisedRange& operator=(const AdvisedRange&) = delete;

    void fnAdd(unsigned char* begin, unsigned char* end) {
        assert(begin < end);
        if (begin != m_pEnd) {
            fnAdvise();
            m_pBegin = begin;
        }
        m_pEnd = end;
    }

private:
    void fnAdvise() const {
        if (m_pBegin)
            fnPlatform().m_pScratch->fnAdvise(m_Advice, m_pBegin,
                                              static_cast<std::uint32_t>(m_pEnd - m_pBegin));
    }

    CQ_VIEW_ADVICE m_Advice;
    unsigned char* m_pBegin = nullptr;
    unsigned char* m_pEnd = nullptr;
};

} // namespace

PageWalk::PageWalk(const PixelArea& area, CQ_VIEW_ADVICE coming, const WalkOrder& order)
    : m_Area(area), m_Coming(coming), m_Order(order),
      m_nCellWidth(std::max({order.m_nCellWidth, CqTileMap::kMaxTileSize, area.fnRunEnd(0)})),
      m_nAcross((area.fnGetWidth() - 1) / m_nCellWidth + 1),
      m_nDown((area.fnGetHeight() - 1) / kCellHeight + 1) {
    if (!area.fnIsScratch() || area.fnGetBytesPerPixel() == 0)
        return;
    m_nCells = m_nAcross * m_nDown;
    m_nAhead = std::max(kAheadBytes / (m_nCellWidth * kCellHeight * area.fnGetBytesPerPixel()), 2u);
}

PageWalk::~PageWalk() {
    fnAdvise(VIEW_DONE, m_nDone, m_nComing);
}

/// The number of the cell in the order of the walk.
std::uint32_t PageWalk::fnCell(std::uint32_t x, std::uint32_t y) const {
    std::uint32_t column = x / m_nCellWidth;
    std::uint32_t row = y / kCellHeight;
    if (m_Order.m_bRightToLeft)
        column = m_nAcross - 1 - column;
    if (m_Order.m_bBottomUp)
        row = m_nDown - 1 - row;
    return m_Order.m_bColumns ? column * m_nDown + row : row * m_nAcross + column;
}

void PageWalk::fnGoOn(std::uint32_t first, std::uint32_t last) {
    assert(last < m_nCells);
    // In batches, so that neighbouring cells share one piece of advice.
    if (last + m_nAhead / 2 >= m_nComing && m_nComing != m_nCells) {
        const std::uint32_t end = m_nCells - last > m_nAhead ? last + m_nAhead : m_nCells;
        fnAdvise(m_Coming, m_nComing, end);
        m_nComing = end;
    }
    const std::uint32_t done = std::max(first, 1u) - 1; // at edges, filters look back
    if (done >= m_nDone + m_nAhead / 2) {
        fnAdvise(VIEW_DONE, m_nDone, done);
        m_nDone = done;
    }
    assert(m_nDone <= m_nComing && m_nComing <= m_nCells);
}

void PageWalk::fnAdvise(CQ_VIEW_ADVICE advice, std::uint32_t first, std::uint32_t end) const {
    AdvisedRange advised(advice);
    for (; first < end; ++first) {
        std::uint32_t column = m_Order.m_bColumns ? first / m_nDown : first % m_nAcross;
        std::uint32_t row = m_Order.m_bColumns ? first % m_nDown : first / m_nAcross;
        if (m_Order.m_bRightToLeft)
            column = m_nAcross - 1 - column;
        if (m_Order.m_bBottomUp)
            row = m_nDown - 1 - row;
        const std::uint32_t y = row * kCellHeight;
        const std::uint32_t bottom = std::min(m_Area.fnGetHeight() - y, kCellHeight) + y;
        std::uint32_t x = column * m_nCellWidth;
        const std::uint32_t right = std::min(m_Area.fnGetWidth() - x, m_nCellWidth) + x;
        for (std::uint32_t runEnd; x < right; x = runEnd) {
            runEnd = std::min(m_Area.fnRunEnd(x), right);
            advised.fnAdd(m_Area.fnAt(x, y),
                          m_Area.fnAt(runEnd - 1, bottom - 1) + m_Area.fnGetBytesPerPixel());
        }
    }
}

} // namespace q32
