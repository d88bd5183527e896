#pragma once

#include "q32Base/framework/CArray.h"
#include "q32Base/geometry/CqLine2D.h"
#include "q32Base/geometry/CqPolyPoint2D.h"
#include "q32Base/geometry/CqRect2D.h"
#include "q32Base/platform/Export.h"

struct CqCubicBezier2D;

/// A chain of straight segments, stored as vertices, with a record for each segment of its origin:
/// a tag and two parameters.
///
/// The class doesn't keep vertices and records in step: adding a line adds no record; call
/// `fnAddParam` for that. No index is checked. The scanning operations call the virtual operations,
/// never the lists, so that a derived class may count and produce its lines in another way. Growing
/// raises CMemoryException, with the lists incomplete.
class Q32_API CqPolyline2D {
public:
    using Values = CArray<double, double>;
    using Places = CArray<CqPolyPoint2D, const CqPolyPoint2D&>;

    CqPolyline2D() = default;
    CqPolyline2D(const CqPolyline2D& other);
    virtual ~CqPolyline2D();

    CqPolyline2D& operator=(const CqPolyline2D& other);
    /// Adds the point to each vertex and to the cached box.
    void operator+=(const CqPoint2D& offset);

    virtual int fnGetNumberLine() const;
    /// The segment from vertex `index` to the next one.
    virtual CqLine2D fnGetLine(int index) const;
    /// The record of a segment; returns its tag.
    virtual int fnGetParam(int index, double& t0, double& t1) const;
    virtual void fnAddParam(int tag, double t0, double t1);
    /// Removes the last segment and its record; there must be at least one of each. Removing the
    /// only segment empties all three lists.
    virtual void fnRemoveLine();

    int fnGetNumberVertex() const { return m_Vertices.GetSize(); }
    CqPoint2D fnGetVertex(int index) const { return m_Vertices[index]; }
    CqPoint2D& fnGetVertex(int index) { return m_Vertices[index]; }
    /// The cached box, as the last `fnFindBoundRect` left it, moved by `operator+=` since.
    CqRect2D fnGetBoundRect() const { return m_BoundRect; }
    /// Recomputes the box; nothing else does. Without vertices it is inverted.
    void fnFindBoundRect();
    /// A point on segment `index`; `t` isn't clamped.
    CqPoint2D fnComputePoint(int index, double t) const;

    /// Joins a segment to the last vertex, which keeps its own value; if `start` differs from it, a
    /// bridge becomes a segment of its own. Returns the index of the last segment.
    int fnAddLine(const CqPoint2D& start, const CqPoint2D& end);
    int fnAddLine(const CqLine2D& line) { return fnAddLine(line.m_Start, line.m_End); }
    /// The same at the front. Returns the index of the last segment, deliberately: the new one is
    /// segment 0.
    int fnInsertLine(const CqPoint2D& start, const CqPoint2D& end);
    int fnInsertLine(const CqLine2D& line) { return fnInsertLine(line.m_Start, line.m_End); }
    /// Returns the new vertex's index.
    int fnAddVertex(const CqPoint2D& vertex) { return m_Vertices.Add(vertex); }
    /// Inserts at the front.
    void fnInsertVertex(const CqPoint2D& vertex) { m_Vertices.InsertAt(0, vertex); }
    /// Appends the other's vertices, without comparing those at the seam, and no records. `other`
    /// may be this polyline.
    void fnAppend(const CqPolyline2D& other) { m_Vertices.Append(other.m_Vertices); }
    /// Reverses the order of the vertices. Records keep their order, deliberately.
    void fnReverse();
    /// Frees the lists' spare capacity.
    void fnFreeExtra();
    /// Empties the lists and frees their storage. The cached box stays.
    void fnRemoveAll();

    /// Whether any segment crosses `line`. Segments collinear with it count, deliberately.
    bool fnIntersectLine(const CqLine2D& line) const;
    /// Finds the segment with the perpendicular foot nearest to `point`, at any distance: the point
    /// need not lie on the polyline. Ties go to the earlier segment. A segment of length zero is
    /// always chosen, with a `t` that is not-a-number, and so is each foot after it, deliberately.
    /// When memory runs out, a message box reports it and the result is false.
    /// @param index   -1 when there is no foot on any segment; `t` and `nearest` are then left as
    ///                they were
    /// @param nearest may be null
    bool fnIntersectPoint(const CqPoint2D& point, int& index, double& t, CqPoint2D* nearest) const;
    /// Lists where the vertical line at `x` (the horizontal one at `y`) crosses, in the order of
    /// the segments: the other coordinate in `values`, the position in `where`, which may be null.
    /// A vertex shared by two segments is listed twice, deliberately; a segment along the line
    /// reports its first end.
    void fnIntersectX(double x, Values& values, Places* where) const;
    void fnIntersectY(double y, Values& values, Places* where) const;

protected:
    CArray<CqPoint2D, const CqPoint2D&> m_Vertices;
    CUIntArray m_Tags;
    Values m_Params; ///< two to a record
    CqRect2D m_BoundRect;

private:
    friend struct CqCubicBezier2D;

    class PartList;

    Q32_LOCAL void fnScan(double CqPoint2D::*along, double CqPoint2D::*other, double value,
                          Values& values, Places* where) const;
};
