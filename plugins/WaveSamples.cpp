#include "plugins/WaveSamples_p.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>

namespace q32 {

namespace {

static_assert(std::endian::native == std::endian::little, "samples are used as they lie");

template <typename Value>
Value fnLoad(const unsigned char* in) {
    Value value;
    std::memcpy(&value, in, sizeof value);
    return value;
}

std::int16_t fnLimit(std::int64_t value) {
    return static_cast<std::int16_t>(std::clamp<std::int64_t>(value, -32768, 32767));
}

std::int16_t fnReducePcm24(const unsigned char* in) {
    const int value = static_cast<signed char>(in[2]) * 65536 + in[1] * 256 + in[0];
    return fnLimit((value + 128) >> 8);
}

std::int16_t fnReducePcm32(const unsigned char* in) {
    return fnLimit((std::int64_t{fnLoad<std::int32_t>(in)} + 32768) >> 16);
}

template <typename Value>
std::int16_t fnReduceFloat(const unsigned char* in) {
    const double value = std::floor(static_cast<double>(fnLoad<Value>(in)) * 32768 + 0.5);
    if (std::isnan(value))
        return 0;
    return static_cast<std::int16_t>(std::clamp(value, -32768.0, 32767.0));
}

template <std::size_t Bytes, typename Reduce>
void fnReduceAll(const unsigned char* in, std::size_t count, unsigned char* out, Reduce reduce) {
    for (std::size_t i = 0; i < count; ++i) {
        const std::int16_t value = reduce(in + Bytes * i);
        std::memcpy(out + sizeof value * i, &value, sizeof value);
    }
}

} // namespace

std::uint32_t fnGetSampleBytes(WaveSamples kind) {
    static constexpr std::uint32_t kBytes[] = {1, 2, 3, 4, 4, 8};
    return kBytes[static_cast<int>(kind)];
}

void fnReduceSamples(WaveSamples kind, const unsigned char* in, std::size_t count,
                     unsigned char* out) {
    switch (kind) {
    case WaveSamples::PCM24:
        return fnReduceAll<3>(in, count, out, fnReducePcm24);
    case WaveSamples::PCM32:
        return fnReduceAll<4>(in, count, out, fnReducePcm32);
    case WaveSamples::FLOAT32:
        return fnReduceAll<4>(in, count, out, fnReduceFloat<float>);
    case WaveSamples::FLOAT64:
        return fnReduceAll<8>(in, count, out, fnReduceFloat<double>);
    case WaveSamples::BYTES:
    case WaveSamples::SHORTS:
        break;
    }
}

} // namespace q32
