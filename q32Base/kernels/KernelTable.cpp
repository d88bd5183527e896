#include "q32Base/kernels/KernelParts_p.h"

#include <algorithm>
#include <cstdlib>
#include <string_view>

namespace q32 {
namespace {

#ifdef Q32_X86_KERNELS
bool fnProcessorHas(KernelLevel level) {
    __builtin_cpu_init();
    const bool avx2 = __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma");
    switch (level) {
    case KernelLevel::SCALAR:
        return true;
    case KernelLevel::AVX2:
        return avx2;
    case KernelLevel::AVX512:
        return avx2 && __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
               __builtin_cpu_supports("avx512vl") && __builtin_cpu_supports("avx512dq") &&
               __builtin_cpu_supports("avx512vbmi") && __builtin_cpu_supports("avx512vnni");
    }
    return false;
}

// Each level replaces some kernels and keeps the others of the level below.
void fnReplaceForLevel(Kernels& table, KernelLevel level) {
#define Q32_USE_AVX2_PART(part) fnUseAvx2##part(table);
#define Q32_USE_AVX512_PART(part) fnUseAvx512##part(table);
    if (level >= KernelLevel::AVX2) {
        Q32_KERNEL_PARTS(Q32_USE_AVX2_PART, Q32_NO_PART, Q32_USE_AVX2_PART)
    }
    if (level >= KernelLevel::AVX512) {
        Q32_KERNEL_PARTS(Q32_NO_PART, Q32_USE_AVX512_PART, Q32_USE_AVX512_PART)
    }
#undef Q32_USE_AVX2_PART
#undef Q32_USE_AVX512_PART
}
#else
bool fnProcessorHas(KernelLevel level) {
    return level == KernelLevel::SCALAR;
}
void fnReplaceForLevel(Kernels&, KernelLevel) {}
#endif

Kernels fnBuildTable(KernelLevel level) {
    Kernels table{};
    table.m_eLevel = level;
#define Q32_USE_SCALAR_PART(part) fnUseScalar##part(table);
    Q32_KERNEL_PARTS(Q32_USE_SCALAR_PART, Q32_USE_SCALAR_PART, Q32_USE_SCALAR_PART)
#undef Q32_USE_SCALAR_PART
    fnReplaceForLevel(table, level);
    return table;
}

KernelLevel fnHighestLevel() {
    return fnProcessorHas(KernelLevel::AVX512) ? KernelLevel::AVX512
           : fnProcessorHas(KernelLevel::AVX2) ? KernelLevel::AVX2
                                               : KernelLevel::SCALAR;
}

} // namespace

KernelLevel fnChooseLevel(const char* cap, KernelLevel highest) {
    static constexpr struct {
        std::string_view m_Name;
        KernelLevel m_eLevel;
    } kCaps[] = {{"scalar", KernelLevel::SCALAR},
                 {"avx2", KernelLevel::AVX2},
                 {"avx512", KernelLevel::AVX512}};
    for (const auto& level : kCaps)
        if (cap && cap == level.m_Name)
            return std::min(level.m_eLevel, highest);
    return highest;
}

const Kernels& fnKernels() {
    static const Kernels& chosen =
        *fnKernelsOfLevel(fnChooseLevel(std::getenv("Q32_KERNELS"), fnHighestLevel()));
    return chosen;
}

const Kernels* fnKernelsOfLevel(KernelLevel level) {
    if (!fnProcessorHas(level))
        return nullptr;
    static const Kernels tables[] = {fnBuildTable(KernelLevel::SCALAR),
                                     fnBuildTable(KernelLevel::AVX2),
                                     fnBuildTable(KernelLevel::AVX512)};
    return &tables[static_cast<int>(level)];
}

} // namespace q32
