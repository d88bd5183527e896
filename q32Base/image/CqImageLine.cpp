#include "q32Base/image/CqImageLine.h"

#include "q32Base/framework/Memory.h"
#include "q32Base/image/PixelBytes_p.h"
#include "q32Base/kernels/Kernels_p.h"
#include "q32Base/memory/CqTileMap_p.h"
#include "q32Base/platform/Checked_p.h"

#include <algorithm>
#include <cassert>
#include <cstring>

namespace {

/// Bytes after a row that a 4-bit fill from the last, odd pixel may touch.
constexpr std::size_t kSlack = 4;

/// Column or row of tiles that contains a position.
std::uint32_t fnTileOf(std::int32_t position, std::uint32_t tiles, std::uint32_t size) {
    return tiles == 1 ? 0u : static_cast<std::uint32_t>(position / static_cast<std::int32_t>(size));
}

} // namespace

CqImageLine::~CqImageLine() {
    fnUnAssociate();
}

void CqImageLine::fnMakeBuffer() {
    if (LineBuffer)
        return;
    std::size_t bytes = std::size_t{RowBytes} + kSlack;
    if (BitCount == 4) // drawing reads each byte as a pixel, and so beyond the row
        bytes = std::max<std::size_t>(bytes, Width);
    LineBuffer = q32::fnNewArray<unsigned char>(bytes);
    std::memset(LineBuffer + RowBytes, 0, bytes - RowBytes);
}

void CqImageLine::fnSetup(unsigned int row, bool readOnly) {
    assert(TileMap && LineBuffer);
    if (static_cast<std::int32_t>(row) == Row)
        return;
    if (Row > -1 && !ReadOnly)
        fnFlush();
    TileMap->fnFetchRow(row, LineBuffer);
    ReadOnly = readOnly;
    Row = static_cast<std::int32_t>(row);
}

void CqImageLine::fnFlush() {
    if (Row < 0 || !LineBuffer)
        return;
    assert(static_cast<std::uint32_t>(Row) < TileMap->Height);
    TileMap->fnStoreRow(static_cast<std::uint32_t>(Row), LineBuffer);
}

void CqImageLine::fnUnAssociate() {
    if (LineBuffer) {
        if (!ReadOnly)
            fnFlush();
        delete[] LineBuffer;
        LineBuffer = nullptr;
    }
    if (Claim && Row > -1)
        TileMap->fnReleaseLine(static_cast<std::uint32_t>(Row));
    Row = -1;
}

void CqImageLine::fnFillColor(const CqColor& color, unsigned int start, unsigned int count) {
    q32::fnRequirePlace("CqImageLine::fnFillColor", Row, "CqImage::fnAccessLine");
    q32::fnRequireBelow("CqImageLine::fnFillColor", "the end", std::int64_t{start} + count - 1,
                        Width, "width");
    unsigned char* at = LineBuffer + ((std::size_t{start} * BitCount + 7) >> 3);
    unsigned char bytes[4];
    const unsigned int size = q32::fnPackFill(*TileMap, color, bytes);
    const bool halves = BitCount == 4;
    q32::fnFillPixels(at, bytes, size, halves ? count / 2 : count);
    if (halves && (count & 1)) {
        unsigned char& last = at[count / 2];
        last = static_cast<unsigned char>((last & 0x0F) | (bytes[0] & 0xF0));
    }
}

void CqImageLine::fnReverseLine() {
    q32::fnRequirePlace("CqImageLine::fnReverseLine", Row, "CqImage::fnAccessLine");
    if (BitCount != 4)
        q32::fnReversePixels(LineBuffer, Width, BitCount >> 3);
}

void CqImageLine::fnReversePixel(int start, unsigned int count) {
    // A row of any other depth than 24 bits is treated as 32-bit pixels, as far as its bytes go.
    const std::uint32_t bytes = BitCount == 24 ? 3 : 4;
    const auto first = static_cast<std::uint32_t>(start);
    const std::uint32_t pixels = RowBytes / bytes;
    if (first >= pixels)
        return;
    unsigned char* at = LineBuffer + static_cast<std::size_t>(first) * bytes;
    const q32::Kernels& kernels = q32::fnKernels();
    (bytes == 3 ? kernels.fnRgb24ToBgr24
                : kernels.fnArgb32ToBgra32)(at, at, std::min(count, pixels - first));
}

void CqImageLine::fnReversePixel(bool swapOnly, bool toMap) {
    const q32::Kernels& kernels = q32::fnKernels();
    const auto convert = swapOnly ? kernels.fnSwap16
                         : toMap  ? kernels.fnRgb555LeToRgb565
                                  : kernels.fnRgb565ToRgb555Le;
    convert(LineBuffer, LineBuffer, std::min(Width >> 1, RowBytes >> 1));
}

/// Offset of a pixel's byte in the buffer.
std::size_t CqImageLine::fnOffset(int x) const {
    return (static_cast<std::size_t>(static_cast<unsigned int>(x)) * BitCount) >> 3;
}

CqColor CqImageLine::fnGetPixelColor(int x) const {
    q32::fnRequirePlace("CqImageLine::fnGetPixelColor", Row, "CqImage::fnAccessLine");
    q32::fnRequireBelow("CqImageLine::fnGetPixelColor", "x", x, Width, "width");
    return q32::fnReadPixel(*TileMap, LineBuffer + fnOffset(x), (x & 1) != 0);
}

void CqImageLine::fnSetPixelColor(int x, const CqColor& color) {
    q32::fnRequirePlace("CqImageLine::fnSetPixelColor", Row, "CqImage::fnAccessLine");
    q32::fnRequireBelow("CqImageLine::fnSetPixelColor", "x", x, Width, "width");
    q32::fnWritePixel(*TileMap, LineBuffer + fnOffset(x), (x & 1) != 0, color);
}

void CqImageLine::fnStartSegment(int x) {
    q32::fnRequirePlace("CqImageLine::fnStartSegment", Row, "CqImage::fnAccessLine");
    q32::fnRequireBelow("CqImageLine::fnStartSegment", "x", x, Width, "width");
    const std::uint32_t column = fnTileOf(x, TileMap->TilesAcross, TileMap->TileWidth);
    const std::uint32_t row = fnTileOf(Row, TileMap->TilesDown, TileMap->TileHeight);
    SegLeft = static_cast<std::int32_t>(column * TileMap->TileWidth);
    SegTop = static_cast<std::int32_t>(row * TileMap->TileHeight);
    SegTile = row * TileMap->TilesAcross + column;
    SegX = x;
    fnEnterTile(column);
    SegPixel += (static_cast<std::size_t>(x - SegLeft) * BitCount + 7) >> 3;
}

/// Moves to the first pixel of the row in the tile `SegTile`, whose left edge is `SegLeft`.
void CqImageLine::fnEnterTile(std::uint32_t column) {
    assert(SegTile < TileMap->TileCount && SegTile % TileMap->TilesAcross == column);
    assert(Row >= SegTop && Row - SegTop < static_cast<std::int32_t>(TileMap->TileHeight));
    const std::uint32_t width = TileMap->fnColumnWidth(column);
    SegEnd = SegLeft + static_cast<std::int32_t>(width);
    SegPixel =
        TileMap->TileTable[SegTile].Pixels + static_cast<std::size_t>(TileMap->fnRowBytes(width)) *
                                                 static_cast<std::uint32_t>(Row - SegTop);
}

void CqImageLine::fnSetPixel(unsigned char red, unsigned char green, unsigned char blue,
                             unsigned char alpha) {
    q32::fnRequirePlace("CqImageLine::fnSetPixel", Row, "CqImage::fnAccessLine");
    q32::fnWritePixel(*TileMap, SegPixel, (SegX & 1) != 0, CqColor(red, green, blue, alpha));
    fnNextPixel();
}

void CqImageLine::fnNextPixel() {
    q32::fnRequirePlace("CqImageLine::fnNextPixel", Row, "CqImage::fnAccessLine");
    ++SegX;
    if (SegX >= static_cast<std::int32_t>(Width))
        return;
    if (SegX == SegEnd) {
        SegLeft = SegEnd;
        ++SegTile;
        fnEnterTile(SegTile % TileMap->TilesAcross);
    } else if (BitCount == 4) {
        SegPixel += (SegX & 1) == 0 ? 1 : 0;
    } else {
        SegPixel += BytesPerPixel;
    }
}

void CqTileMap::fnAccessLine(std::uint32_t row, CqImageLine* line, bool readOnly) {
    assert(row < Height);
    if (line->Row == static_cast<std::int32_t>(row))
        return;
    if (line->Claim) {
        CSingleLock lock(LineLock);
        if (LockedLines.Find(row))
            line->Claim = false;
        if (line->Row > -1) {
            lock.Unlock();
            fnReleaseLine(static_cast<std::uint32_t>(line->Row));
        }
    }
    line->Width = Width;
    line->BitCount = BitCount;
    line->BytesPerPixel = BytesPerPixel;
    line->RowBytes = RowBytes;
    line->TileMap = this;
    if (line->Memoryless) {
        line->Row = static_cast<std::int32_t>(row);
    } else {
        line->fnMakeBuffer();
        line->fnSetup(row, readOnly);
    }
    if (line->Claim) {
        const CSingleLock lock(LineLock);
        line->Claim = false; // until the list holds it: AddTail may fail
        LockedLines.AddTail(row);
        line->Claim = true;
    }
}
