/// @file
/// The tables that tone adjustments look bytes up in. Any arguments may be given.
#pragma once

#include <cstdint>

namespace q32 {

/// 256 entries: a line that brightness shifts and contrast makes steeper or flatter. Both in
/// percent: what lies beyond -100 to 100 counts as that, after a scaling in 32 bits that wraps.
void fnMakeContrastCurve(std::int32_t brightness, std::int32_t contrast, std::uint8_t* curve);

/// 256 entries: a gamma curve between two end points. A channel that is raised is clipped at the
/// top, one that is lowered loses at the bottom. Meant for -100 to 100; 0 leaves every byte.
void fnMakeBalanceCurve(std::int32_t weight, std::uint8_t* curve);

} // namespace q32
