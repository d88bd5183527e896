#include "q32Base/kernels/Kernels.h"

#include "q32Base/kernels/ChannelCurves.h"
#include "q32Base/kernels/Dither.h"
#include "q32Base/kernels/Fill.h"
#include "q32Base/kernels/HueShift.h"
#include "q32Base/kernels/MaskSum.h"
#include "q32Base/kernels/Merge.h"
#include "q32Base/kernels/Palette.h"
#include "q32Base/kernels/PixelFormat.h"
#include "q32Base/kernels/Stream.h"
#include "q32Base/kernels/Threshold.h"
#include "q32Base/kernels/ToneCurve.h"
#include "q32Base/kernels/Transpose.h"
#include "q32Base/kernels/Turn.h"
#include "q32Base/kernels/Weigh.h"
#include "q32Base/kernels/WeighWhole.h"
#include "q32Base/kernels/Zoom.h"

namespace q32 {
namespace {

#ifdef Q32_X86_KERNELS
bool fnProcessorHas(CqKernelLevel level) {
    __builtin_cpu_init();
    const bool avx2 = __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma");
    switch (level) {
    case CqKernelLevel::SCALAR:
        return true;
    case CqKernelLevel::AVX2:
        return avx2;
    case CqKernelLevel::AVX512:
        return avx2 && __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
               __builtin_cpu_supports("avx512vl") && __builtin_cpu_supports("avx512dq") &&
               __builtin_cpu_supports("avx512vbmi");
    }
    return false;
}

// Each level replaces what it does better, and keeps the rest of the level below.
void fnReplaceForLevel(CqKernels& table, CqKernelLevel level) {
    if (level >= CqKernelLevel::AVX2) {
        fnUseAvx2PixelFormat(table);
        fnUseAvx2Palette(table);
        fnUseAvx2ToneCurve(table);
        fnUseAvx2ChannelCurves(table);
        fnUseAvx2Threshold(table);
        fnUseAvx2HueShift(table);
        fnUseAvx2Dither(table);
        fnUseAvx2Zoom(table);
        fnUseAvx2Fill(table);
        fnUseAvx2Merge(table);
        fnUseAvx2MaskSum(table);
        fnUseAvx2Stream(table);
        fnUseAvx2Transpose(table);
        fnUseAvx2Turn(table);
        fnUseAvx2Weigh(table);
        fnUseAvx2WeighWhole(table);
    }
    if (level >= CqKernelLevel::AVX512) {
        fnUseAvx512ToneCurve(table);
        fnUseAvx512ChannelCurves(table);
    }
}
#else
bool fnProcessorHas(CqKernelLevel level) {
    return level == CqKernelLevel::SCALAR;
}
void fnReplaceForLevel(CqKernels&, CqKernelLevel) {}
#endif

CqKernels fnBuildTable(CqKernelLevel level) {
    CqKernels table{};
    table.level = level;
    fnUseScalarPixelFormat(table);
    fnUseScalarPalette(table);
    fnUseScalarToneCurve(table);
    fnUseScalarChannelCurves(table);
    fnUseScalarThreshold(table);
    fnUseScalarHueShift(table);
    fnUseScalarDither(table);
    fnUseScalarZoom(table);
    fnUseScalarFill(table);
    fnUseScalarMerge(table);
    fnUseScalarMaskSum(table);
    fnUseScalarStream(table);
    fnUseScalarTranspose(table);
    fnUseScalarTurn(table);
    fnUseScalarWeigh(table);
    fnUseScalarWeighWhole(table);
    fnReplaceForLevel(table, level);
    return table;
}

const CqKernels& fnBestTable() {
    if (const CqKernels* table = fnKernelsOfLevel(CqKernelLevel::AVX512))
        return *table;
    if (const CqKernels* table = fnKernelsOfLevel(CqKernelLevel::AVX2))
        return *table;
    return *fnKernelsOfLevel(CqKernelLevel::SCALAR);
}

} // namespace

const CqKernels& fnKernels() {
    static const CqKernels& best = fnBestTable();
    return best;
}

const CqKernels* fnKernelsOfLevel(CqKernelLevel level) {
    if (!fnProcessorHas(level))
        return nullptr;
    static const CqKernels tables[] = {fnBuildTable(CqKernelLevel::SCALAR),
                                       fnBuildTable(CqKernelLevel::AVX2),
                                       fnBuildTable(CqKernelLevel::AVX512)};
    return &tables[static_cast<int>(level)];
}

} // namespace q32
