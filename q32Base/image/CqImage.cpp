#include "q32Base/image/CqImage.h"

#include "q32Base/framework/Memory.h"
#include "q32Base/framework/Windows.h"
#include "q32Base/image/CopyTiles_p.h"
#include "q32Base/image/PixelBytes_p.h"
#include "q32Base/memory/CqTileMap_p.h"
#include "q32Base/pixels/PixelFormat_p.h"
#include "q32Base/platform/Checked_p.h"
#include "q32Base/platform/CqPlatform.h"

#include <algorithm>
#include <cassert>
#include <memory>
#include <utility>
#include <vector>

const CRuntimeClass CqImage::classCqImage = {"CqImage", sizeof(CqImage), 0xFFFF, nullptr,
                                             &CObject::classCObject};

namespace {

/// In the checked variant, stops for an image without storage, and for a pixel outside of it.
void fnRequireInside(const char* call, const CqImage& image, int x, int y) {
    q32::fnRequirePixels(call, image.TileMap);
    q32::fnRequireBelow(call, "x", x, image.Width, "width");
    q32::fnRequireBelow(call, "y", y, image.Height, "height");
}

} // namespace

CqImage::CqImage() {
    fnInit();
}

CqImage::CqImage(unsigned int width, unsigned int height, unsigned int bitCount,
                 const RGBQUAD* palette, unsigned int count)
    : CqImage() {
    fnAlloc(width, height, bitCount, palette, count);
}

CqImage::CqImage(unsigned int width, unsigned int height, unsigned int bitCount, CPalette& palette)
    : CqImage() {
    fnAlloc(width, height, bitCount, palette);
}

CqImage::CqImage(int id, unsigned int depth) : CqImage() {
    CqImage::fnLoad(id, depth);
}

CqImage::CqImage(BITMAPINFOHEADER* header) : CqImage() {
    *this = header;
}

CqImage::CqImage(CqImage& other) : CqImage() {
    *this = other;
}

CqImage::~CqImage() {
    fnFreeBuf();
    delete PluginData;
}

const CRuntimeClass* CqImage::GetRuntimeClass() const {
    return &classCqImage;
}

void CqImage::fnInit() {
    q32::fnRequireAttached("CqImage::CqImage", q32::fnHasPlatform());
    Width = Height = BitCount = BytesPerPixel = RowBytes = PaletteCount = 0;
    TileCount = TilesAcross = TilesDown = 0;
    TitleFlag = 1;
    TileMap = nullptr;
    PluginData = nullptr;
    FioPlugin = 0xFFFFFFFFu;
    q32::fnGuardMemory([this] {
        CqScreenService& screen = *q32::fnPlatform().m_pScreen;
        CDC* dc = screen.fnGetDC(nullptr);
        DpiX = dc ? dc->GetDeviceCaps(LOGPIXELSX) : 0;
        DpiY = dc ? dc->GetDeviceCaps(LOGPIXELSY) : 0;
        if (dc)
            screen.fnReleaseDC(nullptr, dc);
    });
}

void CqImage::fnFreeBuf() {
    delete TileMap;
    TileMap = nullptr;
}

void CqImage::fnSetBuf(CqTileMap* map) {
    std::unique_ptr<CqTileMap> fresh(map);
    if (TileMap)
        TileMap->fnRequirePixels(); // what the new storage was made from
    fnTakeBuf(std::move(fresh));
}

void CqImage::fnTakeBuf(std::unique_ptr<CqTileMap> map) {
    assert(map && map.get() != TileMap);
    map->fnRequirePixels();
    fnFreeBuf();
    TileMap = map.get();
    Width = map->Width;
    Height = map->Height;
    BitCount = map->BitCount;
    BytesPerPixel = map->BytesPerPixel;
    RowBytes = map->RowBytes;
    PaletteCount = map->PaletteCount;
    TileCount = map->TileCount;
    TilesAcross = map->TilesAcross;
    TilesDown = map->TilesDown;
    map.release(); // NOLINT(bugprone-unused-return-value): it is the image's
}

void CqImage::fnSwapBuf(CqImage& other) noexcept {
    std::swap(TileMap, other.TileMap);
    std::swap(Width, other.Width);
    std::swap(Height, other.Height);
    std::swap(BitCount, other.BitCount);
    std::swap(BytesPerPixel, other.BytesPerPixel);
    std::swap(RowBytes, other.RowBytes);
    std::swap(PaletteCount, other.PaletteCount);
    std::swap(TileCount, other.TileCount);
    std::swap(TilesAcross, other.TilesAcross);
    std::swap(TilesDown, other.TilesDown);
}

void CqImage::fnAlloc(unsigned int width, unsigned int height, unsigned int bitCount,
                      const RGBQUAD* palette, unsigned int count) {
    if (TileMap && TileMap->Width == width && TileMap->Height == height &&
        TileMap->BitCount == bitCount)
        return;
    if (bitCount >= 9)
        count = 0;
    else if (!palette)
        count = 1u << bitCount;
    else if (palette == q32GreyRamp)
        count = 256;
    fnTakeBuf(
        std::unique_ptr<CqTileMap>(q32::fnNew<CqTileMap>(width, height, bitCount, palette, count)));
}

void CqImage::fnAlloc(unsigned int width, unsigned int height, unsigned int bitCount,
                      CPalette& palette) {
    unsigned int count = palette.GetEntryCount();
    std::unique_ptr<RGBQUAD[]> table;
    if (count != 0) {
        std::unique_ptr<PALETTEENTRY[]> entries(q32::fnNewArray<PALETTEENTRY>(count));
        if (palette.GetPaletteEntries(0, count, entries.get()) == count) {
            table.reset(q32::fnNewArray<RGBQUAD>(count));
            for (unsigned int i = 0; i < count; ++i)
                table[i] = {entries[i].peBlue, entries[i].peGreen, entries[i].peRed,
                            entries[i].peFlags};
        } else {
            count = 0;
        }
    }
    fnAlloc(width, height, bitCount, table.get(), count);
}

// NOLINTNEXTLINE(bugprone-unhandled-self-assignment): deliberate, see the declaration
CqImage& CqImage::operator=(CqImage& other) {
    q32::fnRequirePixels("CqImage::operator=", other.TileMap, "the source");
    assert(other.TileMap);
    const CqTileMap& source = *other.TileMap;
    const std::uint32_t count = q32::fnIsIndexed(source.BitCount) ? source.PaletteCount : 0;
    std::unique_ptr<CqTileMap> fresh(q32::fnNew<CqTileMap>(source.Width, source.Height,
                                                           source.BitCount, source.Palette.get(),
                                                           count, q32::BlockContents::ANY));
    if (&other != this) // deliberate: assigned to itself, an image loses its pixels
        q32::fnCopyTiles(*other.TileMap, *fresh);
    fnSetBuf(fresh.release());
    if (!other.Title.IsEmpty())
        Title = other.Title;
    TitleFlag = other.TitleFlag;
    DpiX = other.DpiX;
    DpiY = other.DpiY;
    return *this;
}

void CqImage::fnGetPalette(CPalette& palette) {
    q32::fnRequirePixels("CqImage::fnGetPalette", TileMap);
    if (palette.HasHandle())
        palette.DeleteObject();
    if (!TileMap->fnCreatePalette(palette))
        AfxThrowMemoryException();
}

unsigned int CqImage::fnGetPaletteEntry(unsigned int first, unsigned int count, RGBQUAD* out) {
    q32::fnRequirePixels("CqImage::fnGetPaletteEntry", TileMap);
    count = TileMap->fnCutPaletteCount(first, count);
    std::copy_n(TileMap->Palette.get() + (count ? first : 0), count, out);
    return count;
}

unsigned int CqImage::fnSetPaletteEntry(unsigned int first, unsigned int count,
                                        const RGBQUAD* entries) {
    q32::fnRequirePixels("CqImage::fnSetPaletteEntry", TileMap);
    return TileMap->fnSetPaletteEntry(first, count, entries);
}

bool CqImage::fnIsGrayScale() const {
    q32::fnRequirePixels("CqImage::fnIsGrayScale", TileMap);
    return TileMap->GrayScale;
}

CString CqImage::fnGetScratchPath() const {
    return TileMap ? TileMap->fnGetBlock().fnGetFileName() : CString();
}

std::uint32_t CqImage::fnCountLosses() const noexcept {
    return TileMap ? TileMap->fnGetBlock().fnCountLosses() : 0;
}

unsigned char* CqImage::fnGetPixelAddr(int x, int y) {
    fnRequireInside("CqImage::fnGetPixelAddr", *this, x, y);
    const CqTileMap& map = *TileMap;
    const int tileWidth = static_cast<int>(map.TileWidth);
    const int tileHeight = static_cast<int>(map.TileHeight);
    const int column = map.TilesAcross == 1 ? 0 : x / tileWidth;
    const int row = map.TilesDown == 1 ? 0 : y / tileHeight;
    const std::ptrdiff_t rowBytes =
        map.fnRowBytes(map.fnColumnWidth(static_cast<std::uint32_t>(column)));
    const std::ptrdiff_t index = static_cast<std::ptrdiff_t>(map.TilesAcross) * row + column;
    const std::ptrdiff_t bits = std::ptrdiff_t{x - tileWidth * column} * map.BitCount;
    return map.TileTable.get()[index].Pixels + rowBytes * (y - tileHeight * row) +
           ((bits + 7) >> 3);
}

CqColor CqImage::fnGetPixelColor(int x, int y) {
    fnRequireInside("CqImage::fnGetPixelColor", *this, x, y);
    return q32::fnReadPixel(*TileMap, fnGetPixelAddr(x, y), (x & 1) != 0);
}

void CqImage::fnSetPixelColor(int x, int y, const CqColor& color) {
    fnRequireInside("CqImage::fnSetPixelColor", *this, x, y);
    q32::fnWritePixel(*TileMap, fnGetPixelAddr(x, y), (x & 1) != 0, color);
}

void CqImage::fnAccessTile(unsigned int index, CqImageTile* tile) {
    q32::fnRequirePixels("CqImage::fnAccessTile", TileMap);
    q32::fnRequireBelow("CqImage::fnAccessTile", "index", index, TileCount, "number of tiles");
    TileMap->fnAccessTile(index, tile);
}

void CqImage::fnAccessTile(CPoint& position, CqImageTile* tile) {
    fnRequireInside("CqImage::fnAccessTile", *this, position.x, position.y);
    TileMap->fnAccessTile(position, tile);
}

void CqImage::fnAccessLine(unsigned int row, CqImageLine* line, bool readOnly) {
    q32::fnRequirePixels("CqImage::fnAccessLine", TileMap);
    q32::fnRequireBelow("CqImage::fnAccessLine", "row", row, Height, "height");
    TileMap->fnAccessLine(row, line, readOnly);
}

CSize CqImage::fnGetMaxTileSize() const {
    q32::fnRequirePixels("CqImage::fnGetMaxTileSize", TileMap);
    return {static_cast<LONG>(TileMap->TileWidth), static_cast<LONG>(TileMap->TileHeight)};
}

void CqImage::fnSetPluginData(CObject* data) {
    delete PluginData;
    PluginData = data;
}
