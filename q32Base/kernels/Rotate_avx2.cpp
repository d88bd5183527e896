#include "q32Base/kernels/Avx2_p.h"
#include "q32Base/kernels/KernelParts_p.h"
#include "q32Base/kernels/RotateValues_p.h"

namespace q32 {
namespace avx2 {
namespace {

static_assert(kRotateRows == 4); // a register of doubles holds one coordinate of all rows

/// The current source coordinates of the rows.
struct Places {
    __m256d m_X;
    __m256d m_Y;
    __m256d m_C;
    __m256d m_S;
    explicit Places(const RotateRows& rows)
        : m_X(_mm256_loadu_pd(rows.m_dX)), m_Y(_mm256_loadu_pd(rows.m_dY)),
          m_C(_mm256_set1_pd(rows.m_dCosine)), m_S(_mm256_set1_pd(rows.m_dSine)) {}
    inline void fnStep() {
        m_X = _mm256_add_pd(m_X, m_C);
        m_Y = _mm256_sub_pd(m_Y, m_S);
    }
};

/// Converts coordinates to pixel indices.
struct Finder {
    __m256d m_Left;
    __m256d m_Top;
    __m128i m_Stride;
    explicit Finder(const RotateSource& source)
        : m_Left(_mm256_set1_pd(source.m_dLeft)), m_Top(_mm256_set1_pd(source.m_dTop)),
          m_Stride(_mm_set1_epi32(source.m_nStride)) {}
    /// Indices of the pixels at integral coordinates.
    inline __m128i operator()(__m256d x, __m256d y) const {
        const __m128i column = _mm256_cvttpd_epi32(_mm256_sub_pd(x, m_Left));
        const __m128i row = _mm256_cvttpd_epi32(_mm256_sub_pd(y, m_Top));
        // Both factors fit into 16 bits.
        return _mm_add_epi32(_mm_madd_epi16(row, m_Stride), column);
    }
};

inline __m256d fnTruncate(__m256d v) {
    return _mm256_round_pd(v, _MM_FROUND_TO_ZERO | _MM_FROUND_NO_EXC);
}

inline __m256d fnRound(__m256d v) {
    const __m256d half = _mm256_or_pd(_mm256_and_pd(v, _mm256_set1_pd(-0.0)), _mm256_set1_pd(0.5));
    return fnTruncate(_mm256_add_pd(v, half));
}

/// The fraction that truncation drops, plus 1 if it is negative.
inline __m256d fnFraction(__m256d v, __m256d whole) {
    const __m256d rest = _mm256_sub_pd(v, whole);
    const __m256d below = _mm256_cmp_pd(rest, _mm256_setzero_pd(), _CMP_LT_OQ);
    return _mm256_add_pd(rest, _mm256_and_pd(below, _mm256_set1_pd(1.0)));
}

/// Stores a pixel that lies in the low bytes of `value`. Of three-byte pixels all but the last of a
/// row may be stored with a fourth byte, which the next one overwrites.
template <int kBytes>
inline void fnStorePixel(std::uint8_t* to, std::uint32_t value, bool last) {
    if constexpr (kBytes == 3)
        if (!last) {
            __builtin_memcpy(to, &value, 4);
            return;
        }
    __builtin_memcpy(to, &value, kBytes);
}

template <int kBytes>
void fnNearest(const RotateSource& source, const RotateRows& rows, std::size_t count) {
    const Finder find(source);
    Places at(rows);
    for (std::size_t i = 0; i < count; ++i, at.fnStep()) {
        alignas(16) std::uint32_t numbers[4];
        _mm_store_si128(reinterpret_cast<__m128i*>(numbers),
                        find(fnRound(at.m_X), fnRound(at.m_Y)));
#pragma GCC unroll 4
        for (std::size_t r = 0; r < kRotateRows; ++r) {
            std::uint32_t pixel;
            __builtin_memcpy(&pixel, source.m_pPixels + std::size_t{numbers[r]} * kBytes, 4);
            fnStorePixel<kBytes>(rows.m_pTarget[r] + i * kBytes, pixel, i + 1 == count);
        }
    }
}

struct Weights {
    __m256d m_W11, m_W10, m_W01, m_W00;
    Weights(const Places& at, __m256d x0, __m256d y0) {
        const __m256d fx = fnFraction(at.m_X, x0);
        const __m256d fy = fnFraction(at.m_Y, y0);
        m_W11 = _mm256_mul_pd(fx, fy);
        m_W10 = _mm256_sub_pd(fx, m_W11);
        m_W01 = _mm256_sub_pd(fy, m_W11);
        m_W00 = _mm256_add_pd(_mm256_sub_pd(_mm256_sub_pd(_mm256_set1_pd(1.0), fx), fy), m_W11);
    }
};

void fnBilinear8(const RotateSource& source, const RotateRows& rows, std::size_t count) {
    const Finder find(source);
    const auto* upper = reinterpret_cast<const int*>(source.m_pPixels);
    const auto* lower = reinterpret_cast<const int*>(source.m_pPixels + source.m_nStride);
    const __m128i byte = _mm_set1_epi32(0xFF);
    Places at(rows);
    for (std::size_t i = 0; i < count; ++i, at.fnStep()) {
        const __m256d x0 = fnTruncate(at.m_X);
        const __m256d y0 = fnTruncate(at.m_Y);
        const Weights w(at, x0, y0);
        const __m128i numbers = find(x0, y0);
        const __m128i above = _mm_i32gather_epi32(upper, numbers, 1);
        const __m128i below = _mm_i32gather_epi32(lower, numbers, 1);
        const __m256d p00 = _mm256_cvtepi32_pd(_mm_and_si128(above, byte));
        const __m256d p10 = _mm256_cvtepi32_pd(_mm_and_si128(_mm_srli_epi32(above, 8), byte));
        const __m256d p01 = _mm256_cvtepi32_pd(_mm_and_si128(below, byte));
        const __m256d p11 = _mm256_cvtepi32_pd(_mm_and_si128(_mm_srli_epi32(below, 8), byte));
        __m256d sum = _mm256_mul_pd(p00, w.m_W00);
        sum = _mm256_add_pd(sum, _mm256_mul_pd(p01, w.m_W01));
        sum = _mm256_add_pd(sum, _mm256_mul_pd(p10, w.m_W10));
        sum = _mm256_add_pd(sum, _mm256_mul_pd(p11, w.m_W11));
        const __m128i whole = _mm256_cvttpd_epi32(sum);
        rows.m_pTarget[0][i] = static_cast<std::uint8_t>(_mm_extract_epi8(whole, 0));
        rows.m_pTarget[1][i] = static_cast<std::uint8_t>(_mm_extract_epi8(whole, 4));
        rows.m_pTarget[2][i] = static_cast<std::uint8_t>(_mm_extract_epi8(whole, 8));
        rows.m_pTarget[3][i] = static_cast<std::uint8_t>(_mm_extract_epi8(whole, 12));
    }
}

/// Two adjacent pixels, one channel in each lane.
template <int kBytes>
struct TwoPixels {
    __m256d m_First;
    __m256d m_Second;
    explicit inline TwoPixels(const std::uint8_t* from) {
        const __m128i bytes = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(from));
        if (kBytes == 4) {
            const __m256i pixels = _mm256_cvtepu8_epi32(bytes);
            m_First = _mm256_cvtepi32_pd(_mm256_castsi256_si128(pixels));
            m_Second = _mm256_cvtepi32_pd(_mm256_extracti128_si256(pixels, 1));
        } else {
            const __m128i first =
                _mm_setr_epi8(0, -1, -1, -1, 1, -1, -1, -1, 2, -1, -1, -1, -1, -1, -1, -1);
            const __m128i second =
                _mm_setr_epi8(3, -1, -1, -1, 4, -1, -1, -1, 5, -1, -1, -1, -1, -1, -1, -1);
            m_First = _mm256_cvtepi32_pd(_mm_shuffle_epi8(bytes, first));
            m_Second = _mm256_cvtepi32_pd(_mm_shuffle_epi8(bytes, second));
        }
    }
};

template <int kBytes>
void fnBilinear(const RotateSource& source, const RotateRows& rows, std::size_t count) {
    const Finder find(source);
    const std::size_t below = static_cast<std::size_t>(source.m_nStride) * kBytes;
    Places at(rows);
    for (std::size_t i = 0; i < count; ++i, at.fnStep()) {
        const __m256d x0 = fnTruncate(at.m_X);
        const __m256d y0 = fnTruncate(at.m_Y);
        const Weights w(at, x0, y0);
        alignas(16) std::uint32_t numbers[4];
        alignas(32) double w11[4];
        alignas(32) double w10[4];
        alignas(32) double w01[4];
        alignas(32) double w00[4];
        _mm_store_si128(reinterpret_cast<__m128i*>(numbers), find(x0, y0));
        _mm256_store_pd(w11, w.m_W11);
        _mm256_store_pd(w10, w.m_W10);
        _mm256_store_pd(w01, w.m_W01);
        _mm256_store_pd(w00, w.m_W00);
        __m128i whole[4];
#pragma GCC unroll 4
        for (std::size_t r = 0; r < kRotateRows; ++r) {
            const std::uint8_t* from = source.m_pPixels + std::size_t{numbers[r]} * kBytes;
            const TwoPixels<kBytes> p0(from);
            const TwoPixels<kBytes> p1(from + below);
            __m256d sum = _mm256_mul_pd(p1.m_Second, _mm256_broadcast_sd(&w11[r]));
            sum = _mm256_add_pd(sum, _mm256_mul_pd(p1.m_First, _mm256_broadcast_sd(&w01[r])));
            sum = _mm256_add_pd(sum, _mm256_mul_pd(p0.m_Second, _mm256_broadcast_sd(&w10[r])));
            sum = _mm256_add_pd(sum, _mm256_mul_pd(p0.m_First, _mm256_broadcast_sd(&w00[r])));
            whole[r] = _mm256_cvttpd_epi32(sum);
        }
        // Every sum lies between 0 and 255.
        alignas(16) std::uint32_t pixels[4];
        _mm_store_si128(reinterpret_cast<__m128i*>(pixels),
                        _mm_packus_epi16(_mm_packs_epi32(whole[0], whole[1]),
                                         _mm_packs_epi32(whole[2], whole[3])));
#pragma GCC unroll 4
        for (std::size_t r = 0; r < kRotateRows; ++r)
            fnStorePixel<kBytes>(rows.m_pTarget[r] + i * kBytes, pixels[r], i + 1 == count);
    }
}

template <int kBytes>
void fnFlat(const std::uint8_t* pixel, const RotateRows& rows, std::size_t count) {
    const RotateValues<kBytes> values = fnRotateValues<kBytes>(pixel);
    Places at(rows);
    for (std::size_t i = 0; i < count; ++i, at.fnStep()) {
        const Weights w(at, fnTruncate(at.m_X), fnTruncate(at.m_Y));
        const __m256d first = kBytes == 1 ? w.m_W00 : w.m_W11;
        const __m256d last = kBytes == 1 ? w.m_W11 : w.m_W00;
        __m128i sums = _mm_setzero_si128();
        for (int k = 0; k < values.m_nCount; ++k) {
            const __m256d p = _mm256_set1_pd(values.m_dValue[k]);
            __m256d sum = _mm256_mul_pd(p, first);
            sum = _mm256_add_pd(sum, _mm256_mul_pd(p, w.m_W01));
            sum = _mm256_add_pd(sum, _mm256_mul_pd(p, w.m_W10));
            sum = _mm256_add_pd(sum, _mm256_mul_pd(p, last));
            const __m128i places = _mm_set1_epi32(static_cast<int>(values.m_nPlaces[k]));
            sums = _mm_or_si128(sums, _mm_mullo_epi32(_mm256_cvttpd_epi32(sum), places));
        }
        alignas(16) std::uint32_t pixels[4];
        _mm_store_si128(reinterpret_cast<__m128i*>(pixels), sums);
#pragma GCC unroll 4
        for (std::size_t r = 0; r < kRotateRows; ++r)
            fnStorePixel<kBytes>(rows.m_pTarget[r] + i * kBytes, pixels[r], i + 1 == count);
    }
}

} // namespace
} // namespace avx2

void fnUseAvx2Rotate(Kernels& table) {
    table.fnRotateNearest8 = avx2::fnNearest<1>;
    table.fnRotateNearest24 = avx2::fnNearest<3>;
    table.fnRotateNearest32 = avx2::fnNearest<4>;
    table.fnRotateBilinear8 = avx2::fnBilinear8;
    table.fnRotateBilinear24 = avx2::fnBilinear<3>;
    table.fnRotateBilinear32 = avx2::fnBilinear<4>;
    table.fnRotateFlat8 = avx2::fnFlat<1>;
    table.fnRotateFlat24 = avx2::fnFlat<3>;
    table.fnRotateFlat32 = avx2::fnFlat<4>;
}

} // namespace q32
