#include "q32Base/framework/Memory.h"
#include "q32Base/image/CqImage.h"
#include "q32Base/kernels/Kernels.h"
#include "q32Base/memory/CqTileMap.h"

#include <memory>

namespace {

/// Carries a run of pixels of 8 bits and more from one image's depth to 24 or 32 bits.
class WideningRun {
public:
    WideningRun(const CqTileMap& source, std::uint32_t bits)
        : m_pPalette(reinterpret_cast<const std::uint8_t*>(source.Palette.get())),
          m_nPaletteCount(source.PaletteCount) {
        const q32::Kernels& kernels = q32::fnKernels();
        const bool deep = bits == 32;
        m_fnIndex = deep ? kernels.fnIndex8ToArgb32 : kernels.fnIndex8ToRgb24;
        m_fnPixels = source.BitCount == 16
                         ? deep ? kernels.fnRgb565ToArgb32 : kernels.fnRgb565ToRgb24
                     : source.BitCount == 24 ? kernels.fnRgb24ToArgb32
                                             : kernels.fnArgb32ToRgb24;
        m_bIndexed = source.BitCount < 9;
    }

    void operator()(const unsigned char* from, unsigned char* to, std::size_t count) const {
        if (m_bIndexed)
            m_fnIndex(from, to, count, m_pPalette, m_nPaletteCount);
        else
            m_fnPixels(from, to, count);
    }

private:
    const std::uint8_t* m_pPalette;
    std::size_t m_nPaletteCount;
    q32::PaletteRun m_fnIndex;
    q32::PixelRun m_fnPixels;
    bool m_bIndexed;
};

/// A 4-bit image is one tile whatever its size, so it is carried over row by row.
void fnWidenRows(CqTileMap& source, CqTileMap& target) {
    const std::unique_ptr<unsigned char[]> packed(q32::fnNewArray<unsigned char>(source.RowBytes));
    const std::unique_ptr<unsigned char[]> indices(q32::fnNewArray<unsigned char>(source.Width));
    const std::unique_ptr<unsigned char[]> row(q32::fnNewArray<unsigned char>(target.RowBytes));
    const WideningRun widen(source, target.BitCount);
    for (std::uint32_t y = 0; y < source.Height; ++y) {
        source.fnFetchRow(y, packed.get());
        q32::fnKernels().fnIndex4ToIndex8(packed.get(), indices.get(), source.Width);
        widen(indices.get(), row.get(), source.Width);
        target.fnStoreRow(y, row.get());
    }
}

/// Tiles of both maps have the same shape, so each is one run of pixels.
void fnWidenTiles(CqTileMap& source, CqTileMap& target) {
    const WideningRun widen(source, target.BitCount);
    CqImageTile from(false);
    CqImageTile to(false);
    for (std::uint32_t i = 0; i < source.TileCount; ++i) {
        source.fnAccessTile(i, &from);
        target.fnAccessTile(i, &to);
        widen(from.Pixels, to.Pixels,
              static_cast<std::size_t>(from.Width) * static_cast<std::size_t>(from.Height));
    }
}

} // namespace

void CqImage::fnConvert(unsigned int bits, bool, tagRGBQUAD* palette) {
    if (bits == BitCount)
        return;
    const unsigned int count = bits > 8 ? 0 : palette ? 1 : 1u << bits;
    std::unique_ptr<CqTileMap> target(q32::fnNew<CqTileMap>(Width, Height, bits, palette, count));
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
