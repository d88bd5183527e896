#include "q32Base/framework/Memory.h"
#include "q32Base/framework/Parallel_p.h"
#include "q32Base/image/CqImage.h"
#include "q32Base/kernels/Kernels_p.h"
#include "q32Base/kernels/StreamPixels_p.h"
#include "q32Base/memory/CqTileMap_p.h"
#include "q32Base/pixels/PixelConversion.h"
#include "q32Base/pixels/PixelFormat_p.h"
#include "q32Base/platform/Checked_p.h"

#include <cstddef>
#include <cstdint>
#include <memory>

namespace {

constexpr double kDepthConversionPixelTime = 0.4; ///< nanoseconds

/// The conversion from one image's depth to the 24 or 32 bits of another.
q32::PixelDecoder fnWidening(const CqTileMap& source, const CqTileMap& target) {
    return {source.BitCount, source.Palette.get(),
            q32::fnPixelFormat(target.BitCount).m_bAlpha ? PIXEL_ARGB32 : PIXEL_RGB24};
}

/// A 4-bit image is a single tile of any size, so it is converted row by row.
void fnWidenRows(CqTileMap& source, CqTileMap& target) {
    const q32::Parallel rows(source.Height, kDepthConversionPixelTime * source.Width);
    const q32::WorkerBytes packed(rows, source.RowBytes);
    const q32::WorkerBytes indices(rows, source.Width);
    const q32::WorkerBytes row(rows, target.RowBytes);
    const q32::PixelDecoder widening = fnWidening(source, target);
    rows.fnRun([&](std::uint32_t worker, std::uint32_t y, std::uint32_t end) {
        for (; y < end; ++y) {
            source.fnFetchRow(y, packed[worker]);
            q32::fnKernels().fnIndex4ToIndex8(packed[worker], indices[worker], source.Width);
            widening.fnRun(indices[worker], row[worker], source.Width);
            target.fnStoreRow(y, row[worker]);
        }
    });
}

/// Tiles of both maps have the same shape, so each is one run of pixels.
void fnWidenTiles(CqTileMap& source, CqTileMap& target) {
    const q32::PixelDecoder widening = fnWidening(source, target);
    const q32::Parallel tiles(source.TileCount,
                              kDepthConversionPixelTime * source.TileWidth * source.TileHeight);
    const bool streams = source.PaletteCount == 0 && target.BufferSize >= q32::kStreamLeast;
    tiles.fnRun([&](std::uint32_t, std::uint32_t i, std::uint32_t end) {
        CqImageTile from(false);
        CqImageTile to(false);
        const auto run = [&](const unsigned char* in, unsigned char* out, std::size_t count) {
            widening.fnRun(in, out, count);
        };
        for (; i < end; ++i) {
            source.fnAccessTile(i, &from);
            target.fnAccessTile(i, &to);
            const std::size_t pixels =
                static_cast<std::size_t>(from.Width) * static_cast<std::size_t>(from.Height);
            if (streams)
                q32::fnStreamPixels(q32::fnKernels(), from.Pixels, source.BytesPerPixel, to.Pixels,
                                    target.BytesPerPixel, pixels, run);
            else
                run(from.Pixels, to.Pixels, pixels);
        }
    });
}

} // namespace

void CqImage::fnConvert(unsigned int bits, bool, tagRGBQUAD* palette) {
    q32::fnRequirePixels("CqImage::fnConvert", TileMap);
    if (bits == BitCount)
        return;
    const unsigned int count = !q32::fnIsIndexed(bits) ? 0 : palette ? 1 : 1u << bits;
    // Other depths are left as they are.
    const auto contents =
        bits == 24 || bits == 32 ? q32::BlockContents::ANY : q32::BlockContents::ZERO;
    std::unique_ptr<CqTileMap> target(
        q32::fnNew<CqTileMap>(Width, Height, bits, palette, count, contents));
    if (bits == 24)
        fnConvert24(target.get());
    else if (bits == 32)
        fnConvert32(target.get());
    fnSetBuf(target.release());
}

void CqImage::fnConvert24(CqTileMap* target) {
    BitCount == 4 ? fnWidenRows(*TileMap, *target) : fnWidenTiles(*TileMap, *target);
}

void CqImage::fnConvert32(CqTileMap* target) {
    BitCount == 4 ? fnWidenRows(*TileMap, *target) : fnWidenTiles(*TileMap, *target);
}
