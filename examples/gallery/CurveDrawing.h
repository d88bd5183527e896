/// @file Curves and their control points, drawn by the library's rasterizers.
#pragma once

#include "q32Base/geometry/CqCubicBezier2D.h"
#include "q32Base/geometry/CqPolyline2D.h"
#include "q32Base/image/CqImage.h"

#include <span>

extern const CqColor kCurveColor;
extern const CqColor kPolygonColor;
extern const CqColor kMarkColor;
extern const CqColor kSecondColor;

/// Darkens a photograph, so that lines of one pixel are visible on it.
void fnDim(CqImage& image);
/// Draws lines from point to point.
void fnDrawChain(CqImage& image, std::span<const CqPoint2D> points, const CqColor& color);
/// A square of 5 x 5 pixels around a point, and a ring of 11 x 11.
void fnDrawSquare(CqImage& image, const CqPoint2D& point, const CqColor& color);
void fnDrawRing(CqImage& image, const CqPoint2D& point, const CqColor& color);
/// Draws the control polygon, its corners, and the curve on top.
void fnDrawWithPolygon(CqImage& image, CqCubicBezier2D curve);
/// Draws a polyline and its vertices.
void fnDrawPolyline(CqImage& image, const CqPolyline2D& polyline, const CqColor& color);
