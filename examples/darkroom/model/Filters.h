/// @file Neighbourhood filters of the darkroom, built on the library's sliding window of rows.
#pragma once

class CqImage;
class CqProgressDisplay;

namespace darkroom {

/// Blends each pixel with the mean of the 3 by 3 pixels around it; alpha is unchanged. Images of 24
/// and 32 bits.
/// @param amount   percent of the mean; if negative, the difference from the mean is added instead,
/// which sharpens
/// @param progress may be null. An abort leaves the finished rows changed, and so does an
/// exception, for memory or for lost pixels.
void fnSoften(CqImage& image, int amount, CqProgressDisplay* progress);

} // namespace darkroom
