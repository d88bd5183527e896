#include "q32Base/framework/Memory.h"
#include "q32Base/kernels/ContribList_p.h"
#include "q32Base/kernels/Kernels_p.h"
#include "q32Base/kernels/Prefetch_p.h"
#include "q32Base/memory/TileWalk_p.h"
#include "q32Base/resampling/ColumnBands_p.h"
#include "q32Base/resampling/ContribTable_p.h"
#include "q32Base/resampling/FilterChannels_p.h"
#include "q32Base/resampling/QuadTable_p.h"
#include "q32Base/resampling/Resample_p.h"
#include "q32Base/services/ProgressRun_p.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <type_traits>

namespace q32 {
namespace {

void fnConvolveRows(const float* const* rows, const ContribList& list, unsigned char* target,
                    std::size_t count) {
    fnKernels().fnConvolveRows(rows, list, target, count);
}

void fnConvolveRows(const std::uint8_t* const* rows, const ContribList& list, unsigned char* target,
                    std::size_t count) {
    fnKernels().fnConvolveRowsFixed(rows, list, target, count);
}

void fnTakeSamples(const std::uint8_t* source, float* target, std::size_t count) {
    fnKernels().fnBytesToFloats(source, target, count);
}

void fnTakeSamples(const std::uint8_t* source, std::uint8_t* target, std::size_t count) {
    std::memcpy(target, source, count);
}

/// Convolves blocks of columns. Samples are floats, or bytes if the table is fixed-point. A block's
/// source rows are converted to floats once, in a ring that holds what one target row needs, unless
/// its sums are wide. Bytes are read in place if possible.
template <typename Sample>
class ColumnFilter {
public:
    ColumnFilter(const PixelArea& source, const PixelArea& target, const ContribTable& table)
        : m_Source(source), m_Target(target),
          m_nChannels(fnFilterChannels(source.fnGetBytesPerPixel())), m_Table(table),
          m_bPrefetches(std::uint64_t{source.fnGetWidth()} * source.fnGetHeight() *
                            source.fnGetBytesPerPixel() >=
                        kPrefetchLeast),
          m_nRing(fnRingRows(source, table)), m_nBlock(fnBlockColumns(source, table)) {
        const std::size_t samples = std::size_t{m_nBlock} * m_nChannels;
        m_pRing.reset(fnNewArray<Sample>(m_nRing * samples));
        m_pPresent.reset(fnNewArray<std::int32_t>(m_nRing));
        if (m_Table.fnGetCapacity() > kWideSum)
            m_pWideSums.reset(fnNewArray<double>(samples));
        else
            m_pRows.reset(fnNewArray<const Sample*>(m_Table.fnGetCapacity()));
        m_pSums.reset(fnNewArray<unsigned char>(samples));
        if (source.fnGetBytesPerPixel() == 2)
            m_pUnpacked.reset(fnNewArray<unsigned char>(samples));
    }

    /// The width of a block: complete tiles side by side, if possible. Each is then traversed once.
    static std::uint32_t fnBlockColumns(const PixelArea& source, const ContribTable& table) {
        const std::size_t samples =
            std::min(kBlockSamples, kRingSamples / fnRingRows(source, table));
        const auto columns = static_cast<std::uint32_t>(
            samples / std::max(fnFilterChannels(source.fnGetBytesPerPixel()), 1u));
        constexpr std::uint32_t kTile = CqTileMap::kMaxTileSize;
        return columns >= kTile ? columns / kTile * kTile : std::max(columns, 1u);
    }

    void fnFilter(const ColumnBlock& block) {
        const std::uint32_t x = block.m_nX;
        const std::uint32_t end = block.m_nEnd;
        std::fill_n(m_pPresent.get(), m_nRing, -1);
        std::uint32_t fetched = 0;
        for (std::uint32_t y = block.m_nY; y < block.m_nBottom; ++y) {
            const ContribList& list = m_Table[y];
            fnPrefetchRows(list, x, end, fetched);
            const bool direct = !m_pUnpacked && m_Target.fnRunEnd(x) >= end;
            unsigned char* sums = direct ? m_Target.fnAt(x, y) : m_pSums.get();
            if (m_pWideSums)
                fnSumWide(list, x, end, sums);
            else
                fnSum(list, x, end, sums);
            if (!direct)
                fnStore(x, end, y);
        }
    }

private:
    static constexpr std::uint32_t kAheadBytes = 6144; ///< measured
    static constexpr std::uint64_t kPrefetchLeast = std::uint64_t{16} << 20;
    static constexpr std::size_t kBlockSamples = 512;       ///< a ring of them stays in the cache
    static constexpr std::size_t kRingSamples = 256 * 1024; ///< limit for huge reductions

    static std::uint32_t fnRingRows(const PixelArea& source, const ContribTable& table) {
        const std::uint32_t needed = std::min(table.fnGetCapacity(), source.fnGetHeight());
        std::uint32_t rows = 1;
        while (rows < needed && rows < kWideSum)
            rows *= 2;
        return rows;
    }

    /// Prefetches some rows beyond those of a list, unless the caches may hold the source. Those
    /// above `fetched` were before.
    void fnPrefetchRows(const ContribList& list, std::uint32_t x, std::uint32_t end,
                        std::uint32_t& fetched) const {
        if (!m_bPrefetches)
            return;
        const std::uint32_t bytes = (end - x) * m_Source.fnGetBytesPerPixel();
        const auto last = static_cast<std::uint32_t>(list.m_pEntries[list.m_nCount - 1].m_nPixel);
        const std::uint32_t bottom =
            std::min(last + kAheadBytes / bytes + 2, m_Source.fnGetHeight());
        for (fetched = std::max(fetched, last + 1); fetched < bottom; ++fetched)
            for (std::uint32_t from = x, next; from < end; from = next) {
                next = std::min(end, m_Source.fnRunEnd(from));
                fnPrefetch(m_Source.fnAt(from, fetched),
                           std::size_t{next - from} * m_Source.fnGetBytesPerPixel());
            }
    }

    void fnSum(const ContribList& list, std::uint32_t x, std::uint32_t end,
               unsigned char* sums) const {
        if (!fnFindRows(list, x, end))
            for (std::int32_t k = 0; k < list.m_nCount; ++k)
                m_pRows[static_cast<std::size_t>(k)] = fnRow(list.m_pEntries[k].m_nPixel, x, end);
        fnConvolveRows(m_pRows.get(), list, sums, std::size_t{end - x} * m_nChannels);
    }

    /// Points at the source rows in place. False if they have to be fetched.
    bool fnFindRows(const ContribList& list, std::uint32_t x, std::uint32_t end) const {
        if constexpr (std::is_same_v<Sample, std::uint8_t>) {
            if (m_pUnpacked || m_Source.fnRunEnd(x) < end)
                return false;
            const std::ptrdiff_t stride = m_Source.fnGetStride(x);
            const std::uint8_t* at = nullptr;
            std::uint32_t next = 0;
            std::uint32_t tileEnd = 0;
            for (std::int32_t k = 0; k < list.m_nCount; ++k) {
                const auto y = static_cast<std::uint32_t>(list.m_pEntries[k].m_nPixel);
                if (y == next && y < tileEnd) {
                    at += stride;
                } else {
                    at = m_Source.fnAt(x, y);
                    tileEnd = m_Source.fnRowsEnd(y);
                }
                next = y + 1;
                m_pRows[static_cast<std::size_t>(k)] = at;
            }
            return true;
        }
        return false;
    }

    /// Adds up one source row after another.
    void fnSumWide(const ContribList& list, std::uint32_t x, std::uint32_t end,
                   unsigned char* sums) const {
        const std::size_t samples = std::size_t{end - x} * m_nChannels;
        std::fill_n(m_pWideSums.get(), samples, 0.0);
        for (std::int32_t k = 0; k < list.m_nCount; ++k) {
            const ContribEntry& entry = list.m_pEntries[k];
            const Sample* row = fnRow(entry.m_nPixel, x, end);
            for (std::size_t i = 0; i < samples; ++i)
                m_pWideSums[i] += row[i] * entry.m_dWeight;
        }
        std::transform(m_pWideSums.get(), m_pWideSums.get() + samples, sums, fnStoredByte);
    }

    /// The samples of a source row, valid until another row takes its slot. The rows of one target
    /// row lie less than the capacity apart, so none of them displaces another, except for wide
    /// sums.
    const Sample* fnRow(std::int32_t y, std::uint32_t x, std::uint32_t end) const {
        const std::uint32_t place = static_cast<std::uint32_t>(y) & (m_nRing - 1);
        Sample* row = m_pRing.get() + std::size_t{place} * m_nBlock * m_nChannels;
        if (m_pPresent[place] == y)
            return row;
        m_pPresent[place] = y;
        Sample* to = row;
        std::uint32_t next;
        for (; x < end; x = next) {
            next = std::min(end, m_Source.fnRunEnd(x));
            const std::size_t samples = std::size_t{next - x} * m_nChannels;
            const unsigned char* from = m_Source.fnAt(x, static_cast<std::uint32_t>(y));
            if (m_pUnpacked) {
                fnUnpackChannels16(from, m_pUnpacked.get(), next - x);
                from = m_pUnpacked.get();
            }
            fnTakeSamples(from, to, samples);
            to += samples;
        }
        return row;
    }

    void fnStore(std::uint32_t x, std::uint32_t end, std::uint32_t y) const {
        const unsigned char* from = m_pSums.get();
        std::uint32_t next;
        for (; x < end; x = next) {
            next = std::min(end, m_Target.fnRunEnd(x));
            const std::size_t samples = std::size_t{next - x} * m_nChannels;
            if (m_pUnpacked)
                fnPackChannels16(from, m_Target.fnAt(x, y), next - x);
            else
                std::memcpy(m_Target.fnAt(x, y), from, samples);
            from += samples;
        }
    }

    const PixelArea& m_Source;
    const PixelArea& m_Target;
    std::uint32_t m_nChannels;
    const ContribTable& m_Table;
    bool m_bPrefetches;
    std::uint32_t m_nRing;  ///< rows of the ring: a power of 2
    std::uint32_t m_nBlock; ///< columns of a block, at most
    std::unique_ptr<Sample[]> m_pRing;
    std::unique_ptr<std::int32_t[]> m_pPresent; ///< the source row in each slot, or -1
    std::unique_ptr<const Sample*[]> m_pRows;   ///< null for wide sums
    std::unique_ptr<double[]> m_pWideSums;      ///< null for others
    std::unique_ptr<unsigned char[]> m_pSums;
    std::unique_ptr<unsigned char[]> m_pUnpacked;
};

} // namespace

bool fnFilterHeight(const PixelArea& source, const PixelArea& target, double scale,
                    const ProgressRun& progress) {
    const ContribTable table(scale, target.fnGetHeight(), source.fnGetHeight());
    if (const std::unique_ptr<QuadTable> quads = fnMakeQuads(table, target.fnGetHeight(), 1))
        return fnFilterHeightInQuads(source, target, table, *quads, progress);
    return table.fnIsFixedPoint()
               ? fnFilterColumns<ColumnFilter<std::uint8_t>>(source, target, table, progress, table)
               : fnFilterColumns<ColumnFilter<float>>(source, target, table, progress, table);
}

} // namespace q32
