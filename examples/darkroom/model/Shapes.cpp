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

bool fnMakeColorMask(const CqImage& image, const CqColor& color, int tolerance, CqMask& mask,
                     CqProgressDisplay* progress) {
    if (!image.TileMap) {
        fnEmptyMask(mask);
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
