/// @file
/// Neighbourhood filters of the darkroom, on the library's sliding window of rows.
#pragma once

class CqImage;
class CqProgressDisplay;

namespace darkroom {

/// Blends each pixel with the mean of the 3 by 3 pixels about it; alpha stays. Images of 24 and 32
/// bits.
/// @param amount   percent of the mean; below 0, the difference to it is added instead, which
///                 sharpens
/// @param progress may be null. An abort leaves the rows done so far changed.
void fnSoften(CqImage& image, int amount, CqProgressDisplay* progress);

} // namespace darkroom
