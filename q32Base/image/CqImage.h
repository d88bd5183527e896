#pragma once

#include "q32Base/framework/CObject.h"
#include "q32Base/framework/CPalette.h"
#include "q32Base/framework/CString.h"
#include "q32Base/framework/Values.h"
#include "q32Base/image/CqColor.h"
#include "q32Base/image/CqImageLine.h"
#include "q32Base/image/CqImageTile.h"
#include "q32Base/image/CqMergeParam.h"

#include <cstddef>
#include <cstdint>

class CWnd;
class CqTileMap;

/// As a palette argument: the grey ramp, entry i being the grey i.
inline const RGBQUAD* const q32GreyRamp = reinterpret_cast<const RGBQUAD*>(std::uintptr_t{1});

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
    /// table of `count` entries.
    ///                 Not looked at above 8 bits.
    void fnAlloc(unsigned int width, unsigned int height, unsigned int bitCount,
                 const RGBQUAD* palette, unsigned int count);
    void fnAlloc(unsigned int width, unsigned int height, unsigned int bitCount, CPalette& palette);
    /// Loads a bitmap resource of the host by the low 16 bits of `id`, and converts it to `depth`
    /// unless that is 0. Raises the resource exception when it is missing or can't be read.
    virtual void fnLoad(int id, unsigned int depth);

    /// Makes the image's palette a screen palette; what `palette` held is deleted.
    void fnGetPalette(CPalette& palette);
    /// Copies palette entries out, cut to those that exist. Returns the count.
    unsigned int fnGetPaletteEntry(unsigned int first, unsigned int count, RGBQUAD* out);
    /// Replaces palette entries, cut to those that exist. Returns the count.
    unsigned int fnSetPaletteEntry(unsigned int first, unsigned int count, const RGBQUAD* entries);
    /// Whether the palette was the plain grey ramp when it was made.
    bool fnIsGrayScale() const;

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
