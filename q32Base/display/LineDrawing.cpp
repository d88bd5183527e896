#include "q32Base/display/DeviceRows_p.h"
#include "q32Base/display/DrawBuffers_p.h"
#include "q32Base/image/CqImageLine.h"
#include "q32Base/memory/CqTileMap_p.h"

#include <algorithm>
#include <cassert>

namespace {

/// Pixels of a row. A 4-bit row isn't unpacked, deliberately: each byte counts as one index.
q32::DrawRows fnPart(const CqImageLine& line, int sourceX, int count) {
    assert(sourceX >= 0 && static_cast<std::uint32_t>(sourceX) < line.Width);
    const std::uint32_t first = line.BitCount * static_cast<std::uint32_t>(sourceX) >> 3;
    return {line.LineBuffer + first,
            0,
            line.BitCount,
            line.TileMap->Palette.get(),
            count,
            1,
            sourceX,
            line.Row};
}

} // namespace

void CqImageLine::fnBlt8(unsigned char* target, int sourceX, int count) {
    q32::fnConvertRows(fnPart(*this, sourceX, count), 8, target, 0);
}

void CqImageLine::fnBlt24(unsigned char* target, int sourceX, int count) {
    q32::fnConvertRows(fnPart(*this, sourceX, count), 24, target, 0);
}

void CqImageLine::fnBlt32(unsigned char* target, int sourceX, int count) {
    q32::fnConvertRows(fnPart(*this, sourceX, count), 32, target, 0);
}

bool CqImageLine::fnDraw(CDC* dc, int x, int y, int count, int sourceX, bool) {
    const auto width = static_cast<std::int32_t>(Width);
    if (!LineBuffer || sourceX < 0 || sourceX >= width || count < 1)
        return false;
    const int drawn = std::min(count, width - sourceX);
    if (!q32::fnEnsureDrawBuffers(*TileMap, static_cast<std::uint32_t>(drawn), 1))
        return false;
    return q32::fnDrawRows(dc, x, y, *TileMap->DrawDib, fnPart(*this, sourceX, drawn)) != -1;
}
