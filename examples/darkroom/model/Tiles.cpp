#include "examples/darkroom/model/Tiles.h"

#include "examples/darkroom/model/Bands.h"
#include "q32Base/image/CqImage.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace darkroom {

namespace {

/// A piece of a path that is shorter than this isn't divided any further.
constexpr double kPiece = 64;
/// How far the drawn pixels may lie from the exact path: half a pixel of rounding at each end, half
/// a step between them, and the flatness of a curve.
constexpr double kMargin = 3;
/// The same in proportion to the coordinates, whose own rounding counts where they are huge.
constexpr double kRelativeMargin = 1e-9;

/// A cubic curve, or a line as one.
using Curve = std::array<CqPoint2D, 4>;

CqPoint2D fnHalve(const CqPoint2D& a, const CqPoint2D& b) {
    return {(a.m_X + b.m_X) / 2, (a.m_Y + b.m_Y) / 2};
}

/// Collects the tiles around the pieces of a curve.
class PathTiles {
public:
    PathTiles(const CqImage& image, double margin) : m_Image(image), m_Margin(margin) {}

    void fnAdd(const Curve& curve) {
        const auto [left, right] =
            std::minmax({curve[0].m_X, curve[1].m_X, curve[2].m_X, curve[3].m_X});
        const auto [top, bottom] =
            std::minmax({curve[0].m_Y, curve[1].m_Y, curve[2].m_Y, curve[3].m_Y});
        CRect seen(fnCut(std::floor(left - m_Margin), m_Image.Width),
                   fnCut(std::floor(top - m_Margin), m_Image.Height),
                   fnCut(std::ceil(right + m_Margin), m_Image.Width),
                   fnCut(std::ceil(bottom + m_Margin), m_Image.Height));
        if (seen.IsRectEmpty())
            return; // a curve lies within the hull of its points
        if (right - left <= kPiece && bottom - top <= kPiece) {
            const Tiles found = fnFindTiles(m_Image, seen);
            m_Found.insert(m_Found.end(), found.begin(), found.end());
            return;
        }
        const CqPoint2D a = fnHalve(curve[0], curve[1]);
        const CqPoint2D b = fnHalve(curve[1], curve[2]);
        const CqPoint2D c = fnHalve(curve[2], curve[3]);
        const CqPoint2D d = fnHalve(a, b);
        const CqPoint2D e = fnHalve(b, c);
        const CqPoint2D middle = fnHalve(d, e);
        fnAdd({curve[0], a, d, middle});
        fnAdd({middle, e, c, curve[3]});
    }

    Tiles fnTake() {
        std::sort(m_Found.begin(), m_Found.end());
        m_Found.erase(std::unique(m_Found.begin(), m_Found.end()), m_Found.end());
        return std::move(m_Found);
    }

private:
    static LONG fnCut(double place, unsigned int length) {
        return static_cast<LONG>(std::clamp(place, 0.0, static_cast<double>(length)));
    }

    const CqImage& m_Image;
    double m_Margin;
    Tiles m_Found;
};

} // namespace

Tiles fnFindTiles(const CqImage& image, const CRect& part) {
    CRect cut;
    Tiles tiles;
    if (!cut.IntersectRect(part, fnGetWhole(image)))
        return tiles;
    const CSize size = image.fnGetMaxTileSize();
    for (LONG row = cut.top / size.cy; row <= (cut.bottom - 1) / size.cy; ++row)
        for (LONG column = cut.left / size.cx; column <= (cut.right - 1) / size.cx; ++column)
            tiles.push_back(static_cast<unsigned int>(row) * image.TilesAcross +
                            static_cast<unsigned int>(column));
    return tiles;
}

Tiles fnFindPathTiles(const CqImage& image, std::span<const CqPoint2D> points, int width) {
    if (points.size() != 2 && points.size() != 4)
        return {};
    double largest = 0;
    for (const CqPoint2D& point : points)
        largest = std::max({largest, std::abs(point.m_X), std::abs(point.m_Y)});
    PathTiles tiles(image, kMargin + width / 2.0 + largest * kRelativeMargin);
    if (points.size() == 2)
        tiles.fnAdd({points[0], points[0], points[1], points[1]});
    else
        tiles.fnAdd({points[0], points[1], points[2], points[3]});
    return tiles.fnTake();
}

CRect fnGetTileRect(const CqImage& image, unsigned int tile) {
    const CSize size = image.fnGetMaxTileSize();
    const LONG left = static_cast<LONG>(tile % image.TilesAcross) * size.cx;
    const LONG top = static_cast<LONG>(tile / image.TilesAcross) * size.cy;
    return {left, top, std::min(left + size.cx, static_cast<LONG>(image.Width)),
            std::min(top + size.cy, static_cast<LONG>(image.Height))};
}

} // namespace darkroom
