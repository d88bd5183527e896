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
            const int kept = m_eHow == Combine::SUBTRACT ? here & ~byte : here | byte;
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

} // namespace

bool fnCombineMasks(CqMask& selection, CqMask& mask, Combine how, CqProgressDisplay* progress) {
    CqMask made;
    CRect place;
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
            made.fnAlloc(static_cast<unsigned int>(place.Width()),
                         static_cast<unsigned int>(place.Height()));
            if (!fnWritePixels(rows, place, made, &writing))
                return false;
        }
    }
    selection.fnSwapBuf(made);
    selection.m_rectBound = place;
    return true;
}

} // namespace darkroom
