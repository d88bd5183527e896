#include "q32Base/kernels/Avx512_p.h"
#include "q32Base/kernels/KernelParts_p.h"

namespace q32 {
namespace avx512 {
namespace {

/// Transposes 16 x 16 integers of 32 bits.
inline void fnTranspose(__m512i (&rows)[16]) {
    __m512i pairs[16];
#pragma GCC unroll 8
    for (int i = 0; i < 16; i += 2) {
        pairs[i] = _mm512_unpacklo_epi32(rows[i], rows[i + 1]);
        pairs[i + 1] = _mm512_unpackhi_epi32(rows[i], rows[i + 1]);
    }
    // Of each four rows, column j of every quarter is then in fours[4 * (row / 4) + j].
    __m512i fours[16];
#pragma GCC unroll 4
    for (int i = 0; i < 16; i += 4) {
        fours[i] = _mm512_unpacklo_epi64(pairs[i], pairs[i + 2]);
        fours[i + 1] = _mm512_unpackhi_epi64(pairs[i], pairs[i + 2]);
        fours[i + 2] = _mm512_unpacklo_epi64(pairs[i + 1], pairs[i + 3]);
        fours[i + 3] = _mm512_unpackhi_epi64(pairs[i + 1], pairs[i + 3]);
    }
#pragma GCC unroll 4
    for (int j = 0; j < 4; ++j) {
        const __m512i even = _mm512_shuffle_i32x4(fours[j], fours[j + 4], 0x88);
        const __m512i odd = _mm512_shuffle_i32x4(fours[j], fours[j + 4], 0xDD);
        const __m512i evenBelow = _mm512_shuffle_i32x4(fours[j + 8], fours[j + 12], 0x88);
        const __m512i oddBelow = _mm512_shuffle_i32x4(fours[j + 8], fours[j + 12], 0xDD);
        rows[j] = _mm512_shuffle_i32x4(even, evenBelow, 0x88);
        rows[j + 4] = _mm512_shuffle_i32x4(odd, oddBelow, 0x88);
        rows[j + 8] = _mm512_shuffle_i32x4(even, evenBelow, 0xDD);
        rows[j + 12] = _mm512_shuffle_i32x4(odd, oddBelow, 0xDD);
    }
}

/// Where byte i of a row's quads comes from.
template <std::size_t kChannels>
struct QuadOrder {
    std::uint8_t m_Bytes[64] = {};
    constexpr QuadOrder() {
        for (std::size_t i = 0; i < 64; ++i) {
            const std::size_t block = i / 4;
            const std::size_t from =
                (block / kChannels * 4 + i % 4) * kChannels + block % kChannels;
            m_Bytes[i] = static_cast<std::uint8_t>(from % 64);
        }
    }
};

template <std::size_t kChannels>
void fnFetchQuads(const std::uint8_t* const* rows, std::uint8_t* target, std::size_t pixels) {
    // Complete quads that fit into a register.
    constexpr std::size_t kPixels = 16 / kChannels * 4;
    constexpr std::size_t kBlock = 4 * kFilterLanes;
    alignas(64) static constexpr QuadOrder<kChannels> kOrder;
    const __m512i order = _mm512_load_si512(kOrder.m_Bytes);
    for (std::size_t at = 0; at < pixels; at += kPixels) {
        const std::size_t count = pixels - at < kPixels ? pixels - at : kPixels;
        const __mmask64 which = fnFirstBytes(count * kChannels);
        const std::size_t blocks = (count + 3) / 4 * kChannels;
        std::uint8_t* const to = target + at / 4 * kChannels * kBlock;
        for (std::size_t half = 0; half < 2; ++half) {
            __m512i block[16];
#pragma GCC unroll 16
            for (std::size_t r = 0; r < 16; ++r) {
                block[r] = _mm512_maskz_loadu_epi8(which, rows[16 * half + r] + at * kChannels);
                if (kChannels != 1)
                    block[r] = _mm512_permutexvar_epi8(order, block[r]);
            }
            fnTranspose(block);
#pragma GCC unroll 16
            for (std::size_t b = 0; b < 16; ++b)
                if (b < blocks)
                    _mm512_storeu_si512(to + b * kBlock + 64 * half, block[b]);
        }
    }
}

void fnRowsToQuads(const std::uint8_t* const* rows, std::uint8_t* target, std::size_t pixels,
                   std::size_t channels) {
    static constexpr decltype(&fnFetchQuads<1>) kByChannels[] = {fnFetchQuads<1>, fnFetchQuads<2>,
                                                                 fnFetchQuads<3>, fnFetchQuads<4>};
    kByChannels[channels - 1](rows, target, pixels);
}

} // namespace
} // namespace avx512

void fnUseAvx512RowsToQuads(Kernels& table) {
    table.fnRowsToQuads = avx512::fnRowsToQuads;
}

} // namespace q32
