#include "q32Base/kernels/KernelParts_p.h"

namespace q32 {
namespace scalar {
namespace {

constexpr std::uint8_t kNoEntry[4] = {0, 0, 0, 0};

const std::uint8_t* fnEntry(std::size_t index, const std::uint8_t* palette,
                            std::size_t paletteCount) {
    return index < paletteCount ? palette + 4 * index : kNoEntry;
}

} // namespace

void fnIndex4ToIndex8(const std::uint8_t* source, std::uint8_t* target, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i)
        target[i] = i % 2 == 0 ? source[i / 2] >> 4 : source[i / 2] & 0x0F;
}

void fnIndex8ToBgr24(const std::uint8_t* source, std::uint8_t* target, std::size_t count,
                     const std::uint8_t* palette, std::size_t paletteCount) {
    for (; count != 0; --count, ++source, target += 3) {
        const std::uint8_t* entry = fnEntry(*source, palette, paletteCount);
        target[0] = entry[0];
        target[1] = entry[1];
        target[2] = entry[2];
    }
}

void fnIndex8ToBgrx32(const std::uint8_t* source, std::uint8_t* target, std::size_t count,
                      const std::uint8_t* palette, std::size_t paletteCount) {
    for (; count != 0; --count, ++source, target += 4) {
        const std::uint8_t* entry = fnEntry(*source, palette, paletteCount);
        target[0] = entry[0];
        target[1] = entry[1];
        target[2] = entry[2];
        target[3] = entry[3];
    }
}

void fnIndex8ToRgb24(const std::uint8_t* source, std::uint8_t* target, std::size_t count,
                     const std::uint8_t* palette, std::size_t paletteCount) {
    for (; count != 0; --count, ++source, target += 3) {
        const std::uint8_t* entry = fnEntry(*source, palette, paletteCount);
        target[0] = entry[2];
        target[1] = entry[1];
        target[2] = entry[0];
    }
}

void fnIndex8ToArgb32(const std::uint8_t* source, std::uint8_t* target, std::size_t count,
                      const std::uint8_t* palette, std::size_t paletteCount) {
    for (; count != 0; --count, ++source, target += 4) {
        const std::uint8_t* entry = fnEntry(*source, palette, paletteCount);
        target[0] = 255;
        target[1] = entry[2];
        target[2] = entry[1];
        target[3] = entry[0];
    }
}

} // namespace scalar

void fnUseScalarPalette(Kernels& table) {
    table.fnIndex4ToIndex8 = scalar::fnIndex4ToIndex8;
    table.fnIndex8ToBgr24 = scalar::fnIndex8ToBgr24;
    table.fnIndex8ToBgrx32 = scalar::fnIndex8ToBgrx32;
    table.fnIndex8ToRgb24 = scalar::fnIndex8ToRgb24;
    table.fnIndex8ToArgb32 = scalar::fnIndex8ToArgb32;
}

} // namespace q32
