// Masks of closed outlines.
#include "examples/darkroom/model/Progress.h"
#include "examples/darkroom/model/Shapes.h"
#include "q32Base/geometry/CqLine2D.h"
#include "q32Base/image/CqImageLine.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <iterator>

namespace darkroom {

namespace {

/// Squares of a pixel in each direction, for smooth edges.
constexpr int kSmoothParts = 16;

/// The pixels that an outline may cover.
CRect fnFindBound(std::span<const CqPoint2D> outline, unsigned int width, unsigned int height) {
    double left = width;
    double top = height;
    double right = 0;
    double bottom = 0;
    for (const CqPoint2D& point : outline) {
        left = std::min(left, point.m_X);
        top = std::min(top, point.m_Y);
        right = std::max(right, point.m_X);
        bottom = std::max(bottom, point.m_Y);
    }
    const auto cut = [](double value, unsigned int most) {
        return static_cast<int>(std::clamp(value, 0.0, static_cast<double>(most)));
    };
    return {cut(std::floor(left), width), cut(std::floor(top), height),
            cut(std::ceil(right), width), cut(std::ceil(bottom), height)};
}

/// Where lines from the left to the right cross an outline. Each line lies below the one before.
class Crossings {
public:
    explicit Crossings(std::span<const CqPoint2D> outline) {
        m_Edges.reserve(outline.size());
        for (std::size_t i = 0; i < outline.size(); ++i) {
            const CqPoint2D& from = outline[i];
            const CqPoint2D& to = outline[(i + 1) % outline.size()];
            m_Edges.push_back(
                {CqLine2D(from, to), std::min(from.m_Y, to.m_Y), std::max(from.m_Y, to.m_Y)});
        }
        std::sort(m_Edges.begin(), m_Edges.end(),
                  [](const Edge& a, const Edge& b) { return a.m_Top < b.m_Top; });
    }

    /// From left to right.
    const std::vector<double>& fnFind(double y) {
        for (; m_nNext < m_Edges.size() && m_Edges[m_nNext].m_Top <= y; ++m_nNext)
            m_Crossed.push_back(&m_Edges[m_nNext]);
        // Half-open edges, so that a vertex on the line counts once.
        std::erase_if(m_Crossed, [y](const Edge* edge) { return edge->m_Bottom <= y; });
        m_Places.clear();
        std::transform(m_Crossed.begin(), m_Crossed.end(), std::back_inserter(m_Places),
                       [y](const Edge* edge) {
                           const CqLine2D& line = edge->m_Line;
                           const double t =
                               (y - line.m_Start.m_Y) / (line.m_End.m_Y - line.m_Start.m_Y);
                           return line.fnComputePointOnLine(t).m_X;
                       });
        std::sort(m_Places.begin(), m_Places.end());
        return m_Places;
    }

private:
    struct Edge {
        CqLine2D m_Line;
        double m_Top;
        double m_Bottom;
    };

    std::vector<Edge> m_Edges; ///< from the top
    std::size_t m_nNext = 0;
    std::vector<const Edge*> m_Crossed;
    std::vector<double> m_Places;
};

/// Counts how many squares of each pixel of a row are covered.
class CoveredRow {
public:
    /// @param parts  squares of a pixel in each direction
    CoveredRow(const CRect& bound, int parts)
        : m_rectBound(bound), m_nParts(parts),
          m_Steps(static_cast<std::size_t>(bound.Width()) + 2) {}

    /// Covers a row of squares between two crossings of the outline.
    void fnCover(double from, double to) {
        fnStep(fnFindSquare(from), 1);
        fnStep(fnFindSquare(to), -1);
    }

    /// Writes the weights, and begins the next row.
    void fnFinish(unsigned char* weights) {
        const int all = m_nParts * m_nParts;
        int covered = 0;
        for (int x = 0; x < m_rectBound.Width(); ++x) {
            covered += m_Steps[static_cast<std::size_t>(x)];
            weights[x] = static_cast<unsigned char>((255 * covered + all / 2) / all);
        }
        std::fill(m_Steps.begin(), m_Steps.end(), 0);
    }

private:
    /// The first square whose centre isn't left of a crossing.
    std::int64_t fnFindSquare(double crossing) const {
        return static_cast<std::int64_t>(
            std::clamp(std::ceil((crossing - m_rectBound.left) * m_nParts - 0.5), 0.0,
                       static_cast<double>(m_rectBound.Width()) * m_nParts));
    }
    /// From a square on, all are covered once more, or once less.
    void fnStep(std::int64_t square, int sign) {
        const auto pixel = static_cast<std::size_t>(square / m_nParts);
        const auto left = static_cast<int>(square % m_nParts);
        m_Steps[pixel] += sign * (m_nParts - left);
        m_Steps[pixel + 1] += sign * left;
    }

    CRect m_rectBound;
    int m_nParts;
    std::vector<int> m_Steps; ///< by how many squares more each pixel is covered than the last
};

} // namespace

void fnEmptyMask(CqMask& mask) {
    CqMask none;
    mask.fnSwapBuf(none);
    mask.m_rectBound = CRect(0, 0, 0, 0);
}

bool fnMakeShapeMask(std::span<const CqPoint2D> outline, unsigned int width, unsigned int height,
                     CqMask& mask, CqProgressDisplay* progress, bool smooth) {
    const CRect bound = fnFindBound(outline, width, height);
    if (bound.IsRectEmpty()) {
        fnEmptyMask(mask);
        return true;
    }
    CqMask made(static_cast<unsigned int>(bound.Width()),
                static_cast<unsigned int>(bound.Height()));
    const int parts = smooth ? kSmoothParts : 1;
    Crossings crossings(outline);
    CoveredRow row(bound, parts);
    CqImageLine line;
    for (LONG y = bound.top; y < bound.bottom; ++y) {
        for (int part = 0; part < parts; ++part) {
            const std::vector<double>& places = crossings.fnFind(y + (part + 0.5) / parts);
            for (std::size_t i = 0; i + 1 < places.size(); i += 2)
                row.fnCover(places[i], places[i + 1]);
        }
        made.fnAccessLine(static_cast<unsigned int>(y - bound.top), &line, false);
        row.fnFinish(line.LineBuffer);
        if (!fnGoOn(progress, y - bound.top, bound.Height()))
            return false;
    }
    line.fnUnAssociate();
    mask.fnSwapBuf(made);
    mask.fnSetPos(bound.TopLeft());
    return true;
}

} // namespace darkroom
