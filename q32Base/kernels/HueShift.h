#pragma once

#include <cstdint>

namespace q32 {

/// How far hues rotate and saturations shift. Greys stay. Any values may be given: a hue wraps in
/// 32 bits and is then reduced to the circle by at most 360 degrees; what is still outside has the
/// results that CqColor gives it.
struct HueShift {
    static constexpr int kHues = 361; ///< 0 to 360, both inclusive

    /// @param hue         added to hues, in degrees
    /// @param saturation  added to saturations, which stay in 0 to 255
    HueShift(std::int32_t hue, std::int32_t saturation);

    std::int32_t m_nHue;
    std::int32_t m_nSaturation;
    /// What becomes of each hue, for the vector kernels. With brightness, middle and low as bytes
    /// 0, 1 and 2: the byte to take for red in bits 0 and 1, for green in bits 8 and 9, for blue in
    /// bits 16 and 17. Bit 6: the middle lies below brightness, not above low. Bits 24 to 31: the
    /// signed remainder of the hue by 60.
    std::int32_t m_nSectors[kHues];
};

} // namespace q32
