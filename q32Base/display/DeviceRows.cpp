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

using ConvertRows = void (*)(const DrawRows& rows, unsigned char* top, std::size_t stride);

/// Calls convert(source, target, row) for each row.
template <typename Convert>
void fnEachRow(const DrawRows& rows, unsigned char* target, std::size_t stride,
               const Convert& convert) {
    unsigned char* source = rows.m_pPixels;
    for (int row = 0; row < rows.m_nHeight; ++row) {
        convert(source, target, row);
        source += rows.m_nRowBytes;
        target -= stride;
    }
}

template <PixelRun Kernels::*kRun>
void fnPixels(const DrawRows& rows, unsigned char* top, std::size_t stride) {
    const PixelRun run = fnKernels().*kRun;
    const auto count = static_cast<std::size_t>(rows.m_nWidth);
    fnEachRow(rows, top, stride, [&](const unsigned char* source, unsigned char* target, int) {
        run(source, target, count);
    });
}

template <PaletteRun Kernels::*kRun>
void fnLookUp(const DrawRows& rows, unsigned char* top, std::size_t stride) {
    const PaletteRun run = fnKernels().*kRun;
    const auto count = static_cast<std::size_t>(rows.m_nWidth);
    const auto* palette = reinterpret_cast<const std::uint8_t*>(rows.m_pPalette);
    fnEachRow(rows, top, stride, [&](const unsigned char* source, unsigned char* target, int) {
        run(source, target, count, palette, 256);
    });
}

template <unsigned int kBits>
void fnDither(const DrawRows& rows, unsigned char* top, std::size_t stride) {
    CqDisplayProperty& display = *q32GetDisplayProperty();
    fnEachRow(rows, top, stride, [&](unsigned char* source, unsigned char* target, int row) {
        display.fnDitherRGB666(source, target, kBits, rows.m_nX, rows.m_nY + row, rows.m_nWidth);
    });
}

void fnCopyIndices(const DrawRows& rows, unsigned char* top, std::size_t stride) {
    const auto count = static_cast<std::size_t>(rows.m_nWidth);
    fnEachRow(rows, top, stride, [&](const unsigned char* source, unsigned char* target, int) {
        std::memcpy(target, source, count);
    });
}

/// Rows: indices, 16, 24 and 32 image bits. Columns: 8, 24 and 32 device bits.
constexpr ConvertRows kConversions[4][3] = {
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

void fnConvertRows(const DrawRows& rows, std::uint32_t deviceBits, unsigned char* top,
                   std::size_t stride) {
    assert(deviceBits == 8 || deviceBits == 24 || deviceBits == 32);
    const std::uint32_t source = rows.m_nBitCount < 9 ? 0 : rows.m_nBitCount / 8 - 1;
    const std::uint32_t target = deviceBits == 8 ? 0 : deviceBits / 8 - 2;
    kConversions[source][target](rows, top, stride);
}

namespace {

/// The same, and gamma correction, row by row: each is still in the cache.
void fnConvertAndCorrect(const DrawRows& rows, std::uint32_t deviceBits, unsigned char* top,
                         std::size_t stride) {
    const CqDisplayProperty& display = *q32GetDisplayProperty();
    DrawRows row = rows;
    row.m_nHeight = 1;
    for (int done = 0; done < rows.m_nHeight; ++done) {
        fnConvertRows(row, deviceBits, top, stride);
        display.fnGammaCorrect(top, static_cast<unsigned int>(rows.m_nWidth), deviceBits);
        row.m_pPixels += rows.m_nRowBytes;
        top -= stride;
    }
}

} // namespace

int fnDrawRows(CDC* dc, int x, int y, BITMAPINFOHEADER& dib, const DrawRows& rows) {
    assert(rows.m_nWidth > 0 && rows.m_nHeight > 0);
    dib.biWidth = rows.m_nWidth;
    dib.biHeight = rows.m_nHeight;
    const auto stride = static_cast<std::uint32_t>(
        fnDibStride(static_cast<std::uint32_t>(rows.m_nWidth), dib.biBitCount));
    const std::size_t above = std::size_t{stride} * static_cast<std::size_t>(rows.m_nHeight - 1);
    const CqDisplayProperty& display = *q32GetDisplayProperty();
    if (dib.biBitCount > 8 && display.fnIsGammaInEffect())
        fnConvertAndCorrect(rows, dib.biBitCount, fnDibPixels(&dib) + above, stride);
    else
        fnConvertRows(rows, dib.biBitCount, fnDibPixels(&dib) + above, stride);
    fnClearPadding(dib);
    if (display.fnIsHiColorDisplay())
        display.fnHiColorDither(&dib, stride, rows.m_nX, rows.m_nY);
    return fnPutRows(dc, x, y, dib);
}

} // namespace q32
