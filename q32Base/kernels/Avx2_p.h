#pragma once

#include <cstdint>
#include <immintrin.h>

// Helpers of the AVX2 kernels. Included only by _avx2.cpp files.
//
// Everything here and in those files has internal linkage, and no inline function of the standard
// library is used: the linker may keep any one copy of such a function, and a copy compiled for
// AVX2 must never run on a processor without it.
namespace q32 {
namespace avx2 {

static inline __m128i fnLoad128(const std::uint8_t* from) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
}

static inline __m256i fnLoad(const std::uint8_t* from) {
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(from));
}

/// Loads 16 bytes from each address.
static inline __m256i fnLoadPair(const std::uint8_t* low, const std::uint8_t* high) {
    return _mm256_inserti128_si256(_mm256_castsi128_si256(fnLoad128(low)), fnLoad128(high), 1);
}

static inline void fnStore128(std::uint8_t* to, __m128i value) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to), value);
}

static inline void fnStore(std::uint8_t* to, __m256i value) {
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(to), value);
}

/// Stores 16 bytes to each address.
static inline void fnStorePair(std::uint8_t* low, std::uint8_t* high, __m256i value) {
    fnStore128(low, _mm256_castsi256_si128(value));
    fnStore128(high, _mm256_extracti128_si256(value, 1));
}

/// The same 16 bytes in both halves.
static inline __m256i fnTwice(__m128i value) {
    return _mm256_broadcastsi128_si256(value);
}

/// The same 16 bytes, from memory, in both halves.
static inline __m256i fnLoadTwice(const std::uint8_t* from) {
    return fnTwice(fnLoad128(from));
}

/// All ones in the last `count` bytes, at most 32: those of a run's last 32 bytes that are still to
/// be processed.
static inline __m256i fnLastBytes(std::size_t count) {
    alignas(32) static const std::uint8_t kEdge[64] = {
        0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,
        0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,
        255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255,
        255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255};
    return fnLoad(kEdge + count);
}

/// All ones in the bytes where a >= b, unsigned.
static inline __m256i fnAtLeast(__m256i a, __m256i b) {
    return _mm256_cmpeq_epi8(_mm256_max_epu8(a, b), a);
}

} // namespace avx2
} // namespace q32
