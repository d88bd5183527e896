#include "q32Base/framework/CheckedSize_p.h"
#include "q32Base/framework/Memory.h"
#include "q32Base/memory/CqTileMap_p.h"
#include "q32Base/pixels/PixelFormat_p.h"

#include <algorithm>
#include <atomic>
#include <bit>
#include <cassert>
#include <cstring>

CCriticalSection CqTileMap::TileLock;
CCriticalSection CqTileMap::LineLock;

std::uint64_t CqTileMap::fnMakeSerial() noexcept {
    static std::atomic<std::uint64_t> last = 0; // images in several threads have storage, too
    return ++last;
}

CqTileMap::CqTileMap(std::uint32_t width, std::uint32_t height, std::uint32_t bitCount,
                     const RGBQUAD* palette, std::uint32_t count, q32::BlockContents contents)
    : Width(width), Height(height), BitCount(bitCount),
      PaletteCount(q32::fnIsIndexed(bitCount) ? count : 0) {
    fnSetGeometry();
    TileTable.reset(q32::fnNewArray<TileEntry>(TileCount));
    if (q32::fnIsIndexed(BitCount)) {
        // Zero beyond the requested entries: no index that a pixel can hold leaves the block.
        const std::size_t slots = std::max<std::size_t>(PaletteCount, 256);
        Palette.reset(q32::fnNewArray<RGBQUAD>(slots));
        std::memset(Palette.get(), 0, slots * sizeof(RGBQUAD));
        fnInitPalette(palette);
    }
    // At 4 bits, single-pixel access at the last odd column of the last row touches one more byte.
    m_Block = q32::PixelBlock(BufferSize, BitCount == 4 ? 1 : 0, contents);
    PixelBuffer = m_Block.fnGetBytes();
    fnFillTileTable();
}

CqTileMap::~CqTileMap() = default;

void CqTileMap::fnSetGeometry() {
    const q32::CheckedSize rowBytes = (q32::CheckedSize(Width) * BitCount).fnDivideUp(8);
    constexpr std::uint32_t kMaxPixels = 0x7FFFFFFFu; // positions are signed
    constexpr std::uint32_t kMaxBytes = 0xFFFFFFFEu;  // leaves space for a byte of slack
    if (Width == 0 || Height == 0 || Width > kMaxPixels || Height > kMaxPixels ||
        !q32::fnFindPixelFormat(BitCount) || !(rowBytes * Height).fnIsWithin(kMaxBytes))
        AfxThrowMemoryException();
    BytesPerPixel = BitCount >> 3;
    RowBytes = rowBytes.fnGetOrThrow<std::uint32_t>();
    BufferSize = RowBytes * Height;
    if (BitCount == 4) { // two pixels share a byte, and no tile edge may split it
        TileWidth = Width;
        TileHeight = Height;
    } else {
        TileWidth = std::min(Width, kMaxTileSize);
        TileHeight = std::min(Height, kMaxTileSize);
    }
    TilesAcross = (Width - 1) / TileWidth + 1;
    TilesDown = (Height - 1) / TileHeight + 1;
    TileCount = TilesAcross * TilesDown;
    LastTileWidth = Width - (TilesAcross - 1) * TileWidth;
    LastTileHeight = Height - (TilesDown - 1) * TileHeight;
    assert(LastTileWidth > 0 && LastTileWidth <= TileWidth);
    assert(LastTileHeight > 0 && LastTileHeight <= TileHeight);

    const std::uint32_t drawWidth = std::min(TileWidth, kMaxTileSize);
    const std::uint32_t drawHeight = std::min(TileHeight, kMaxTileSize);
    const std::uint32_t drawRow = (drawWidth * BitCount) >> 3;
    DibTileBytes = ((drawRow + 3) & ~3u) * drawHeight;
    PackedTileBytes = q32::fnIsIndexed(BitCount) ? drawWidth * drawHeight : drawRow * drawHeight;
}

void CqTileMap::fnFillTileTable() {
    unsigned char* start = PixelBuffer;
    TileEntry* entry = TileTable.get();
    for (std::uint32_t row = 0; row < TilesDown; ++row) {
        const std::uint32_t height = row + 1 == TilesDown ? LastTileHeight : TileHeight;
        const std::size_t tileBytes = static_cast<std::size_t>(fnRowBytes(TileWidth)) * height;
        for (std::uint32_t column = 0; column < TilesAcross; ++column)
            *entry++ = {start + column * tileBytes, false};
        start += (TilesAcross - 1) * tileBytes +
                 static_cast<std::size_t>(fnRowBytes(LastTileWidth)) * height;
    }
    assert(entry == TileTable.get() + TileCount && start == PixelBuffer + BufferSize);
}

void CqTileMap::fnReleaseTile(std::uint32_t index) {
    assert(index < TileCount);
    const CSingleLock lock(TileLock);
    TileTable[index].Locked = false;
}

void CqTileMap::fnReleaseLine(std::uint32_t row) {
    const CSingleLock lock(LineLock);
    if (const POSITION at = LockedLines.Find(row))
        LockedLines.RemoveAt(at);
}

void CqTileMap::fnGetTileRect(CRect* out, std::uint32_t index, bool scaled) const {
    assert(index < TileCount);
    const std::uint32_t column = index % TilesAcross;
    const std::uint32_t row = index / TilesAcross;
    out->left = static_cast<LONG>(column * TileWidth);
    out->top = static_cast<LONG>(row * TileHeight);
    out->right = out->left + static_cast<LONG>(fnColumnWidth(column));
    out->bottom = out->top + static_cast<LONG>(row + 1 == TilesDown ? LastTileHeight : TileHeight);
    assert(static_cast<std::uint32_t>(out->right) <= Width);
    assert(static_cast<std::uint32_t>(out->bottom) <= Height);
    if (!scaled)
        return;
    out->left = fnScale(out->left);
    out->top = fnScale(out->top);
    out->right = fnScale(out->right);
    out->bottom = fnScale(out->bottom);
}

std::int32_t CqTileMap::fnScale(std::int32_t value) const {
    constexpr double kMax = 2147483647.0;
    if (ZoomMode == ZOOM_SHRINK)
        return value / std::max(1, static_cast<std::int32_t>(std::min(Zoom, kMax)));
    if (!(Zoom > 1.0))
        return value;
    return static_cast<std::int32_t>(std::min(value * Zoom, kMax));
}

std::uint32_t CqTileMap::fnSetPaletteEntry(std::uint32_t first, std::uint32_t count,
                                           const RGBQUAD* entries) {
    count = fnCutPaletteCount(first, count);
    std::copy_n(entries, count, Palette.get() + (count ? first : 0));
    DrawPalette.reset();
    return count;
}

std::uint32_t CqTileMap::fnCutPaletteCount(std::uint32_t first, std::uint32_t count) const {
    return first < PaletteCount ? std::min(count, PaletteCount - first) : 0;
}

int CqTileMap::fnFindColor(std::uint8_t red, std::uint8_t green, std::uint8_t blue) const {
    const auto shown = std::bit_cast<std::uint32_t>(RGBQUAD{255, 255, 255, 0});
    const auto color = std::bit_cast<std::uint32_t>(RGBQUAD{blue, green, red, 0});
    const auto matches = [&](std::uint32_t i) {
        return (std::bit_cast<std::uint32_t>(Palette[i]) & shown) == color;
    };
    // In groups without a branch per entry, so that several are compared at once; then one by one.
    constexpr std::uint32_t kTogether = 16;
    std::uint32_t i = 0;
    for (bool any = false; i + kTogether <= PaletteCount; i += kTogether) {
        for (std::uint32_t j = 0; j < kTogether; ++j)
            any |= matches(i + j);
        if (any)
            break;
    }
    for (; i < PaletteCount; ++i)
        if (matches(i))
            return static_cast<int>(i);
    return -1;
}

void CqTileMap::fnFetchRow(std::uint32_t row, unsigned char* out) const {
    assert(row < Height);
    const std::uint32_t tileRow = row / TileHeight;
    const std::uint32_t inTile = row - tileRow * TileHeight;
    const TileEntry* tile = &TileTable[static_cast<std::size_t>(tileRow) * TilesAcross];
    const std::size_t full = fnRowBytes(TileWidth);
    for (std::uint32_t column = 1; column < TilesAcross; ++column, ++tile, out += full)
        std::memcpy(out, tile->Pixels + full * inTile, full);
    const std::size_t last = fnRowBytes(LastTileWidth);
    std::memcpy(out, tile->Pixels + last * inTile, last);
}

void CqTileMap::fnStoreRow(std::uint32_t row, const unsigned char* in) {
    assert(row < Height);
    const std::uint32_t tileRow = row / TileHeight;
    const std::uint32_t inTile = row - tileRow * TileHeight;
    TileEntry* tile = &TileTable[static_cast<std::size_t>(tileRow) * TilesAcross];
    const std::size_t full = fnRowBytes(TileWidth);
    for (std::uint32_t column = 1; column < TilesAcross; ++column, ++tile, in += full)
        std::memcpy(tile->Pixels + full * inTile, in, full);
    const std::size_t last = fnRowBytes(LastTileWidth);
    std::memcpy(tile->Pixels + last * inTile, in, last);
}
