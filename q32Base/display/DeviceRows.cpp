#include "q32Base/display/CqDisplayProperty.h"
#include "q32Base/display/DeviceRows_p.h"
#include "q32Base/framework/Memory.h"
#include "q32Base/image/DibLayout_p.h"
#include "q32Base/kernels/Kernels_p.h"
#include "q32Base/platform/CqPlatform.h"

#include <cassert>
#include <cstring>

namespace q32 {
namespace {

/// A run of adjacent pixels.
struct DeviceRun {
    unsigned char* m_pSource;
    unsigned char* m_pTarget;
    std::size_t m_nCount;
    const RGBQUAD* m_pPalette;
    int m_nX;
    int m_nY;
};

using ConvertRun = void (*)(const DeviceRun&);

template <PixelRun Kernels::*kRun>
void fnPixels(const DeviceRun& run) {
    (fnKernels().*kRun)(run.m_pSource, run.m_pTarget, run.m_nCount);
}

template <PaletteRun Kernels::*kRun>
void fnLookUp(const DeviceRun& run) {
    (fnKernels().*kRun)(run.m_pSource, run.m_pTarget, run.m_nCount,
                        reinterpret_cast<const std::uint8_t*>(run.m_pPalette), 256);
}

template <unsigned int kBits>
void fnDither(const DeviceRun& run) {
    q32GetDisplayProperty()->fnDitherRGB666(run.m_pSource, run.m_pTarget, kBits, run.m_nX, run.m_nY,
                                            static_cast<int>(run.m_nCount));
}

void fnCopyIndices(const DeviceRun& run) {
    std::memcpy(run.m_pTarget, run.m_pSource, run.m_nCount);
}

/// Rows: indices, 16, 24 and 32 image bits. Columns: 8, 24 and 32 device bits.
constexpr ConvertRun kConversions[4][3] = {
    {fnCopyIndices, fnLookUp<&Kernels::fnIndex8ToBgr24>, fnLookUp<&Kernels::fnIndex8ToBgrx32>},
    {fnDither<16>, fnPixels<&Kernels::fnRgb565ToBgr24>, fnPixels<&Kernels::fnRgb565ToBgrx32>},
    {fnDither<24>, fnPixels<&Kernels::fnRgb24ToBgr24>, fnPixels<&Kernels::fnRgb24ToBgrx32>},
    {fnDither<32>, fnPixels<&Kernels::fnArgb32ToBgr24>, fnPixels<&Kernels::fnArgb32ToBgra32>}};

/// Zeroes the bytes that pad the rows.
void fnClearPadding(BITMAPINFOHEADER& dib) {
    const auto width = static_cast<std::uint32_t>(dib.biWidth);
    const std::size_t used = std::size_t{dib.biBitCount} * width / 8;
    const std::size_t stride = fnDibStride(width, dib.biBitCount);
    unsigned char* end = fnDibPixels(&dib) + used;
    for (LONG row = 0; row < dib.biHeight && used != stride; ++row, end += stride)
        std::memset(end, 0, stride - used);
}

/// Draws all rows of a device bitmap on a device.
int fnPutRows(CDC* dc, int x, int y, const BITMAPINFOHEADER& dib) {
    const auto width = static_cast<UINT>(dib.biWidth);
    const auto rows = static_cast<UINT>(dib.biHeight);
    return fnTryMemoryOr(-1, [&] {
        return fnPlatform().m_pScreen->fnSetDIBitsToDevice(
            dc, x, y, width, rows, 0, 0, 0, rows, fnDibPixels(&dib), &dib,
            dib.biBitCount == 8 ? DIB_PAL_COLORS : DIB_RGB_COLORS);
    });
}

} // namespace

void fnConvertRows(const SourceRows& rows, std::uint32_t deviceBits, unsigned char* top,
                   std::size_t stride) {
    assert(deviceBits == 8 || deviceBits == 24 || deviceBits == 32);
    const std::uint32_t source = rows.m_nBitCount < 9 ? 0 : rows.m_nBitCount / 8 - 1;
    const std::uint32_t target = deviceBits == 8 ? 0 : deviceBits / 8 - 2;
    const ConvertRun convert = kConversions[source][target];
    DeviceRun run{rows.m_pPixels,  nullptr,   static_cast<std::size_t>(rows.m_nWidth),
                  rows.m_pPalette, rows.m_nX, rows.m_nY};
    run.m_pTarget = top;
    for (int row = 0; row < rows.m_nHeight; ++row, ++run.m_nY) {
        convert(run);
        run.m_pSource += rows.m_nRowBytes;
        run.m_pTarget -= stride;
    }
}

int fnDrawRows(CDC* dc, int x, int y, BITMAPINFOHEADER& dib, const SourceRows& rows) {
    dib.biWidth = rows.m_nWidth;
    dib.biHeight = rows.m_nHeight;
    const auto stride = static_cast<std::uint32_t>(
        fnDibStride(static_cast<std::uint32_t>(rows.m_nWidth), dib.biBitCount));
    const std::size_t above = std::size_t{stride} * static_cast<std::size_t>(rows.m_nHeight - 1);
    const CqDisplayProperty& display = *q32GetDisplayProperty();
    fnConvertRows(rows, dib.biBitCount, fnDibPixels(&dib) + above, stride);
    fnClearPadding(dib);
    if (dib.biBitCount > 8)
        display.fnGammaCorrect(&dib, stride);
    if (display.fnIsHiColorDisplay())
        display.fnHiColorDither(&dib, stride, rows.m_nX, rows.m_nY);
    return fnPutRows(dc, x, y, dib);
}

} // namespace q32
