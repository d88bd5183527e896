#include "q32Base/display/DeviceRows.h"

#include "q32Base/display/CqDisplayProperty.h"
#include "q32Base/framework/Memory.h"
#include "q32Base/image/DibLayout.h"
#include "q32Base/kernels/Kernels.h"
#include "q32Base/platform/CqPlatform.h"

#include <cassert>
#include <cstring>

namespace q32 {
namespace {

using ConvertRun = void (*)(const CqDeviceRun&);

template <CqPixelRun CqKernels::*kRun>
void fnPixels(const CqDeviceRun& run) {
    (fnKernels().*kRun)(run.m_pSource, run.m_pTarget, run.m_nCount);
}

template <CqPaletteRun CqKernels::*kRun>
void fnLookUp(const CqDeviceRun& run) {
    (fnKernels().*kRun)(run.m_pSource, run.m_pTarget, run.m_nCount,
                        reinterpret_cast<const std::uint8_t*>(run.m_pPalette), 256);
}

template <unsigned int kBits>
void fnDither(const CqDeviceRun& run) {
    q32GetDisplayProperty()->fnDitherRGB666(run.m_pSource, run.m_pTarget, kBits, run.m_nX, run.m_nY,
                                            static_cast<int>(run.m_nCount));
}

void fnCopyIndices(const CqDeviceRun& run) {
    std::memcpy(run.m_pTarget, run.m_pSource, run.m_nCount);
}

/// Rows: indices, 16, 24 and 32 image bits. Columns: 8, 24 and 32 device bits.
constexpr ConvertRun kConversions[4][3] = {
    {fnCopyIndices, fnLookUp<&CqKernels::fnIndex8ToBgr24>, fnLookUp<&CqKernels::fnIndex8ToBgrx32>},
    {fnDither<16>, fnPixels<&CqKernels::fnRgb565ToBgr24>, fnPixels<&CqKernels::fnRgb565ToBgrx32>},
    {fnDither<24>, fnPixels<&CqKernels::fnRgb24ToBgr24>, fnPixels<&CqKernels::fnRgb24ToBgrx32>},
    {fnDither<32>, fnPixels<&CqKernels::fnArgb32ToBgr24>, fnPixels<&CqKernels::fnArgb32ToBgra32>}};

} // namespace

void fnConvertRun(std::uint32_t bitCount, std::uint32_t deviceBits, const CqDeviceRun& run) {
    assert(deviceBits == 8 || deviceBits == 24 || deviceBits == 32);
    const std::uint32_t source = bitCount < 9 ? 0 : bitCount / 8 - 1;
    const std::uint32_t target = deviceBits == 8 ? 0 : deviceBits / 8 - 2;
    kConversions[source][target](run);
}

void fnClearPadding(BITMAPINFOHEADER& dib) {
    const auto width = static_cast<std::uint32_t>(dib.biWidth);
    const std::size_t used = std::size_t{dib.biBitCount} * width / 8;
    const std::size_t stride = fnDibStride(width, dib.biBitCount);
    unsigned char* end = fnDibPixels(&dib) + used;
    for (LONG row = 0; row < dib.biHeight && used != stride; ++row, end += stride)
        std::memset(end, 0, stride - used);
}

int fnPutRows(CDC* dc, int x, int y, const BITMAPINFOHEADER& dib) {
    const auto width = static_cast<UINT>(dib.biWidth);
    const auto rows = static_cast<UINT>(dib.biHeight);
    return fnTryMemoryOr(-1, [&] {
        return fnPlatform().m_pScreen->fnSetDIBitsToDevice(
            dc, x, y, width, rows, 0, 0, 0, rows, fnDibPixels(&dib), &dib,
            dib.biBitCount == 8 ? DIB_PAL_COLORS : DIB_RGB_COLORS);
    });
}

} // namespace q32
