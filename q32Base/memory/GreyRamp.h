#pragma once

#include "q32Base/platform/Records.h"

#include <cstdint>

/// As a palette argument: the grey ramp, entry i being the grey i.
inline const RGBQUAD* const q32GreyRamp = reinterpret_cast<const RGBQUAD*>(std::uintptr_t{1});
