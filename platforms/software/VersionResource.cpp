#include "platforms/software/VersionResource_p.h"

#include <cstdint>

namespace q32::software {

std::string fnBuildVersionResource() {
    std::string bytes;
    const auto put16 = [&](std::uint32_t value) {
        bytes += static_cast<char>(value & 0xFFu);
        bytes += static_cast<char>(value >> 8 & 0xFFu);
    };
    const auto put32 = [&](std::uint32_t value) {
        put16(value & 0xFFFFu);
        put16(value >> 16);
    };
    constexpr std::uint32_t kHigh = std::uint32_t{Q32_VERSION_MAJOR} << 16 | Q32_VERSION_MINOR;
    constexpr std::uint32_t kLow = std::uint32_t{Q32_VERSION_PATCH} << 16;

    put16(0); // the length, set at the end
    put16(52);
    put16(0);
    for (const char letter : std::string("VS_VERSION_INFO"))
        put16(static_cast<std::uint8_t>(letter));
    put16(0);
    while (bytes.size() % 4 != 0)
        put16(0);
    for (const std::uint32_t field : {0xFEEF04BDu, 0x00010000u, // signature and layout
                                      kHigh, kLow,              // file version
                                      kHigh, kLow,              // product version
                                      0x3Fu, 0u,                // flags: mask, and none set
                                      0x00040004u, 2u, 0u,      // for 32 bits; a library
                                      0u, 0u})                  // no date
        put32(field);
    bytes[0] = static_cast<char>(bytes.size() & 0xFFu);
    bytes[1] = static_cast<char>(bytes.size() >> 8);
    return bytes;
}

} // namespace q32::software
