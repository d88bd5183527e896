#pragma once

#include <cstdint>

namespace q32 {

/// How far hues rotate and saturations shift. Greys stay unchanged. Any values are accepted: a hue
/// wraps at 32 bits, and 360 degrees are then added or subtracted at most once; one that is still
/// out of range gives the same colour as CqColor::fnAssignFromHSB.
struct HueShift {
    static constexpr int kHues = 361; ///< 0 to 360, both inclusive

    /// @param hue         added to hues, in degrees
    /// @param saturation  added to saturations, which are clamped to 0 to 255
    HueShift(std::int32_t hue, std::int32_t saturation);

    std::int32_t m_nHue;
    std::int32_t m_nSaturation;
    /// For each hue before the shift, how the shifted colour is formed; for the vector kernels.
    /// With brightness, middle and low as bytes 0, 1 and 2: bits 0 and 1 select the byte for red,
    /// bits 8 and 9 that for green, bits 16 and 17 that for blue. Bit 6: the middle is computed
    /// downward from brightness, not upward from low. Bits 24 to 31: the signed remainder of the
    /// hue by 60.
    std::int32_t m_nSectors[kHues];
};

} // namespace q32
