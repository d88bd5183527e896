/// @file A tone curve through points that the user sets.
#pragma once

#include "q32Base/operations/ToneApply.h"

#include <cstddef>
#include <span>
#include <vector>

namespace darkroom {

enum CurveChannel { CURVE_ALL, CURVE_RED, CURVE_GREEN, CURVE_BLUE };
inline constexpr int kCurveChannels = 4;

/// A point of a curve; coordinates from 0 to 255.
struct CurvePoint {
    int m_nChannel; ///< a CurveChannel
    int m_nX;       ///< the tone before
    int m_nY;       ///< and after
    bool operator==(const CurvePoint&) const = default;
};

/// A point as one value of an operation: x in bits 0 to 7, y in 8 to 15, the channel in 16 and 17.
constexpr int fnPackPoint(const CurvePoint& point) {
    return point.m_nChannel << 16 | point.m_nY << 8 | point.m_nX;
}
constexpr CurvePoint fnUnpackPoint(int value) {
    return {value >> 16 & 3, value & 0xFF, value >> 8 & 0xFF};
}

/// Values of curves that change nothing: two points at the ends of each channel.
std::vector<int> fnMakeStraightCurves();

/// A curve through points in the order of their x, no two of which are equal: piecewise cubic, with
/// the slopes of Fritsch and Butland (SIAM J. Sci. Stat. Comput. 5, 1984), and at both ends that of
/// the outer line. So between two points it rises or falls as these do, and never leaves their
/// range. Beyond the outer points it is level; without points it changes nothing.
class FreeCurve {
public:
    explicit FreeCurve(std::vector<CurvePoint> points);

    /// The value at a place, both in units of the points.
    double fnAt(double x) const;

private:
    std::vector<CurvePoint> m_Points;
    std::vector<double> m_Slopes; ///< at the points
};

/// The curves of packed points in any order; of several with equal channel and x, the last one
/// counts. A channel goes through its own curve first, then through that of all channels; values
/// are rounded once, at the end. At 8 bits, red is the curve of grey.
CqToneCurves fnMakeFreeCurves(std::span<const int> values);

} // namespace darkroom
