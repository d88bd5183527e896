#include "q32Base/display/CqDisplayProperty.h"
#include "q32Base/display/PaletteSelection_p.h"
#include "q32Base/framework/Memory.h"
#include "q32Base/framework/Windows.h"
#include "q32Base/memory/CqTileMap_p.h"
#include "q32Base/pixels/PixelFormat_p.h"

namespace q32 {
namespace {

bool fnNeedsPalette(const CDC* dc) {
    return dc && q32GetDisplayProperty()->fnGetColorDepth() == 8;
}

} // namespace

bool fnSelectDrawPalette(CqTileMap& map, CDC* dc, bool background) {
    if (!fnNeedsPalette(dc))
        return true;
    CPalette* palette = fnIsIndexed(map.BitCount) ? map.DrawPalette.get()
                                                  : q32GetDisplayProperty()->fnGetPalette666();
    if (!fnTryMemory([&] { map.SavedPalette = dc->SelectPalette(palette, background); }))
        return false;
    const bool realized = fnTryMemory([&] { dc->RealizePalette(); });
    if (!realized)
        fnRestorePalette(map, dc);
    return realized;
}

void fnRestorePalette(CqTileMap& map, CDC* dc) {
    if (!fnNeedsPalette(dc))
        return;
    // If that fails, the device context keeps the palette selected now.
    fnTryMemory([&] { dc->SelectPalette(map.SavedPalette, true); });
    map.SavedPalette = nullptr;
}

} // namespace q32
