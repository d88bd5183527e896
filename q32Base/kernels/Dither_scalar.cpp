#include "q32Base/kernels/KernelParts_p.h"
#include "q32Base/kernels/Rgb565_p.h"

namespace q32 {
namespace scalar {
namespace {

// What a component adds to the palette index: its level times its weight. Level 6, beyond the
// palette, adds nothing.
unsigned fnContribution(unsigned component, unsigned threshold, unsigned weight) {
    const unsigned level = component / 51 + (component % 51 >= threshold ? 1 : 0);
    return level == 6 ? 0 : level * weight;
}

std::uint8_t fnPaletteIndex(unsigned red, unsigned green, unsigned blue, unsigned threshold) {
    return static_cast<std::uint8_t>(fnContribution(red, threshold, 36) +
                                     fnContribution(green, threshold, 6) +
                                     fnContribution(blue, threshold, 1));
}

unsigned fnThreshold(const std::uint8_t* thresholds, int x, int y, std::size_t i) {
    return thresholds[(static_cast<unsigned>(y) & 7) * 8 + ((static_cast<unsigned>(x) + i) & 7)];
}

} // namespace

void fnDither16(const std::uint8_t* source, std::uint8_t* target, std::size_t count,
                const std::uint8_t* thresholds, int x, int y) {
    for (std::size_t i = 0; i < count; ++i, source += 2) {
        const Rgb8 color = fnReadRgb565(source);
        target[i] = fnPaletteIndex(color.m_nRed, color.m_nGreen, color.m_nBlue,
                                   fnThreshold(thresholds, x, y, i));
    }
}

void fnDither24(const std::uint8_t* source, std::uint8_t* target, std::size_t count,
                const std::uint8_t* thresholds, int x, int y) {
    for (std::size_t i = 0; i < count; ++i, source += 3)
        target[i] =
            fnPaletteIndex(source[0], source[1], source[2], fnThreshold(thresholds, x, y, i));
}

void fnDither32(const std::uint8_t* source, std::uint8_t* target, std::size_t count,
                const std::uint8_t* thresholds, int x, int y) {
    for (std::size_t i = 0; i < count; ++i, source += 4)
        target[i] =
            fnPaletteIndex(source[1], source[2], source[3], fnThreshold(thresholds, x, y, i));
}

void fnHiColorDither(std::uint8_t* pixels, std::size_t count, const std::uint8_t* pattern, int x,
                     int y) {
    const std::uint8_t* row = pattern + (static_cast<unsigned>(y) & 3) * 4;
    for (std::size_t i = 0; i < count; ++i) {
        const unsigned threshold = row[(static_cast<unsigned>(x) + i) & 3];
        for (std::size_t k = 0; k < 3; ++k, ++pixels) {
            const unsigned down = *pixels & 0xF8;
            const unsigned up = down == 0xF8 ? 255 : down + 8;
            *pixels = static_cast<std::uint8_t>((*pixels & 7u) <= threshold ? down : up);
        }
    }
}

} // namespace scalar

void fnUseScalarDither(Kernels& table) {
    table.fnDither16 = scalar::fnDither16;
    table.fnDither24 = scalar::fnDither24;
    table.fnDither32 = scalar::fnDither32;
    table.fnHiColorDither = scalar::fnHiColorDither;
}

} // namespace q32
