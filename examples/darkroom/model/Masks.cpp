#include "examples/darkroom/model/Masks.h"

#include "examples/darkroom/model/Progress.h"
#include "q32Base/image/CqMask.h"

#include <algorithm>
#include <cstring>
#include <vector>

namespace darkroom {

namespace {

/// Progress in percent once the result's rectangle is found.
constexpr unsigned int kBoundFound = 50;
/// Progress in percent once a mask has been scaled.
constexpr unsigned int kPlaced = 50;

/// The rectangle in which a mask has pixels.
CRect fnGetBound(const CqMask& mask) {
    return mask.TileMap && !mask.m_rectBound.IsRectEmpty() ? mask.m_rectBound : CRect(0, 0, 0, 0);
}

/// The rows of two masks combined.
class Combination {
public:
    Combination(CqMask& selection, CqMask& mask, Combine how)
        : m_Selection(selection), m_Mask(mask), m_eHow(how),
          m_OldBound(how == Combine::REPLACE ? CRect(0, 0, 0, 0) : fnGetBound(selection)),
          m_NewBound(fnGetBound(mask)) {
        if (how == Combine::SUBTRACT)
            m_Bound = m_OldBound;
        else
            m_Bound.UnionRect(m_OldBound, m_NewBound);
        m_Row.resize(static_cast<std::size_t>(m_Bound.Width()));
    }

    /// The rectangle that may hold pixels.
    const CRect& fnGetPlace() const { return m_Bound; }

    /// One row of that rectangle, from its left edge.
    const std::vector<unsigned char>& fnMakeRow(LONG y) {
        std::fill(m_Row.begin(), m_Row.end(), static_cast<unsigned char>(0));
        if (y >= m_OldBound.top && y < m_OldBound.bottom) {
            m_Selection.fnAccessLine(static_cast<unsigned int>(y - m_OldBound.top), &m_OldLine,
                                     true);
            std::memcpy(&m_Row[static_cast<std::size_t>(m_OldBound.left - m_Bound.left)],
                        m_OldLine.LineBuffer, static_cast<std::size_t>(m_OldBound.Width()));
        }
        if (y >= m_NewBound.top && y < m_NewBound.bottom) {
            m_Mask.fnAccessLine(static_cast<unsigned int>(y - m_NewBound.top), &m_NewLine, true);
            fnTakeIn(m_NewLine.LineBuffer);
        }
        return m_Row;
    }

private:
    /// @param row  of the mask
    void fnTakeIn(const unsigned char* row) {
        const LONG first = std::max(m_NewBound.left, m_Bound.left);
        const LONG end = std::min(m_NewBound.right, m_Bound.right);
        for (LONG x = first; x < end; ++x) {
            unsigned char& here = m_Row[static_cast<std::size_t>(x - m_Bound.left)];
            const int byte = row[x - m_NewBound.left];
            const int kept = m_eHow == Combine::SUBTRACT ? std::min<int>(here, 255 - byte)
                                                         : std::max<int>(here, byte);
            here = static_cast<unsigned char>(kept);
        }
    }

    CqMask& m_Selection;
    CqMask& m_Mask;
    const Combine m_eHow;
    const CRect m_OldBound;
    const CRect m_NewBound;
    CRect m_Bound;
    CqImageLine m_OldLine;
    CqImageLine m_NewLine;
    std::vector<unsigned char> m_Row;
};

/// Finds the smallest rectangle around all pixels of a combination. False when the user aborted.
bool fnFindPixels(Combination& rows, CRect& found, CqProgressDisplay* progress) {
    const CRect place = rows.fnGetPlace();
    found = CRect(place.right, place.bottom, place.left, place.top);
    for (LONG y = place.top; y < place.bottom; ++y) {
        const std::vector<unsigned char>& row = rows.fnMakeRow(y);
        const auto isSet = [](unsigned char byte) { return byte != 0; };
        const auto first = std::find_if(row.begin(), row.end(), isSet);
        if (first != row.end()) {
            const auto last = std::find_if(row.rbegin(), row.rend(), isSet);
            found.left = std::min(found.left, place.left + static_cast<LONG>(first - row.begin()));
            found.right =
                std::max(found.right, place.right - static_cast<LONG>(last - row.rbegin()));
            found.top = std::min(found.top, y);
            found.bottom = y + 1;
        }
        if (!fnGoOn(progress, y - place.top, place.Height()))
            return false;
    }
    return true;
}

/// Writes the pixels of a combination that lie in a rectangle. False when the user aborted.
bool fnWritePixels(Combination& rows, const CRect& place, CqMask& made,
                   CqProgressDisplay* progress) {
    CqImageLine line;
    const std::size_t offset = static_cast<std::size_t>(place.left - rows.fnGetPlace().left);
    for (LONG y = place.top; y < place.bottom; ++y) {
        const std::vector<unsigned char>& row = rows.fnMakeRow(y);
        made.fnAccessLine(static_cast<unsigned int>(y - place.top), &line, false);
        std::memcpy(line.LineBuffer, &row[offset], static_cast<std::size_t>(place.Width()));
        if (!fnGoOn(progress, y - place.top, place.Height()))
            return false;
    }
    return true;
}

/// The index of the nearest of `from` pixels for one of `to`.
LONG fnFindNearest(LONG index, LONG from, LONG to) {
    return static_cast<LONG>((2 * std::int64_t{index} + 1) * from / (2 * std::int64_t{to}));
}

/// Writes the part `seen` of a mask that is scaled into `place`. False when the user aborted.
bool fnScaleInto(CqMask& mask, const CRect& place, const CRect& seen, CqMask& out,
                 CqProgressDisplay* progress) {
    const CRect& bound = mask.m_rectBound;
    std::vector<LONG> columns;
    for (LONG x = seen.left; x < seen.right; ++x)
        columns.push_back(fnFindNearest(x - place.left, bound.Width(), place.Width()));
    CqImageLine from;
    CqImageLine to;
    for (LONG y = seen.top; y < seen.bottom; ++y) {
        const LONG row = fnFindNearest(y - place.top, bound.Height(), place.Height());
        mask.fnAccessLine(static_cast<unsigned int>(row), &from, true);
        out.fnAccessLine(static_cast<unsigned int>(y - seen.top), &to, false);
        for (std::size_t x = 0; x < columns.size(); ++x)
            to.LineBuffer[x] = from.LineBuffer[columns[x]];
        if (!fnGoOn(progress, y - seen.top, seen.Height()))
            return false;
    }
    return true;
}

} // namespace

bool fnCombineMasks(CqMask& selection, CqMask& mask, Combine how, CqMask& made,
                    CqProgressDisplay* progress) {
    CRect place;
    CqMask fresh;
    {
        // Two passes over all rows, so that nothing larger than the result is ever held.
        Combination rows(selection, mask, how);
        SpanProgress finding(progress, 0, kBoundFound);
        SpanProgress writing(progress, kBoundFound, 100);
        if (!fnFindPixels(rows, place, &finding))
            return false;
        if (place.IsRectEmpty()) {
            place = CRect(0, 0, 0, 0);
        } else {
            fresh.fnAlloc(static_cast<unsigned int>(place.Width()),
                          static_cast<unsigned int>(place.Height()));
            if (!fnWritePixels(rows, place, fresh, &writing))
                return false;
        }
    }
    made.fnSwapBuf(fresh);
    made.m_rectBound = place;
    return true;
}

bool fnInvertMask(CqMask& selection, unsigned int width, unsigned int height, CqMask& made,
                  CqProgressDisplay* progress) {
    CqMask all(width, height);
    all.fnFill(CqColor(255, 255, 255, 255), nullptr, false);
    return fnCombineMasks(all, selection, Combine::SUBTRACT, made, progress);
}

bool fnPlaceMask(CqMask& selection, const CRect& place, unsigned int width, unsigned int height,
                 CqMask& made, CqProgressDisplay* progress) {
    const CRect whole(0, 0, static_cast<LONG>(width), static_cast<LONG>(height));
    CRect seen;
    CqMask moved;
    CqMask none;
    if (seen.IntersectRect(place, whole)) {
        SpanProgress placing(progress, 0, kPlaced);
        moved.fnAlloc(static_cast<unsigned int>(seen.Width()),
                      static_cast<unsigned int>(seen.Height()));
        if (!fnScaleInto(selection, place, seen, moved, &placing))
            return false;
        moved.fnSetPos(seen.TopLeft());
    }
    SpanProgress combining(progress, kPlaced, 100);
    return fnCombineMasks(none, moved, Combine::REPLACE, made, &combining);
}

} // namespace darkroom
