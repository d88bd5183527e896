#pragma once

#include "q32Base/memory/TileWalk.h"
#include "q32Base/platform/CqScratchService.h"

#include <algorithm>
#include <cstdint>

namespace q32 {

/// Which cells of an area a walk goes to, one after the other.
struct WalkOrder {
    bool columns; ///< down a column of cells, then the next one; else rows
    bool rightToLeft = false;
    bool bottomUp = false;
    std::uint32_t cellWidth = 0; ///< at least; cells are never narrower than a tile
};

/// Goes along with a walk through an area in a scratch file, and tells the scratch service which
/// pages come next and which are done. An area in RAM is left alone.
///
/// A cell is a piece of the area, one tile high. Each is announced once: with those that the walk
/// comes to next, and with those of some megabytes beyond them. Each is done once, when the walk
/// doesn't come to it any more, or at the end of this object.
class PageWalk {
public:
    /// @param coming  what is told of cells to come
    /// The area must outlive this object.
    PageWalk(const PixelArea& area, CQ_VIEW_ADVICE coming, const WalkOrder& order);
    ~PageWalk();
    PageWalk(const PageWalk&) = delete;
    PageWalk& operator=(const PageWalk&) = delete;

    /// The walk now goes to cells from that of `first` to that of `last`, and then to none before
    /// `first` any more, but for the one just before it, since filters look back at edges. A call
    /// that goes back all the same tells nothing anew.
    void fnReach(std::uint32_t firstX, std::uint32_t firstY, std::uint32_t lastX,
                 std::uint32_t lastY) {
        if (m_nCells != 0)
            fnGoOn(fnCell(firstX, firstY), fnCell(lastX, lastY));
    }
    /// The same in a walk of rows, in bands that may share cells.
    /// @param nextY  the walk will begin again at the left, in this row or below it; one that isn't
    ///               there: it won't
    void fnReach(std::uint32_t firstX, std::uint32_t firstY, std::uint32_t lastX,
                 std::uint32_t lastY, std::uint32_t nextY) {
        if (m_nCells == 0)
            return;
        const std::uint32_t first = fnCell(firstX, firstY);
        fnGoOn(nextY < m_Area.fnHeight() ? std::min(first, fnCell(0, nextY)) : first,
               fnCell(lastX, lastY));
    }

private:
    std::uint32_t fnCell(std::uint32_t x, std::uint32_t y) const;
    void fnGoOn(std::uint32_t first, std::uint32_t last);
    void fnTell(CQ_VIEW_ADVICE advice, std::uint32_t first, std::uint32_t end) const;

    const PixelArea& m_Area;
    CQ_VIEW_ADVICE m_Coming;
    WalkOrder m_Order;
    std::uint32_t m_nCellWidth;
    std::uint32_t m_nAcross;
    std::uint32_t m_nDown;
    std::uint32_t m_nCells = 0;  ///< 0: nobody to tell
    std::uint32_t m_nAhead = 0;  ///< how many cells are told of at once
    std::uint32_t m_nComing = 0; ///< announced up to before this cell
    std::uint32_t m_nDone = 0;
};

} // namespace q32
