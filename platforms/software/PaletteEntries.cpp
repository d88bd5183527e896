#include "platforms/software/PaletteEntries_p.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace q32::software {

std::vector<PALETTEENTRY> fnReadPaletteEntries(const LOGPALETTE& palette) {
    constexpr WORD kVersion = 0x300;
    if (palette.palVersion != kVersion || palette.palNumEntries == 0)
        return {};
    std::vector<PALETTEENTRY> entries(palette.palNumEntries);
    // The record declares one entry; the others follow it in the caller's block.
    const auto* first =
        reinterpret_cast<const std::uint8_t*>(&palette) + offsetof(LOGPALETTE, palPalEntry);
    std::memcpy(entries.data(), first, entries.size() * sizeof(PALETTEENTRY));
    return entries;
}

} // namespace q32::software
