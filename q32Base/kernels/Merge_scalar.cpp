#include "q32Base/kernels/KernelParts.h"

namespace q32 {
namespace scalar {
namespace {

/// The pixels that a merge at 16 bits sees: no green.
struct RedBlue {
    unsigned int m_nRed, m_nBlue;
};

RedBlue fnRead16(const std::uint8_t* pixel) {
    return {pixel[0] & 0xF8u, (unsigned{pixel[1]} << 3) & 0xFFu};
}

/// As the word with red on top, low byte first.
void fnWrite16(std::uint8_t* pixel, const RedBlue& color) {
    pixel[0] = static_cast<std::uint8_t>(color.m_nBlue >> 3);
    pixel[1] = static_cast<std::uint8_t>(color.m_nRed & 0xF8u);
}

/// For a weight that is neither 0 nor 255.
unsigned int fnBlend(unsigned int target, unsigned int source, unsigned int weight) {
    const unsigned int sum = target * (255 - weight) + source * weight;
    return sum < 255 ? sum : 255;
}

} // namespace

void fnMergeKey16(const std::uint8_t* source, std::uint8_t* target, std::size_t count,
                  const std::uint8_t* key) {
    for (; count != 0; --count, source += 2, target += 2) {
        const RedBlue color = fnRead16(source);
        if (color.m_nRed != key[0] || key[1] != 0 || color.m_nBlue != key[2])
            fnWrite16(target, color);
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
        RedBlue color = fnRead16(source);
        if (weight != 255) {
            const RedBlue under = fnRead16(target);
            color.m_nRed = fnBlend(under.m_nRed, color.m_nRed, weight);
            color.m_nBlue = fnBlend(under.m_nBlue, color.m_nBlue, weight);
        }
        fnWrite16(target, color);
    }
}

void fnMergeMask24(const std::uint8_t* source, std::uint8_t* target, std::size_t count,
                   const std::uint8_t* weights) {
    for (; count != 0; --count, source += 3, target += 3, ++weights) {
        const unsigned int weight = *weights;
        if (weight == 0)
            continue;
        for (int i = 0; i < 3; ++i)
            target[i] = weight == 255
                            ? source[i]
                            : static_cast<std::uint8_t>(fnBlend(target[i], source[i], weight));
    }
}

void fnMergeAll16(const std::uint8_t* source, std::uint8_t* target, std::size_t count) {
    for (; count != 0; --count, source += 2, target += 2)
        fnWrite16(target, fnRead16(source));
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
