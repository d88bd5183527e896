#include "q32Base/operations/Stroke.h"

#include "q32Base/framework/Memory.h"
#include "q32Base/image/CqImageLine.h"
#include "q32Base/image/CqMask.h"
#include "q32Base/services/ProgressRun_p.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <utility>
#include <vector>

namespace {

/// Squares of a pixel in each direction.
constexpr int kParts = 16;
constexpr double kMaxPlace = 1 << 30;
/// By how much the bounds of a span are too wide, more than any rounding of coordinates.
constexpr double kSlack = 1e-3;

struct Segment {
    double m_X;
    double m_Y;
    double m_DX;
    double m_DY;
    double m_Square; ///< of the length
};

/// Squares of a row, from `m_nFrom` to before `m_nTo`.
struct Span {
    std::int64_t m_nFrom;
    std::int64_t m_nTo;
};

bool fnCovers(const Segment& line, double x, double y, double square) {
    const double px = x - line.m_X;
    const double py = y - line.m_Y;
    const double t = line.m_Square > 0
                         ? std::clamp((px * line.m_DX + py * line.m_DY) / line.m_Square, 0.0, 1.0)
                         : 0.0;
    const double ex = px - t * line.m_DX;
    const double ey = py - t * line.m_DY;
    return ex * ex + ey * ey <= square;
}

/// Widens bounds by what an edge crosses of the row at `y`.
void fnWiden(double x0, double y0, double x1, double y1, double y, double& from, double& to) {
    if (std::min(y0, y1) > y || std::max(y0, y1) < y)
        return;
    const double a = y0 == y1 ? x0
                              : std::clamp(x0 + (x1 - x0) * ((y - y0) / (y1 - y0)),
                                           std::min(x0, x1), std::max(x0, x1));
    const double b = y0 == y1 ? x1 : a;
    from = std::min({from, a, b});
    to = std::max({to, a, b});
}

/// Widens bounds by what a round end covers of the row.
void fnWidenByEnd(double x, double y0, double reach, double y, double& from, double& to) {
    const double height = std::abs(y - y0);
    if (height > reach)
        return;
    const double half = std::sqrt(reach * reach - height * height);
    from = std::min(from, x - half);
    to = std::max(to, x + half);
}

/// Counts the squares that a stroke covers, row by row of squares.
class StrokeRows {
public:
    StrokeRows(std::span<const CqPoint2D> points, double width, const CRect& bound)
        : m_Reach(width / 2), m_rectBound(bound),
          m_Counts(static_cast<std::size_t>(bound.Width())) {
        for (std::size_t i = 0; i < std::max<std::size_t>(points.size() - 1, 1); ++i) {
            const CqPoint2D& a = points[i];
            const CqPoint2D& b = points[std::min(i + 1, points.size() - 1)];
            const double dx = b.m_X - a.m_X;
            const double dy = b.m_Y - a.m_Y;
            m_Lines.push_back({a.m_X, a.m_Y, dx, dy, dx * dx + dy * dy});
        }
    }

    /// The weights of a row of pixels.
    void fnMake(LONG y, unsigned char* weights) {
        std::fill(m_Counts.begin(), m_Counts.end(), std::uint16_t{0});
        for (int part = 0; part < kParts; ++part)
            fnCount(y - 0.5 + (part + 0.5) / kParts);
        std::transform(m_Counts.begin(), m_Counts.end(), weights, [](std::uint16_t count) {
            return static_cast<unsigned char>((count * 255u + 128) / 256);
        });
    }

private:
    double fnPlace(std::int64_t square) const {
        return m_rectBound.left - 0.5 + (static_cast<double>(square) + 0.5) / kParts;
    }

    void fnCount(double y) {
        m_Spans.clear();
        for (const Segment& line : m_Lines)
            fnAddSpan(line, y);
        std::sort(m_Spans.begin(), m_Spans.end(),
                  [](const Span& a, const Span& b) { return a.m_nFrom < b.m_nFrom; });
        std::int64_t done = 0;
        for (const Span& span : m_Spans) {
            for (std::int64_t at = std::max(span.m_nFrom, done); at < span.m_nTo;) {
                const std::int64_t pixel = at / kParts;
                const std::int64_t end = std::min((pixel + 1) * kParts, span.m_nTo);
                std::uint16_t& count = m_Counts[static_cast<std::size_t>(pixel)];
                count = static_cast<std::uint16_t>(count + (end - at));
                at = end;
            }
            done = std::max(done, span.m_nTo);
        }
    }

    /// What a line covers of a row is one run of squares, as its shape is convex: found by
    /// geometry, a little too wide, and then cut by the exact rule.
    void fnAddSpan(const Segment& line, double y) {
        const double reach = m_Reach + kSlack;
        const double endX = line.m_X + line.m_DX;
        const double endY = line.m_Y + line.m_DY;
        if (y < std::min(line.m_Y, endY) - reach || y > std::max(line.m_Y, endY) + reach)
            return;
        double from = std::numeric_limits<double>::infinity();
        double to = -from;
        fnWidenByEnd(line.m_X, line.m_Y, reach, y, from, to);
        fnWidenByEnd(endX, endY, reach, y, from, to);
        if (line.m_Square > 0) {
            const double length = std::sqrt(line.m_Square);
            const double sideX = -line.m_DY / length * reach;
            const double sideY = line.m_DX / length * reach;
            for (const double sign : {-1.0, 1.0})
                fnWiden(line.m_X + sign * sideX, line.m_Y + sign * sideY, endX + sign * sideX,
                        endY + sign * sideY, y, from, to);
        }
        if (from > to)
            return;
        const auto most = static_cast<double>(std::int64_t{m_rectBound.Width()} * kParts);
        const double origin = m_rectBound.left - 0.5;
        Span span{static_cast<std::int64_t>(
                      std::clamp(std::ceil((from - origin) * kParts - 0.5), 0.0, most)),
                  static_cast<std::int64_t>(
                      std::clamp(std::floor((to - origin) * kParts - 0.5) + 1, 0.0, most))};
        const double square = m_Reach * m_Reach;
        while (span.m_nFrom < span.m_nTo && !fnCovers(line, fnPlace(span.m_nFrom), y, square))
            ++span.m_nFrom;
        while (span.m_nFrom < span.m_nTo && !fnCovers(line, fnPlace(span.m_nTo - 1), y, square))
            --span.m_nTo;
        if (span.m_nFrom < span.m_nTo)
            m_Spans.push_back(span);
    }

    const double m_Reach;
    const CRect m_rectBound;
    std::vector<Segment> m_Lines;
    std::vector<Span> m_Spans;
    std::vector<std::uint16_t> m_Counts; ///< of the pixels of a row
};

/// The part of `area` that a stroke may touch. False if that is nothing, and for numbers that are
/// no places.
bool fnFindBound(std::span<const CqPoint2D> points, double width, const CRect& area, CRect& bound) {
    const auto is = [](double value) { return std::abs(value) <= kMaxPlace; }; // false for NaN
    if (points.empty() || !(width > 0) || !is(width))
        return false;
    double left = kMaxPlace;
    double top = kMaxPlace;
    double right = -kMaxPlace;
    double bottom = -kMaxPlace;
    for (const CqPoint2D& point : points) {
        if (!is(point.m_X) || !is(point.m_Y))
            return false;
        left = std::min(left, point.m_X);
        top = std::min(top, point.m_Y);
        right = std::max(right, point.m_X);
        bottom = std::max(bottom, point.m_Y);
    }
    // Sums stay below 2^31.
    const auto first = [&](double place) {
        return static_cast<LONG>(std::floor(place - width / 2 + 0.5));
    };
    const auto end = [&](double place) {
        return static_cast<LONG>(std::floor(place + width / 2 + 0.5)) + 1;
    };
    return bound.IntersectRect(CRect(first(left), first(top), end(right), end(bottom)), area);
}

} // namespace

bool q32MakeStrokeMask(std::span<const CqPoint2D> points, double width, const CRect& area,
                       CqMask& mask, CqProgressDisplay* progress) {
    CRect bound;
    if (!fnFindBound(points, width, area, bound))
        return false;
    return q32::fnGuardMemory([&] {
        CqMask made(static_cast<unsigned int>(bound.Width()),
                    static_cast<unsigned int>(bound.Height()));
        StrokeRows rows(points, width, bound);
        const q32::ProgressRun run(progress, static_cast<std::uint32_t>(bound.Height()));
        CqImageLine line;
        for (LONG y = bound.top; y < bound.bottom; ++y) {
            const auto row = static_cast<std::uint32_t>(y - bound.top);
            made.fnAccessLine(row, &line, false);
            rows.fnMake(y, line.LineBuffer);
            if (run.fnAborts(row))
                return false;
        }
        line.fnUnAssociate();
        mask.fnSwapBuf(made);
        mask.m_rectBound = bound;
        return true;
    });
}
