#include "q32Base/framework/Memory.h"
#include "q32Base/framework/Parallel_p.h"
#include "q32Base/kernels/Kernels_p.h"
#include "q32Base/memory/TileWalk_p.h"
#include "q32Base/operations/Blur_p.h"
#include "q32Base/operations/BlurLines_p.h"
#include "q32Base/services/ProgressRun_p.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>

namespace q32 {
namespace {

constexpr double kSampleTime = 1.5; ///< nanoseconds, for a byte in one direction

/// Converts planes of alpha, red, green and blue: each channel is multiplied by alpha.
void fnPremultiply(const unsigned char* planes, std::size_t plane, std::uint16_t* out) {
    std::copy_n(planes, plane, out);
    for (std::size_t c = 1; c < 4; ++c)
        for (std::size_t i = 0; i < plane; ++i)
            out[c * plane + i] = static_cast<std::uint16_t>(planes[c * plane + i] * planes[i]);
}

/// Blurs across: kFilterLanes rows at a time, whose pixels of one column are a line.
template <typename Sum>
class RowBlur {
public:
    RowBlur(const PixelArea& source, const PixelArea& target, const BlurKernel& kernel)
        : m_Source(source), m_Target(target), m_nBytes(source.fnGetBytesPerPixel()),
          m_nLine(m_nBytes * kFilterLanes),
          m_Lines(kernel, source.fnGetWidth(), m_nLine, kColumns, m_nBytes == 4),
          m_pLanes(fnNewArray<unsigned char>(kColumns * m_nLine)),
          m_pResults(fnNewArray<unsigned char>(kColumns * m_nLine)),
          m_pSpare(fnNewArray<unsigned char>(kColumns * m_nBytes)) {}

    /// Blurs `rows` rows from y on, kFilterLanes at most.
    void fnBlur(std::uint32_t y, std::uint32_t rows) {
        const std::uint32_t width = m_Source.fnGetWidth();
        m_Lines.fnRun(
            width, m_nLine,
            [&](std::uint32_t x, std::uint32_t count, std::uint16_t* out) {
                fnFetch(x, y, count, rows, out);
            },
            [&](std::uint32_t x, const unsigned char* bytes) {
                const std::size_t column = x % kColumns;
                std::memcpy(m_pResults.get() + column * m_nLine, bytes, m_nLine);
                if (column == kColumns - 1 || x == width - 1)
                    fnStore(x - static_cast<std::uint32_t>(column), y, column + 1, rows);
            });
    }

private:
    static constexpr std::uint32_t kColumns = 64; ///< a part of a tile's
    static_assert(CqTileMap::kMaxTileSize % kColumns == 0);

    void fnFetch(std::uint32_t x, std::uint32_t y, std::uint32_t count, std::uint32_t rows,
                 std::uint16_t* out) const {
        const std::uint8_t* from[kFilterLanes];
        for (std::uint32_t r = 0; r < kFilterLanes; ++r)
            from[r] =
                m_Source.fnAt(x, y + std::min(r, rows - 1)); // spare lanes repeat the last row
        fnKernels().fnRowsToLanes(from, m_pLanes.get(), count * m_nBytes);
        if (m_nBytes != 4) {
            std::copy_n(m_pLanes.get(), count * m_nLine, out);
            return;
        }
        for (std::size_t i = 0; i < count * m_nLine; i += m_nLine)
            fnPremultiply(m_pLanes.get() + i, kFilterLanes, out + i);
    }

    void fnStore(std::uint32_t x, std::uint32_t y, std::size_t count, std::uint32_t rows) const {
        std::uint8_t* to[kFilterLanes];
        for (std::uint32_t r = 0; r < kFilterLanes; ++r)
            to[r] = r < rows ? m_Target.fnAt(x, y + r) : m_pSpare.get();
        fnKernels().fnLanesToRows(m_pResults.get(), to, count * m_nBytes);
    }

    const PixelArea& m_Source;
    const PixelArea& m_Target;
    std::size_t m_nBytes; ///< of a pixel
    std::size_t m_nLine;  ///< samples
    LineBlur<Sum> m_Lines;
    std::unique_ptr<unsigned char[]> m_pLanes;
    std::unique_ptr<unsigned char[]> m_pResults;
    std::unique_ptr<unsigned char[]> m_pSpare; ///< dummy target of lanes without a row
};

/// Blurs down, in place, strips that are as wide as a tile.
template <typename Sum>
class ColumnBlur {
public:
    ColumnBlur(const PixelArea& area, const BlurKernel& kernel)
        : m_Area(area), m_nBytes(area.fnGetBytesPerPixel()),
          m_Lines(kernel, area.fnGetHeight(), CqTileMap::kMaxTileSize * m_nBytes, 1, m_nBytes == 4),
          m_pPlanes(fnNewArray<unsigned char>(CqTileMap::kMaxTileSize * m_nBytes)) {}

    /// Blurs the columns from x to before `end`, which lie in one column of tiles.
    void fnBlur(std::uint32_t x, std::uint32_t end) {
        const std::size_t columns = end - x;
        const std::size_t width = columns * m_nBytes;
        m_Lines.fnRun(
            m_Area.fnGetHeight(), width,
            [&](std::uint32_t y, std::uint32_t, std::uint16_t* out) {
                const unsigned char* from = m_Area.fnAt(x, y);
                if (m_nBytes != 4) {
                    std::copy_n(from, width, out);
                    return;
                }
                for (std::size_t c = 0; c < 4; ++c)
                    for (std::size_t i = 0; i < columns; ++i)
                        m_pPlanes[c * columns + i] = from[4 * i + c];
                fnPremultiply(m_pPlanes.get(), columns, out);
            },
            [&](std::uint32_t y, const unsigned char* bytes) {
                unsigned char* to = m_Area.fnAt(x, y);
                if (m_nBytes != 4) {
                    std::memcpy(to, bytes, width);
                    return;
                }
                for (std::size_t c = 0; c < 4; ++c)
                    for (std::size_t i = 0; i < columns; ++i)
                        to[4 * i + c] = bytes[c * columns + i];
            });
    }

private:
    const PixelArea& m_Area;
    std::size_t m_nBytes;
    LineBlur<Sum> m_Lines;
    std::unique_ptr<unsigned char[]> m_pPlanes;
};

template <typename Sum>
bool fnBlurRows(const PixelArea& source, const PixelArea& target, const BlurKernel& kernel,
                const ProgressRun& progress) {
    constexpr auto kRows = static_cast<std::uint32_t>(kFilterLanes);
    const std::uint32_t height = source.fnGetHeight();
    const Parallel groups((height - 1) / kRows + 1,
                          kSampleTime * kRows * source.fnGetWidth() * source.fnGetBytesPerPixel());
    PerWorker<RowBlur<Sum>> blur(groups, source, target, kernel);
    return progress.fnRun(
        groups,
        [&](std::uint32_t worker, std::uint32_t group, std::uint32_t end) {
            for (; group < end; ++group)
                blur[worker].fnBlur(group * kRows, std::min(kRows, height - group * kRows));
        },
        kRows);
}

template <typename Sum>
bool fnBlurColumns(const PixelArea& area, const BlurKernel& kernel, const ProgressRun& progress) {
    const std::uint32_t width = area.fnRunEnd(0);
    const Parallel strips((area.fnGetWidth() - 1) / width + 1,
                          kSampleTime * width * area.fnGetHeight() * area.fnGetBytesPerPixel());
    PerWorker<ColumnBlur<Sum>> blur(strips, area, kernel);
    return progress.fnRun(
        strips,
        [&](std::uint32_t worker, std::uint32_t strip, std::uint32_t end) {
            for (; strip < end; ++strip)
                blur[worker].fnBlur(strip * width, area.fnRunEnd(strip * width));
        },
        width);
}

} // namespace

bool fnBlurMap(const CqTileMap& source, CqTileMap& target, const BlurKernel& kernel,
               CqProgressDisplay* progress, unsigned percent) {
    const PixelArea from(source);
    const PixelArea to(target);
    const std::uint64_t most = source.BytesPerPixel == 4 ? 255 * 255 : 255;
    const bool isSmall = most * kernel.fnGetSum() < 1u << 31;
    const ProgressRun rows(progress, source.Height, 0, percent / 2);
    const ProgressRun columns(progress, source.Width, percent / 2, percent / 2);
    return isSmall ? fnBlurRows<std::uint32_t>(from, to, kernel, rows) &&
                         fnBlurColumns<std::uint32_t>(to, kernel, columns)
                   : fnBlurRows<std::uint64_t>(from, to, kernel, rows) &&
                         fnBlurColumns<std::uint64_t>(to, kernel, columns);
}

} // namespace q32
