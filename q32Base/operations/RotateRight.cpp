#include "q32Base/image/CqImageLine.h"
#include "q32Base/image/CqImageTile.h"
#include "q32Base/kernels/Kernels_p.h"
#include "q32Base/memory/CqTileMap_p.h"
#include "q32Base/memory/TileWalk_p.h"
#include "q32Base/operations/PageWalk_p.h"
#include "q32Base/operations/ProgressRun_p.h"
#include "q32Base/operations/Rotate_p.h"

#include <algorithm>
#include <cassert>
#include <utility>

namespace q32 {
namespace {

/// A rotation by 90 degrees: rows become columns, and either the rows or the columns are reversed.
class Quarter {
public:
    Quarter(const CqTileMap& source, const CqTileMap& target, bool left)
        : m_Source(source), m_Target(target), m_bLeft(left),
          m_fnTranspose(fnKernels().fnTranspose[source.BytesPerPixel - 1]),
          m_SourceWalk(m_Source, VIEW_READ_NEXT, {true, left, !left}),
          m_TargetWalk(m_Target, VIEW_WRITE_NEXT, {false}) {}

    /// Moves the pixels of a source tile, split where the target's tiles end. Counted in 64 bits,
    /// since a position may lie outside the target, though not below 0.
    void fnMove(const CqImageTile& tile) {
        const auto tileX = static_cast<std::uint32_t>(tile.Left);
        const auto tileY = static_cast<std::uint32_t>(tile.Top);
        m_SourceWalk.fnReach(tileX, tileY, tileX, tileY);
        const auto width = static_cast<std::int64_t>(m_Source.fnGetWidth());
        const auto height = static_cast<std::int64_t>(m_Source.fnGetHeight());
        const std::uint32_t left =
            fnCut(m_bLeft ? tile.Top : height - tile.Bottom, m_Target.fnGetWidth());
        const std::uint32_t right =
            fnCut(m_bLeft ? tile.Bottom : height - tile.Top, m_Target.fnGetWidth());
        const std::uint32_t top =
            fnCut(m_bLeft ? width - tile.Right : tile.Left, m_Target.fnGetHeight());
        const std::uint32_t bottom =
            fnCut(m_bLeft ? width - tile.Left : tile.Right, m_Target.fnGetHeight());
        if (left < right && top < bottom)
            m_TargetWalk.fnReach(left, top, right - 1, bottom - 1, bottom);
        std::uint32_t endY;
        std::uint32_t endX;
        for (std::uint32_t y = top; y < bottom; y = endY) {
            endY = std::min(bottom, m_Target.fnRowsEnd(y));
            for (std::uint32_t x = left; x < right; x = endX) {
                endX = std::min(right, m_Target.fnRunEnd(x));
                fnMoveBlock(x, y, endX, endY);
            }
        }
    }

private:
    static std::uint32_t fnCut(std::int64_t place, std::uint32_t end) {
        assert(place >= 0);
        return static_cast<std::uint32_t>(std::min<std::int64_t>(place, end));
    }

    /// Moves a block of the target that lies in one tile of either map.
    void fnMoveBlock(std::uint32_t x, std::uint32_t y, std::uint32_t endX,
                     std::uint32_t endY) const {
        const std::ptrdiff_t to = m_Target.fnStride(x);
        if (m_bLeft) {
            const std::uint32_t sourceX = m_Source.fnGetWidth() - endY;
            m_fnTranspose(m_Source.fnAt(sourceX, x), m_Source.fnStride(sourceX),
                          m_Target.fnAt(x, endY - 1), -to, endY - y, endX - x);
        } else {
            m_fnTranspose(m_Source.fnAt(y, m_Source.fnGetHeight() - 1 - x), -m_Source.fnStride(y),
                          m_Target.fnAt(x, y), to, endY - y, endX - x);
        }
    }

    PixelArea m_Source;
    PixelArea m_Target;
    bool m_bLeft;
    TransposeRun m_fnTranspose;
    PageWalk m_SourceWalk;
    PageWalk m_TargetWalk;
};

bool fnRotateQuarter(CqTileMap& source, CqTileMap& target, bool left, CqProgressDisplay* progress) {
    Quarter quarter(source, target, left);
    const ProgressRun run(progress, source.TileCount);
    CqImageTile tile(true);
    for (std::uint32_t i = 0; i < source.TileCount; ++i) {
        // Down the source's columns, in the order in which the target's tiles lie.
        const std::uint32_t column = i / source.TilesDown;
        const std::uint32_t row = i % source.TilesDown;
        source.fnAccessTile(left ? row * source.TilesAcross + (source.TilesAcross - 1 - column)
                                 : (source.TilesDown - 1 - row) * source.TilesAcross + column,
                            &tile);
        quarter.fnMove(tile);
        if (run.fnAborts(i))
            return false;
    }
    return true;
}

} // namespace

bool fnRotateQuarterLeft(CqTileMap& source, CqTileMap& target, CPoint& center,
                         CqProgressDisplay* progress) {
    if (!fnRotateQuarter(source, target, true, progress))
        return false;
    center = {center.y, fnWrapSub(static_cast<LONG>(source.Width), center.x)};
    return true;
}

bool fnRotateQuarterRight(CqTileMap& source, CqTileMap& target, CPoint& center,
                          CqProgressDisplay* progress) {
    if (!fnRotateQuarter(source, target, false, progress))
        return false;
    center = {fnWrapSub(static_cast<LONG>(source.Height), center.y), center.x};
    return true;
}

bool fnRotateHalf(CqTileMap& map, CPoint& center, CqProgressDisplay* progress) {
    const ProgressRun run(progress, map.Height, 0, 200);
    CqImageLine top(false, true);
    CqImageLine bottom(false, true);
    std::uint32_t i = 0;
    for (; i < map.Height >> 1; ++i) {
        map.fnAccessLine(i, &top, false);
        map.fnAccessLine(map.Height - 1 - i, &bottom, false);
        top.fnReverseLine();
        bottom.fnReverseLine();
        std::swap(top.LineBuffer, bottom.LineBuffer);
        if (run.fnAborts(i))
            return false;
    }
    if (map.Height % 2 != 0) {
        map.fnAccessLine(i, &top, false);
        top.fnReverseLine();
    }
    map.fnRequirePixels();
    center = {fnWrapSub(static_cast<LONG>(map.Width), center.x),
              fnWrapSub(static_cast<LONG>(map.Height), center.y)};
    return true;
}

} // namespace q32
