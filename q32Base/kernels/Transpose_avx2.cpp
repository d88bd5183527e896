#include "q32Base/kernels/Avx2_p.h"
#include "q32Base/kernels/KernelParts_p.h"

namespace q32 {
namespace avx2 {
namespace {

// A block is two groups of source rows, one in each half of the registers: kPixels pixels wide and
// 2 * kPixels rows high. Three-byte pixels are widened to four bytes meanwhile.

/// Pixels in a row of a block. `kBytes` is the size of a pixel in a register: 1, 2 or 4.
template <int kBytes>
constexpr int kPixels = 16 / kBytes;

template <int kBytes>
inline __m256i fnRiffleLow(__m256i a, __m256i b) {
    return kBytes == 1   ? _mm256_unpacklo_epi8(a, b)
           : kBytes == 2 ? _mm256_unpacklo_epi16(a, b)
                         : _mm256_unpacklo_epi32(a, b);
}

template <int kBytes>
inline __m256i fnRiffleHigh(__m256i a, __m256i b) {
    return kBytes == 1   ? _mm256_unpackhi_epi8(a, b)
           : kBytes == 2 ? _mm256_unpackhi_epi16(a, b)
                         : _mm256_unpackhi_epi32(a, b);
}

/// Transposes the square of pixels in each half. Interleaving the first half of the rows with the
/// second moves every bit of a pixel's position (row, column) up by one; doing so once for each bit
/// of a row number swaps row and column.
template <int kBytes>
inline void fnTransposeHalves(__m256i (&rows)[kPixels<kBytes>]) {
    constexpr int kRows = kPixels<kBytes>;
#pragma GCC unroll 4
    for (int step = 1; step < kRows; step *= 2) {
        __m256i next[kRows];
#pragma GCC unroll 8
        for (int i = 0; i < kRows / 2; ++i) {
            next[2 * i] = fnRiffleLow<kBytes>(rows[i], rows[i + kRows / 2]);
            next[2 * i + 1] = fnRiffleHigh<kBytes>(rows[i], rows[i + kRows / 2]);
        }
#pragma GCC unroll 16
        for (int i = 0; i < kRows; ++i)
            rows[i] = next[i];
    }
}

template <int kBytes>
inline void fnBlock(const std::uint8_t* source, std::ptrdiff_t sourceStride, std::uint8_t* target,
                    std::ptrdiff_t targetStride) {
    constexpr int kRows = kPixels<kBytes>;
    __m256i rows[kRows];
#pragma GCC unroll 16
    for (int r = 0; r < kRows; ++r)
        rows[r] = fnLoadPair(source + r * sourceStride, source + (r + kRows) * sourceStride);
    fnTransposeHalves<kBytes>(rows);
#pragma GCC unroll 16
    for (int r = 0; r < kRows; ++r)
        fnStore(target + r * targetStride, rows[r]);
}

/// Transposes four pixels of three bytes from eight rows. `before` bytes ahead of the pixels are
/// loaded too: 0, or 4 at the end of the rows, where a load may not pass the last pixel.
inline void fnBlock24(const std::uint8_t* source, std::ptrdiff_t sourceStride, std::uint8_t* target,
                      std::ptrdiff_t targetStride, int before) {
    const __m128i places =
        _mm_setr_epi8(0, 1, 2, -128, 3, 4, 5, -128, 6, 7, 8, -128, 9, 10, 11, -128);
    const __m256i spread = fnTwice(_mm_add_epi8(places, _mm_set1_epi8(static_cast<char>(before))));
    const __m256i narrow =
        fnTwice(_mm_setr_epi8(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1));
    const __m256i join = _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 7, 7);
    __m256i rows[4];
#pragma GCC unroll 4
    for (int r = 0; r < 4; ++r)
        rows[r] = _mm256_shuffle_epi8(fnLoadPair(source + r * sourceStride - before,
                                                 source + (r + 4) * sourceStride - before),
                                      spread);
    fnTransposeHalves<4>(rows);
#pragma GCC unroll 4
    for (int r = 0; r < 4; ++r) {
        const __m256i pixels =
            _mm256_permutevar8x32_epi32(_mm256_shuffle_epi8(rows[r], narrow), join);
        std::uint8_t* to = target + r * targetStride;
        fnStore128(to, _mm256_castsi256_si128(pixels));
        _mm_storel_epi64(reinterpret_cast<__m128i*>(to + 16), _mm256_extracti128_si256(pixels, 1));
    }
}

/// Covers the area with blocks; those at the ends overlap their predecessors.
template <int kBytes>
void fnTranspose(const std::uint8_t* source, std::ptrdiff_t sourceStride, std::uint8_t* target,
                 std::ptrdiff_t targetStride, std::size_t width, std::size_t height) {
    constexpr bool kSpread = kBytes == 3;
    constexpr std::size_t kAcross = kSpread ? 4 : kPixels<kBytes>;
    constexpr std::size_t kDown = 2 * kAcross;
    if (width < (kSpread ? kAcross + 2 : kAcross) || height < kDown) {
        scalar::fnTranspose<kBytes>(source, sourceStride, target, targetStride, width, height);
        return;
    }
    for (std::size_t i = 0; i < width; i += kAcross) {
        if (i + kAcross > width)
            i = width - kAcross;
        const int before = kSpread && i + kAcross + 2 > width ? 4 : 0;
        const std::uint8_t* from = source + i * kBytes;
        std::uint8_t* to = target + static_cast<std::ptrdiff_t>(i) * targetStride;
        for (std::size_t j = 0; j < height; j += kDown) {
            if (j + kDown > height)
                j = height - kDown;
            const std::uint8_t* block = from + static_cast<std::ptrdiff_t>(j) * sourceStride;
            if constexpr (kSpread)
                fnBlock24(block, sourceStride, to + j * kBytes, targetStride, before);
            else
                fnBlock<kBytes>(block, sourceStride, to + j * kBytes, targetStride);
        }
    }
}

} // namespace
} // namespace avx2

void fnUseAvx2Transpose(Kernels& table) {
    table.fnTranspose[0] = avx2::fnTranspose<1>;
    table.fnTranspose[1] = avx2::fnTranspose<2>;
    table.fnTranspose[2] = avx2::fnTranspose<3>;
    table.fnTranspose[3] = avx2::fnTranspose<4>;
}

} // namespace q32
