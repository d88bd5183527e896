#include "q32Base/framework/Memory.h"
#include "q32Base/operations/ContribTable.h"
#include "q32Base/operations/FilterChannels.h"
#include "q32Base/operations/kernels/Kernels.h"
#include "q32Base/operations/PixelArea.h"
#include "q32Base/operations/ProgressRun.h"
#include "q32Base/operations/Resample.h"

#include <algorithm>
#include <memory>

namespace q32 {
namespace {

/// Sums up blocks of a few columns, which lie side by side in source and target.
class ColumnFilter {
public:
    ColumnFilter(const PixelArea& source, const PixelArea& target, double scale)
        : m_Source(source), m_Target(target), m_Table(scale, target.fnHeight(), source.fnHeight()),
          m_pRows(fnNewArray<const std::uint8_t*>(m_Table.fnCapacity())) {
        if (source.fnBytesPerPixel() != 2)
            return;
        // 16-bit pixels are unpacked for each target row, into a place of moderate size.
        constexpr std::uint32_t kMostBytes = 128 * 1024;
        m_nBlock = std::clamp(kMostBytes / 3 / m_Table.fnCapacity(), 1u, 128u);
        m_pUnpacked.reset(
            fnNewArray<unsigned char>(std::size_t{3} * m_nBlock * m_Table.fnCapacity()));
        m_pSums.reset(fnNewArray<unsigned char>(std::size_t{3} * m_nBlock));
    }

    /// The first column behind the block that begins at x.
    std::uint32_t fnBlockEnd(std::uint32_t x) const {
        return std::min({m_Source.fnRunEnd(x), m_Target.fnRunEnd(x), x + m_nBlock});
    }

    void fnFilter(std::uint32_t x, std::uint32_t count) const {
        for (std::uint32_t y = 0; y < m_Target.fnHeight(); ++y) {
            const ContribList& list = m_Table[y];
            for (std::int32_t k = 0; k < list.count; ++k)
                m_pRows[static_cast<std::size_t>(k)] =
                    m_Source.fnAt(x, static_cast<std::uint32_t>(list.entries[k].pixel));
            if (m_pUnpacked)
                fnFilter16(list, m_Target.fnAt(x, y), count);
            else
                fnKernels().fnWeighRows(m_pRows.get(), list, m_Target.fnAt(x, y),
                                        std::size_t{count} * m_Target.fnBytesPerPixel());
        }
    }

private:
    void fnFilter16(const ContribList& list, unsigned char* target, std::uint32_t count) const {
        const std::size_t bytes = std::size_t{3} * count;
        for (std::size_t k = 0; k < static_cast<std::size_t>(list.count); ++k) {
            fnUnpack16(m_pRows[k], m_pUnpacked.get() + k * bytes, count);
            m_pRows[k] = m_pUnpacked.get() + k * bytes;
        }
        fnKernels().fnWeighRows(m_pRows.get(), list, m_pSums.get(), bytes);
        fnPack16(m_pSums.get(), target, count);
    }

    const PixelArea& m_Source;
    const PixelArea& m_Target;
    ContribTable m_Table;
    std::unique_ptr<const std::uint8_t*[]> m_pRows;
    std::uint32_t m_nBlock = 512; ///< columns of a block, at most
    std::unique_ptr<unsigned char[]> m_pUnpacked;
    std::unique_ptr<unsigned char[]> m_pSums;
};

} // namespace

bool fnFilterColumns(const PixelArea& source, const PixelArea& target, double scale,
                     const ProgressRun& progress) {
    const ColumnFilter filter(source, target, scale);
    std::uint32_t end;
    for (std::uint32_t x = 0; x < target.fnWidth(); x = end) {
        end = filter.fnBlockEnd(x);
        if (target.fnBytesPerPixel() != 0)
            filter.fnFilter(x, end - x);
        if (progress.fnAborts(x, end))
            return false;
    }
    return true;
}

} // namespace q32
