#pragma once

#include "q32Base/framework/CObject.h"
#include "q32Base/framework/CPalette.h"
#include "q32Base/framework/CString.h"
#include "q32Base/framework/Values.h"
#include "q32Base/image/CqColor.h"
#include "q32Base/image/CqImageLine.h"
#include "q32Base/image/CqImageTile.h"
#include "q32Base/image/CqMergeParam.h"
#include "q32Base/memory/GreyRamp.h"
#include "q32Base/platform/Export.h"

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <utility>

class CqProgressDisplay;
class CqTileMap;
class CRgn;
class CWnd;
namespace q32 {
class ImageStorage;
struct DibLayout;
} // namespace q32

/// A raster image of 4, 8, 16, 24 or 32 bits a pixel, which may be larger than memory: a handle to
/// a tile map, whose geometry is mirrored in public fields.
///
/// Bytes of a pixel in memory: 4 bits, a palette index, two to a byte, even x in the high nibble; 8
/// bits, a palette index; 16 bits, 5-6-5 stored high byte first; 24 bits, red, green, blue; 32
/// bits, alpha, red, green, blue.
///
/// Storage is replaced as a whole, and the new one is complete before the old one is destroyed: an
/// operation that fails leaves the image as it was. Accessors must release the old storage before
/// the call. Drawing is defined in display/, and what changes pixels in operations/.
/// Every operation but `fnAlloc`, `fnLoad` and the assignments needs storage and does not check for
/// it. Memory failures are raised as CMemoryException. An image is used by one thread at a time.
class Q32_API CqImage : public CObject {
public:
    static const CRuntimeClass classCqImage;

    /// Without storage, at the resolution of the screen (0 without one).
    CqImage();
    /// Calls `fnAlloc`.
    CqImage(unsigned int width, unsigned int height, unsigned int bitCount, const RGBQUAD* palette,
            unsigned int count);
    CqImage(unsigned int width, unsigned int height, unsigned int bitCount, CPalette& palette);
    /// With the default palette of the depth, from numbers of any integral type. A size that no
    /// image can have, such as a negative one, raises the memory exception.
    CqImage(std::integral auto width, std::integral auto height, std::integral auto bitCount)
        : CqImage(fnSide(width), fnSide(height), fnSide(bitCount), nullptr, 0) {}
    /// Calls `CqImage::fnLoad`.
    CqImage(int id, unsigned int depth);
    /// Call the assignments.
    explicit CqImage(BITMAPINFOHEADER* header);
    CqImage(CqImage& other);
    ~CqImage() override;

    const CRuntimeClass* GetRuntimeClass() const override;

    /// Copies the storage, and `Title` if the source's isn't empty, `TitleFlag` and both
    /// resolutions. Assigning an image to itself loses its pixels, deliberately: the fresh storage
    /// is copied onto itself. Raises the memory exception, with this image unchanged.
    CqImage& operator=(CqImage& other);
    /// Converts a device-independent bitmap: header, colour table, then rows padded to four bytes.
    /// The block must be as long as its header declares; RLE8 data has `biSizeImage` bytes, or
    /// extends to the stream's end mark if that is 0. The resolutions take the header's raw values.
    /// The masks of a compression-3 header count as the first pixels, deliberately. Raises the
    /// resource exception for a size or depth that no image can have.
    CqImage& operator=(BITMAPINFOHEADER* const header);
    /// Converts a device-independent bitmap that isn't trusted, with the results of the assignment;
    /// only the bytes of the span are read. A negative height is accepted, and means rows from the
    /// top down. Raises the resource exception, with the image unchanged, unless header, colour
    /// table and all uncompressed rows lie in the span, for an unknown compression, for an encoded
    /// bitmap with less than a byte for every 65,536 pixels, and for a size or depth that no image
    /// can have.
    /// @param bitmap  from the header on, at any address
    void fnTake(std::span<const std::byte> bitmap);
    /// A new device-independent bitmap of this image, bottom row first, which the caller frees with
    /// `delete`. The second half of every 16-bit row keeps the image's byte order, deliberately.
    operator BITMAPINFOHEADER*();

    /// Allocates new storage, unless size and depth are those of the present one: pixels and
    /// palette then stay as they are, deliberately. Raises the memory exception.
    /// @param palette  null: the default palette of the depth; `q32GreyRamp`: 256 greys; else a
    ///                 table of `count` entries. Ignored above 8 bits.
    void fnAlloc(unsigned int width, unsigned int height, unsigned int bitCount,
                 const RGBQUAD* palette, unsigned int count);
    void fnAlloc(unsigned int width, unsigned int height, unsigned int bitCount, CPalette& palette);
    /// The same with the default palette, as in the constructor.
    void fnAlloc(std::integral auto width, std::integral auto height, std::integral auto bitCount) {
        fnAlloc(fnSide(width), fnSide(height), fnSide(bitCount), nullptr, 0);
    }
    /// Loads a bitmap resource of the host by the low 16 bits of `id`, and converts it to `depth`
    /// unless that is 0. Rows that the resource lacks are 0. Raises the resource exception when
    /// it is missing or can't be read, and the memory exception, too, for one with less than a byte
    /// for every 65,536 pixels.
    virtual void fnLoad(int id, unsigned int depth);

    /// Exchanges the storage of two images; either may have none. All other fields stay.
    void fnSwapBuf(CqImage& other) noexcept;

    /// Creates a screen palette from the image's palette in `palette`, whose former palette is
    /// deleted.
    void fnGetPalette(CPalette& palette);
    /// Copies palette entries to `out`, limited to those that exist. Returns the count.
    unsigned int fnGetPaletteEntry(unsigned int first, unsigned int count, RGBQUAD* out);
    /// Replaces palette entries, limited to those that exist. Returns the count.
    unsigned int fnSetPaletteEntry(unsigned int first, unsigned int count, const RGBQUAD* entries);
    /// Whether the palette was the plain grey ramp when it was made.
    bool fnIsGrayScale() const;
    /// Path of the scratch file that holds the pixels; empty for pixels in RAM, and without
    /// storage. The file belongs to the image.
    CString fnGetScratchPath() const;
    /// How often pixels in the scratch file were lost and became zeros, because its disk could not
    /// supply them any more; 0 for pixels in RAM, and without storage. The operation in which it
    /// happens raises the memory exception at its end, and a reader or writer of pixels returns
    /// false, once; what is left of the image can still be used. Drawing on the screen, single
    /// pixels and the accessors only count. Without a platform that survives this
    /// (`CqPosixOptions::m_bGuardViews`), the system ends the process instead.
    std::uint32_t fnCountLosses() const noexcept;

    /// Address of a pixel, which must lie inside the image. At 4 bits an odd x gives the byte after
    /// the one that holds its pair, deliberately.
    unsigned char* fnGetPixelAddr(int x, int y);
    /// Reads a pixel. The 16-bit green contains bits of red and blue, deliberately.
    CqColor fnGetPixelColor(int x, int y);
    /// Writes a pixel; palette depths take the first entry of equal red, green and blue, or 0.
    /// 16-bit pixels are stored low byte first, unlike those of fills and drawing, deliberately.
    void fnSetPixelColor(int x, int y, const CqColor& color);

    /// Place an accessor on a tile, by index or by a pixel's position.
    void fnAccessTile(unsigned int index, CqImageTile* tile);
    void fnAccessTile(CPoint& position, CqImageTile* tile);
    /// Places an accessor on a row.
    void fnAccessLine(unsigned int row, CqImageLine* line, bool readOnly);
    void fnAccessLine(std::signed_integral auto row, CqImageLine* line, bool readOnly) {
        fnAccessLine(static_cast<unsigned int>(row), line, readOnly);
    }
    /// Size of a full tile.
    CSize fnGetMaxTileSize() const;

    /// Number of the format of the picture file that the image was read from, which the reading of
    /// a file sets; all bits set means none. Copies of the image don't take it.
    unsigned int fnGetFioPlugin() const { return FioPlugin; }
    void fnSetFioPlugin(unsigned int plugin) { FioPlugin = plugin; }
    /// Returns the plug-in's object, which the image still owns.
    void fnGetPluginData(CObject*& data) const { data = PluginData; }
    /// Deletes the present object, even if `data` is the same one, and takes ownership of `data`.
    void fnSetPluginData(CObject* data);

    /// Changes the depth. 24 and 32 bits convert the pixels; any other depth gives a new, blank
    /// image. Of `palette` only the first entry is used, and the new palette has no other; null
    /// gives the default palette. The second argument isn't read.
    void fnConvert(unsigned int bits, bool reserved, tagRGBQUAD* palette);

    /// Sets the scale at which the image just fits into `view`. Drawing enlarges by it; where it is
    /// below 1, drawing doesn't scale, and clips. The first argument isn't read.
    void fnDrawInit(double reserved, const CRect& view, CWnd* window);
    /// Sets an integer scale: `factor` times as large, or as small if `shrink` is set. `origin` is
    /// the point of the scaled image that lands on the view's top left corner.
    void fnDrawInit(unsigned int factor, bool shrink, const CRect& view, const CPoint& origin,
                    CWnd* window);
    /// Draws the part of the scaled image that begins at (x, y).
    /// @param noGamma     switches gamma off for this draw; for an image of one tile it stays off,
    ///                    deliberately: call CqDisplayProperty::fnEnableGamma to restore it
    /// @param destination  may reach far beyond the drawing area: only its surroundings are drawn
    /// @param background  passed to the selection of a palette
    /// @return false when a buffer can't be allocated or the platform call fails
    bool fnDraw(CDC* dc, const CRect& destination, int x, int y, bool noGamma, bool background);
    /// Draws all but the key pixels, unscaled.
    bool fnKeyDraw(CDC* dc, const CRect& destination, int x, int y, const CqMergeParam& param,
                   bool noGamma, bool background);

    // Filling and copying. Depths aren't converted, and there is no progress report. Everything is
    // clipped to the images.

    /// Fills a rectangle, or the whole image for null. If `draw` is set, the change is drawn in the
    /// window of the last `fnDrawInit`, tile by tile for the whole image.
    void fnFill(const CqColor& color, const CRect* rect, bool draw);
    /// Tiles `srcRect` of a pattern over `dstRect` of this image; null means the whole of that
    /// image.
    void fnFill(CqImage& pattern, const CRect* srcRect, const CRect* dstRect);
    /// Copies `rect` of `src`, or all of it for null, so that its corner lands on (x, y). At 4 bits
    /// both copies start at row 0, whatever rows are given, deliberately.
    void fnCopyBlock(CqImage& src, const CRect* rect, int x, int y);
    /// Merges `rect` of `src`, or all of it for null, into this image at (x, y), by a key colour, a
    /// mask or alpha. Only for 16 and 24 bits; weights between 0 and 255 aren't divided by 255.
    /// Both are deliberate.
    void fnMerge(CqImage& src, const CRect* rect, const CqMergeParam& param, int x, int y);

    // Tone, in place and tile by tile. `draw` draws each tile in the window; an abort leaves the
    // tiles done so far changed. `progress` may be null. 4-bit images are left unchanged, except by
    // fnThresholding; fnColorBalance and fnHueSaturation leave 8-bit ones unchanged too.

    /// Brightness and contrast in percent, -100 to 100.
    void fnBrightContrast(int brightness, int contrast, bool draw, CqProgressDisplay* progress);
    /// Weights of the channels from -100 to 100.
    void fnColorBalance(int red, int green, int blue, bool draw, CqProgressDisplay* progress);
    /// Rotates the hue by degrees and adds percent of saturation; greys stay. 16-bit pixels are
    /// stored with their bytes exchanged, deliberately.
    void fnHueSaturation(int hue, int saturation, bool draw, CqProgressDisplay* progress);
    /// Every byte below `level` becomes 0, every other 255, whatever the depth.
    void fnThresholding(unsigned char level, bool draw, CqProgressDisplay* progress);

    // Geometry of the picture. The new storage replaces the old only on success: after an abort or
    // a failure the picture is unchanged, except for a rotation by 180 degrees, which works in
    // place. A size that doesn't fit in memory, or that no image can have, raises the memory
    // exception. `progress` may be null.

    /// Resizes: by the cubic filter of Mitchell and Netravali (Reconstruction Filters in Computer
    /// Graphics, 1988; B = C = 1/3) if `interpolate` is set and the image has no palette, else by
    /// nearest neighbour. The present size does nothing. The filter doesn't preserve the green of
    /// 16-bit pixels, deliberately.
    void fnResample(unsigned int width, unsigned int height, bool interpolate,
                    CqProgressDisplay* progress);
    /// Resizes by factors, always with the filter, which also sums the indices of a palette image
    /// and leaves a 4-bit one blank in the new size, both deliberately. Sizes are rounded up,
    /// unless they are less than 1e-10 above an integer. The filter uses the factors as given; if
    /// they change no size, nothing happens.
    void fnResample(double scaleX, double scaleY, CqProgressDisplay* progress);
    /// Rotates by `angle` degrees. Right angles move pixels: 90 rotates clockwise, -90
    /// counter-clockwise. All other angles sample the picture and rotate counter-clockwise when
    /// positive. These opposite directions are deliberate. A 4-bit image is left unchanged; a
    /// 16-bit one becomes blank at other than right angles.
    ///
    /// An abort of a rotation by 180 degrees leaves the rows swapped so far swapped; only a
    /// snapshot taken before restores the picture.
    /// @param background  colour of the area outside the picture; index 0 if the palette lacks it
    /// @param center      in: the pivot, in pixels; null is the middle. Out: its position in
    ///                    the new picture. Not written for no rotation (less than 1e-10 degrees off
    ///                    a multiple of 360), for 4 bits, after a failure, and after an abort at a
    ///                    right angle; written after an abort at any other angle.
    /// @param antiAlias   blends four pixels, with a margin larger by 2; a palette image gets the
    ///                    margin too, but is never blended
    void fnRotate(double angle, const CqColor& background, CPoint* center, bool antiAlias,
                  CqProgressDisplay* progress);

    /// Draws a line one pixel wide by Bresenham's algorithm. Points outside the image are skipped,
    /// even if both ends are the same point. The last argument isn't read. Raises the memory
    /// exception for lost pixels, once the line is drawn.
    void fnDrawLine(int x0, int y0, int x1, int y1, const CqColor& color, bool reserved);
    /// Sets `region` to the image's area without the pixels of a key colour (red in bits 0 to 7);
    /// at depths other than 8 bits, to the whole area. Raises the memory exception.
    void fnCreateRgn(unsigned long key, CRgn& region);

    // The first nine mirror the storage, and are read only; 0 before the first allocation.

    std::uint32_t Width = 0;         ///< in pixels
    std::uint32_t Height = 0;        ///< in pixels
    std::uint32_t BitCount = 0;      ///< bits per pixel: 4, 8, 16, 24 or 32
    std::uint32_t BytesPerPixel = 0; ///< 0 at 4 bits
    std::uint32_t RowBytes = 0;      ///< bytes of a row across all tiles, without padding
    std::uint32_t PaletteCount = 0;  ///< entries of the palette; 0 above 8 bits
    std::uint32_t TileCount = 0;     ///< `TilesAcross` x `TilesDown`; tiles are in row-major order
    std::uint32_t TilesAcross = 0;   ///< tile columns
    std::uint32_t TilesDown = 0;     ///< tile rows
    CString Title;                   ///< for the host; the library only copies it
    std::uint32_t TitleFlag = 1;     ///< for the host; the library only copies it
    std::int32_t DpiX = 0; ///< horizontal resolution; initially the screen's, in dots per inch
    std::int32_t DpiY = 0; ///< vertical resolution, likewise
    CqTileMap* TileMap = nullptr;          ///< owned; null before the first allocation
    std::uint32_t FioPlugin = 0xFFFFFFFFu; ///< number of the picture file's format; initially none
    CObject* PluginData = nullptr;         ///< data of a format's own, or null; owned

protected:
    /// Sets the initial values.
    void fnInit();
    /// Destroys the storage; the mirror fields keep their values.
    void fnFreeBuf();
    /// Destroys the storage, takes ownership of `map` and mirrors it. If pixels of either were
    /// lost and that wasn't reported yet, destroys `map` and raises the memory exception.
    void fnSetBuf(CqTileMap* map);

private:
    friend class q32::ImageStorage;

    /// A size or depth as 32 bits; one that they don't hold becomes one that no image can have.
    static constexpr unsigned int fnSide(std::integral auto number) {
        return std::in_range<unsigned int>(number) ? static_cast<unsigned int>(number)
                                                   : 0xFFFFFFFFu;
    }
    /// As `fnSetBuf`; pixels of the old storage don't matter.
    Q32_LOCAL void fnTakeBuf(std::unique_ptr<CqTileMap> map);
    Q32_LOCAL static void fnTakeDib(CqTileMap& map, const q32::DibLayout& layout,
                                    std::span<const unsigned char> block);
    Q32_LOCAL static void fnTransferDib(CqTileMap& map, const q32::DibLayout& layout,
                                        std::span<const unsigned char> block);
    Q32_LOCAL static void fnDecompressRle8(CqTileMap& map, const q32::DibLayout& layout,
                                           std::span<const unsigned char> block);
    Q32_LOCAL static void fnDecompressRle4(CqTileMap& map, const q32::DibLayout& layout,
                                           std::span<const unsigned char> block);
    Q32_LOCAL void fnConvert24(CqTileMap* target);
    Q32_LOCAL void fnConvert32(CqTileMap* target);
};
