#include "q32Base/framework/Memory.h"
#include "q32Base/kernels/Kernels_p.h"
#include "q32Base/memory/CqTileMap_p.h"
#include "q32Base/memory/TileWalk_p.h"
#include "q32Base/operations/ProgressRun_p.h"
#include "q32Base/operations/Resample_p.h"

#include <algorithm>
#include <cstring>
#include <memory>

namespace q32 {
namespace {

/// The source row of target row y. Row numbers wrap at 16 bits, deliberately.
std::uint32_t fnSourceRow(std::uint32_t y, std::uint32_t step) {
    return ((y * step) >> 8) & 0xFFFF;
}

/// Asks for a byte that is read soon.
void fnPrefetch(const std::uint8_t* at) {
#ifdef __GNUC__
    __builtin_prefetch(at);
#else
    static_cast<void>(at);
#endif
}

/// Target columns that lie in one tile, and whose source pixels do.
struct Segment {
    std::uint32_t m_nTarget; ///< the first column
    std::uint32_t m_nCount;
    std::uint32_t m_nSource; ///< the first column of the source tile
    std::uint32_t m_nAt;     ///< the first position from there, in 24.8 fixed point
};

/// Samples tile by tile, so that source and target are traversed in memory order. Each row is
/// sampled once: a target row with the same source row as the one above is a copy of that.
class NearestSampler {
public:
    NearestSampler(const CqTileMap& source, const CqTileMap& target)
        : m_Source(source), m_Target(target),
          m_fnSample(fnKernels().fnSample[source.BytesPerPixel - 1]),
          m_nStepX((source.Width << 8) / target.Width),
          m_nStepY((source.Height << 8) / target.Height),
          m_pSegments(fnNewArray<Segment>(std::size_t{source.TilesAcross} + target.TilesAcross)) {
        for (std::uint32_t x = 0; x < target.Width; x += m_pSegments[m_nSegments++].m_nCount)
            m_pSegments[m_nSegments] = fnSegmentAt(x);
    }

    /// Fills target rows from y to before `bottom`, which lie in the same tiles.
    void fnFill(std::uint32_t y, std::uint32_t bottom) const {
        for (std::size_t i = 0; i < m_nSegments; ++i)
            fnFillSegment(m_pSegments[i], y, bottom);
    }

private:
    Segment fnSegmentAt(std::uint32_t x) const {
        const std::uint32_t at = x * m_nStepX; // fits: no position exceeds the source's width
        const std::uint32_t pixel = at >> 8;
        const std::uint64_t left = (std::uint64_t{m_Source.fnRunEnd(pixel)} << 8) - at;
        std::uint32_t count = m_Target.fnRunEnd(x) - x;
        if (m_nStepX != 0)
            count = static_cast<std::uint32_t>(
                std::min<std::uint64_t>(count, (left + m_nStepX - 1) / m_nStepX));
        const std::uint32_t begin = m_Source.fnRunBegin(pixel);
        return {x, count, begin, at - (begin << 8)};
    }

    void fnFillSegment(const Segment& segment, std::uint32_t y, std::uint32_t bottom) const {
        const std::size_t bytes = std::size_t{segment.m_nCount} * m_Target.fnGetBytesPerPixel();
        const std::ptrdiff_t stride = m_Target.fnStride(segment.m_nTarget);
        std::uint8_t* to = m_Target.fnAt(segment.m_nTarget, y);
        std::uint32_t above = 0xFFFFFFFFu; // no row
        for (; y < bottom; ++y, to += stride) {
            const std::uint32_t row = fnSourceRow(y, m_nStepY);
            if (m_nStepX > 256 && bottom - y > kAheadRows)
                fnPrefetchRow(segment, fnSourceRow(y + kAheadRows, m_nStepY));
            if (row == above)
                std::memcpy(to, to - stride, bytes);
            else
                m_fnSample(m_Source.fnAt(segment.m_nSource, row), to, segment.m_nCount,
                           segment.m_nAt, m_nStepX);
            above = row;
        }
    }

    /// Reduced rows lie too far apart for the processor to expect them by itself.
    void fnPrefetchRow(const Segment& segment, std::uint32_t row) const {
        constexpr std::size_t kLine = 64;
        const std::size_t step = std::size_t{m_nStepX} * m_Source.fnGetBytesPerPixel() / 256;
        const std::uint8_t* at = m_Source.fnAt(segment.m_nSource + (segment.m_nAt >> 8), row);
        const std::size_t bytes = (segment.m_nCount - 1) * step + 1;
        for (std::size_t i = 0; i < bytes; i += std::max(kLine, step))
            fnPrefetch(at + i);
    }

    static constexpr std::uint32_t kAheadRows = 4;

    PixelArea m_Source;
    PixelArea m_Target;
    SampleRun m_fnSample;
    std::uint32_t m_nStepX;
    std::uint32_t m_nStepY;
    std::unique_ptr<Segment[]> m_pSegments; ///< from left to right
    std::size_t m_nSegments = 0;
};

/// Samples a row of two pixels a byte. After an odd last pixel, the low nibble stays.
void fnSampleNibbles(const std::uint8_t* source, std::uint8_t* target, std::uint32_t count,
                     std::uint32_t step) {
    std::uint32_t at = 0;
    for (std::uint32_t x = 0; x < count; ++x, at += step) {
        const std::uint32_t from = at >> 8;
        const unsigned byte = source[from >> 1];
        const unsigned index = from & 1 ? byte & 0x0Fu : byte >> 4;
        const unsigned other = target[x >> 1] & (x & 1 ? 0xF0u : 0x0Fu);
        target[x >> 1] = static_cast<unsigned char>(other | (x & 1 ? index : index << 4));
    }
}

/// An image of 4 bits is a single tile.
bool fnNearestNibbles(const CqTileMap& source, CqTileMap& target, const ProgressRun& run) {
    const std::uint32_t stepX = (source.Width << 8) / target.Width;
    const std::uint32_t stepY = (source.Height << 8) / target.Height;
    for (std::uint32_t y = 0; y < target.Height; ++y) {
        fnSampleNibbles(source.PixelBuffer + std::size_t{fnSourceRow(y, stepY)} * source.RowBytes,
                        target.PixelBuffer + std::size_t{y} * target.RowBytes, target.Width, stepX);
        if (run.fnAborts(y))
            return false;
    }
    return true;
}

} // namespace

bool fnNearestResample(const CqTileMap& source, CqTileMap& target, CqProgressDisplay* progress) {
    const ProgressRun run(progress, target.Height);
    if (source.BitCount == 4)
        return fnNearestNibbles(source, target, run);
    const NearestSampler sampler(source, target);
    std::uint32_t bottom;
    for (std::uint32_t y = 0; y < target.Height; y = bottom) {
        bottom =
            std::min(target.Height - y, CqTileMap::kMaxTileSize - y % CqTileMap::kMaxTileSize) + y;
        sampler.fnFill(y, bottom);
        if (run.fnAborts(y, bottom))
            return false;
    }
    return true;
}

} // namespace q32
