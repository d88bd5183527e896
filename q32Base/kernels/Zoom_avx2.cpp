#include "q32Base/kernels/Avx2_p.h"
#include "q32Base/kernels/KernelParts_p.h"

#include <cstring>

namespace q32 {
namespace avx2 {
namespace {

// How many complete pixels a 16-byte store holds. Of three-byte pixels it holds five and one
// meaningless byte, so a store needs space for 16 bytes in the run.
template <std::size_t kBytes>
constexpr std::size_t kStorePixels = 16 / kBytes;

// Up to this factor the shuffles come from a table, one for all source pixels of a store.
constexpr std::size_t kSmallFactor = 8;

// m_Shuffles[factor][phase] repeats the pixels of a 16-byte load `factor` times, beginning with
// copy `phase` of the first.
template <std::size_t kBytes>
struct RepeatTable {
    alignas(16) std::uint8_t m_Shuffles[kSmallFactor + 1][kSmallFactor][16];

    constexpr RepeatTable() : m_Shuffles{} {
        for (std::size_t factor = 1; factor <= kSmallFactor; ++factor)
            for (std::size_t phase = 0; phase < factor; ++phase)
                for (std::size_t i = 0; i < 16; ++i)
                    m_Shuffles[factor][phase][i] = static_cast<std::uint8_t>(
                        (phase + i / kBytes) / factor * kBytes + i % kBytes);
    }
};

template <std::size_t kBytes>
constexpr RepeatTable<kBytes> kRepeatTable{};

template <std::size_t kBytes>
void fnInflateBySmall(const std::uint8_t* source, std::uint8_t* target, std::size_t count,
                      std::size_t factor, std::size_t phase) {
    constexpr std::size_t kPixels = kStorePixels<kBytes>;
    const auto& shuffles = kRepeatTable<kBytes>.m_Shuffles[factor];
    const std::size_t storeSources = kPixels / factor;
    const std::size_t storeOdd = kPixels % factor;
    std::size_t sourceBytes = (phase + count + factor - 1) / factor * kBytes;
    // The last source bytes are moved to a block of their own, where full loads may read beyond
    // them.
    std::uint8_t last[32] = {};
    bool atLast = false;
    while (count * kBytes >= 16) {
        if (sourceBytes < 16 && !atLast) {
            std::memcpy(last, source, sourceBytes);
            source = last;
            atLast = true;
        }
        fnStore128(target, _mm_shuffle_epi8(fnLoad128(source), fnLoad128(shuffles[phase])));
        target += kPixels * kBytes;
        count -= kPixels;
        std::size_t sources = storeSources;
        phase += storeOdd;
        if (phase >= factor) {
            phase -= factor;
            ++sources;
        }
        source += sources * kBytes;
        sourceBytes -= sources * kBytes;
    }
    scalar::fnInflate<kBytes>(source, target, count, factor, phase);
}

// The pixel, repeated over 16 bytes.
template <std::size_t kBytes>
__m128i fnFill(const std::uint8_t* pixel) {
    alignas(16) constexpr std::uint8_t kRepeat[4][16] = {
        {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0},
        {0, 1, 0, 1, 0, 1, 0, 1, 0, 1, 0, 1, 0, 1, 0, 1},
        {0, 1, 2, 0, 1, 2, 0, 1, 2, 0, 1, 2, 0, 1, 2, 0},
        {0, 1, 2, 3, 0, 1, 2, 3, 0, 1, 2, 3, 0, 1, 2, 3}};
    int value = 0;
    std::memcpy(&value, pixel, kBytes);
    return _mm_shuffle_epi8(_mm_cvtsi32_si128(value), fnLoad128(kRepeat[kBytes - 1]));
}

// Stores may extend beyond a pixel's last copy, since the next pixel's copies overwrite that, but
// not beyond the run.
template <std::size_t kBytes>
void fnInflateByLarge(const std::uint8_t* source, std::uint8_t* target, std::size_t count,
                      std::size_t factor, std::size_t phase) {
    std::size_t copies = factor - phase;
    for (;;) {
        const std::size_t fitting = copies < count ? copies : count;
        const __m128i fill = fitting != 0 ? fnFill<kBytes>(source) : _mm_setzero_si128();
        std::size_t done = 0;
        for (; done < fitting && (count - done) * kBytes >= 16; done += kStorePixels<kBytes>)
            fnStore128(target + done * kBytes, fill);
        if (done < copies) {
            scalar::fnInflate<kBytes>(source, target + done * kBytes, count - done, factor,
                                      factor - (copies - done));
            return;
        }
        source += kBytes;
        target += copies * kBytes;
        count -= copies;
        copies = factor;
    }
}

template <std::size_t kBytes>
void fnInflate(const std::uint8_t* source, std::uint8_t* target, std::size_t count,
               std::size_t factor, std::size_t phase) {
    if (factor <= kSmallFactor)
        fnInflateBySmall<kBytes>(source, target, count, factor, phase);
    else
        fnInflateByLarge<kBytes>(source, target, count, factor, phase);
}

// When enlarging, the pixels of a store come from one load. The shuffle is computed for each store,
// in lanes of 16 bits, one for each of its bytes.
template <std::size_t kBytes>
void fnSample(const std::uint8_t* source, std::uint8_t* target, std::size_t count, std::uint32_t at,
              std::uint32_t step) {
    constexpr std::size_t kPixels = kStorePixels<kBytes>;
    if (step <= 256 && count * kBytes >= 16) {
        alignas(32) std::uint16_t places[16];
        alignas(32) std::uint16_t bytes[16];
        for (std::size_t i = 0; i < 16; ++i) {
            places[i] = static_cast<std::uint16_t>(i / kBytes * step);
            bytes[i] = static_cast<std::uint16_t>(i % kBytes);
        }
        const __m256i place = _mm256_load_si256(reinterpret_cast<const __m256i*>(places));
        const __m256i byte = _mm256_load_si256(reinterpret_cast<const __m256i*>(bytes));
        const __m256i pixelBytes = _mm256_set1_epi16(kBytes);
        const auto last = at + static_cast<std::uint32_t>(count - 1) * step;
        const std::size_t readable = (static_cast<std::size_t>(last >> 8) + 1) * kBytes;
        while (count * kBytes >= 16) {
            const std::size_t from = static_cast<std::size_t>(at >> 8) * kBytes;
            if (from + 16 > readable)
                break;
            const __m256i phase = _mm256_set1_epi16(static_cast<short>(at & 0xFF));
            const __m256i pixels = _mm256_srli_epi16(_mm256_add_epi16(place, phase), 8);
            const __m256i shuffle = _mm256_add_epi16(_mm256_mullo_epi16(pixels, pixelBytes), byte);
            const __m128i shuffles = _mm_packus_epi16(_mm256_castsi256_si128(shuffle),
                                                      _mm256_extracti128_si256(shuffle, 1));
            fnStore128(target, _mm_shuffle_epi8(fnLoad128(source + from), shuffles));
            target += kPixels * kBytes;
            count -= kPixels;
            at += static_cast<std::uint32_t>(kPixels) * step;
        }
    }
    scalar::fnSample<kBytes>(source, target, count, at, step);
}

} // namespace
} // namespace avx2

void fnUseAvx2Zoom(Kernels& table) {
    table.fnInflate[0] = avx2::fnInflate<1>;
    table.fnInflate[1] = avx2::fnInflate<2>;
    table.fnInflate[2] = avx2::fnInflate<3>;
    table.fnInflate[3] = avx2::fnInflate<4>;
    table.fnSample[0] = avx2::fnSample<1>;
    table.fnSample[1] = avx2::fnSample<2>;
    table.fnSample[2] = avx2::fnSample<3>;
    table.fnSample[3] = avx2::fnSample<4>;
}

} // namespace q32
