#include "q32Base/kernels/Avx512_p.h"
#include "q32Base/kernels/KernelParts_p.h"

// One permutation moves the bytes of 16 pixels, which are 48 bytes or 64. The last pixels of a run
// are loaded and stored under a mask, so nothing around the run is touched.

namespace q32 {
namespace avx512 {
namespace {

/// Where each of 64 target bytes comes from.
struct BytePlaces {
    alignas(64) std::uint8_t m_Bytes[64];
    __m512i fnLoad() const { return _mm512_load_si512(m_Bytes); }
};

/// 16 pixels of four bytes, from 16 of three: byte c of a pixel is byte `order[c]` of the source's
/// pixel; 3 stands for none.
constexpr BytePlaces fnWidenPlaces(const std::uint8_t (&order)[4]) {
    BytePlaces places{};
    for (std::size_t i = 0; i < 64; ++i)
        places.m_Bytes[i] =
            static_cast<std::uint8_t>(order[i % 4] < 3 ? i / 4 * 3 + order[i % 4] : 0);
    return places;
}

/// 16 pixels of three bytes, from 16 of four.
constexpr BytePlaces fnNarrowPlaces(const std::uint8_t (&order)[3]) {
    BytePlaces places{};
    for (std::size_t i = 0; i < 48; ++i)
        places.m_Bytes[i] = static_cast<std::uint8_t>(i / 3 * 4 + order[i % 3]);
    return places;
}

constexpr BytePlaces kRgbToBgrx = fnWidenPlaces({2, 1, 0, 3});
constexpr BytePlaces kRgbToArgb = fnWidenPlaces({3, 0, 1, 2});
constexpr BytePlaces kArgbToRgb = fnNarrowPlaces({1, 2, 3});
constexpr BytePlaces kArgbToBgr = fnNarrowPlaces({3, 2, 1});

/// Runs `step` on 16 pixels at a time, while a load of 64 bytes stays within the source and a store
/// within the target, and on the rest under masks of their bytes.
template <std::size_t kSourceBytes, std::size_t kTargetBytes, class Step>
inline void fnConvert(const std::uint8_t* source, std::uint8_t* target, std::size_t count,
                      Step step) {
    constexpr std::size_t kMin = kSourceBytes == 4 && kTargetBytes == 4 ? 16 : 22;
    for (; count >= kMin; count -= 16) {
        _mm512_storeu_si512(target, step(_mm512_loadu_si512(source)));
        source += 16 * kSourceBytes;
        target += 16 * kTargetBytes;
    }
    while (count != 0) {
        const std::size_t pixels = count < 16 ? count : 16;
        const __m512i last = _mm512_maskz_loadu_epi8(fnFirstBytes(pixels * kSourceBytes), source);
        _mm512_mask_storeu_epi8(target, fnFirstBytes(pixels * kTargetBytes), step(last));
        source += pixels * kSourceBytes;
        target += pixels * kTargetBytes;
        count -= pixels;
    }
}

void fnRgb24ToBgrx32(const std::uint8_t* source, std::uint8_t* target, std::size_t count) {
    constexpr __mmask64 kColors = 0x7777777777777777;
    fnConvert<3, 4>(source, target, count, [places = kRgbToBgrx.fnLoad()](__m512i pixels) {
        return _mm512_maskz_permutexvar_epi8(kColors, places, pixels);
    });
}

void fnRgb24ToArgb32(const std::uint8_t* source, std::uint8_t* target, std::size_t count) {
    constexpr __mmask64 kColors = 0xEEEEEEEEEEEEEEEE;
    const __m512i opaque = _mm512_set1_epi8(-1);
    fnConvert<3, 4>(source, target, count, [=, places = kRgbToArgb.fnLoad()](__m512i pixels) {
        return _mm512_mask_permutexvar_epi8(opaque, kColors, places, pixels);
    });
}

void fnArgb32ToRgb24(const std::uint8_t* source, std::uint8_t* target, std::size_t count) {
    fnConvert<4, 3>(source, target, count, [places = kArgbToRgb.fnLoad()](__m512i pixels) {
        return _mm512_permutexvar_epi8(places, pixels);
    });
}

void fnArgb32ToBgr24(const std::uint8_t* source, std::uint8_t* target, std::size_t count) {
    fnConvert<4, 3>(source, target, count, [places = kArgbToBgr.fnLoad()](__m512i pixels) {
        return _mm512_permutexvar_epi8(places, pixels);
    });
}

} // namespace
} // namespace avx512

void fnUseAvx512PixelFormat(Kernels& table) {
    table.fnRgb24ToBgrx32 = avx512::fnRgb24ToBgrx32;
    table.fnRgb24ToArgb32 = avx512::fnRgb24ToArgb32;
    table.fnArgb32ToRgb24 = avx512::fnArgb32ToRgb24;
    table.fnArgb32ToBgr24 = avx512::fnArgb32ToBgr24;
}

} // namespace q32
