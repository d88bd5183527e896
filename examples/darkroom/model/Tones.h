/// @file Tone curves from the values of dialogs.
#pragma once

#include "q32Base/operations/ToneApply.h"

#include <span>

namespace darkroom {

/// Maps the input from `black` to `white` to the output from `low` to `high`, bent by a gamma in
/// hundredths.
/// @param values  black, gamma, white, low, high
CqToneCurves fnMakeLevels(std::span<const int> values);

/// Raises or lowers parts of the range smoothly; black and white stay.
/// @param values  shadows, midtones and highlights, from -100 to 100 each
CqToneCurves fnMakeToneCurve(std::span<const int> values);

} // namespace darkroom
