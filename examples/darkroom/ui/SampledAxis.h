#pragma once

#include <vector>

namespace darkroom {

/// The pixels of the screen along an axis that show a part of a picture, and which of its pixels
/// each shows. They stand in a row.
struct SampledAxis {
    int m_nFirst = 0;
    std::vector<int> m_Samples;
};

/// The axis of what lies in [low, high) of the picture.
/// @param room    pixels of the screen
/// @param sample  tells the pixel of the picture for one of the screen; never falling, or never
///                rising
template <typename Sample>
SampledAxis fnMakeAxis(int room, int low, int high, Sample&& sample) {
    SampledAxis axis;
    for (int at = 0; at < room; ++at) {
        const int found = sample(at);
        if (found < low || found >= high)
            continue;
        if (axis.m_Samples.empty())
            axis.m_nFirst = at;
        axis.m_Samples.push_back(found);
    }
    return axis;
}

} // namespace darkroom
