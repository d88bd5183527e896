#pragma once

#include "q32Base/platform/CqScreenService.h"
#include "q32Base/platform/Export.h"

#include <cstdint>
#include <map>
#include <utility>
#include <vector>

/// An exact set of pixels, stored as bands of rows with the same sorted spans. Equal neighbouring
/// bands are merged only on reading, so that subtracting one run after another of a picture stays
/// cheap: each step costs a look-up of its band and a change at one position in it.
class Q32_API CqSoftwareRegion : public CqRegionObject {
public:
    /// From `first` to `second`, exclusive.
    using Span = std::pair<LONG, LONG>;
    /// Those of one band, in order, neither overlapping nor touching.
    using Spans = std::vector<Span>;

    /// The pixels of a rectangle; none if it is empty or inverted.
    explicit CqSoftwareRegion(const RECT& rect);

    bool fnCombine(const CqRegionObject& a, const CqRegionObject& b, int mode) override;
    std::vector<RECT> fnGetRects() const override;
    /// Whether a pixel is in the set.
    bool fnContains(LONG x, LONG y) const;

    /// Spans written or moved so far by combinations of all regions: a measure of work independent
    /// of time. From any thread.
    static std::uint64_t fnGetSpanWork();

private:
    struct Band {
        LONG m_nBottom;
        Spans m_Spans;
    };
    /// Bands by their top row, without overlap. A band may be without spans.
    using Bands = std::map<LONG, Band>;

    Q32_LOCAL static Bands fnFromRects(const std::vector<RECT>& rects);
    Q32_LOCAL static Bands fnMerge(const Bands& a, const Bands& b, int mode);
    Q32_LOCAL void fnSplitAt(LONG y);
    Q32_LOCAL void fnSubtractRect(LONG top, LONG bottom, Span span);

    Bands m_Bands;
};
