#include "q32Base/kernels/Avx512_p.h"
#include "q32Base/kernels/KernelParts_p.h"
#include "q32Base/kernels/RotateValues_p.h"

// The same double-precision sums as in the scalar kernels, for eight pixels at a time: a register
// holds one channel of one corner for two adjacent pixels of each row.

namespace q32 {
namespace avx512 {
namespace {

static_assert(kRotateRows == 4);
constexpr std::size_t kPixels = 2; ///< of each row in a register: lanes 2 r and 2 r + 1 are row r's
constexpr __mmask8 kSecondPixels = 0xAA;

/// Source coordinates of the current pixels.
struct Places {
    __m512d m_X;
    __m512d m_Y;
    __m512d m_C;
    __m512d m_S;

    explicit Places(const RotateRows& rows)
        : m_X(fnBothPixels(rows.m_dX)), m_Y(fnBothPixels(rows.m_dY)),
          m_C(_mm512_set1_pd(rows.m_dCosine)), m_S(_mm512_set1_pd(rows.m_dSine)) {
        m_X = _mm512_mask_add_pd(m_X, kSecondPixels, m_X, m_C);
        m_Y = _mm512_mask_sub_pd(m_Y, kSecondPixels, m_Y, m_S);
    }
    /// By two pixels, one addition for each, since every coordinate is rounded.
    inline void fnStep() {
        m_X = _mm512_add_pd(_mm512_add_pd(m_X, m_C), m_C);
        m_Y = _mm512_sub_pd(_mm512_sub_pd(m_Y, m_S), m_S);
    }
    /// Leaves the first pixels alone, for the end of the rows: the second ones repeat them.
    inline void fnDropSecondPixels() {
        m_X = _mm512_movedup_pd(m_X);
        m_Y = _mm512_movedup_pd(m_Y);
    }

private:
    static inline __m512d fnBothPixels(const double* rows) {
        const __m512i each = _mm512_setr_epi64(0, 0, 1, 1, 2, 2, 3, 3);
        return _mm512_permutexvar_pd(each, _mm512_zextpd256_pd512(_mm256_loadu_pd(rows)));
    }
};

inline __m512d fnTruncate(__m512d v) {
    return _mm512_roundscale_pd(v, _MM_FROUND_TO_ZERO | _MM_FROUND_NO_EXC);
}

/// The fraction that truncation drops, plus 1 if it is negative.
inline __m512d fnFraction(__m512d v, __m512d whole) {
    const __m512d rest = _mm512_sub_pd(v, whole);
    const __mmask8 below = _mm512_cmp_pd_mask(rest, _mm512_setzero_pd(), _CMP_LT_OQ);
    return _mm512_mask_add_pd(rest, below, rest, _mm512_set1_pd(1.0));
}

struct Weights {
    __m512d m_W11, m_W10, m_W01, m_W00;
    Weights(const Places& at, __m512d x0, __m512d y0) {
        const __m512d fx = fnFraction(at.m_X, x0);
        const __m512d fy = fnFraction(at.m_Y, y0);
        m_W11 = _mm512_mul_pd(fx, fy);
        m_W10 = _mm512_sub_pd(fx, m_W11);
        m_W01 = _mm512_sub_pd(fy, m_W11);
        m_W00 = _mm512_add_pd(_mm512_sub_pd(_mm512_sub_pd(_mm512_set1_pd(1.0), fx), fy), m_W11);
    }
};

/// One channel of the pixels; always between 0 and 255.
template <int kBytes>
inline __m256i fnSum(__m512d p00, __m512d p10, __m512d p01, __m512d p11, const Weights& w) {
    __m512d sum;
    if (kBytes == 1) {
        sum = _mm512_mul_pd(p00, w.m_W00);
        sum = _mm512_add_pd(sum, _mm512_mul_pd(p01, w.m_W01));
        sum = _mm512_add_pd(sum, _mm512_mul_pd(p10, w.m_W10));
        sum = _mm512_add_pd(sum, _mm512_mul_pd(p11, w.m_W11));
    } else {
        sum = _mm512_mul_pd(p11, w.m_W11);
        sum = _mm512_add_pd(sum, _mm512_mul_pd(p01, w.m_W01));
        sum = _mm512_add_pd(sum, _mm512_mul_pd(p10, w.m_W10));
        sum = _mm512_add_pd(sum, _mm512_mul_pd(p00, w.m_W00));
    }
    return _mm512_cvttpd_epi32(sum);
}

/// Byte `at` of each group of eight, as a double.
inline __m512d fnByteOf(__m512i groups, int at) {
    constexpr std::int64_t kZeros = static_cast<std::int64_t>(0x8080808080808000u);
    const __m128i pick = _mm_set_epi64x(kZeros | (at + 8), kZeros | at);
    return _mm512_cvtepi64_pd(_mm512_shuffle_epi8(groups, _mm512_broadcast_i32x4(pick)));
}

/// Computes the current pixels of the rows. The result has four bytes for each, the channels in the
/// low ones.
template <int kBytes>
class Blend {
public:
    explicit Blend(const RotateSource& source)
        : m_pAbove(source.m_pPixels),
          m_pBelow(source.m_pPixels + static_cast<std::ptrdiff_t>(source.m_nStride) * kBytes),
          m_Left(_mm512_set1_pd(source.m_dLeft)), m_Top(_mm512_set1_pd(source.m_dTop)),
          m_Stride(_mm256_set1_epi32(source.m_nStride)) {}

    inline __m256i operator()(const Places& at) const {
        const __m512d x0 = fnTruncate(at.m_X);
        const __m512d y0 = fnTruncate(at.m_Y);
        const Weights w(at, x0, y0);
        const __m256i offsets = fnOffsets(x0, y0);
        const __m512i above = fnGather(m_pAbove, offsets);
        const __m512i below = fnGather(m_pBelow, offsets);
        __m256i pixels = fnChannel(above, below, w, 0);
#pragma GCC unroll 3
        for (int i = 1; i < kBytes; ++i)
            pixels =
                _mm256_or_si256(pixels, _mm256_slli_epi32(fnChannel(above, below, w, i), 8 * i));
        return pixels;
    }

private:
    inline __m256i fnOffsets(__m512d x0, __m512d y0) const {
        const __m256i column = _mm512_cvttpd_epi32(_mm512_sub_pd(x0, m_Left));
        const __m256i row = _mm512_cvttpd_epi32(_mm512_sub_pd(y0, m_Top));
        // Both factors fit into 16 bits.
        const __m256i pixel = _mm256_add_epi32(_mm256_madd_epi16(row, m_Stride), column);
        return kBytes == 3 ? _mm256_add_epi32(pixel, _mm256_add_epi32(pixel, pixel)) : pixel;
    }
    /// The eight bytes from each place on: a pixel, the one to its right, and maybe more.
    static inline __m512i fnGather(const std::uint8_t* from, __m256i offsets) {
        return _mm512_mask_i32gather_epi64(_mm512_setzero_si512(), 0xFF, offsets, from,
                                           kBytes == 4 ? 4 : 1);
    }
    static inline __m256i fnChannel(__m512i above, __m512i below, const Weights& w, int i) {
        return fnSum<kBytes>(fnByteOf(above, i), fnByteOf(above, i + kBytes), fnByteOf(below, i),
                             fnByteOf(below, i + kBytes), w);
    }

    const std::uint8_t* m_pAbove;
    const std::uint8_t* m_pBelow;
    __m512d m_Left;
    __m512d m_Top;
    __m256i m_Stride;
};

/// Moves the pixels of each row, two of four bytes, together to two of kBytes.
template <int kBytes>
inline __m256i fnPack(__m256i pixels) {
    if (kBytes == 4)
        return pixels;
    const __m128i pack = kBytes == 3 ? _mm_setr_epi8(0, 1, 2, 4, 5, 6, -1, -1, //
                                                     8, 9, 10, 12, 13, 14, -1, -1)
                                     : _mm_setr_epi8(0, 4, -1, -1, -1, -1, -1, -1, //
                                                     8, 12, -1, -1, -1, -1, -1, -1);
    return _mm256_shuffle_epi8(pixels, _mm256_broadcastsi128_si256(pack));
}

/// Computes the current pixels where every pixel read is the same.
template <int kBytes>
class FlatBlend {
public:
    explicit FlatBlend(const std::uint8_t* pixel) : m_Values(fnRotateValues<kBytes>(pixel)) {}

    inline __m256i operator()(const Places& at) const {
        const Weights w(at, fnTruncate(at.m_X), fnTruncate(at.m_Y));
        __m256i pixels = _mm256_setzero_si256();
        for (int i = 0; i < m_Values.m_nCount; ++i) {
            const __m512d p = _mm512_set1_pd(m_Values.m_dValue[i]);
            const __m256i places = _mm256_set1_epi32(static_cast<int>(m_Values.m_nPlaces[i]));
            pixels =
                _mm256_or_si256(pixels, _mm256_mullo_epi32(fnSum<kBytes>(p, p, p, p, w), places));
        }
        return pixels;
    }

private:
    RotateValues<kBytes> m_Values;
};

/// Stores what `blend` gives for each pixel.
template <int kBytes, class Compute>
inline void fnBlendRows(const Compute& blend, const RotateRows& rows, std::size_t count) {
    Places at(rows);
    std::uint64_t pixels[kRotateRows];
    std::size_t i = 0;
    // A store of four or eight bytes for two pixels must not pass the end of the row.
    constexpr std::size_t kStored = kBytes == 1 ? 2 : 8;
    for (; (count - i) * kBytes >= kStored && count - i >= kPixels; i += kPixels, at.fnStep()) {
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(pixels), fnPack<kBytes>(blend(at)));
#pragma GCC unroll 4
        for (std::size_t r = 0; r < kRotateRows; ++r)
            __builtin_memcpy(rows.m_pTarget[r] + i * kBytes, &pixels[r], kStored);
    }
    for (; i < count; i += kPixels, at.fnStep()) {
        const bool both = count - i >= kPixels;
        if (!both)
            at.fnDropSecondPixels();
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(pixels), fnPack<kBytes>(blend(at)));
        for (std::size_t r = 0; r < kRotateRows; ++r)
            __builtin_memcpy(rows.m_pTarget[r] + i * kBytes, &pixels[r],
                             both ? kPixels * kBytes : kBytes);
    }
}

template <int kBytes>
void fnBilinear(const RotateSource& source, const RotateRows& rows, std::size_t count) {
    fnBlendRows<kBytes>(Blend<kBytes>(source), rows, count);
}

template <int kBytes>
void fnFlat(const std::uint8_t* pixel, const RotateRows& rows, std::size_t count) {
    fnBlendRows<kBytes>(FlatBlend<kBytes>(pixel), rows, count);
}

} // namespace
} // namespace avx512

void fnUseAvx512Rotate(Kernels& table) {
    table.fnRotateBilinear8 = avx512::fnBilinear<1>;
    table.fnRotateBilinear24 = avx512::fnBilinear<3>;
    table.fnRotateBilinear32 = avx512::fnBilinear<4>;
    table.fnRotateFlat8 = avx512::fnFlat<1>;
    table.fnRotateFlat24 = avx512::fnFlat<3>;
    table.fnRotateFlat32 = avx512::fnFlat<4>;
}

} // namespace q32
