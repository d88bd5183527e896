/// @file
/// The grey ramp as an argument.
#pragma once

#include "q32Base/platform/Records.h"

#include <cstdint>

/// As a palette argument it stands for the grey ramp, whose entry i is grey i. Never dereferenced.
inline const RGBQUAD* const q32GreyRamp = reinterpret_cast<const RGBQUAD*>(std::uintptr_t{1});
