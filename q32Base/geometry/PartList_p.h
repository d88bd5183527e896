#pragma once

#include "q32Base/geometry/CqPolyline2D.h"

#include <array>
#include <cstddef>
#include <typeinfo>
#include <utility>

/// Appends the parts of a flattened curve, each of which starts where the one before it ends, to an
/// empty polyline, with their records. Parts are collected and appended many at a time, except to
/// an object of a derived class, which is notified of each. The lists grow by half; once this
/// object is gone, they grow by their own rule again.
class CqPolyline2D::PartList {
public:
    explicit PartList(CqPolyline2D& polyline)
        : m_Polyline(polyline), m_bDerived(typeid(polyline) != typeid(CqPolyline2D)) {
        fnSetGrowth(kBlock);
    }
    ~PartList() { fnSetGrowth(0); }
    PartList(const PartList&) = delete;
    PartList& operator=(const PartList&) = delete;

    /// Raises the memory exception.
    void fnAdd(const CqPoint2D& start, const CqPoint2D& end, double tLow, double tHigh) {
        if (m_nCount == kBlock)
            fnFlush();
        if (m_nCount == 0)
            m_Start = start;
        m_Parts[static_cast<std::size_t>(m_nCount++)] = {end.m_X, end.m_Y, tLow, tHigh};
    }
    /// Appends what has been collected. Raises the memory exception.
    void fnFlush() {
        const int count = std::exchange(m_nCount, 0);
        const int lines = m_Polyline.m_Tags.GetSize();
        if (lines >= 2 * kBlock)
            fnSetGrowth(lines / 2);
        if (m_bDerived)
            fnAppendEach(count);
        else if (count != 0)
            fnAppendAll(count);
    }

private:
    static constexpr int kBlock = 64;

    /// Its end, and its range. Without constructors, since most are never set.
    struct Part {
        double m_dX;
        double m_dY;
        double m_dLow;
        double m_dHigh;
        CqPoint2D fnGetEnd() const { return {m_dX, m_dY}; }
    };

    void fnAppendEach(int count) {
        for (int i = 0; i < count; ++i) {
            const Part& part = m_Parts[static_cast<std::size_t>(i)];
            m_Polyline.fnAddLine(i == 0 ? m_Start
                                        : m_Parts[static_cast<std::size_t>(i) - 1].fnGetEnd(),
                                 part.fnGetEnd());
            m_Polyline.fnAddParam(0, part.m_dLow, part.m_dHigh);
        }
    }
    void fnAppendAll(int count) {
        auto& vertices = m_Polyline.m_Vertices;
        auto& tags = m_Polyline.m_Tags;
        auto& params = m_Polyline.m_Params;
        if (vertices.IsEmpty())
            vertices.Add(m_Start);
        // Each list is complete as far as it goes, should a later one find no memory.
        const int line = tags.GetSize();
        vertices.SetSize(line + 1 + count);
        for (int i = 0; i < count; ++i)
            vertices[line + 1 + i] = m_Parts[static_cast<std::size_t>(i)].fnGetEnd();
        tags.SetSize(line + count);
        params.SetSize(2 * (line + count));
        for (int i = 0; i < count; ++i) {
            const Part& part = m_Parts[static_cast<std::size_t>(i)];
            params[2 * (line + i)] = part.m_dLow;
            params[2 * (line + i) + 1] = part.m_dHigh;
        }
    }

    /// Sets the growth of the lists in segments; 0: the arrays' own rule.
    void fnSetGrowth(int segments) {
        m_Polyline.m_Vertices.SetSize(m_Polyline.m_Vertices.GetSize(), segments);
        m_Polyline.m_Tags.SetSize(m_Polyline.m_Tags.GetSize(), segments);
        m_Polyline.m_Params.SetSize(m_Polyline.m_Params.GetSize(), 2 * segments);
    }

    CqPolyline2D& m_Polyline;
    bool m_bDerived;
    CqPoint2D m_Start; ///< of the first part collected
    int m_nCount = 0;
    std::array<Part, kBlock> m_Parts;
};
