#include "q32Base/kernels/Avx2_p.h"
#include "q32Base/kernels/KernelParts_p.h"

namespace q32 {
namespace avx2 {
namespace {

// A run of at least this many bytes bypasses the caches: it would evict everything else from the
// nearer ones, and its lines needn't be read first.
constexpr std::size_t kStreamBytes = std::size_t{1} << 20;

// i % Bytes for i up to 32 + Bytes.
template <std::size_t Bytes>
struct Remainders {
    constexpr Remainders() {
        for (std::size_t i = 0; i < sizeof m_Values; ++i)
            m_Values[i] = static_cast<std::uint8_t>(i % Bytes);
    }
    std::uint8_t m_Values[32 + Bytes] = {};
};

// A pixel repeated endlessly.
template <std::size_t Bytes>
class Pattern {
public:
    explicit Pattern(const std::uint8_t* pixel) {
        std::uint32_t value = 0;
        for (std::size_t i = 0; i < Bytes; ++i)
            value |= std::uint32_t{pixel[i]} << 8 * i;
        m_Pixel = _mm256_set1_epi32(static_cast<int>(value));
    }

    // 32 bytes of it, starting `phase` bytes into a pixel.
    __m256i fnFrom(std::size_t phase) const {
        return _mm256_shuffle_epi8(m_Pixel, fnLoad(kRemainders.m_Values + phase % Bytes));
    }

private:
    static constexpr Remainders<Bytes> kRemainders{};
    __m256i m_Pixel;
};

// Three registers hold an integral number of pixels of every size.
constexpr std::size_t kPeriod = 96;

template <std::size_t Bytes>
void fnFill(std::uint8_t* target, std::size_t count, const std::uint8_t* pixel) {
    const std::size_t total = count * Bytes;
    if (total < 32) {
        for (std::size_t i = 0; i < total; ++i)
            target[i] = pixel[i % Bytes];
        return;
    }
    const Pattern<Bytes> pattern(pixel);
    std::size_t done = 0;
    __m256i next[3] = {pattern.fnFrom(0), pattern.fnFrom(32), pattern.fnFrom(64)};
    if (total >= kStreamBytes) {
        fnStore(target, next[0]);
        done = 32 - (reinterpret_cast<std::uintptr_t>(target) & 31);
        for (std::size_t i = 0; i < 3; ++i)
            next[i] = pattern.fnFrom(done + 32 * i);
        for (; total - done >= kPeriod; done += kPeriod)
            for (std::size_t i = 0; i < 3; ++i)
                _mm256_stream_si256(reinterpret_cast<__m256i*>(target + done + 32 * i), next[i]);
        _mm_sfence();
    }
    for (; total - done >= kPeriod; done += kPeriod)
        for (std::size_t i = 0; i < 3; ++i)
            fnStore(target + done + 32 * i, next[i]);
    for (std::size_t i = 0; total - done >= 32; ++i, done += 32)
        fnStore(target + done, next[i]);
    fnStore(target + total - 32, pattern.fnFrom(total - 32));
}

void fnCopyRow(const std::uint8_t* source, std::uint8_t* target, std::size_t count) {
    if (count < 32) {
        for (std::size_t i = 0; i < count; ++i)
            target[i] = source[i];
        return;
    }
    for (std::size_t i = 0; i < count - 31; i += 32)
        fnStore(target + i, fnLoad(source + i));
    fnStore(target + count - 32, fnLoad(source + count - 32));
}

void fnCopyRows(const std::uint8_t* source, std::size_t sourceStride, std::uint8_t* target,
                std::size_t targetStride, std::size_t count, std::size_t rows) {
    for (; rows != 0; --rows, source += sourceStride, target += targetStride)
        fnCopyRow(source, target, count);
}

} // namespace
} // namespace avx2

void fnUseAvx2Fill(Kernels& table) {
    table.fnFill[1] = avx2::fnFill<2>;
    table.fnFill[2] = avx2::fnFill<3>;
    table.fnFill[3] = avx2::fnFill<4>;
    table.fnCopyRows = avx2::fnCopyRows;
}

} // namespace q32
