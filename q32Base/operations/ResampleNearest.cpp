#include "q32Base/framework/Memory.h"
#include "q32Base/kernels/Kernels_p.h"
#include "q32Base/kernels/StreamPixels_p.h"
#include "q32Base/memory/CqTileMap_p.h"
#include "q32Base/operations/ProgressRun_p.h"
#include "q32Base/operations/Resample_p.h"

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

/// Reads the pixels of a target row where they lie, for a reduction, which needs few of each source
/// row. The tiles of a tile row follow each other in memory, so a table of offsets, the same for
/// all rows of the tile row, leads to each pixel; only the last tile column, of another width, has
/// its own origin.
class RowGather {
public:
    RowGather(const CqTileMap& source, std::uint32_t count, std::uint32_t step)
        : m_Source(source), m_nCount(count), m_nStep(step),
          m_pOffsets(fnNewArray<std::uint32_t>(count)),
          m_fnGather(fnKernels().fnGather[source.BytesPerPixel - 1]) {}

    void fnFetch(std::uint32_t row, unsigned char* out) {
        const std::uint32_t tileRow = row / m_Source.TileHeight;
        const std::uint32_t inTile = row - tileRow * m_Source.TileHeight;
        fnPlan(tileRow + 1 == m_Source.TilesDown ? m_Source.LastTileHeight : m_Source.TileHeight);
        const std::size_t first = std::size_t{tileRow} * m_Source.TilesAcross;
        m_fnGather(m_Source.TileTable[first].Pixels +
                       std::size_t{m_Source.fnRowBytes(m_Source.TileWidth)} * inTile,
                   m_pOffsets.get(), out, m_nInner);
        m_fnGather(m_Source.TileTable[first + m_Source.TilesAcross - 1].Pixels +
                       std::size_t{m_Source.fnRowBytes(m_Source.LastTileWidth)} * inTile,
                   m_pOffsets.get() + m_nInner,
                   out + std::size_t{m_nInner} * m_Source.BytesPerPixel, m_nCount - m_nInner);
    }

private:
    /// Fills the table for tiles of a height.
    void fnPlan(std::uint32_t tileHeight) {
        if (tileHeight == m_nTileHeight)
            return;
        m_nTileHeight = tileHeight;
        const std::uint32_t bytes = m_Source.BytesPerPixel;
        const std::uint32_t width = m_Source.TileWidth;
        const std::uint32_t lastTile = (m_Source.TilesAcross - 1) * width;
        m_nInner = 0;
        std::uint32_t at = 0;
        for (std::uint32_t i = 0; i < m_nCount; ++i, at += m_nStep) {
            const std::uint32_t x = at >> 8;
            if (x < lastTile) {
                m_pOffsets[i] = (x / width * width * tileHeight + x % width) * bytes;
                m_nInner = i + 1;
            } else {
                m_pOffsets[i] = (x - lastTile) * bytes;
            }
        }
    }

    const CqTileMap& m_Source;
    std::uint32_t m_nCount;
    std::uint32_t m_nStep;
    std::unique_ptr<std::uint32_t[]> m_pOffsets;
    GatherRun m_fnGather;
    std::uint32_t m_nTileHeight = 0; ///< what the table is for
    std::uint32_t m_nInner = 0;      ///< how many pixels lie before the last tile column
};

/// One row of a reduction or an enlargement.
class RowSampler {
public:
    RowSampler(const CqTileMap& source, std::uint32_t count, std::uint32_t step)
        : m_Source(source), m_nCount(count), m_nStep(step) {
        if (source.BytesPerPixel != 0 && step > 256) {
            m_pGather.reset(fnNew<RowGather>(source, count, step));
        } else {
            m_pRow.reset(fnNewArray<unsigned char>(source.RowBytes));
            m_fnSample = source.BitCount == 4 ? fnSampleNibbles
                                              : fnKernels().fnSample[source.BytesPerPixel - 1];
        }
    }

    void fnSample(std::uint32_t row, unsigned char* out) {
        if (m_pGather)
            return m_pGather->fnFetch(row, out);
        m_Source.fnFetchRow(row, m_pRow.get());
        m_fnSample(m_pRow.get(), out, m_nCount, 0, m_nStep);
    }

private:
    const CqTileMap& m_Source;
    std::uint32_t m_nCount;
    std::uint32_t m_nStep;
    std::unique_ptr<RowGather> m_pGather;
    std::unique_ptr<unsigned char[]> m_pRow;
    SampleRun m_fnSample = nullptr;
};

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

} // namespace

bool fnNearestResample(const CqTileMap& source, CqTileMap& target, CqProgressDisplay* progress) {
    const ProgressRun run(progress, target.Height);
    const std::unique_ptr<unsigned char[]> to(fnNewArray<unsigned char>(target.RowBytes));
    const std::uint32_t stepX = (source.Width << 8) / target.Width;
    const std::uint32_t stepY = (source.Height << 8) / target.Height;
    RowSampler sampler(source, target.Width, stepX);
    const bool keepsNibble = target.BitCount == 4 && target.Width % 2 != 0;
    const bool streams = target.BytesPerPixel != 0 && target.BufferSize >= kStreamLeast;
    std::uint32_t at = 0;
    std::uint32_t present = 0xFFFFFFFFu; // no row: row numbers have 16 bits
    bool done = true;
    for (std::uint32_t y = 0; y < target.Height && done; ++y, at += stepY) {
        const std::uint32_t row = (at >> 8) & 0xFFFF;
        if (row != present || keepsNibble) {
            if (keepsNibble)
                target.fnFetchRow(y, to.get());
            sampler.fnSample(row, to.get());
            present = row;
        }
        if (streams)
            fnStreamRow(target, y, to.get());
        else
            target.fnStoreRow(y, to.get());
        done = !run.fnAborts(y);
    }
    fnKernels().fnStreamEnd();
    return done;
}

} // namespace q32
