#include "q32Base/framework/Memory.h"
#include "q32Base/memory/CqTileMap_p.h"
#include "q32Base/memory/GreyRamp.h"

#include <algorithm>
#include <cassert>
#include <memory>

namespace {

constexpr RGBQUAD fnQuad(int red, int green, int blue) {
    return {static_cast<BYTE>(blue), static_cast<BYTE>(green), static_cast<BYTE>(red), 0};
}

constexpr RGBQUAD kDefault16[16] = {
    fnQuad(0, 0, 0),       fnQuad(128, 0, 0),   fnQuad(0, 128, 0),   fnQuad(128, 128, 0),
    fnQuad(0, 0, 128),     fnQuad(128, 0, 128), fnQuad(0, 128, 128), fnQuad(128, 128, 128),
    fnQuad(192, 192, 192), fnQuad(255, 0, 0),   fnQuad(0, 255, 0),   fnQuad(255, 255, 0),
    fnQuad(0, 0, 255),     fnQuad(255, 0, 255), fnQuad(0, 255, 255), fnQuad(255, 255, 255)};

/// A cube of 6 blue, 7 green and 6 red levels, blue varying fastest. Entries after the cube
/// continue the sequence, with red wrapped.
void fnFillCube(RGBQUAD* palette, std::uint32_t count) {
    constexpr int kFirstGreenStep = 43;
    int red = 0;
    int green = 0;
    int blue = 0;
    int step = kFirstGreenStep;
    int rest = 0;
    for (std::uint32_t i = 0; i < count; ++i) {
        palette[i] = fnQuad(red, green, blue);
        if (blue != 255) {
            blue += 51;
            continue;
        }
        blue = 0;
        if (green != 255) {
            green += step;
            rest += 255;
            step = rest / 6;
            rest %= 6;
            continue;
        }
        green = 0;
        step = kFirstGreenStep;
        rest = 0;
        red = (red + 51) & 0xFF;
    }
}

bool fnIsRamp(const RGBQUAD* palette) {
    for (int i = 0; i < 256; ++i) {
        if (palette[i].rgbBlue != i || palette[i].rgbGreen != i || palette[i].rgbRed != i)
            return false;
    }
    return true;
}

} // namespace

void CqTileMap::fnInitPalette(const RGBQUAD* palette) {
    assert(Palette);
    if (palette == q32GreyRamp) {
        for (std::uint32_t i = 0; i < PaletteCount; ++i)
            Palette[i] = fnQuad(static_cast<int>(i), static_cast<int>(i), static_cast<int>(i));
        GrayScale = true;
    } else if (palette) {
        std::copy_n(palette, PaletteCount, Palette.get());
        GrayScale = BitCount == 8 && PaletteCount >= 256 && fnIsRamp(Palette.get());
    } else if (BitCount == 4) {
        std::copy_n(kDefault16, std::min<std::uint32_t>(PaletteCount, 16), Palette.get());
    } else {
        fnFillCube(Palette.get(), PaletteCount);
    }
    DrawPalette.reset();
}

bool CqTileMap::fnCreatePalette(CPalette& out) const {
    const std::size_t bytes = sizeof(LOGPALETTE) + PaletteCount * sizeof(PALETTEENTRY);
    const std::unique_ptr<unsigned char[]> block(q32::fnNewArray<unsigned char>(bytes));
    auto* description = reinterpret_cast<LOGPALETTE*>(block.get());
    description->palVersion = 0x300;
    description->palNumEntries = static_cast<WORD>(PaletteCount);
    for (std::uint32_t i = 0; i < PaletteCount; ++i) {
        const RGBQUAD& quad = Palette[i];
        description->palPalEntry[i] = {quad.rgbRed, quad.rgbGreen, quad.rgbBlue, quad.rgbReserved};
    }
    return out.CreatePalette(description);
}
