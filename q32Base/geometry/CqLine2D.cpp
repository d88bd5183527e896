#include "q32Base/geometry/CqLine2D.h"

#include "q32Base/geometry/SegmentDrawing_p.h"
#include "q32Base/image/CqImage.h"

bool CqLine2D::fnIntersectPoint(const CqPoint2D& point, double& t) const {
    if (point == m_Start) {
        t = 0.0;
        return true;
    }
    if (point == m_End) {
        t = 1.0;
        return true;
    }
    // The vectors are compared, not their directions: only rounding gets past this test.
    const CqVector2D direction = m_End - m_Start;
    const CqVector2D step = point - m_Start;
    if (!(step == direction))
        return false;
    t = std::fabs(direction.m_X) > GEOM_EPSILON ? step.m_X / direction.m_X
                                                : step.m_Y / direction.m_Y;
    return true;
}

bool CqLine2D::fnIntersectLine(const CqLine2D& other, double& t, CqPoint2D* hit) const {
    const CqVector2D a = m_End - m_Start;
    const CqVector2D b = other.m_Start - other.m_End;
    const CqVector2D c = m_Start - other.m_Start;
    const double k = 1.0 / (b.m_X * a.m_Y - b.m_Y * a.m_X);
    const double here = (c.m_X * b.m_Y - c.m_Y * b.m_X) * k;
    const double there = (c.m_Y * a.m_X - c.m_X * a.m_Y) * k;
    if (!q32::fnIsOnSegment(here) || !q32::fnIsOnSegment(there))
        return false;
    t = here;
    if (hit)
        *hit = m_Start + a * here;
    return true;
}

void CqLine2D::fnRasterize(CqImage& image, const CqColor& color) {
    const q32::DigitalLine line(image, color);
    q32::fnDrawSegment(line, m_Start, m_End);
    line.fnRequirePixels();
}
