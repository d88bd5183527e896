#include "examples/darkroom/model/FreeCurve.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <utility>

namespace darkroom {

namespace {

constexpr int kLast = 255;

/// The points of one channel, in the order of their x.
std::vector<CurvePoint> fnSelectChannel(std::span<const int> values, int channel) {
    std::map<int, CurvePoint> points;
    for (const int value : values)
        if (const CurvePoint point = fnUnpackPoint(value); point.m_nChannel == channel)
            points.insert_or_assign(point.m_nX, point);
    std::vector<CurvePoint> sorted;
    sorted.reserve(points.size());
    for (const auto& [x, point] : points)
        sorted.push_back(point);
    return sorted;
}

} // namespace

std::vector<int> fnMakeStraightCurves() {
    std::vector<int> values;
    for (int channel = 0; channel < kCurveChannels; ++channel)
        for (const int end : {0, kLast})
            values.push_back(fnPackPoint({channel, end, end}));
    return values;
}

FreeCurve::FreeCurve(std::vector<CurvePoint> points)
    : m_Points(std::move(points)), m_Slopes(m_Points.size()) {
    const auto width = [this](std::size_t i) {
        return static_cast<double>(m_Points[i + 1].m_nX - m_Points[i].m_nX);
    };
    const auto slope = [&](std::size_t i) {
        return (m_Points[i + 1].m_nY - m_Points[i].m_nY) / width(i);
    };
    if (m_Points.size() < 2)
        return;
    m_Slopes.front() = slope(0);
    m_Slopes.back() = slope(m_Points.size() - 2);
    for (std::size_t i = 1; i + 1 < m_Points.size(); ++i) {
        const double before = slope(i - 1);
        const double after = slope(i);
        if (before * after <= 0)
            continue; // level at an extreme
        const double weightBefore = 2 * width(i) + width(i - 1);
        const double weightAfter = width(i) + 2 * width(i - 1);
        m_Slopes[i] = (weightBefore + weightAfter) / (weightBefore / before + weightAfter / after);
    }
}

double FreeCurve::fnAt(double x) const {
    if (m_Points.empty())
        return x;
    if (x <= m_Points.front().m_nX)
        return m_Points.front().m_nY;
    if (x >= m_Points.back().m_nX)
        return m_Points.back().m_nY;
    const auto next = std::find_if(m_Points.begin(), m_Points.end(),
                                   [x](const CurvePoint& point) { return point.m_nX > x; });
    const auto i = static_cast<std::size_t>(next - m_Points.begin()) - 1;
    const double width = next->m_nX - m_Points[i].m_nX;
    const double t = (x - m_Points[i].m_nX) / width;
    const double u = 1 - t;
    return u * u * (1 + 2 * t) * m_Points[i].m_nY + t * t * (3 - 2 * t) * next->m_nY +
           width * t * u * (u * m_Slopes[i] - t * m_Slopes[i + 1]);
}

CqToneCurves fnMakeFreeCurves(std::span<const int> values) {
    CqToneCurves curves;
    const FreeCurve all(fnSelectChannel(values, CURVE_ALL));
    const std::pair<CurveChannel, unsigned char*> channels[] = {
        {CURVE_RED, curves.m_Red}, {CURVE_GREEN, curves.m_Green}, {CURVE_BLUE, curves.m_Blue}};
    for (const auto& [channel, table] : channels) {
        const FreeCurve own(fnSelectChannel(values, channel));
        for (int i = 0; i <= kLast; ++i)
            table[i] = static_cast<unsigned char>(
                std::clamp(std::lround(all.fnAt(own.fnAt(i))), 0l, long{kLast}));
    }
    return curves;
}

} // namespace darkroom
