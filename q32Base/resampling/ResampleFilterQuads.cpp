#include "q32Base/framework/Memory.h"
#include "q32Base/kernels/Kernels_p.h"
#include "q32Base/resampling/ColumnBands_p.h"
#include "q32Base/resampling/FilterChannels_p.h"
#include "q32Base/resampling/QuadTable_p.h"
#include "q32Base/resampling/SourceRows_p.h"

#include <algorithm>
#include <cstddef>
#include <memory>

namespace q32 {
namespace {

/// Convolves columns by integer sums, a tile's width at a time. Bytes are read and written in
/// place; 16-bit pixels are unpacked, each once per piece of a band.
class QuadColumns {
public:
    QuadColumns(const PixelArea& source, const PixelArea& target, const ContribTable& table,
                const QuadTable& quads)
        : m_Source(source), m_Target(target), m_Quads(quads),
          m_nChannels(fnFilterChannels(source.fnGetBytesPerPixel())),
          m_nMaxRows(std::min(std::max(kPieceRows, table.fnGetCapacity()), source.fnGetHeight())),
          m_Rows(m_nMaxRows) {
        if (source.fnGetBytesPerPixel() == 2) {
            m_pUnpacked.reset(fnNewArray<unsigned char>(std::size_t{m_nMaxRows} * kBlock * 3));
            m_pSums.reset(fnNewArray<unsigned char>(kBlock * std::size_t{3}));
        }
    }

    static std::uint32_t fnBlockColumns(const PixelArea&, const ContribTable&) { return kBlock; }

    void fnFilter(const ColumnBlock& block) {
        std::uint32_t y = block.m_nY;
        while (y < block.m_nBottom) {
            RowRange range(m_Quads[y]);
            std::uint32_t next = y + 1;
            for (; next < block.m_nBottom; ++next) {
                const RowRange wider = range.fnJoin(RowRange(m_Quads[next]));
                if (wider.fnGetCount() > m_nMaxRows)
                    break;
                range = wider;
            }
            m_Rows.fnFind(
                m_Source, block.m_nX, range, [&](const unsigned char* at, std::uint32_t place) {
                    return m_pUnpacked ? fnUnpack(at, place, block.m_nEnd - block.m_nX) : at;
                });
            for (; y < next; ++y) {
                fnPrefetchRows(block.m_nEnd - block.m_nX, y, range);
                fnFilterRow(block.m_nX, block.m_nEnd, y, range.m_nTop);
            }
        }
    }

private:
    static constexpr std::uint32_t kBlock = CqTileMap::kMaxTileSize;
    static constexpr std::uint32_t kPieceRows = 512; ///< unpacked, they fit in the cache

    /// Prefetches some rows beyond those of target row y.
    void fnPrefetchRows(std::uint32_t columns, std::uint32_t y, const RowRange& range) {
        if (m_pUnpacked)
            return;
        const std::uint32_t bytes = columns * m_nChannels;
        const std::uint32_t needed =
            static_cast<std::uint32_t>(m_Quads[y].m_nMost) - range.m_nTop + 1;
        m_Rows.fnPrefetchTo(needed, needed + SourceRows::fnRowsAhead(bytes), bytes);
    }

    const unsigned char* fnUnpack(const unsigned char* from, std::uint32_t place,
                                  std::uint32_t count) const {
        unsigned char* to = m_pUnpacked.get() + std::size_t{place} * kBlock * 3;
        fnUnpackChannels16(from, to, count);
        return to;
    }

    void fnFilterRow(std::uint32_t x, std::uint32_t end, std::uint32_t y, std::uint32_t top) const {
        const QuadList& list = m_Quads[y];
        unsigned char* target = m_Target.fnAt(x, y);
        fnKernels().fnConvolveQuadRows(
            m_Rows.fnFrom(static_cast<std::uint32_t>(list.m_nLeast) - top), list,
            m_pSums ? m_pSums.get() : target, std::size_t{end - x} * m_nChannels);
        if (m_pSums)
            fnPackChannels16(m_pSums.get(), target, end - x);
    }

    const PixelArea& m_Source;
    const PixelArea& m_Target;
    const QuadTable& m_Quads;
    std::uint32_t m_nChannels;
    std::uint32_t m_nMaxRows; ///< of a piece
    SourceRows m_Rows;
    std::unique_ptr<unsigned char[]> m_pUnpacked; ///< null except at 16 bits
    std::unique_ptr<unsigned char[]> m_pSums;     ///< null except at 16 bits
};

} // namespace

bool fnFilterHeightInQuads(const PixelArea& source, const PixelArea& target,
                           const ContribTable& table, const QuadTable& quads,
                           const ProgressRun& progress) {
    return fnFilterColumns<QuadColumns>(source, target, table, progress, table, quads);
}

} // namespace q32
