#include "q32Base/geometry/CqPolyline2D.h"

#include "q32Base/messages/ReportMemory.h"

#include <algorithm>
#include <span>

namespace {

/// A perpendicular foot that may be the nearest one.
struct Candidate {
    int m_nLine;
    double m_dParam;
    CqPoint2D m_Foot;
};

} // namespace

CqPolyline2D::CqPolyline2D(const CqPolyline2D& other) {
    *this = other;
}

CqPolyline2D::~CqPolyline2D() = default;

CqPolyline2D& CqPolyline2D::operator=(const CqPolyline2D& other) {
    m_Vertices.Copy(other.m_Vertices);
    m_Tags.Copy(other.m_Tags);
    m_Params.Copy(other.m_Params);
    m_BoundRect = other.m_BoundRect;
    return *this;
}

void CqPolyline2D::operator+=(const CqPoint2D& offset) {
    const CqPoint2D step = offset; // it may be one of the vertices
    for (int i = 0; i < m_Vertices.GetSize(); ++i)
        m_Vertices[i] += step;
    m_BoundRect += step;
}

int CqPolyline2D::fnGetNumberLine() const {
    return std::max(m_Vertices.GetSize() - 1, 0);
}

CqLine2D CqPolyline2D::fnGetLine(int index) const {
    return {m_Vertices[index], m_Vertices[index + 1]};
}

int CqPolyline2D::fnGetParam(int index, double& t0, double& t1) const {
    t0 = m_Params[2 * index];
    t1 = m_Params[2 * index + 1];
    return static_cast<int>(m_Tags[index]);
}

void CqPolyline2D::fnAddParam(int tag, double t0, double t1) {
    m_Tags.Add(static_cast<unsigned int>(tag));
    m_Params.Add(t0);
    m_Params.Add(t1);
}

void CqPolyline2D::fnRemoveLine() {
    if (fnGetNumberLine() == 1) {
        fnRemoveAll();
        return;
    }
    m_Vertices.SetSize(m_Vertices.GetSize() - 1);
    m_Tags.RemoveAt(m_Tags.GetUpperBound());
    m_Params.SetSize(m_Params.GetSize() - 2);
}

void CqPolyline2D::fnFindBoundRect() {
    m_BoundRect =
        q32::fnBox(std::span(m_Vertices.GetData(), static_cast<std::size_t>(m_Vertices.GetSize())));
}

CqPoint2D CqPolyline2D::fnComputePoint(int index, double t) const {
    const CqLine2D line = fnGetLine(index);
    return line.m_Start + (line.m_End - line.m_Start) * t;
}

int CqPolyline2D::fnAddLine(const CqPoint2D& start, const CqPoint2D& end) {
    const CqPoint2D last = end; // the arguments may be vertices of this polyline
    if (m_Vertices.IsEmpty() || start != m_Vertices[m_Vertices.GetUpperBound()])
        m_Vertices.Add(start);
    m_Vertices.Add(last);
    return fnGetNumberLine() - 1;
}

int CqPolyline2D::fnInsertLine(const CqPoint2D& start, const CqPoint2D& end) {
    const CqPoint2D first = start;
    if (m_Vertices.IsEmpty() || end != m_Vertices[0])
        m_Vertices.InsertAt(0, end);
    m_Vertices.InsertAt(0, first);
    return fnGetNumberLine() - 1;
}

void CqPolyline2D::fnReverse() {
    std::reverse(m_Vertices.GetData(), m_Vertices.GetData() + m_Vertices.GetSize());
}

void CqPolyline2D::fnFreeExtra() {
    m_Vertices.FreeExtra();
    m_Tags.FreeExtra();
    m_Params.FreeExtra();
}

void CqPolyline2D::fnRemoveAll() {
    m_Vertices.RemoveAll();
    m_Tags.RemoveAll();
    m_Params.RemoveAll();
}

bool CqPolyline2D::fnIntersectLine(const CqLine2D& line) const {
    const int count = fnGetNumberLine();
    const CqPoint2D d = line.m_End - line.m_Start;
    for (int i = 0; i < count; ++i) {
        const CqLine2D segment = fnGetLine(i);
        const CqPoint2D a = segment.m_Start - segment.m_End;
        const CqPoint2D b = line.m_Start - segment.m_Start;
        const double k = 1.0 / (a.m_X * d.m_Y - a.m_Y * d.m_X);
        const double s = (b.m_X * a.m_Y - b.m_Y * a.m_X) * k;
        const double u = k * (b.m_Y * d.m_X - b.m_X * d.m_Y);
        if (q32::fnIsOnSegment(s) && q32::fnIsOnSegment(u))
            return true;
    }
    return false;
}

bool CqPolyline2D::fnIntersectPoint(const CqPoint2D& point, int& index, double& t,
                                    CqPoint2D* nearest) const {
    const CqPoint2D target = point; // the results may overwrite it
    index = -1;
    CArray<Candidate, const Candidate&> candidates;
    const bool collected = q32::fnReportMemory([&] {
        for (int i = 0; i < fnGetNumberLine(); ++i) {
            Candidate candidate{i, 0.0, {}};
            if (fnGetLine(i).fnFindNearestPoint(target, candidate.m_dParam, &candidate.m_Foot))
                candidates.Add(candidate);
        }
    });
    if (!collected)
        return false;
    double best = std::numeric_limits<double>::max();
    for (int i = 0; i < candidates.GetSize(); ++i) {
        const Candidate& candidate = candidates[i];
        const double distance = target.fnFindDistance(candidate.m_Foot);
        if (distance >= best) // not-a-number on either side counts as below
            continue;
        index = candidate.m_nLine;
        t = candidate.m_dParam;
        if (nearest)
            *nearest = candidate.m_Foot;
        best = distance;
    }
    return !candidates.IsEmpty();
}

void CqPolyline2D::fnIntersectX(double x, Values& values, Places* where) const {
    fnScan(&CqPoint2D::m_X, &CqPoint2D::m_Y, x, values, where);
}

void CqPolyline2D::fnIntersectY(double y, Values& values, Places* where) const {
    fnScan(&CqPoint2D::m_Y, &CqPoint2D::m_X, y, values, where);
}

void CqPolyline2D::fnScan(double CqPoint2D::*along, double CqPoint2D::*other, double value,
                          Values& values, Places* where) const {
    values.RemoveAll();
    if (where)
        where->RemoveAll();
    const auto report = [&](int line, double found, double t) {
        values.Add(found);
        if (where)
            where->Add({line, t});
    };
    for (int i = 0; i < fnGetNumberLine(); ++i) {
        const CqLine2D line = fnGetLine(i);
        const double a0 = line.m_Start.*along;
        const double a1 = line.m_End.*along;
        if (!(std::min(a0, a1) <= value && std::max(a0, a1) >= value))
            continue;
        const double b0 = line.m_Start.*other;
        if (std::fabs(a1 - a0) <= GEOM_EPSILON) {
            if (q32::fnIsZero(value - a0))
                report(i, b0, 0.0);
            continue;
        }
        const double s = (value - a0) / (a1 - a0);
        if (q32::fnIsOnSegment(s))
            report(i, (line.m_End.*other - b0) * s + b0, s);
    }
}
