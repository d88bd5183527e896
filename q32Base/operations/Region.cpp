#include "q32Base/framework/CRgn.h"
#include "q32Base/framework/Exceptions.h"
#include "q32Base/image/CqImage.h"
#include "q32Base/memory/CqTileMap_p.h"
#include "q32Base/platform/Checked_p.h"

#include <cstring>

namespace {

void fnSubtract(CRgn& region, const RECT& rect) {
    CRgn run;
    if (!run.CreateRectRgnIndirect(rect) || !region.CombineRgn(region, run, RGN_DIFF))
        AfxThrowMemoryException();
}

/// Subtracts the runs of `key` in a row from the region, from the left.
void fnSubtractRuns(CRgn& region, const unsigned char* row, std::size_t width, unsigned char key,
                    LONG y) {
    const unsigned char* const end = row + width;
    for (const unsigned char* at = row; at != end;) {
        const auto* start = static_cast<const unsigned char*>(
            std::memchr(at, key, static_cast<std::size_t>(end - at)));
        if (!start)
            return;
        at = start + 1;
        while (at != end && *at == key)
            ++at;
        fnSubtract(region, {static_cast<LONG>(start - row), y, static_cast<LONG>(at - row), y + 1});
    }
}

} // namespace

void CqImage::fnCreateRgn(unsigned long key, CRgn& region) {
    q32::fnRequirePixels("CqImage::fnCreateRgn", TileMap);
    region.DeleteObject();
    if (!region.CreateRectRgnIndirect({0, 0, static_cast<LONG>(Width), static_cast<LONG>(Height)}))
        AfxThrowMemoryException();
    const CqColor color(key);
    const int index = TileMap->fnFindColor(color.m_Red, color.m_Green, color.m_Blue);
    if (index < 0 || BitCount != 8)
        return;
    CqImageLine line(false, true);
    for (std::uint32_t y = 0; y < Height; ++y) {
        fnAccessLine(y, &line, true);
        fnSubtractRuns(region, line.LineBuffer, Width, static_cast<unsigned char>(index),
                       static_cast<LONG>(y));
    }
    TileMap->fnRequirePixels();
}
