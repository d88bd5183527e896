#include "q32Base/framework/Memory.h"
#include "q32Base/image/CqImage.h"
#include "q32Base/kernels/Kernels_p.h"
#include "q32Base/memory/CqTileMap_p.h"
#include "q32Base/pixels/PixelConversion.h"
#include "q32Base/pixels/PixelFormat_p.h"
#include "q32Base/platform/Checked_p.h"

#include <memory>

namespace {

/// The conversion from one image's depth to the 24 or 32 bits of another.
q32::PixelDecoder fnWidening(const CqTileMap& source, const CqTileMap& target) {
    return {source.BitCount, source.Palette.get(),
            q32::fnPixelFormat(target.BitCount).m_bAlpha ? PIXEL_ARGB32 : PIXEL_RGB24};
}

/// A 4-bit image is a single tile of any size, so it is converted row by row.
void fnWidenRows(CqTileMap& source, CqTileMap& target) {
    const std::unique_ptr<unsigned char[]> packed(q32::fnNewArray<unsigned char>(source.RowBytes));
    const std::unique_ptr<unsigned char[]> indices(q32::fnNewArray<unsigned char>(source.Width));
    const std::unique_ptr<unsigned char[]> row(q32::fnNewArray<unsigned char>(target.RowBytes));
    const q32::PixelDecoder widening = fnWidening(source, target);
    for (std::uint32_t y = 0; y < source.Height; ++y) {
        source.fnFetchRow(y, packed.get());
        q32::fnKernels().fnIndex4ToIndex8(packed.get(), indices.get(), source.Width);
        widening.fnRun(indices.get(), row.get(), source.Width);
        target.fnStoreRow(y, row.get());
    }
}

/// Tiles of both maps have the same shape, so each is one run of pixels.
void fnWidenTiles(CqTileMap& source, CqTileMap& target) {
    const q32::PixelDecoder widening = fnWidening(source, target);
    CqImageTile from(false);
    CqImageTile to(false);
    for (std::uint32_t i = 0; i < source.TileCount; ++i) {
        source.fnAccessTile(i, &from);
        target.fnAccessTile(i, &to);
        widening.fnRun(from.Pixels, to.Pixels,
                       static_cast<std::size_t>(from.Width) *
                           static_cast<std::size_t>(from.Height));
    }
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
