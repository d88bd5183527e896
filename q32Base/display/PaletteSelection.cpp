#include "q32Base/display/PaletteSelection.h"

#include "q32Base/display/CqDisplayProperty.h"
#include "q32Base/framework/Windows.h"
#include "q32Base/memory/CqTileMap.h"

#include <new>

namespace q32 {
namespace {

bool fnNeedsPalette(const CDC* dc) {
    return dc && q32GetDisplayProperty()->fnGetColorDepth() == 8;
}

} // namespace

bool fnSelectDrawPalette(CqTileMap& map, CDC* dc, bool background) {
    if (!fnNeedsPalette(dc))
        return true;
    CPalette* palette =
        map.BitCount < 16 ? map.DrawPalette.get() : q32GetDisplayProperty()->fnGetPalette666();
    try {
        map.SavedPalette = dc->SelectPalette(palette, background);
    } catch (const std::bad_alloc&) {
        return false;
    }
    try {
        dc->RealizePalette();
        return true;
    } catch (const std::bad_alloc&) {
        fnRestorePalette(map, dc);
        return false;
    }
}

void fnRestorePalette(CqTileMap& map, CDC* dc) {
    if (!fnNeedsPalette(dc))
        return;
    try {
        dc->SelectPalette(map.SavedPalette, true);
    } catch (const std::bad_alloc&) { // the device context keeps what is selected
    }
    map.SavedPalette = nullptr;
}

} // namespace q32
