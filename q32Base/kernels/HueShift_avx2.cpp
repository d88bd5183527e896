#include "q32Base/kernels/Avx2_p.h"
#include "q32Base/kernels/KernelParts_p.h"

namespace q32 {
namespace avx2 {
namespace {

// All numbers here are below 2^24, so a truncated quotient of floats is the integer quotient.
__m256i fnDivide(__m256i a, __m256i b) {
    return _mm256_cvttps_epi32(_mm256_div_ps(_mm256_cvtepi32_ps(a), _mm256_cvtepi32_ps(b)));
}

// a / 255 for 0 to 65535.
__m256i fnDivideBy255(__m256i a) {
    return _mm256_srli_epi32(_mm256_mullo_epi32(a, _mm256_set1_epi32(0x8081)), 23);
}

// a / 60, truncated toward zero, for magnitudes up to 65535.
__m256i fnDivideBy60(__m256i a) {
    const __m256i quotient =
        _mm256_srli_epi32(_mm256_mullo_epi32(_mm256_abs_epi32(a), _mm256_set1_epi32(34953)), 21);
    return _mm256_sign_epi32(quotient, a);
}

// `a` where the mask is set, else `b`.
__m256i fnChoose(__m256i mask, __m256i a, __m256i b) {
    return _mm256_blendv_epi8(b, a, mask);
}

// Shifts eight pixels at a time, with each channel in 32 bits.
class HueShifter {
public:
    explicit HueShifter(const HueShift& shift)
        : m_pSectors(shift.m_nSectors), m_Saturation(_mm256_set1_epi32(shift.m_nSaturation)) {}

    // The shifted colours: red, green and blue in bytes 0, 1 and 2, and a zero byte.
    __m256i fnShift(__m256i red, __m256i green, __m256i blue) const {
        const __m256i one = _mm256_set1_epi32(1);
        const __m256i redOrBlue = _mm256_max_epi32(red, blue);
        const __m256i high = _mm256_max_epi32(redOrBlue, green);
        const __m256i low = _mm256_min_epi32(_mm256_min_epi32(red, blue), green);
        const __m256i delta = _mm256_sub_epi32(high, low);
        const __m256i divisor = _mm256_max_epi32(delta, one);

        const __m256i hue = fnHue(red, green, blue, redOrBlue, high, low, divisor);
        const __m256i greys = _mm256_cmpeq_epi32(delta, _mm256_setzero_si256());
        // For a grey, every channel is brightness.
        const __m256i sector =
            _mm256_andnot_si256(greys, _mm256_i32gather_epi32(m_pSectors, hue, 4));

        const __m256i full = _mm256_set1_epi32(255);
        __m256i saturation =
            fnDivide(_mm256_add_epi32(_mm256_srli_epi32(high, 1), _mm256_mullo_epi32(delta, full)),
                     _mm256_max_epi32(high, one));
        saturation = _mm256_add_epi32(saturation, m_Saturation);
        saturation = _mm256_max_epi32(_mm256_min_epi32(saturation, full), _mm256_setzero_si256());

        const __m256i chroma = fnDivideBy255(
            _mm256_add_epi32(_mm256_mullo_epi32(saturation, high), _mm256_set1_epi32(127)));
        const __m256i floor = _mm256_sub_epi32(high, chroma);
        const __m256i rest = _mm256_srai_epi32(sector, 24);
        const __m256i step =
            fnDivideBy60(_mm256_add_epi32(_mm256_mullo_epi32(rest, chroma), _mm256_set1_epi32(30)));
        const __m256i falls = _mm256_cmpeq_epi32(_mm256_and_si256(sector, _mm256_set1_epi32(0x40)),
                                                 _mm256_set1_epi32(0x40));
        const __m256i middle = _mm256_and_si256(
            fnChoose(falls, _mm256_sub_epi32(high, step), _mm256_add_epi32(floor, step)), full);
        const __m256i parts = _mm256_or_si256(
            high, _mm256_or_si256(_mm256_slli_epi32(middle, 8), _mm256_slli_epi32(floor, 16)));
        return _mm256_shuffle_epi8(parts, fnPlaces(sector));
    }

private:
    static __m256i fnHue(__m256i red, __m256i green, __m256i blue, __m256i redOrBlue, __m256i high,
                         __m256i low, __m256i delta) {
        const __m256i greenMost = _mm256_cmpgt_epi32(green, redOrBlue);
        const __m256i redAboveBlue = _mm256_cmpgt_epi32(red, blue);
        const __m256i blueAboveGreen = _mm256_cmpgt_epi32(blue, green);
        const __m256i redAboveGreen = _mm256_cmpgt_epi32(red, green);
        // Whether the middle channel follows the highest one on the circle. A tie of red and blue
        // makes blue the higher; green that equals another counts as the middle.
        const __m256i rises =
            fnChoose(greenMost, fnNot(redAboveBlue),
                     fnChoose(redAboveBlue, fnNot(blueAboveGreen), redAboveGreen));
        const __m256i risingBase =
            fnChoose(greenMost, _mm256_set1_epi32(120),
                     _mm256_andnot_si256(redAboveBlue, _mm256_set1_epi32(240)));
        const __m256i fallingBase =
            fnChoose(greenMost, _mm256_set1_epi32(60),
                     fnChoose(redAboveBlue, _mm256_set1_epi32(300), _mm256_set1_epi32(180)));
        const __m256i middle = _mm256_sub_epi32(
            _mm256_add_epi32(_mm256_add_epi32(red, blue), green), _mm256_add_epi32(high, low));
        const __m256i distance =
            fnChoose(rises, _mm256_sub_epi32(middle, low), _mm256_sub_epi32(high, middle));
        const __m256i part =
            fnDivide(_mm256_add_epi32(_mm256_srli_epi32(delta, 1),
                                      _mm256_mullo_epi32(distance, _mm256_set1_epi32(60))),
                     delta);
        return _mm256_add_epi32(part, fnChoose(rises, risingBase, fallingBase));
    }

    static __m256i fnNot(__m256i mask) { return _mm256_xor_si256(mask, _mm256_set1_epi32(-1)); }

    // The shuffle control that picks red, green and blue. A shuffle uses the low four bits of each
    // byte, and yields 0 for a byte with its top bit set.
    static __m256i fnPlaces(__m256i sector) {
        const __m256i pixel = fnTwice(_mm_setr_epi32(0, 0x00040404, 0x00080808, 0x000C0C0C));
        const __m256i kept = _mm256_and_si256(sector, _mm256_set1_epi32(0x00030303));
        return _mm256_or_si256(_mm256_or_si256(kept, pixel),
                               _mm256_set1_epi32(static_cast<int>(0x80000000)));
    }

    const std::int32_t* m_pSectors;
    __m256i m_Saturation;
};

__m256i fnByte(__m256i pixels, int shift) {
    return _mm256_and_si256(_mm256_srli_epi32(pixels, shift), _mm256_set1_epi32(0xFF));
}

void fnHueShift24(std::uint8_t* pixels, std::size_t count, const HueShift& shift) {
    const HueShifter shifter(shift);
    // Of the second 16 bytes, which begin at byte 8, the last 12 are new.
    const __m256i spread = _mm256_setr_epi8(0, 1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11, -1, 4,
                                            5, 6, -1, 7, 8, 9, -1, 10, 11, 12, -1, 13, 14, 15, -1);
    const __m256i close =
        fnTwice(_mm_setr_epi8(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1));
    const __m256i together = _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 7, 7);
    for (; count >= 8; count -= 8, pixels += 24) {
        const __m256i old = _mm256_shuffle_epi8(fnLoadPair(pixels, pixels + 8), spread);
        const __m256i shifted = shifter.fnShift(fnByte(old, 0), fnByte(old, 8), fnByte(old, 16));
        const __m256i packed =
            _mm256_permutevar8x32_epi32(_mm256_shuffle_epi8(shifted, close), together);
        fnStore128(pixels, _mm256_castsi256_si128(packed));
        _mm_storel_epi64(reinterpret_cast<__m128i*>(pixels + 16),
                         _mm256_extracti128_si256(packed, 1));
    }
    scalar::fnHueShift24(pixels, count, shift);
}

void fnHueShift32(std::uint8_t* pixels, std::size_t count, const HueShift& shift) {
    const HueShifter shifter(shift);
    for (; count >= 8; count -= 8, pixels += 32) {
        const __m256i old = fnLoad(pixels);
        const __m256i shifted = shifter.fnShift(fnByte(old, 8), fnByte(old, 16), fnByte(old, 24));
        fnStore(pixels, _mm256_or_si256(_mm256_slli_epi32(shifted, 8), fnByte(old, 0)));
    }
    scalar::fnHueShift32(pixels, count, shift);
}

void fnHueShift16(std::uint8_t* pixels, std::size_t count, const HueShift& shift) {
    const HueShifter shifter(shift);
    const __m256i five = _mm256_set1_epi32(0xF8), six = _mm256_set1_epi32(0xFC);
    for (; count >= 8; count -= 8, pixels += 16) {
        const __m256i old = _mm256_cvtepu16_epi32(fnLoad128(pixels));
        const __m256i shifted = shifter.fnShift(_mm256_and_si256(old, five),
                                                _mm256_and_si256(_mm256_srli_epi32(old, 3), six),
                                                _mm256_and_si256(_mm256_srli_epi32(old, 5), five));
        const __m256i red = _mm256_slli_epi32(_mm256_and_si256(shifted, five), 8);
        const __m256i green =
            _mm256_slli_epi32(_mm256_and_si256(_mm256_srli_epi32(shifted, 8), six), 3);
        const __m256i words =
            _mm256_or_si256(_mm256_or_si256(red, green), _mm256_srli_epi32(shifted, 19));
        const __m256i packed = _mm256_permute4x64_epi64(_mm256_packus_epi32(words, words), 0x08);
        fnStore128(pixels, _mm256_castsi256_si128(packed));
    }
    scalar::fnHueShift16(pixels, count, shift);
}

} // namespace
} // namespace avx2

void fnUseAvx2HueShift(Kernels& table) {
    table.fnHueShift16 = avx2::fnHueShift16;
    table.fnHueShift24 = avx2::fnHueShift24;
    table.fnHueShift32 = avx2::fnHueShift32;
}

} // namespace q32
