#pragma once

#include "q32Base/memory/TileWalk_p.h"
#include "q32Base/platform/CqScratchService.h"

#include <algorithm>
#include <cstdint>

namespace q32 {

/// The order in which a walk visits the cells of an area.
struct WalkOrder {
    bool m_bColumns; ///< column by column, each from the top down; else row by row
    bool m_bRightToLeft = false;
    bool m_bBottomUp = false;
    std::uint32_t m_nCellWidth =
        0; ///< minimum width in pixels; cells are never narrower than a tile
};

/// Accompanies a walk through an area in a scratch file and advises the scratch service which pages
/// come next and which are done. Does nothing for an area in RAM.
///
/// A cell is a piece of the area, one tile high. Each is announced once, some megabytes ahead of
/// the walk, and reported as done once, when the walk has left it for good or on destruction.
class PageWalk {
public:
    /// The area must outlive this object.
    /// @param coming  the advice for cells to come
    PageWalk(const PixelArea& area, CQ_VIEW_ADVICE coming, const WalkOrder& order);
    ~PageWalk();
    PageWalk(const PageWalk&) = delete;
    PageWalk& operator=(const PageWalk&) = delete;

    /// The walk now visits the cells from that of `first` to that of `last`, and afterwards none
    /// before `first` except the one just before it, since filters look back at edges. A call that
    /// goes back further reports nothing again.
    void fnReach(std::uint32_t firstX, std::uint32_t firstY, std::uint32_t lastX,
                 std::uint32_t lastY) {
        if (m_nCells != 0)
            fnGoOn(fnCell(firstX, firstY), fnCell(lastX, lastY));
    }
    /// The same in a walk of rows, in bands that may share cells.
    /// @param nextY  the row at or below which the walk will start again at the left; beyond the
    ///               area if it won't
    void fnReach(std::uint32_t firstX, std::uint32_t firstY, std::uint32_t lastX,
                 std::uint32_t lastY, std::uint32_t nextY) {
        if (m_nCells == 0)
            return;
        const std::uint32_t first = fnCell(firstX, firstY);
        fnGoOn(nextY < m_Area.fnGetHeight() ? std::min(first, fnCell(0, nextY)) : first,
               fnCell(lastX, lastY));
    }

private:
    std::uint32_t fnCell(std::uint32_t x, std::uint32_t y) const;
    void fnGoOn(std::uint32_t first, std::uint32_t last);
    void fnAdvise(CQ_VIEW_ADVICE advice, std::uint32_t first, std::uint32_t end) const;

    const PixelArea& m_Area;
    CQ_VIEW_ADVICE m_Coming;
    WalkOrder m_Order;
    std::uint32_t m_nCellWidth;
    std::uint32_t m_nAcross;
    std::uint32_t m_nDown;
    std::uint32_t m_nCells = 0;  ///< 0: nothing to advise
    std::uint32_t m_nAhead = 0;  ///< how many cells ahead are announced
    std::uint32_t m_nComing = 0; ///< cells before this one are announced
    std::uint32_t m_nDone = 0;
};

} // namespace q32
