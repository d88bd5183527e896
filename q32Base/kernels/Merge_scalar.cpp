#include "q32Base/kernels/KernelParts_p.h"
#include "q32Base/kernels/Rgb565_p.h"

namespace q32 {
namespace scalar {
namespace {

/// The weight is neither 0 nor 255.
std::uint8_t fnBlend(unsigned int target, unsigned int source, unsigned int weight) {
    const unsigned int sum = target * (255 - weight) + source * weight;
    return static_cast<std::uint8_t>(sum < 255 ? sum : 255);
}

} // namespace

void fnMergeKey16(const std::uint8_t* source, std::uint8_t* target, std::size_t count,
                  const std::uint8_t* key) {
    for (; count != 0; --count, source += 2, target += 2) {
        const Rgb8 color = fnReadRgb565NoGreen(source);
        if (color.m_nRed != key[0] || key[1] != 0 || color.m_nBlue != key[2])
            fnWriteRgb565LowFirst(target, color);
    }
}

void fnMergeKey24(const std::uint8_t* source, std::uint8_t* target, std::size_t count,
                  const std::uint8_t* key) {
    for (; count != 0; --count, source += 3, target += 3) {
        if (source[0] == key[0] && source[1] == key[1] && source[2] == key[2])
            continue;
        target[0] = source[0];
        target[1] = source[1];
        target[2] = source[2];
    }
}

void fnMergeMask16(const std::uint8_t* source, std::uint8_t* target, std::size_t count,
                   const std::uint8_t* weights) {
    for (; count != 0; --count, source += 2, target += 2, ++weights) {
        const unsigned int weight = *weights;
        if (weight == 0)
            continue;
        Rgb8 color = fnReadRgb565NoGreen(source);
        if (weight != 255) {
            const Rgb8 under = fnReadRgb565NoGreen(target);
            color.m_nRed = fnBlend(under.m_nRed, color.m_nRed, weight);
            color.m_nBlue = fnBlend(under.m_nBlue, color.m_nBlue, weight);
        }
        fnWriteRgb565LowFirst(target, color);
    }
}

void fnMergeMask24(const std::uint8_t* source, std::uint8_t* target, std::size_t count,
                   const std::uint8_t* weights) {
    for (; count != 0; --count, source += 3, target += 3, ++weights) {
        const unsigned int weight = *weights;
        if (weight == 0)
            continue;
        for (int i = 0; i < 3; ++i)
            target[i] = weight == 255 ? source[i] : fnBlend(target[i], source[i], weight);
    }
}

void fnMergeAll16(const std::uint8_t* source, std::uint8_t* target, std::size_t count) {
    for (; count != 0; --count, source += 2, target += 2)
        fnWriteRgb565LowFirst(target, fnReadRgb565NoGreen(source));
}

} // namespace scalar

void fnUseScalarMerge(Kernels& table) {
    table.fnMergeKey16 = scalar::fnMergeKey16;
    table.fnMergeKey24 = scalar::fnMergeKey24;
    table.fnMergeMask16 = scalar::fnMergeMask16;
    table.fnMergeMask24 = scalar::fnMergeMask24;
    table.fnMergeAll16 = scalar::fnMergeAll16;
}

} // namespace q32
