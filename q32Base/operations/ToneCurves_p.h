/// @file
/// The look-up tables of tone adjustments. Any arguments are accepted.
#pragma once

#include <cstdint>

namespace q32 {

/// 256 entries: a line that brightness shifts and contrast makes steeper or flatter. Both in
/// percent, clamped to -100 to 100 after a scaling that wraps at 32 bits.
void fnMakeContrastCurve(std::int32_t brightness, std::int32_t contrast, std::uint8_t* curve);

/// 256 entries: a gamma curve between two end points. A raised channel is clipped at the top, a
/// lowered one at the bottom. Meant for -100 to 100; 0 leaves every byte unchanged.
void fnMakeBalanceCurve(std::int32_t weight, std::uint8_t* curve);

} // namespace q32
