#pragma once

#include "q32Base/kernels/Kernels.h"

#include <cstdint>

namespace q32 {

/// How far hues turn and saturations shift. Greys stay. Any values may be given: a hue wraps in 32
/// bits before it is brought back into the circle, and what can't be brought back has the results
/// that CqColor gives it.
struct CqHueShift {
    static constexpr int kHues = 361; ///< 0 to 360, both inclusive

    /// @param hue         added to hues, in degrees
    /// @param saturation  added to saturations, which stay in 0 to 255
    CqHueShift(std::int32_t hue, std::int32_t saturation);

    std::int32_t hue;
    std::int32_t saturation;
    /// What becomes of each hue, for the vector kernels. With brightness, middle and low as bytes
    /// 0, 1 and 2: the byte to take for red in bits 0 and 1, for green in bits 8 and 9, for blue in
    /// bits 16 and 17. Bit 6: the middle lies below brightness, not above low. Bits 24 to 31: the
    /// signed remainder of the hue by 60.
    std::int32_t turned[kHues];
};

/// Each puts the hue kernels of one instruction set into the table, and leaves the others.
void fnUseScalarHueShift(CqKernels& table);
void fnUseAvx2HueShift(CqKernels& table);

// The plain versions, which the vector versions also use for the ends of runs.
namespace scalar {

void fnHueShift16(std::uint8_t* pixels, std::size_t count, const CqHueShift& shift);
void fnHueShift24(std::uint8_t* pixels, std::size_t count, const CqHueShift& shift);
void fnHueShift32(std::uint8_t* pixels, std::size_t count, const CqHueShift& shift);

} // namespace scalar
} // namespace q32
