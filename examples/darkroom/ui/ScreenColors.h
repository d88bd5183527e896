#pragma once

#include "platforms/qt/CqImageView.h"

#include <vector>

namespace darkroom {

/// Converts the colours that a profile describes to sRGB, the colours of the screen. Empty without
/// a profile, and for one that can't be used.
/// @param grey  the picture's pixels are grey; a profile must be of grey then, or of RGB otherwise
CqImageView::ColorConversion fnMakeScreenColors(const std::vector<unsigned char>& profile,
                                                bool grey);

} // namespace darkroom
