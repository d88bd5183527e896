#pragma once

#include "q32Base/framework/Memory.h"
#include "q32Base/kernels/Prefetch_p.h"
#include "q32Base/kernels/QuadList_p.h"
#include "q32Base/memory/TileWalk_p.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>

namespace q32 {

/// Rows of the source that some target rows need, both ends included.
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
    std::uint32_t fnGetCount() const { return m_nLast - m_nTop + 1; }
};

/// Where the rows of a block of columns lie, for sums in quads.
class SourceRows {
public:
    explicit SourceRows(std::uint32_t most)
        : m_pRows(fnNewArray<const unsigned char*>(std::size_t{most} + kSpareRows)) {}

    /// Finds the rows of a range from column x on. `place(address, row)` says where a row is taken
    /// from; `row` is counted from the range's first one.
    template <class Place>
    void fnFind(const PixelArea& source, std::uint32_t x, const RowRange& range, Place place) {
        const unsigned char** to = m_pRows.get();
        std::uint32_t next;
        for (std::uint32_t y = range.m_nTop; y <= range.m_nLast; y = next) {
            next = std::min(source.fnRowsEnd(y), range.m_nLast + 1);
            const unsigned char* at = source.fnAt(x, y);
            for (std::uint32_t row = y; row < next; ++row, at += source.fnGetStride(x))
                *to++ = place(at, row - range.m_nTop);
        }
        m_nCount = range.fnGetCount();
        m_nFetched = 0;
        std::fill_n(to, kSpareRows, to[-1]);
    }

    std::uint32_t fnGetCount() const { return m_nCount; }
    /// The addresses of a row and those after it.
    const unsigned char* const* fnFrom(std::uint32_t row) const { return m_pRows.get() + row; }

    /// Prefetches the rows from `first` to before `end` that weren't prefetched before.
    void fnPrefetchTo(std::uint32_t first, std::uint32_t end, std::size_t bytes) {
        end = std::min(end, m_nCount);
        for (m_nFetched = std::max(m_nFetched, first); m_nFetched < end; ++m_nFetched)
            fnPrefetch(m_pRows[m_nFetched], bytes);
    }

    /// How far prefetching should be ahead, in rows of so many bytes. Measured: a few microseconds.
    static std::uint32_t fnRowsAhead(std::uint32_t bytes) { return 6144 / bytes + 1; }

private:
    static constexpr std::uint32_t kSpareRows = 3; ///< of a last quad, with weights of 0

    std::unique_ptr<const unsigned char*[]> m_pRows;
    std::uint32_t m_nCount = 0;
    std::uint32_t m_nFetched = 0;
};

} // namespace q32
