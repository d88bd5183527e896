#include "q32Base/kernels/KernelParts_p.h"
#include "q32Base/kernels/Rgb565_p.h"

namespace q32 {
namespace scalar {
namespace {

Rgb8 fnRgbOf(const std::uint8_t* pixel) {
    return {pixel[0], pixel[1], pixel[2]};
}

void fnPut(std::uint8_t* target, std::uint8_t first, std::uint8_t second, std::uint8_t third) {
    target[0] = first;
    target[1] = second;
    target[2] = third;
}

} // namespace

void fnRgb565ToBgr24(const std::uint8_t* source, std::uint8_t* target, std::size_t count) {
    for (; count != 0; --count, source += 2, target += 3) {
        const Rgb8 c = fnReadRgb565(source);
        fnPut(target, c.m_nBlue, c.m_nGreen, c.m_nRed);
    }
}

void fnRgb565ToBgrx32(const std::uint8_t* source, std::uint8_t* target, std::size_t count) {
    for (; count != 0; --count, source += 2, target += 4) {
        const Rgb8 c = fnReadRgb565(source);
        fnPut(target, c.m_nBlue, c.m_nGreen, c.m_nRed);
        target[3] = 0;
    }
}

void fnRgb565ToRgb24(const std::uint8_t* source, std::uint8_t* target, std::size_t count) {
    for (; count != 0; --count, source += 2, target += 3) {
        const Rgb8 c = fnReadRgb565(source);
        fnPut(target, c.m_nRed, c.m_nGreen, c.m_nBlue);
    }
}

void fnRgb565ToArgb32(const std::uint8_t* source, std::uint8_t* target, std::size_t count) {
    for (; count != 0; --count, source += 2, target += 4) {
        const Rgb8 c = fnReadRgb565(source);
        target[0] = 255;
        fnPut(target + 1, c.m_nRed, c.m_nGreen, c.m_nBlue);
    }
}

void fnRgb24ToBgr24(const std::uint8_t* source, std::uint8_t* target, std::size_t count) {
    for (; count != 0; --count, source += 3, target += 3) {
        const Rgb8 c = fnRgbOf(source);
        fnPut(target, c.m_nBlue, c.m_nGreen, c.m_nRed);
    }
}

void fnRgb24ToBgrx32(const std::uint8_t* source, std::uint8_t* target, std::size_t count) {
    for (; count != 0; --count, source += 3, target += 4) {
        const Rgb8 c = fnRgbOf(source);
        fnPut(target, c.m_nBlue, c.m_nGreen, c.m_nRed);
        target[3] = 0;
    }
}

void fnRgb24ToArgb32(const std::uint8_t* source, std::uint8_t* target, std::size_t count) {
    for (; count != 0; --count, source += 3, target += 4) {
        const Rgb8 c = fnRgbOf(source);
        target[0] = 255;
        fnPut(target + 1, c.m_nRed, c.m_nGreen, c.m_nBlue);
    }
}

void fnArgb32ToBgr24(const std::uint8_t* source, std::uint8_t* target, std::size_t count) {
    for (; count != 0; --count, source += 4, target += 3) {
        const Rgb8 c = fnRgbOf(source + 1);
        fnPut(target, c.m_nBlue, c.m_nGreen, c.m_nRed);
    }
}

void fnArgb32ToRgb24(const std::uint8_t* source, std::uint8_t* target, std::size_t count) {
    for (; count != 0; --count, source += 4, target += 3) {
        const Rgb8 c = fnRgbOf(source + 1);
        fnPut(target, c.m_nRed, c.m_nGreen, c.m_nBlue);
    }
}

void fnArgb32ToBgra32(const std::uint8_t* source, std::uint8_t* target, std::size_t count) {
    for (; count != 0; --count, source += 4, target += 4) {
        const std::uint8_t alpha = source[0];
        const Rgb8 c = fnRgbOf(source + 1);
        fnPut(target, c.m_nBlue, c.m_nGreen, c.m_nRed);
        target[3] = alpha;
    }
}

void fnSwap16(const std::uint8_t* source, std::uint8_t* target, std::size_t count) {
    for (; count != 0; --count, source += 2, target += 2) {
        const std::uint8_t first = source[0];
        target[0] = source[1];
        target[1] = first;
    }
}

void fnRgb555LeToRgb565(const std::uint8_t* source, std::uint8_t* target, std::size_t count) {
    for (; count != 0; --count, source += 2, target += 2)
        fnStoreHighFirst(target, fnWiden555To565(fnLoadLowFirst(source)));
}

void fnRgb565ToRgb555Le(const std::uint8_t* source, std::uint8_t* target, std::size_t count) {
    for (; count != 0; --count, source += 2, target += 2)
        fnStoreLowFirst(target, fnNarrow565To555(fnLoadHighFirst(source)));
}

} // namespace scalar

void fnUseScalarPixelFormat(Kernels& table) {
    table.fnRgb565ToBgr24 = scalar::fnRgb565ToBgr24;
    table.fnRgb565ToBgrx32 = scalar::fnRgb565ToBgrx32;
    table.fnRgb565ToRgb24 = scalar::fnRgb565ToRgb24;
    table.fnRgb565ToArgb32 = scalar::fnRgb565ToArgb32;
    table.fnRgb24ToBgr24 = scalar::fnRgb24ToBgr24;
    table.fnRgb24ToBgrx32 = scalar::fnRgb24ToBgrx32;
    table.fnRgb24ToArgb32 = scalar::fnRgb24ToArgb32;
    table.fnArgb32ToBgr24 = scalar::fnArgb32ToBgr24;
    table.fnArgb32ToRgb24 = scalar::fnArgb32ToRgb24;
    table.fnArgb32ToBgra32 = scalar::fnArgb32ToBgra32;
    table.fnSwap16 = scalar::fnSwap16;
    table.fnRgb555LeToRgb565 = scalar::fnRgb555LeToRgb565;
    table.fnRgb565ToRgb555Le = scalar::fnRgb565ToRgb555Le;
}

} // namespace q32
