#pragma once

#include "q32Base/geometry/CqPoint2D.h"
#include "q32Base/geometry/CqVector2D.h"

class CqColor;
class CqImage;

/// A directed line segment. Its parameter t runs from 0 at the start to 1 at the end; a t strictly
/// between GEOM_PARAM_LOW and GEOM_PARAM_HIGH lies on the segment and is not clamped.
///
/// Nothing fails, and neither zero-length segments nor parallel lines are detected: the
/// not-a-number that results counts as a hit, deliberately.
struct Q32_API CqLine2D {
    CqLine2D() = default;
    CqLine2D(const CqPoint2D& start, const CqPoint2D& end) : m_Start(start), m_End(end) {}
    CqLine2D(const CqLine2D&) = default;
    ~CqLine2D() = default;

    CqLine2D& operator=(const CqLine2D&) = default;

    double fnFindLength() const { return m_Start.fnFindDistance(m_End); }
    /// The point at t on the infinite line; t isn't clamped.
    CqPoint2D fnComputePointOnLine(double t) const { return m_Start * (1.0 - t) + m_End * t; }
    /// Whether `point` is one of the two ends, with t = 0 or 1. An inner point of the segment gives
    /// false, deliberately, and leaves `t` as it was.
    bool fnIntersectPoint(const CqPoint2D& point, double& t) const;
    /// Finds the foot of the perpendicular from `point`. `t` and `nearest`, which may be null, are
    /// always written.
    /// @return whether the foot lies on the segment; true with a not-a-number `t` for a segment of
    ///         length zero
    bool fnFindNearestPoint(const CqPoint2D& point, double& t, CqPoint2D* nearest) const {
        const CqVector2D direction = m_End - m_Start;
        const CqVector2D step = point - m_Start;
        t = direction.fnDotProduct(step) / direction.fnDotProduct(direction);
        if (nearest)
            *nearest = m_Start + direction * t;
        return q32::fnIsOnSegment(t);
    }
    /// Finds the crossing with another segment: `t` on this one, and the point in `hit`, which may
    /// be null. Without a crossing neither is written. Collinear segments count as crossing, with a
    /// `t` that is not-a-number, deliberately.
    bool fnIntersectLine(const CqLine2D& other, double& t, CqPoint2D* hit) const;
    /// Draws one pixel per step of the longer axis, both ends included, each as
    /// `CqImage::fnSetPixelColor` writes it. Coordinates are rounded by adding 0.5 and truncating
    /// toward zero, so that -0.6 rounds to 0; they are clamped to 2^30 either way. Pixels outside
    /// the image are clipped. Without storage nothing is drawn. Raises CMemoryException for lost
    /// pixels of the image, once the line is drawn.
    void fnRasterize(CqImage& image, const CqColor& color);

    CqPoint2D m_Start;
    CqPoint2D m_End;
};

static_assert(std::is_trivially_copyable_v<CqLine2D> && std::is_standard_layout_v<CqLine2D>);
static_assert(sizeof(CqLine2D) == 4 * sizeof(double));
