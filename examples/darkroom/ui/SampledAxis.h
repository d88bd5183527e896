#pragma once

#include <vector>

namespace darkroom {

/// The screen pixels along an axis that show a part of a picture, and which of its pixels each
/// shows. They are contiguous.
struct SampledAxis {
    int m_nFirst = 0;
    std::vector<int> m_Samples;
};

/// The axis of what lies in [low, high) of the picture.
/// @param room    number of screen pixels
/// @param sample  returns the pixel of the picture for a screen pixel; monotonic
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
