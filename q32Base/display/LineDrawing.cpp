#include "q32Base/display/CqDisplayProperty.h"
#include "q32Base/display/DeviceRows.h"
#include "q32Base/display/DrawBuffers.h"
#include "q32Base/image/CqImageLine.h"
#include "q32Base/image/DibLayout.h"
#include "q32Base/memory/CqTileMap.h"

#include <algorithm>

namespace {

/// Converts pixels of a row. A 4-bit row isn't unpacked, deliberately: each byte counts as one
/// index.
void fnConvert(const CqImageLine& line, std::uint32_t deviceBits, unsigned char* target,
               int sourceX, int count) {
    const std::uint32_t first = line.BitCount * static_cast<std::uint32_t>(sourceX) >> 3;
    q32::fnConvertRun(line.BitCount, deviceBits,
                      {line.LineBuffer + first, target, static_cast<std::size_t>(count),
                       line.TileMap->Palette.get(), sourceX, line.Row});
}

} // namespace

void CqImageLine::fnBlt8(unsigned char* target, int sourceX, int count) {
    fnConvert(*this, 8, target, sourceX, count);
}

void CqImageLine::fnBlt24(unsigned char* target, int sourceX, int count) {
    fnConvert(*this, 24, target, sourceX, count);
}

void CqImageLine::fnBlt32(unsigned char* target, int sourceX, int count) {
    fnConvert(*this, 32, target, sourceX, count);
}

bool CqImageLine::fnDraw(CDC* dc, int x, int y, int count, int sourceX, bool) {
    const auto width = static_cast<std::int32_t>(Width);
    if (!LineBuffer || sourceX < 0 || sourceX >= width || count < 1)
        return false;
    const int drawn = std::min(count, width - sourceX);
    if (!q32::fnEnsureDrawBuffers(*TileMap, static_cast<std::uint32_t>(drawn), 1))
        return false;
    BITMAPINFOHEADER& dib = *TileMap->DrawDib;
    dib.biWidth = drawn;
    dib.biHeight = 1;
    unsigned char* pixels = q32::fnDibPixels(&dib);
    const CqDisplayProperty& display = *q32GetDisplayProperty();
    const unsigned int depth = display.fnGetColorDepth();
    if (depth == 8)
        fnBlt8(pixels, sourceX, drawn);
    else if (depth == 24)
        fnBlt24(pixels, sourceX, drawn);
    else
        fnBlt32(pixels, sourceX, drawn);
    q32::fnClearPadding(dib);
    const auto pixelCount = static_cast<unsigned int>(drawn);
    if (depth != 8)
        display.fnGammaCorrect(pixels, pixelCount, depth);
    if (display.fnIsHiColorDisplay())
        display.fnHiColorDither(pixels, pixelCount, depth, sourceX, Row);
    return q32::fnPutRows(dc, x, y, dib) != -1;
}
