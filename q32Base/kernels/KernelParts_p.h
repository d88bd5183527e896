/// @file
/// The parts that the table of kernels is assembled from. Included only by the kernels' sources.
#pragma once

#include "q32Base/kernels/ContribList_p.h"
#include "q32Base/kernels/HueShift_p.h"
#include "q32Base/kernels/Kernels_p.h"

#include <type_traits>

/// The parts of the table, each a family of kernels. Every part exists for the scalar level, and
/// for the levels after which the macro is named that it is passed to.
#define Q32_KERNEL_PARTS(AVX2, AVX512, BOTH)                                                       \
    BOTH(ChannelCurves)                                                                            \
    AVX2(Convolve)                                                                                 \
    AVX2(ConvolveFixed)                                                                            \
    AVX512(ConvolveLine)                                                                           \
    AVX512(ConvolveQuads)                                                                          \
    AVX2(Dither)                                                                                   \
    AVX2(Fill)                                                                                     \
    AVX2(HueShift)                                                                                 \
    AVX2(MaskSum)                                                                                  \
    AVX2(Merge)                                                                                    \
    AVX2(Palette)                                                                                  \
    BOTH(PixelFormat)                                                                              \
    BOTH(Rotate)                                                                                   \
    AVX512(RowsToQuads)                                                                            \
    AVX2(Stream)                                                                                   \
    AVX2(Threshold)                                                                                \
    BOTH(ToneCurve)                                                                                \
    AVX2(Transpose)                                                                                \
    BOTH(Zoom)
#define Q32_NO_PART(part)

namespace q32 {

/// `fnUseScalarFill`, `fnUseAvx2Fill` and so on: each puts the kernels of one part and one
/// instruction set into the table, and leaves the others alone.
#define Q32_DECLARE_SCALAR_PART(part) void fnUseScalar##part(Kernels& table);
#define Q32_DECLARE_AVX2_PART(part) void fnUseAvx2##part(Kernels& table);
#define Q32_DECLARE_AVX512_PART(part) void fnUseAvx512##part(Kernels& table);
Q32_KERNEL_PARTS(Q32_DECLARE_SCALAR_PART, Q32_DECLARE_SCALAR_PART, Q32_DECLARE_SCALAR_PART)
Q32_KERNEL_PARTS(Q32_DECLARE_AVX2_PART, Q32_NO_PART, Q32_DECLARE_AVX2_PART)
Q32_KERNEL_PARTS(Q32_NO_PART, Q32_DECLARE_AVX512_PART, Q32_DECLARE_AVX512_PART)
#undef Q32_DECLARE_SCALAR_PART
#undef Q32_DECLARE_AVX2_PART
#undef Q32_DECLARE_AVX512_PART

/// The scalar kernels that the vector ones also use, for the ends of runs and for short ones. The
/// members of Kernels document them.
namespace scalar {

/// The type of the functions that a kernel's pointer points to.
template <class Run>
using Kernel = std::remove_pointer_t<Run>;

Kernel<PixelRun> fnRgb565ToBgr24, fnRgb565ToBgrx32, fnRgb565ToRgb24, fnRgb565ToArgb32;
Kernel<PixelRun> fnRgb24ToBgr24, fnRgb24ToBgrx32, fnRgb24ToArgb32;
Kernel<PixelRun> fnArgb32ToBgr24, fnArgb32ToRgb24, fnArgb32ToBgra32;
Kernel<PixelRun> fnSwap16, fnRgb555LeToRgb565, fnRgb565ToRgb555Le;

Kernel<PixelRun> fnIndex4ToIndex8;
Kernel<PaletteRun> fnIndex8ToBgr24, fnIndex8ToBgrx32, fnIndex8ToRgb24, fnIndex8ToArgb32;

Kernel<CurveRun> fnCurve8, fnCurve24, fnCurve32;
Kernel<ChannelCurvesRun> fnChannelCurves24, fnChannelCurves32;
Kernel<ThresholdRun> fnThreshold;
Kernel<HueRun> fnHueShift16, fnHueShift24, fnHueShift32;

Kernel<DitherRun> fnDither16, fnDither24, fnDither32;
Kernel<HiColorRun> fnHiColorDither;

Kernel<KeyRun> fnMergeKey16, fnMergeKey24;
Kernel<WeightRun> fnMergeMask16, fnMergeMask24;
Kernel<PixelRun> fnMergeAll16;
Kernel<MaskSumRun> fnMaskAdd, fnMaskSubtract;

Kernel<BytesToFloatsRun> fnBytesToFloats;
Kernel<RowsToLanesRun> fnRowsToLanes;
Kernel<ReadLanesRun> fnReadLanes;
Kernel<LanesToRowsRun> fnLanesToRows;
Kernel<ConvolveRowsFixedRun> fnConvolveRowsFixed;

/// The byte of the sum of doubles, for sample `at` of rows as ConvolveQuadRowsRun has them.
std::uint8_t fnExactOfRows(const std::uint8_t* const* rows, const QuadList& list, std::size_t at);
/// The same for one row and channel of quads `stride` bytes apart, which begin with pixel `first`.
std::uint8_t fnExactOfQuads(const std::uint8_t* quads, std::size_t stride, std::int32_t first,
                            const QuadList& list);
/// The same for sample `at` of a row, of which `samples` are those from byte `origin` on.
std::uint8_t fnExactOfLine(const std::uint8_t* samples, std::size_t origin, const LineSums& sums,
                           std::size_t at);

// By bytes a pixel, 1 to 4.
template <std::size_t kBytes>
void fnInflate(const std::uint8_t* source, std::uint8_t* target, std::size_t count,
               std::size_t factor, std::size_t phase);
template <std::size_t kBytes>
void fnShrink(const std::uint8_t* source, std::uint8_t* target, std::size_t count,
              std::size_t factor);
template <std::size_t kBytes>
void fnSample(const std::uint8_t* source, std::uint8_t* target, std::size_t count, std::uint32_t at,
              std::uint32_t step);
template <std::size_t kBytes>
void fnTranspose(const std::uint8_t* source, std::ptrdiff_t sourceStride, std::uint8_t* target,
                 std::ptrdiff_t targetStride, std::size_t width, std::size_t height);

} // namespace scalar
} // namespace q32
