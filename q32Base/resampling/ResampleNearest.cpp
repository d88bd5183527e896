#include "q32Base/framework/Memory.h"
#include "q32Base/framework/Parallel_p.h"
#include "q32Base/kernels/Kernels_p.h"
#include "q32Base/kernels/StreamPixels_p.h"
#include "q32Base/memory/CqTileMap_p.h"
#include "q32Base/resampling/Resample_p.h"
#include "q32Base/services/ProgressRun_p.h"

#include <cstring>
#include <memory>

namespace q32 {
namespace {

/// Samples two pixels a byte; the low nibble after an odd last pixel stays.
void fnSampleNibbles(const std::uint8_t* source, std::uint8_t* target, std::size_t count,
                     std::uint32_t at, std::uint32_t step) {
    for (std::size_t x = 0; x < count; ++x, at += step) {
        const std::uint32_t from = at >> 8;
        const unsigned byte = source[from >> 1];
        const unsigned index = from & 1 ? byte & 0x0Fu : byte >> 4;
        const unsigned kept = target[x >> 1] & (x & 1 ? 0xF0u : 0x0Fu);
        target[x >> 1] = static_cast<unsigned char>(kept | (x & 1 ? index : index << 4));
    }
}

/// The same as CqTileMap::fnStoreRow for a row of full bytes, bypassing the caches.
void fnStreamRow(CqTileMap& target, std::uint32_t row, const unsigned char* in) {
    const std::uint32_t tileRow = row / target.TileHeight;
    const std::uint32_t inTile = row - tileRow * target.TileHeight;
    const TileEntry* tile = &target.TileTable[std::size_t{tileRow} * target.TilesAcross];
    const std::size_t full = target.fnRowBytes(target.TileWidth);
    for (std::uint32_t column = 1; column < target.TilesAcross; ++column, ++tile, in += full)
        fnKernels().fnStreamCopy(in, tile->Pixels + full * inTile, full);
    // Rows of this column may share cache lines, which are best written through the caches.
    const std::size_t last = target.fnRowBytes(target.LastTileWidth);
    std::memcpy(tile->Pixels + last * inTile, in, last);
}

constexpr double kRowByteTime = 0.04; ///< nanoseconds, for a byte read or written

/// Samples rows. A source row that is repeated is sampled once.
class NearestRows {
public:
    NearestRows(const CqTileMap& source, CqTileMap& target)
        : m_Source(source), m_Target(target),
          m_fnSample(source.BitCount == 4 ? fnSampleNibbles
                                          : fnKernels().fnSample[source.BytesPerPixel - 1]),
          m_nStepX((source.Width << 8) / target.Width),
          m_nStepY((source.Height << 8) / target.Height),
          m_bKeepsNibble(target.BitCount == 4 && target.Width % 2 != 0),
          m_bStreams(target.BytesPerPixel != 0 && target.BufferSize >= kStreamLeast),
          m_pFrom(fnNewArray<unsigned char>(source.RowBytes)),
          m_pTo(fnNewArray<unsigned char>(target.RowBytes)) {}

    void fnRun(std::uint32_t first, std::uint32_t end) {
        for (; first < end; ++first)
            fnSample(first);
        if (m_bStreams)
            fnKernels().fnStreamEnd();
    }

private:
    void fnSample(std::uint32_t y) {
        const auto at = static_cast<std::uint32_t>(std::uint64_t{y} * m_nStepY);
        const std::uint32_t row = (at >> 8) & 0xFFFF;
        if (row != m_nPresent || m_bKeepsNibble) {
            if (m_bKeepsNibble)
                m_Target.fnFetchRow(y, m_pTo.get());
            m_Source.fnFetchRow(row, m_pFrom.get());
            m_fnSample(m_pFrom.get(), m_pTo.get(), m_Target.Width, 0, m_nStepX);
            m_nPresent = row;
        }
        if (m_bStreams)
            fnStreamRow(m_Target, y, m_pTo.get());
        else
            m_Target.fnStoreRow(y, m_pTo.get());
    }

    const CqTileMap& m_Source;
    CqTileMap& m_Target;
    SampleRun m_fnSample;
    std::uint32_t m_nStepX;
    std::uint32_t m_nStepY;
    bool m_bKeepsNibble;
    bool m_bStreams;
    std::uint32_t m_nPresent = 0xFFFFFFFFu; ///< none: row numbers have 16 bits
    std::unique_ptr<unsigned char[]> m_pFrom;
    std::unique_ptr<unsigned char[]> m_pTo;
};

} // namespace

bool fnNearestResample(const CqTileMap& source, CqTileMap& target, CqProgressDisplay* progress) {
    const Parallel rows(target.Height, kRowByteTime * (source.RowBytes + target.RowBytes));
    PerWorker<NearestRows> nearest(rows, source, target);
    return ProgressRun(progress, target.Height)
        .fnRun(rows, [&](std::uint32_t worker, std::uint32_t first, std::uint32_t end) {
            nearest[worker].fnRun(first, end);
        });
}

} // namespace q32
