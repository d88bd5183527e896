#pragma once

#include "q32Base/framework/CList.h"
#include "q32Base/framework/CPalette.h"
#include "q32Base/framework/CString.h"
#include "q32Base/framework/Exceptions.h"
#include "q32Base/framework/Sync.h"
#include "q32Base/framework/Values.h"
#include "q32Base/memory/PixelBlock.h"
#include "q32Base/platform/Records.h"

#include <cassert>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>

class CqImageLine;
class CqImageTile;
class CWnd;

/// One tile: the address of its first pixel, and whether an accessor claims it.
struct TileEntry {
    unsigned char* Pixels;
    bool Locked;
};

/// How `CqTileMap::Zoom` scales an image.
enum CqZoomMode : std::uint32_t {
    ZOOM_INFLATE = 1, ///< up, by pixel repetition
    ZOOM_SHRINK = 2,  ///< down, by nearest sample
    ZOOM_FIT = 3      ///< to the size of a view
};

/// The storage of one image: geometry, palette, one block of pixels divided into tiles, the claims
/// on them, and the buffers that drawing reuses. Each map belongs to one image and is never shared.
/// Geometry and depth never change.
///
/// Tiles are at most 128 by 128 pixels and follow each other in the block in row-major order
/// without gaps; inside a tile, rows follow each other without padding, in the tile's own width. A
/// 4-bit image is one tile.
///
/// A claim is advisory: it never blocks. `TileLock` and `LineLock` guard the flags and the list,
/// not the pixels, and are never held together.
class CqTileMap {
public:
    static constexpr std::uint32_t kMaxTileSize = 128;

    /// Raises the memory exception, also for a width or height of 0, a depth that isn't 4, 8, 16,
    /// 24 or 32, and a size of 4 GiB or more.
    /// @param palette  null: the depth's default palette; `q32GreyRamp`: the grey ramp; else a
    ///                 table of `count` entries. Both are ignored for 16 bits and above.
    /// @param contents ANY: for a caller that writes every pixel; their bytes are arbitrary
    CqTileMap(std::uint32_t width, std::uint32_t height, std::uint32_t bitCount,
              const RGBQUAD* palette, std::uint32_t count,
              q32::BlockContents contents = q32::BlockContents::ZERO);
    ~CqTileMap();
    CqTileMap(const CqTileMap&) = delete;
    CqTileMap& operator=(const CqTileMap&) = delete;

    /// The block that `PixelBuffer` points into; it also says whether the pixels lie in RAM or in
    /// which file.
    const q32::PixelBlock& fnGetBlock() const { return m_Block; }

    /// Whether pixels were lost since this was last asked.
    bool fnHasNewLosses() const noexcept {
        return m_Block.fnIsOnDisk() && m_Block.fnHasNewLosses();
    }
    /// Raises the memory exception for such a loss, at the end of an operation.
    void fnRequirePixels() const {
        if (fnHasNewLosses())
            AfxThrowMemoryException();
    }

    /// A number that no other map of this process has or had; never 0. It tells storage apart that
    /// lies at one address at different times.
    std::uint64_t fnGetSerial() const { return m_nSerial; }

    // Defined beside the accessors, in image/.

    /// Place a tile accessor. The index or position must lie inside the image.
    void fnAccessTile(std::uint32_t index, CqImageTile* tile);
    void fnAccessTile(CPoint& position, CqImageTile* tile);
    /// Places a line accessor, which writes back its previous row if that was writable and, if
    /// buffered, fetches the new one.
    void fnAccessLine(std::uint32_t row, CqImageLine* line, bool readOnly);
    /// Release a claim. Call them without the locks held; they take them.
    void fnReleaseTile(std::uint32_t index);
    void fnReleaseLine(std::uint32_t row);

    /// A tile's rectangle in image pixels, or scaled by `Zoom`.
    void fnGetTileRect(CRect* out, std::uint32_t index, bool scaled) const;
    /// Scales a length or coordinate of the image by `Zoom`.
    std::int32_t fnScale(std::int32_t value) const;

    /// Writes palette entries, limited to those that exist, and returns the count. `GrayScale`
    /// isn't updated.
    std::uint32_t fnSetPaletteEntry(std::uint32_t first, std::uint32_t count,
                                    const RGBQUAD* entries);
    /// How many palette entries there are from `first` on, at most `count`.
    std::uint32_t fnCutPaletteCount(std::uint32_t first, std::uint32_t count) const;
    /// Fills the palette; the argument is that of the constructor.
    void fnInitPalette(const RGBQUAD* palette);
    /// Creates a screen palette from the palette in `out`, which must be empty. False when the
    /// screen refuses; raises the memory exception.
    bool fnCreatePalette(CPalette& out) const;
    /// Index of the first palette entry with the same red, green and blue; -1 when there is none.
    int fnFindColor(std::uint8_t red, std::uint8_t green, std::uint8_t blue) const;

    /// Bytes in a row of `width` pixels.
    std::uint32_t fnRowBytes(std::uint32_t width) const {
        return static_cast<std::uint32_t>((std::uint64_t{BitCount} * width + 7) >> 3);
    }
    /// Width of the tiles in a tile column.
    std::uint32_t fnColumnWidth(std::uint32_t column) const {
        assert(column < TilesAcross);
        return column + 1 == TilesAcross ? LastTileWidth : TileWidth;
    }

    /// Copy a row out of its tiles, or into them: `RowBytes` bytes in the image's byte order.
    void fnFetchRow(std::uint32_t row, unsigned char* out) const;
    void fnStoreRow(std::uint32_t row, const unsigned char* in);

    std::uint32_t Width;
    std::uint32_t Height;
    std::uint32_t BitCount;
    std::uint32_t BytesPerPixel; ///< 0 at 4 bits
    std::uint32_t RowBytes;
    std::uint32_t TileCount;
    std::uint32_t TilesAcross;
    std::uint32_t TilesDown;
    std::uint32_t TileWidth;
    std::uint32_t TileHeight;
    std::uint32_t LastTileWidth;
    std::uint32_t PaletteCount; ///< entries; 0 above 8 bits
    CWnd* DrawWnd = nullptr;    ///< window of the last `fnDrawInit`; not owned
    double Zoom = 1.0;
    CqZoomMode ZoomMode = ZOOM_INFLATE;
    CRect ViewRect;                       ///< where the image is drawn in the window
    CRect ImageRect;                      ///< the part shown, in pixels of the scaled image
    unsigned char* PixelBuffer = nullptr; ///< the bytes of the block
    std::uint32_t BufferSize;             ///< RowBytes x Height
    bool GrayScale = false; ///< whether the palette was the grey ramp when it was made
    std::uint32_t LastTileHeight;
    CPalette* SavedPalette = nullptr;      ///< what the device context had selected before drawing
    std::uint32_t DibTileBytes;            ///< least size of the pixels of `DrawDib`
    std::uint32_t PackedTileBytes;         ///< least size of `DrawScratch`
    std::uint32_t DrawDibCapacity = 0;     ///< bytes of pixels in `DrawDib`
    std::uint32_t DrawScratchCapacity = 0; ///< bytes of `DrawScratch`
    CList<std::uint32_t, std::uint32_t> LockedLines{10}; ///< claimed rows

private:
    static std::uint64_t fnMakeSerial() noexcept;

    q32::PixelBlock m_Block;
    const std::uint64_t m_nSerial = fnMakeSerial();

    /// Frees what came from `::operator new`.
    struct RawDelete {
        void operator()(BITMAPINFOHEADER* block) const { ::operator delete(block); }
    };

public:
    // Declared after the block, so that they are destroyed before it, the table of tiles first.

    std::unique_ptr<CPalette> DrawPalette;                ///< deleted whenever the palette changes
    std::unique_ptr<unsigned char[]> DrawScratch;         ///< staged pixels
    std::unique_ptr<BITMAPINFOHEADER, RawDelete> DrawDib; ///< header, palette slot and pixels
    std::unique_ptr<RGBQUAD[]> Palette; ///< at least 256 entries, zero beyond `PaletteCount`, so
                                        ///< that any index is safe
    std::unique_ptr<TileEntry[]> TileTable; ///< in row-major order

    static CCriticalSection TileLock;
    static CCriticalSection LineLock;

private:
    void fnSetGeometry();
    void fnFillTileTable();
};
