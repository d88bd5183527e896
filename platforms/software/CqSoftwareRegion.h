#pragma once

#include "q32Base/platform/CqScreenService.h"
#include "q32Base/platform/Export.h"

#include <cstdint>
#include <map>
#include <utility>
#include <vector>

/// An exact set of pixels, kept as bands of rows with the same sorted spans. Bands that have become
/// equal are put together only on reading, so that taking one run after another out of a picture
/// stays cheap: the cost of such a step is a look-up of its band and a change at one place in it.
class Q32_API CqSoftwareRegion : public CqRegionObject {
public:
    /// From `first` up to, but without, `second`.
    using Span = std::pair<LONG, LONG>;
    using Spans = std::vector<Span>;

    explicit CqSoftwareRegion(const RECT& rect);

    bool fnCombine(const CqRegionObject& a, const CqRegionObject& b, int mode) override;
    std::vector<RECT> fnGetRects() const override;
    bool fnContains(LONG x, LONG y) const;

    /// Spans that combinations of all regions have written or moved so far: the work, free of any
    /// clock. Any thread may ask.
    static std::uint64_t fnGetSpanWork();

private:
    struct Band {
        LONG m_nBottom;
        Spans m_Spans;
    };
    /// Rows by their top; never overlapping. A band may be without spans.
    using Bands = std::map<LONG, Band>;

    static Bands fnFromRects(const std::vector<RECT>& rects);
    static Bands fnMerge(const Bands& a, const Bands& b, int mode);
    void fnSplitAt(LONG y);
    void fnSubtractRect(LONG top, LONG bottom, Span span);

    Bands m_Bands;
};
