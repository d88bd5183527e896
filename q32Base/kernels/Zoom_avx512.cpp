#include "q32Base/kernels/Avx512_p.h"
#include "q32Base/kernels/KernelParts_p.h"

namespace q32 {
namespace avx512 {
namespace {

/// Which of the 64 bytes from a position's pixel on are those of the pixels sampled from it.
template <std::size_t kBytes>
class SamplePlaces {
public:
    static constexpr std::size_t kPixels = 64 / kBytes;

    /// @param step at most 256, so that all positions fit into 16 bits
    explicit SamplePlaces(std::uint32_t step) {
        std::uint16_t places[64];
        std::uint16_t bytes[64];
        for (std::size_t i = 0; i < 64; ++i) {
            places[i] = static_cast<std::uint16_t>(i < kPixels * kBytes ? i / kBytes * step : 0);
            bytes[i] = static_cast<std::uint16_t>(i % kBytes);
        }
        for (std::size_t i = 0; i < 2; ++i) {
            m_Places[i] = _mm512_loadu_si512(places + i * 32);
            m_Bytes[i] = _mm512_loadu_si512(bytes + i * 32);
        }
    }

    inline __m512i operator()(std::uint32_t at) const {
        const __m512i phase = _mm512_set1_epi16(static_cast<short>(at & 0xFF));
        const __m256i low = _mm512_cvtepi16_epi8(fnHalf(phase, 0));
        const __m256i high = _mm512_cvtepi16_epi8(fnHalf(phase, 1));
        return _mm512_inserti64x4(_mm512_castsi256_si512(low), high, 1);
    }

private:
    inline __m512i fnHalf(__m512i phase, std::size_t i) const {
        const __m512i pixels = _mm512_srli_epi16(_mm512_add_epi16(m_Places[i], phase), 8);
        if (kBytes == 1)
            return pixels;
        const __m512i first = _mm512_mullo_epi16(pixels, _mm512_set1_epi16(kBytes));
        return _mm512_add_epi16(first, m_Bytes[i]);
    }

    __m512i m_Places[2];
    __m512i m_Bytes[2];
};

/// When enlarging, the pixels of a store come from one load.
template <std::size_t kBytes>
void fnSample(const std::uint8_t* source, std::uint8_t* target, std::size_t count, std::uint32_t at,
              std::uint32_t step) {
    if (step > 256 || count == 0)
        return scalar::fnSample<kBytes>(source, target, count, at, step);
    constexpr std::size_t kPixels = SamplePlaces<kBytes>::kPixels;
    const SamplePlaces<kBytes> places(step);
    const std::uint32_t last = at + static_cast<std::uint32_t>(count - 1) * step;
    const std::size_t readable = (static_cast<std::size_t>(last >> 8) + 1) * kBytes;
    for (;;) {
        const std::size_t from = static_cast<std::size_t>(at >> 8) * kBytes;
        if (from + 64 > readable || count * kBytes < 64)
            break;
        _mm512_storeu_si512(target,
                            _mm512_permutexvar_epi8(places(at), _mm512_loadu_si512(source + from)));
        target += kPixels * kBytes;
        count -= kPixels;
        at += static_cast<std::uint32_t>(kPixels) * step;
    }
    while (count != 0) {
        const std::size_t from = static_cast<std::size_t>(at >> 8) * kBytes;
        const std::size_t pixels = count < kPixels ? count : kPixels;
        const __m512i bytes = _mm512_maskz_loadu_epi8(fnFirstBytes(readable - from), source + from);
        _mm512_mask_storeu_epi8(target, fnFirstBytes(pixels * kBytes),
                                _mm512_permutexvar_epi8(places(at), bytes));
        target += pixels * kBytes;
        count -= pixels;
        at += static_cast<std::uint32_t>(pixels) * step;
    }
}

} // namespace
} // namespace avx512

void fnUseAvx512Zoom(Kernels& table) {
    table.fnSample[0] = avx512::fnSample<1>;
    table.fnSample[1] = avx512::fnSample<2>;
    table.fnSample[2] = avx512::fnSample<3>;
    table.fnSample[3] = avx512::fnSample<4>;
}

} // namespace q32
