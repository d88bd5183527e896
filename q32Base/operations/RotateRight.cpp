#include "q32Base/framework/Memory.h"
#include "q32Base/framework/Parallel_p.h"
#include "q32Base/image/CqImageTile.h"
#include "q32Base/image/PixelBytes_p.h"
#include "q32Base/kernels/Kernels_p.h"
#include "q32Base/memory/CqTileMap_p.h"
#include "q32Base/memory/PageWalk_p.h"
#include "q32Base/memory/TileWalk_p.h"
#include "q32Base/operations/Rotate_p.h"
#include "q32Base/services/ProgressRun_p.h"

#include <algorithm>
#include <cassert>
#include <cstdint>
#include <memory>

namespace q32 {
namespace {

// Nanoseconds for a byte.
constexpr double kRotateRightByteTime = 0.06;
constexpr double kRotateHalfByteTime = 0.3;

/// A rotation by 90 degrees: rows become columns, and either the rows or the columns are reversed.
class Quarter {
public:
    Quarter(const CqTileMap& source, const CqTileMap& target, bool left)
        : m_Source(source), m_Target(target), m_bLeft(left),
          m_fnTranspose(fnKernels().fnTranspose[source.BytesPerPixel - 1]),
          m_SourceWalk(m_Source, VIEW_READ_NEXT, {true, left, !left}),
          m_TargetWalk(m_Target, VIEW_WRITE_NEXT, {false}) {}

    /// The next tile of the walk over the pages of scratch files.
    void fnReach(const CqImageTile& tile) {
        const auto x = static_cast<std::uint32_t>(tile.Left);
        const auto y = static_cast<std::uint32_t>(tile.Top);
        m_SourceWalk.fnReach(x, y, x, y);
        const Place to = fnPlace(tile);
        if (!to.fnIsEmpty())
            m_TargetWalk.fnReach(to.m_nLeft, to.m_nTop, to.m_nRight - 1, to.m_nBottom - 1,
                                 to.m_nBottom);
    }

    /// Moves the pixels of a source tile, split where the target's tiles end.
    void fnMove(const CqImageTile& tile) const {
        const Place to = fnPlace(tile);
        std::uint32_t endY;
        std::uint32_t endX;
        for (std::uint32_t y = to.m_nTop; y < to.m_nBottom; y = endY) {
            endY = std::min(to.m_nBottom, m_Target.fnRowsEnd(y));
            for (std::uint32_t x = to.m_nLeft; x < to.m_nRight; x = endX) {
                endX = std::min(to.m_nRight, m_Target.fnRunEnd(x));
                fnMoveBlock(x, y, endX, endY);
            }
        }
    }

private:
    /// Where a tile lands.
    struct Place {
        std::uint32_t m_nLeft;
        std::uint32_t m_nTop;
        std::uint32_t m_nRight;
        std::uint32_t m_nBottom;
        bool fnIsEmpty() const { return m_nLeft >= m_nRight || m_nTop >= m_nBottom; }
    };

    /// Counted in 64 bits, since a position may lie outside the target, though not below 0.
    Place fnPlace(const CqImageTile& tile) const {
        const auto width = static_cast<std::int64_t>(m_Source.fnGetWidth());
        const auto height = static_cast<std::int64_t>(m_Source.fnGetHeight());
        return {fnCut(m_bLeft ? tile.Top : height - tile.Bottom, m_Target.fnGetWidth()),
                fnCut(m_bLeft ? width - tile.Right : tile.Left, m_Target.fnGetHeight()),
                fnCut(m_bLeft ? tile.Bottom : height - tile.Top, m_Target.fnGetWidth()),
                fnCut(m_bLeft ? width - tile.Left : tile.Right, m_Target.fnGetHeight())};
    }
    static std::uint32_t fnCut(std::int64_t place, std::uint32_t end) {
        assert(place >= 0);
        return static_cast<std::uint32_t>(std::min<std::int64_t>(place, end));
    }

    /// Moves a block of the target that lies in one tile of either map.
    void fnMoveBlock(std::uint32_t x, std::uint32_t y, std::uint32_t endX,
                     std::uint32_t endY) const {
        const std::ptrdiff_t to = m_Target.fnGetStride(x);
        if (m_bLeft) {
            const std::uint32_t sourceX = m_Source.fnGetWidth() - endY;
            m_fnTranspose(m_Source.fnAt(sourceX, x), m_Source.fnGetStride(sourceX),
                          m_Target.fnAt(x, endY - 1), -to, endY - y, endX - x);
        } else {
            m_fnTranspose(m_Source.fnAt(y, m_Source.fnGetHeight() - 1 - x),
                          -m_Source.fnGetStride(y), m_Target.fnAt(x, y), to, endY - y, endX - x);
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
    // Fewer bytes than a walk announces ahead.
    constexpr std::uint32_t kScratchBatch = 24;
    Quarter quarter(source, target, left);
    const bool isScratch = source.fnGetBlock().fnIsOnDisk() || target.fnGetBlock().fnIsOnDisk();
    const Parallel tiles(source.TileCount,
                         kRotateRightByteTime * source.BytesPerPixel * source.TileWidth *
                             source.TileHeight,
                         isScratch ? kScratchBatch : Parallel::kAnyBatch);
    const bool isAlone = tiles.fnGetWorkers() == 1;
    const auto place = [&](std::uint32_t i, CqImageTile& tile) {
        // Down the source's columns, in the order in which the target's tiles lie.
        const std::uint32_t column = i / source.TilesDown;
        const std::uint32_t row = i % source.TilesDown;
        source.fnAccessTile(left ? row * source.TilesAcross + (source.TilesAcross - 1 - column)
                                 : (source.TilesDown - 1 - row) * source.TilesAcross + column,
                            &tile);
    };
    const auto move = [&](std::uint32_t, std::uint32_t i, std::uint32_t end) {
        CqImageTile tile(false);
        for (; i < end; ++i) {
            place(i, tile);
            if (isAlone)
                quarter.fnReach(tile);
            quarter.fnMove(tile);
        }
    };
    const ProgressRun run(progress, source.TileCount);
    if (isAlone || !isScratch)
        return run.fnRun(tiles, move);
    CqImageTile reached(false);
    const auto report = [&](std::uint32_t i) {
        place(i, reached);
        quarter.fnReach(reached);
        return run.fnAborts(i);
    };
    return tiles.fnRunReported(move, report, [](std::uint32_t, std::uint32_t) {});
}

/// Exchanges a row with the one opposite of it, and reverses both.
class RowExchange {
public:
    explicit RowExchange(CqTileMap& map)
        : m_Map(map), m_pRow(fnNewArray<unsigned char>(map.RowBytes)),
          m_pOpposite(fnNewArray<unsigned char>(map.RowBytes)) {}

    void fnExchange(std::uint32_t y) const {
        const std::uint32_t opposite = m_Map.Height - 1 - y;
        fnFetch(y, m_pRow.get());
        fnFetch(opposite, m_pOpposite.get());
        m_Map.fnStoreRow(y, m_pOpposite.get());
        m_Map.fnStoreRow(opposite, m_pRow.get());
    }

private:
    void fnFetch(std::uint32_t y, unsigned char* row) const {
        m_Map.fnFetchRow(y, row);
        fnReversePixels(row, m_Map.Width, m_Map.BytesPerPixel);
    }

    CqTileMap& m_Map;
    std::unique_ptr<unsigned char[]> m_pRow;
    std::unique_ptr<unsigned char[]> m_pOpposite;
};

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
    const std::uint32_t pairs = map.Height >> 1;
    const Parallel rows(pairs, 2.0 * kRotateHalfByteTime * map.RowBytes);
    PerWorker<RowExchange> exchange(rows, map);
    const auto exchangeRows = [&](std::uint32_t worker, std::uint32_t y, std::uint32_t end) {
        for (; y < end; ++y)
            exchange[worker].fnExchange(y);
    };
    const auto exchangeBack = [&](std::uint32_t y, std::uint32_t end) { exchangeRows(0, y, end); };
    if (!progress)
        rows.fnRun(exchangeRows);
    else if (!rows.fnRunReported(
                 exchangeRows, [&](std::uint32_t y) { return run.fnAborts(y); }, exchangeBack))
        return false;
    if (map.Height % 2 != 0)
        exchange[0].fnExchange(pairs);
    map.fnRequirePixels();
    center = {fnWrapSub(static_cast<LONG>(map.Width), center.x),
              fnWrapSub(static_cast<LONG>(map.Height), center.y)};
    return true;
}

} // namespace q32
