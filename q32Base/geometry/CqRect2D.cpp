#include "q32Base/geometry/CqRect2D.h"

#include "q32Base/geometry/CqMatrix2D.h"

#include <algorithm>

namespace {

bool fnIsEmptyOrNull(const CqRect2D& rect) {
    return rect.fnIsRectEmpty() || rect.fnIsRectNull();
}

CqRect2D fnShared(const CqRect2D& a, const CqRect2D& b) {
    return {std::max(a.m_Left, b.m_Left), std::max(a.m_Top, b.m_Top),
            std::min(a.m_Right, b.m_Right), std::min(a.m_Bottom, b.m_Bottom)};
}

CqRect2D fnAround(const CqRect2D& a, const CqRect2D& b) {
    return {std::min(a.m_Left, b.m_Left), std::min(a.m_Top, b.m_Top),
            std::max(a.m_Right, b.m_Right), std::max(a.m_Bottom, b.m_Bottom)};
}

/// The integer coordinate after the pixel that an edge touches.
LONG fnPastEdge(double edge) {
    const double whole = std::trunc(edge);
    const double touched = edge - whole > GEOM_EPSILON ? whole + 1.0 : whole;
    return q32::fnTruncate(touched + 1.0);
}

} // namespace

CqRect2D::operator CRect() const {
    return {q32::fnTruncate(m_Left), q32::fnTruncate(m_Top), fnPastEdge(m_Right),
            fnPastEdge(m_Bottom)};
}

void CqRect2D::operator-=(const CqPoint2D& offset) {
    *this = {m_Left - offset.m_X, m_Top - offset.m_Y, m_Right - offset.m_X, m_Bottom - offset.m_Y};
}

void CqRect2D::operator&=(const CqRect2D& other) {
    if (fnIsEmptyOrNull(*this))
        *this = other;
    else if (!fnIsEmptyOrNull(other))
        *this = fnShared(*this, other);
}

void CqRect2D::operator|=(const CqRect2D& other) {
    fnUnionRect(*this, other);
}

bool CqRect2D::fnIsRectNull() const {
    return q32::fnIsZero(m_Left) && q32::fnIsZero(m_Top) && q32::fnIsZero(m_Right) &&
           q32::fnIsZero(m_Bottom);
}

bool CqRect2D::fnPtInRect(const CqPoint2D& point) const {
    return m_Left - GEOM_EPSILON < point.m_X && point.m_X < GEOM_EPSILON + m_Right &&
           m_Top - GEOM_EPSILON < point.m_Y && point.m_Y < GEOM_EPSILON + m_Bottom;
}

void CqRect2D::fnOffsetRect(double dx, double dy) {
    *this = {m_Left + dx, m_Top + dy, m_Right + dx, m_Bottom + dy};
}

void CqRect2D::fnInflateRect(int dx, int dy) {
    *this = {m_Left - dx, m_Top - dy, m_Right + dx, m_Bottom + dy};
}

bool CqRect2D::fnIntersectRect(const CqRect2D& a, const CqRect2D& b) {
    if (fnIsEmptyOrNull(a)) {
        *this = b;
        return false;
    }
    if (fnIsEmptyOrNull(b)) {
        *this = a;
        return false;
    }
    *this = fnShared(a, b);
    return m_Left < m_Right && m_Top < m_Bottom;
}

void CqRect2D::fnUnionRect(const CqRect2D& a, const CqRect2D& b) {
    if (fnIsEmptyOrNull(a))
        *this = b;
    else if (fnIsEmptyOrNull(b))
        *this = a;
    else
        *this = fnAround(a, b);
}

void CqRect2D::fnTransform(const CqMatrix2D& matrix) {
    if (matrix.fnHasScaleOnly() || matrix.fnHasTranslateOnly()) {
        m_TopLeft.fnTransform(matrix);
        m_BottomRight.fnTransform(matrix);
        return;
    }
    CqPoint2D corners[] = {
        {m_Left, m_Top}, {m_Right, m_Top}, {m_Right, m_Bottom}, {m_Left, m_Bottom}};
    for (CqPoint2D& corner : corners)
        corner.fnTransform(matrix);
    *this = q32::fnBox(corners);
}
