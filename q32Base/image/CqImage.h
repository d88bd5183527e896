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

#include <cstddef>
#include <cstdint>

class CqProgressDisplay;
class CqTileMap;
class CRgn;
class CWnd;

/// A raster image of 4, 8, 16, 24 or 32 bits a pixel, which may be larger than memory: a handle on
/// a tile store, with the store's geometry mirrored in public fields.
///
/// Bytes of a pixel in memory: 4 bits, a palette index, two to a byte, even x in the high nibble; 8
/// bits, a palette index; 16 bits, 5-6-5 stored high byte first; 24 bits, red, green, blue; 32
/// bits, alpha, red, green, blue.
///
/// Storage is replaced as a whole, the new one being complete before the old one goes: an operation
/// that fails leaves the image as it was. Accessors on the old storage must be gone by then. Every
/// operation but `fnAlloc`, `fnLoad` and the assignments needs storage and does not check for it.
/// Memory failures are raised as CMemoryException. An image is used by one thread at a time.
class Q32_API CqImage : public CObject {
public:
    static const CRuntimeClass classCqImage;

    CqImage();
    /// Calls `fnAlloc`.
    CqImage(unsigned int width, unsigned int height, unsigned int bitCount, const RGBQUAD* palette,
            unsigned int count);
    CqImage(unsigned int width, unsigned int height, unsigned int bitCount, CPalette& palette);
    /// Calls `CqImage::fnLoad`.
    CqImage(int id, unsigned int depth);
    /// Call the assignments.
    explicit CqImage(BITMAPINFOHEADER* header);
    CqImage(CqImage& other);
    ~CqImage() override;

    const CRuntimeClass* GetRuntimeClass() const override;

    /// Copies the storage, and `Title` if the source's isn't empty, `TitleFlag` and both
    /// resolutions. Assigning an image to itself loses its pixels, deliberately: the fresh storage
    /// is copied onto itself.
    CqImage& operator=(CqImage& other);
    /// Takes a device-independent bitmap over: header, colour table, then rows padded to four
    /// bytes. The block must be as long as its header says; of RLE8 data, `biSizeImage` bytes, or
    /// up to the stream's end mark where that is 0. The resolutions take the header's raw values.
    /// The masks of a compression-3 header count as the first pixels. Raises the resource exception
    /// for a size or depth that no image can have.
    CqImage& operator=(BITMAPINFOHEADER* const header);
    /// A new device-independent bitmap of this image, bottom row first, which the caller frees with
    /// `delete`. The second half of every 16-bit row keeps the image's byte order, deliberately.
    operator BITMAPINFOHEADER*();

    /// Makes new storage, unless size and depth are those of the present one: pixels and palette
    /// then stay as they are.
    /// @param palette  null: the default palette of the depth; `q32GreyRamp`: 256 greys; else a
    ///                 table of `count` entries. Not looked at above 8 bits.
    void fnAlloc(unsigned int width, unsigned int height, unsigned int bitCount,
                 const RGBQUAD* palette, unsigned int count);
    void fnAlloc(unsigned int width, unsigned int height, unsigned int bitCount, CPalette& palette);
    /// Loads a bitmap resource of the host by the low 16 bits of `id`, and converts it to `depth`
    /// unless that is 0. Raises the resource exception when it is missing or can't be read.
    virtual void fnLoad(int id, unsigned int depth);

    /// Exchanges the storage of two images; either may be without. All other fields stay.
    void fnSwapBuf(CqImage& other) noexcept;

    /// Makes the image's palette a screen palette; what `palette` held is deleted.
    void fnGetPalette(CPalette& palette);
    /// Copies palette entries out, cut to those that exist. Returns the count.
    unsigned int fnGetPaletteEntry(unsigned int first, unsigned int count, RGBQUAD* out);
    /// Replaces palette entries, cut to those that exist. Returns the count.
    unsigned int fnSetPaletteEntry(unsigned int first, unsigned int count, const RGBQUAD* entries);
    /// Whether the palette was the plain grey ramp when it was made.
    bool fnIsGrayScale() const;
    /// Path of the scratch file that the pixels lie in; empty for pixels in RAM, and without any.
    /// The file belongs to the image.
    CString fnGetScratchPath() const;

    /// Address of a pixel. At 4 bits an odd x lands one byte further than the byte that holds its
    /// pair, deliberately.
    unsigned char* fnGetPixelAddr(int x, int y);
    /// Reads a pixel. The 16-bit green mixes in bits of its neighbours, deliberately.
    CqColor fnGetPixelColor(int x, int y);
    /// Writes a pixel; palette depths take the first entry of equal red, green and blue, or 0. 16
    /// bits are stored low byte first, deliberately, against the order that fills and drawing use.
    void fnSetPixelColor(int x, int y, const CqColor& color);

    /// Place an accessor on a tile, by index or by a pixel's position.
    void fnAccessTile(unsigned int index, CqImageTile* tile);
    void fnAccessTile(CPoint& position, CqImageTile* tile);
    /// Places an accessor on a row.
    void fnAccessLine(unsigned int row, CqImageLine* line, bool readOnly);
    /// Size of a full tile.
    CSize fnGetMaxTileSize() const;

    unsigned int fnGetFioPlugin() const { return FioPlugin; }
    void fnSetFioPlugin(unsigned int plugin) { FioPlugin = plugin; }
    /// Hands the plug-in's object out; the image keeps it.
    void fnGetPluginData(CObject*& data) const { data = PluginData; }
    /// Deletes the present object, also if it is the one given, and takes the new one.
    void fnSetPluginData(CObject* data);

    /// Gives the image another depth. 24 and 32 bits carry the pixels over; any other depth gives a
    /// new, blank image. A given palette yields a palette of one entry. The second argument isn't
    /// read.
    void fnConvert(unsigned int bits, bool reserved, tagRGBQUAD* palette);

    /// Fits the image into `view`; a scale below 1 is drawn unscaled, and cut. The first argument
    /// isn't read.
    void fnDrawInit(double reserved, const CRect& view, CWnd* window);
    /// Sets a whole scale: `factor` times as large, or as small if `shrink` is set. `origin` is the
    /// place in the scaled image that lands on the view's top left corner.
    void fnDrawInit(unsigned int factor, bool shrink, const CRect& view, const CPoint& origin,
                    CWnd* window);
    /// Draws the part of the scaled image that begins at (x, y).
    /// @param noGamma     switches gamma off for this draw; with an image of one tile it stays off,
    /// deliberately
    /// @param background  passed to the selection of a palette
    bool fnDraw(CDC* dc, const CRect& destination, int x, int y, bool noGamma, bool background);
    /// Draws all but the key pixels, unscaled.
    bool fnKeyDraw(CDC* dc, const CRect& destination, int x, int y, const CqMergeParam& param,
                   bool noGamma, bool background);

    // Filling and copying. Depths aren't converted; nothing is reported. What would fall outside an
    // image is left out.

    /// Fills a rectangle, or the whole image for null. With `draw` set the change is shown on the
    /// window of the last `fnDrawInit`, tile by tile for the whole image.
    void fnFill(const CqColor& color, const CRect* rect, bool draw);
    /// Tiles `srcRect` of a pattern over `dstRect` of this image; null means the whole of that
    /// image.
    void fnFill(CqImage& pattern, const CRect* srcRect, const CRect* dstRect);
    /// Copies `rect` of `src`, or all of it for null, so that its corner lands on (x, y). At 4 bits
    /// the rows of both positions are ignored, deliberately.
    void fnCopyBlock(CqImage& src, const CRect* rect, int x, int y);
    /// Lays `rect` of `src`, or all of it for null, over this image at (x, y), by a key colour, a
    /// mask or alpha. Acts on 16 and 24 bits only; weights between 0 and 255 aren't divided by 255.
    /// Both deliberately.
    void fnMerge(CqImage& src, const CRect* rect, const CqMergeParam& param, int x, int y);

    // Tone, in place and tile by tile. `draw` shows each tile; an abort leaves the tiles done so
    // far changed. `progress` may be null. 4-bit images are left alone; so are 8-bit ones by the
    // second and third.

    /// Brightness and contrast in percent.
    void fnBrightContrast(int brightness, int contrast, bool draw, CqProgressDisplay* progress);
    /// Weights of the channels from -100 to 100.
    void fnColorBalance(int red, int green, int blue, bool draw, CqProgressDisplay* progress);
    /// Turns the hue by degrees and adds percent of saturation; greys stay. 16-bit pixels come back
    /// with their bytes exchanged, deliberately.
    void fnHueSaturation(int hue, int saturation, bool draw, CqProgressDisplay* progress);
    /// Every byte below `level` becomes 0, every other 255, whatever the depth.
    void fnThresholding(unsigned char level, bool draw, CqProgressDisplay* progress);

    // Geometry of the picture. The new storage replaces the old only when all went well: an abort
    // and a failure keep the picture, but for half a turn, which works in place. What no memory can
    // hold, or a size that no image can have, raises the memory exception. `progress` may be null.

    /// Another size: by the cubic filter of Mitchell and Netravali (Reconstruction Filters in
    /// Computer Graphics, 1988; B = C = 1/3) if `interpolate` is set and the image is no palette
    /// image, else by the nearest pixel. The same size does nothing. Green of 16 bits doesn't come
    /// through the filter unchanged, deliberately.
    void fnResample(unsigned int width, unsigned int height, bool interpolate,
                    CqProgressDisplay* progress);
    /// By factors, always by the filter, which also sums up the indices of a palette image and
    /// leaves a 4-bit one blank in the new size, both deliberately. Sizes are rounded up, but for
    /// what lies less than 1e-10 above a whole number. The factors are the filter's scales as they
    /// stand; if they change no size, nothing happens.
    void fnResample(double scaleX, double scaleY, CqProgressDisplay* progress);
    /// Turns by `angle` degrees. Right angles move pixels: 90 turns clockwise and -90 back. All
    /// other angles sample the picture, and turn counter-clockwise when positive. These opposite
    /// senses are deliberate. A 4-bit image is left alone; a 16-bit one comes out blank at other
    /// than right angles.
    ///
    /// An abort of half a turn leaves the rows swapped so far swapped: the picture is then half
    /// turned, and only a snapshot brings it back.
    /// @param background  of what lies outside; index 0 if the palette lacks it
    /// @param center      in: the pivot, in pixels; null is the middle. Out: where it lies in the
    /// new picture. Not written for no turn (less than 1e-10 degrees off a whole one), for 4 bits,
    /// after a failure, and after an abort of a right angle; written after an abort of any other
    /// angle.
    /// @param antiAlias   blends four pixels; with a margin larger by 2, which a palette image
    /// gets too, though it is never blended
    void fnRotate(double angle, const CqColor& background, CPoint* center, bool antiAlias,
                  CqProgressDisplay* progress);

    /// Plots a line one pixel wide by Bresenham's method. Points outside the image are skipped, the
    /// only point of a line too. The last argument isn't read.
    void fnDrawLine(int x0, int y0, int x1, int y1, const CqColor& color, bool reserved);
    /// Makes `region` the image without the pixels of a key colour (red in bits 0 to 7); 8-bit
    /// images alone.
    void fnCreateRgn(unsigned long key, CRgn& region);

    std::uint32_t Width = 0;
    std::uint32_t Height = 0;
    std::uint32_t BitCount = 0;
    std::uint32_t BytesPerPixel = 0;
    std::uint32_t RowBytes = 0;
    std::uint32_t PaletteCount = 0;
    std::uint32_t TileCount = 0;
    std::uint32_t TilesAcross = 0;
    std::uint32_t TilesDown = 0;
    CString Title;
    std::uint32_t TitleFlag = 1;
    std::int32_t DpiX = 0; ///< horizontal resolution; the screen's at the start
    std::int32_t DpiY = 0;
    CqTileMap* TileMap = nullptr; ///< owned; null before the first allocation
    std::uint32_t FioPlugin = 0xFFFFFFFFu;
    CObject* PluginData = nullptr; ///< owned

protected:
    /// Start values.
    void fnInit();
    /// Destroys the storage; the mirror fields keep what they say.
    void fnFreeBuf();
    /// Destroys the storage, takes over another one and mirrors it.
    void fnSetBuf(CqTileMap* map);

private:
    void fnTakeDib(const BITMAPINFOHEADER* header, std::size_t size);
    void fnTransferDib(const BITMAPINFOHEADER* header, std::size_t size);
    void fnDecompressRle8(const BITMAPINFOHEADER* header, std::size_t size);
    void fnDecompressRle4(const BITMAPINFOHEADER* header, std::size_t size);
    void fnConvert24(CqTileMap* target);
    void fnConvert32(CqTileMap* target);
};
