#include "examples/darkroom/model/Shapes.h"

#include "examples/darkroom/model/Bands.h"
#include "examples/darkroom/model/Progress.h"
#include "examples/darkroom/model/Tiles.h"
#include "q32Base/framework/Exceptions.h"
#include "q32Base/geometry/CqCubicBezier2D.h"
#include "q32Base/geometry/CqLine2D.h"
#include "q32Base/geometry/CqPolyline2D.h"
#include "q32Base/image/CqImage.h"
#include "q32Base/image/PixelAccess.h"
#include "q32Base/operations/Blend.h"
#include "q32Base/operations/Stroke.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>

namespace darkroom {

namespace {

/// Distance of the control points of a quarter circle of radius 1.
constexpr double kQuarter = 0.5522847498307936;
constexpr double kFlatness = 0.1;

std::vector<CqPoint2D> fnMakeEllipse(const CqPoint2D& a, const CqPoint2D& b) {
    const CqPoint2D middle((a.m_X + b.m_X) / 2, (a.m_Y + b.m_Y) / 2);
    const double rx = std::abs(a.m_X - b.m_X) / 2;
    const double ry = std::abs(a.m_Y - b.m_Y) / 2;
    const auto place = [&](double x, double y) {
        return CqPoint2D(middle.m_X + x * rx, middle.m_Y + y * ry);
    };
    std::vector<CqPoint2D> outline;
    double x = 1;
    double y = 0;
    for (int quarter = 0; quarter < 4; ++quarter) {
        const double nextX = -y;
        const double nextY = x;
        const CqCubicBezier2D curve(place(x, y), place(x + kQuarter * nextX, y + kQuarter * nextY),
                                    place(nextX + kQuarter * x, nextY + kQuarter * y),
                                    place(nextX, nextY), 0);
        CqPolyline2D parts;
        curve.fnTessellate(parts, kFlatness);
        for (int i = 0; i < parts.fnGetNumberLine(); ++i)
            outline.push_back(parts.fnGetVertex(i));
        x = nextX;
        y = nextY;
    }
    return outline;
}

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

/// Column of the first pixel whose centre isn't left of a crossing.
LONG fnFirstColumn(double crossing, const CRect& bound) {
    return static_cast<LONG>(std::clamp(std::ceil(crossing - 0.5), static_cast<double>(bound.left),
                                        static_cast<double>(bound.right)));
}

/// Makes weights of at least a half full ones, and no others.
void fnHarden(CqMask& mask) {
    CqImageLine line;
    for (unsigned int y = 0; y < mask.Height; ++y) {
        mask.fnAccessLine(y, &line, false);
        std::transform(
            line.LineBuffer, line.LineBuffer + mask.Width, line.LineBuffer,
            [](unsigned char weight) -> unsigned char { return weight < 128 ? 0 : 255; });
    }
}

/// A curve as the points of lines.
std::vector<CqPoint2D> fnFlatten(const std::vector<CqPoint2D>& points) {
    if (points.size() != 4)
        return points;
    CqPolyline2D parts;
    CqCubicBezier2D(points[0], points[1], points[2], points[3], 0).fnTessellate(parts, kFlatness);
    std::vector<CqPoint2D> flat;
    flat.reserve(static_cast<std::size_t>(parts.fnGetNumberVertex()));
    for (int i = 0; i < parts.fnGetNumberVertex(); ++i)
        flat.push_back(parts.fnGetVertex(i));
    return flat;
}

/// Draws tile by tile, so that a long path takes no large mask.
void fnDrawStroke(CqImage& image, const std::vector<CqPoint2D>& points, const Pen& pen,
                  const Tiles& tiles) {
    const std::vector<CqPoint2D> path = fnFlatten(points);
    const CSize size = image.fnGetMaxTileSize();
    CqImage ink(static_cast<unsigned int>(size.cx), static_cast<unsigned int>(size.cy), 24, nullptr,
                0);
    fnFillPicture(ink, pen.m_Color, nullptr);
    CqMask mask;
    for (const unsigned int tile : tiles) {
        if (!q32MakeStrokeMask(path, pen.m_nWidth, fnGetTileRect(image, tile), mask, nullptr))
            continue;
        if (!pen.m_bSmooth)
            fnHarden(mask);
        const CRect part(CPoint(0, 0), mask.m_rectBound.Size());
        q32Blend(ink, &part, image, mask.m_rectBound.left, mask.m_rectBound.top, {255, &mask},
                 nullptr);
    }
}

void fnMakeNone(CqMask& mask) {
    CqMask none;
    mask.fnSwapBuf(none);
    mask.m_rectBound = CRect(0, 0, 0, 0);
}

} // namespace

std::vector<CqPoint2D> fnMakeOutline(ShapeKind shape, std::span<const CqPoint2D> points) {
    if (points.size() < 2)
        return {};
    const CqPoint2D& a = points.front();
    const CqPoint2D& b = points.back();
    switch (shape) {
    case ShapeKind::RECTANGLE:
        return {a, CqPoint2D(b.m_X, a.m_Y), b, CqPoint2D(a.m_X, b.m_Y)};
    case ShapeKind::ELLIPSE:
        return fnMakeEllipse(a, b);
    case ShapeKind::FREEHAND:
        break;
    }
    return {points.begin(), points.end()};
}

bool fnMakeShapeMask(std::span<const CqPoint2D> outline, unsigned int width, unsigned int height,
                     CqMask& mask, CqProgressDisplay* progress) {
    const CRect bound = fnFindBound(outline, width, height);
    if (bound.IsRectEmpty()) {
        fnMakeNone(mask);
        return true;
    }
    CqMask made(static_cast<unsigned int>(bound.Width()),
                static_cast<unsigned int>(bound.Height()));
    CqImageLine line;
    std::vector<double> crossings;
    for (LONG y = bound.top; y < bound.bottom; ++y) {
        // Half-open edges, so that a vertex on the line counts once.
        const double at = y + 0.5;
        crossings.clear();
        for (std::size_t i = 0; i < outline.size(); ++i) {
            const CqLine2D edge(outline[i], outline[(i + 1) % outline.size()]);
            if ((edge.m_Start.m_Y <= at) == (edge.m_End.m_Y <= at))
                continue;
            const double t = (at - edge.m_Start.m_Y) / (edge.m_End.m_Y - edge.m_Start.m_Y);
            crossings.push_back(edge.fnComputePointOnLine(t).m_X);
        }
        std::sort(crossings.begin(), crossings.end());
        made.fnAccessLine(static_cast<unsigned int>(y - bound.top), &line, false);
        std::memset(line.LineBuffer, 0, line.RowBytes);
        for (std::size_t i = 0; i + 1 < crossings.size(); i += 2) {
            const LONG first = fnFirstColumn(crossings[i], bound);
            const LONG end = fnFirstColumn(crossings[i + 1], bound);
            std::fill(line.LineBuffer + (first - bound.left), line.LineBuffer + (end - bound.left),
                      static_cast<unsigned char>(255));
        }
        if (!fnGoOn(progress, y - bound.top, bound.Height()))
            return false;
    }
    line.fnUnAssociate();
    mask.fnSwapBuf(made);
    mask.fnSetPos(bound.TopLeft());
    return true;
}

bool fnMakeColorMask(const CqImage& image, const CqColor& color, int tolerance, CqMask& mask,
                     CqProgressDisplay* progress) {
    if (!image.TileMap) {
        fnMakeNone(mask);
        return true;
    }
    CqMask made(image.Width, image.Height);
    const CqPixelReader reader(image, PIXEL_RGB24);
    std::vector<unsigned char> row(std::size_t{image.Width} * 3);
    const int target[] = {color.m_Red, color.m_Green, color.m_Blue};
    CqImageLine to;
    for (unsigned int y = 0; y < image.Height; ++y) {
        if (!reader.fnReadRow(0, y, image.Width, row.data()))
            AfxThrowMemoryException(); // its scratch file lost pixels
        made.fnAccessLine(y, &to, false);
        const unsigned char* pixel = row.data();
        for (unsigned int x = 0; x < image.Width; ++x, pixel += 3) {
            const bool same = std::abs(pixel[0] - target[0]) <= tolerance &&
                              std::abs(pixel[1] - target[1]) <= tolerance &&
                              std::abs(pixel[2] - target[2]) <= tolerance;
            to.LineBuffer[x] = same ? 255 : 0;
        }
        if (!fnGoOn(progress, y, image.Height))
            return false;
    }
    to.fnUnAssociate();
    mask.fnSwapBuf(made);
    mask.fnSetPos(CPoint(0, 0));
    return true;
}

bool Pen::fnIsStroke(const CqImage& image) const {
    const bool mixes = image.BitCount >= 24 || (image.BitCount == 8 && image.fnIsGrayScale());
    return mixes && (m_nWidth > 1 || m_bSmooth);
}

void fnDrawPath(CqImage& image, std::span<const CqPoint2D> points, const Pen& pen) {
    // The library's lines take integers as the centre of a pixel, not its corner.
    std::vector<CqPoint2D> places(points.begin(), points.end());
    for (CqPoint2D& place : places)
        place -= CqPoint2D(0.5, 0.5);
    if (pen.fnIsStroke(image))
        fnDrawStroke(image, places, pen, fnFindPathTiles(image, points, pen.m_nWidth));
    else if (places.size() == 2)
        CqLine2D(places[0], places[1]).fnRasterize(image, pen.m_Color);
    else if (places.size() == 4)
        CqCubicBezier2D(places[0], places[1], places[2], places[3], 0)
            .fnRasterize(image, pen.m_Color);
}

} // namespace darkroom
