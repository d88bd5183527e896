#include "q32Base/framework/Memory.h"
#include "q32Base/kernels/Kernels_p.h"
#include "q32Base/operations/ColumnBands_p.h"
#include "q32Base/operations/FilterChannels_p.h"
#include "q32Base/operations/QuadTable_p.h"

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
          m_nMostRows(std::min(std::max(kPieceRows, table.fnGetCapacity()), source.fnGetHeight())) {
        m_pRows.reset(fnNewArray<const unsigned char*>(m_nMostRows + kSpareRows));
        if (source.fnGetBytesPerPixel() == 2) {
            m_pUnpacked.reset(fnNewArray<unsigned char>(std::size_t{m_nMostRows} * kBlock * 3));
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
                if (wider.fnCount() > m_nMostRows)
                    break;
                range = wider;
            }
            fnFindRows(block.m_nX, block.m_nEnd, range);
            for (; y < next; ++y)
                fnFilterRow(block.m_nX, block.m_nEnd, y, range.m_nTop);
        }
    }

private:
    static constexpr std::uint32_t kBlock = CqTileMap::kMaxTileSize;
    static constexpr std::uint32_t kPieceRows = 512; ///< unpacked, they fit in the cache
    static constexpr std::uint32_t kSpareRows = 3;   ///< of a last quad, with weights of 0

    /// Source rows from `top` to `last`.
    struct RowRange {
        std::uint32_t m_nTop;
        std::uint32_t m_nLast;
        explicit RowRange(const QuadList& list)
            : m_nTop(static_cast<std::uint32_t>(list.m_nLeast)),
              m_nLast(static_cast<std::uint32_t>(list.m_nMost)) {}
        RowRange fnJoin(const RowRange& other) const {
            RowRange joined = *this;
            joined.m_nTop = std::min(m_nTop, other.m_nTop);
            joined.m_nLast = std::max(m_nLast, other.m_nLast);
            return joined;
        }
        std::uint32_t fnCount() const { return m_nLast - m_nTop + 1; }
    };

    void fnFindRows(std::uint32_t x, std::uint32_t end, const RowRange& range) const {
        const unsigned char** to = m_pRows.get();
        std::uint32_t next;
        for (std::uint32_t y = range.m_nTop; y <= range.m_nLast; y = next) {
            next = std::min(m_Source.fnRowsEnd(y), range.m_nLast + 1);
            const unsigned char* at = m_Source.fnAt(x, y);
            for (std::uint32_t row = y; row < next; ++row, at += m_Source.fnStride(x))
                *to++ = m_pUnpacked ? fnUnpack(at, row - range.m_nTop, end - x) : at;
        }
        std::fill_n(to, kSpareRows, to[-1]);
    }

    const unsigned char* fnUnpack(const unsigned char* from, std::uint32_t place,
                                  std::uint32_t count) const {
        unsigned char* to = m_pUnpacked.get() + std::size_t{place} * kBlock * 3;
        fnUnpack16(from, to, count);
        return to;
    }

    void fnFilterRow(std::uint32_t x, std::uint32_t end, std::uint32_t y, std::uint32_t top) const {
        const QuadList& list = m_Quads[y];
        unsigned char* target = m_Target.fnAt(x, y);
        fnKernels().fnConvolveQuadRows(
            m_pRows.get() + (static_cast<std::uint32_t>(list.m_nLeast) - top), list,
            m_pSums ? m_pSums.get() : target, std::size_t{end - x} * m_nChannels);
        if (m_pSums)
            fnPack16(m_pSums.get(), target, end - x);
    }

    const PixelArea& m_Source;
    const PixelArea& m_Target;
    const QuadTable& m_Quads;
    std::uint32_t m_nChannels;
    std::uint32_t m_nMostRows; ///< of a piece
    std::unique_ptr<const unsigned char*[]> m_pRows;
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
