#include "plugins/CodecSamples_p.h"
#include "q32Base/pixels/Nibbles_p.h"

#include <cmath>
#include <cstring>

namespace q32 {

void fnUnpackBits(const unsigned char* in, unsigned int bits, std::size_t count,
                  unsigned char* out) {
    if (bits == 8) {
        std::memcpy(out, in, count);
        return;
    }
    const std::size_t perByte = 8 / bits;
    const unsigned int mask = (1u << bits) - 1;
    for (std::size_t i = 0; i < count; ++i) {
        const auto shift = static_cast<unsigned int>((perByte - 1 - i % perByte) * bits);
        out[i] = static_cast<unsigned char>(in[i / perByte] >> shift & mask);
    }
}

void fnJoinNibbles(const unsigned char* in, std::size_t count, unsigned char* out) {
    if (count % 2 != 0)
        out[count / 2] = 0;
    fnPackNibbles(in, count, out, 0);
}

void fnCmykToRgb(const unsigned char* in, std::size_t count, unsigned char* out) {
    for (std::size_t i = 0; i < count; ++i, in += 4, out += 3) {
        const unsigned int light = 255u - in[3];
        for (int channel = 0; channel < 3; ++channel)
            out[channel] = static_cast<unsigned char>(((255u - in[channel]) * light + 127) / 255);
    }
}

std::int32_t fnDotsPerInch(double dotsPerMeter) {
    const double dots = std::round(dotsPerMeter * kMetersPerInch);
    return dots >= 1 && dots <= INT32_MAX ? static_cast<std::int32_t>(dots) : 0;
}

std::uint32_t fnDotsPerMeter(std::int32_t dotsPerInch) {
    const double dots = std::round(dotsPerInch / kMetersPerInch);
    return dots >= 1 && dots <= INT32_MAX ? static_cast<std::uint32_t>(dots) : 0;
}

} // namespace q32
