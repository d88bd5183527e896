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
    const std::unique_ptr<unsigned char[]> from(fnNewArray<unsigned char>(source.RowBytes));
    const std::unique_ptr<unsigned char[]> to(fnNewArray<unsigned char>(target.RowBytes));
    const SampleRun sample =
        source.BitCount == 4 ? fnSampleNibbles : fnKernels().fnSample[source.BytesPerPixel - 1];
    const std::uint32_t stepX = (source.Width << 8) / target.Width;
    const std::uint32_t stepY = (source.Height << 8) / target.Height;
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
            source.fnFetchRow(row, from.get());
            sample(from.get(), to.get(), target.Width, 0, stepX);
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
