/// @file Selections made from shapes and colours, and shapes drawn into the picture. Positions are
/// in the picture's pixels; anything outside is clipped.
#pragma once

#include "q32Base/geometry/CqPoint2D.h"
#include "q32Base/image/CqColor.h"
#include "q32Base/image/CqMask.h"

#include <span>
#include <vector>

class CqImage;
class CqProgressDisplay;

namespace darkroom {

enum class ShapeKind { RECTANGLE, ELLIPSE, FREEHAND };

/// The points of a shape's outline. A rectangle and an ellipse have the first and last point as
/// opposite corners, an ellipse as four curves; freehand is the points themselves. Raises the
/// memory exception.
std::vector<CqPoint2D> fnMakeOutline(ShapeKind shape, std::span<const CqPoint2D> points);

// Mask functions: false after an abort, with the mask unchanged. A mask without any pixel may have
// an empty rectangle. They raise the memory exception.

/// A mask of a closed outline, by the even-odd rule, in ShapeMask.cpp: 255 in all pixels whose
/// centre lies inside, 0 elsewhere. With smooth edges each pixel is divided into 16 x 16 squares;
/// where the centres of n of them lie inside, its weight is (255 n + 128) / 256, rounded down, as
/// in the library's mask of a stroke. A centre on the outline is inside at the left and the
/// top of a shape, not at its right and bottom. The mask has an empty rectangle when no pixel of a
/// picture of this size can be inside.
bool fnMakeShapeMask(std::span<const CqPoint2D> outline, unsigned int width, unsigned int height,
                     CqMask& mask, CqProgressDisplay* progress, bool smooth = false);

/// Makes a mask without pixels.
void fnEmptyMask(CqMask& mask);

/// 255 in all pixels of a picture of any depth whose red, green and blue each differ from those of
/// a colour by at most `tolerance`, whatever their alpha.
bool fnMakeColorMask(const CqImage& image, const CqColor& color, int tolerance, CqMask& mask,
                     CqProgressDisplay* progress);

/// What lines and curves are drawn with.
struct Pen {
    Pen(const CqColor& color, int width = 1, bool smooth = false)
        : m_Color(color), m_nWidth(width), m_bSmooth(smooth) {}

    /// Whether the path is a stroke of weights and not a line of the library, which is as thin as
    /// a pixel.
    bool fnIsStroke(const CqImage& image) const;

    CqColor m_Color;
    int m_nWidth;   ///< in pixels
    bool m_bSmooth; ///< edges are antialiased
};

/// Draws a line through two points, or a cubic curve from the first to the fourth. At depths whose
/// colours can't be mixed (4 and 16 bits, palettes) all of them are a pixel wide and not smooth.
void fnDrawPath(CqImage& image, std::span<const CqPoint2D> points, const Pen& pen);

} // namespace darkroom
