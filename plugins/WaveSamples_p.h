/// @file Samples of WAV files that a wave can't hold, reduced to 16 bits.
#pragma once

#include <cstddef>
#include <cstdint>

namespace q32 {

/// The samples of a WAV file, little-endian.
enum class WaveSamples { BYTES, SHORTS, PCM24, PCM32, FLOAT32, FLOAT64 };

/// Bytes of one sample.
std::uint32_t fnGetSampleBytes(WaveSamples kind);

/// Whether a wave can't hold samples of this kind.
constexpr bool fnIsReduced(WaveSamples kind) {
    return kind != WaveSamples::BYTES && kind != WaveSamples::SHORTS;
}

/// Reduces samples to 16 bits, by rounding to the nearest value, halves up. Floating-point samples
/// from -1 to 1 become -32768 to 32767; what is outside is limited, and NaN becomes silence.
/// @param kind  one that is reduced
/// @param in    at any address
/// @param out   receives two bytes a sample, at any address
void fnReduceSamples(WaveSamples kind, const unsigned char* in, std::size_t count,
                     unsigned char* out);

} // namespace q32
