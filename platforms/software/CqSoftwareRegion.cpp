#include "platforms/software/CqSoftwareRegion.h"

#include <algorithm>
#include <atomic>
#include <cassert>

namespace {

using Span = CqSoftwareRegion::Span;
using Spans = CqSoftwareRegion::Spans;

std::atomic<std::uint64_t> theSpanWork{0};

void fnCountWork(std::size_t spans) {
    theSpanWork.fetch_add(spans, std::memory_order_relaxed);
}

bool fnIsIn(bool a, bool b, int mode) {
    switch (mode) {
    case RGN_AND:
        return a && b;
    case RGN_OR:
        return a || b;
    case RGN_XOR:
        return a != b;
    default:
        return a && !b; // RGN_DIFF
    }
}

/// Combines two sets of spans by a walk over all their ends.
Spans fnCombineSpans(const Spans& a, const Spans& b, int mode) {
    Spans result;
    std::size_t endA = 0;
    std::size_t endB = 0;
    const auto at = [](const Spans& spans, std::size_t end) {
        return end % 2 == 0 ? spans[end / 2].first : spans[end / 2].second;
    };
    bool inside = false;
    while (endA < 2 * a.size() || endB < 2 * b.size()) {
        const bool moreA = endA < 2 * a.size();
        const bool moreB = endB < 2 * b.size();
        const LONG x = !moreB                                ? at(a, endA)
                       : !moreA || at(b, endB) < at(a, endA) ? at(b, endB)
                                                             : at(a, endA);
        // Adjacent spans have two ends at the same position.
        while (endA < 2 * a.size() && at(a, endA) == x)
            ++endA;
        while (endB < 2 * b.size() && at(b, endB) == x)
            ++endB;
        const bool now = fnIsIn(endA % 2 != 0, endB % 2 != 0, mode);
        if (now && !inside)
            result.emplace_back(x, x);
        else if (!now && inside)
            result.back().second = x;
        inside = now;
    }
    assert(!inside); // neither operand goes on without an end
    fnCountWork(a.size() + b.size() + result.size());
    return result;
}

/// Subtracts a span from sorted spans. There must be capacity for one more, so that nothing can
/// fail.
void fnSubtractSpan(Spans& spans, Span span) {
    assert(span.first < span.second && spans.size() < spans.capacity());
    // Callers mostly go from left to right: then it is the last span, and nothing moves.
    auto at = !spans.empty() && spans.back().first <= span.first
                  ? spans.end() - 1
                  : std::lower_bound(spans.begin(), spans.end(), span.first,
                                     [](const Span& one, LONG left) { return one.second <= left; });
    if (at == spans.end() || at->first >= span.second || at->second <= span.first)
        return;
    if (at->first < span.first && at->second > span.second) {
        const Span right(span.second, at->second);
        at->second = span.first;
        fnCountWork(static_cast<std::size_t>(spans.end() - at));
        spans.insert(at + 1, right);
        return;
    }
    if (at->first < span.first) {
        at->second = span.first;
        ++at;
    }
    auto end = at;
    while (end != spans.end() && end->second <= span.second)
        ++end;
    if (end != spans.end() && end->first < span.second)
        end->first = span.second;
    fnCountWork(static_cast<std::size_t>(spans.end() - at));
    spans.erase(at, end);
}

} // namespace

std::uint64_t CqSoftwareRegion::fnGetSpanWork() {
    return theSpanWork;
}

CqSoftwareRegion::CqSoftwareRegion(const RECT& rect) : m_Bands(fnFromRects({rect})) {}

CqSoftwareRegion::Bands CqSoftwareRegion::fnFromRects(const std::vector<RECT>& rects) {
    Bands bands;
    for (const RECT& rect : rects) {
        if (rect.left >= rect.right || rect.top >= rect.bottom)
            continue;
        Bands one;
        one.emplace(rect.top, Band{rect.bottom, {{rect.left, rect.right}}});
        bands = bands.empty() ? std::move(one) : fnMerge(bands, one, RGN_OR);
    }
    return bands;
}

CqSoftwareRegion::Bands CqSoftwareRegion::fnMerge(const Bands& a, const Bands& b, int mode) {
    std::vector<LONG> rows;
    for (const Bands* bands : {&a, &b})
        for (const auto& [top, band] : *bands) {
            rows.push_back(top);
            rows.push_back(band.m_nBottom);
        }
    std::sort(rows.begin(), rows.end());
    rows.erase(std::unique(rows.begin(), rows.end()), rows.end());

    Bands merged;
    static const Spans kNone;
    auto inA = a.begin();
    auto inB = b.begin();
    const auto spansAt = [](const Bands& bands, Bands::const_iterator& at, LONG y) -> const Spans& {
        while (at != bands.end() && at->second.m_nBottom <= y)
            ++at;
        return at != bands.end() && at->first <= y ? at->second.m_Spans : kNone;
    };
    for (std::size_t i = 0; i + 1 < rows.size(); ++i) {
        Spans spans = fnCombineSpans(spansAt(a, inA, rows[i]), spansAt(b, inB, rows[i]), mode);
        if (!spans.empty())
            merged.emplace_hint(merged.end(), rows[i], Band{rows[i + 1], std::move(spans)});
    }
    return merged;
}

void CqSoftwareRegion::fnSplitAt(LONG y) {
    auto at = m_Bands.lower_bound(y);
    if (at == m_Bands.begin() || (at != m_Bands.end() && at->first == y))
        return;
    --at;
    if (at->second.m_nBottom <= y)
        return;
    fnCountWork(at->second.m_Spans.size());
    m_Bands.emplace(y, Band{at->second.m_nBottom, at->second.m_Spans});
    at->second.m_nBottom = y;
}

void CqSoftwareRegion::fnSubtractRect(LONG top, LONG bottom, Span span) {
    // Splitting doesn't change the set, so neither does a failure up to the last loop.
    fnSplitAt(top);
    fnSplitAt(bottom);
    const auto first = m_Bands.lower_bound(top);
    const auto end = m_Bands.lower_bound(bottom);
    for (auto at = first; at != end; ++at) {
        Spans& spans = at->second.m_Spans;
        if (spans.size() == spans.capacity()) {
            fnCountWork(spans.size());
            spans.reserve(2 * spans.size() + 4);
        }
    }
    for (auto at = first; at != end; ++at)
        fnSubtractSpan(at->second.m_Spans, span);
}

bool CqSoftwareRegion::fnCombine(const CqRegionObject& a, const CqRegionObject& b, int mode) {
    if (mode < RGN_AND || mode > RGN_COPY)
        return false;
    const auto bandsOf = [](const CqRegionObject& region, Bands& room) -> const Bands& {
        if (const auto* own = dynamic_cast<const CqSoftwareRegion*>(&region))
            return own->m_Bands;
        return room = fnFromRects(region.fnGetRects());
    };
    Bands roomA;
    Bands roomB;
    const Bands& bandsB = bandsOf(b, roomB);
    if (mode == RGN_DIFF && &a == this && &b != this && bandsB.size() == 1 &&
        bandsB.begin()->second.m_Spans.size() == 1) {
        const auto& [top, band] = *bandsB.begin();
        fnSubtractRect(top, band.m_nBottom, band.m_Spans.front());
        return true;
    }
    const Bands& bandsA = bandsOf(a, roomA);
    m_Bands = mode == RGN_COPY ? Bands(bandsA) : fnMerge(bandsA, bandsB, mode);
    return true;
}

std::vector<RECT> CqSoftwareRegion::fnGetRects() const {
    std::vector<RECT> rects;
    const Spans* last = nullptr; // spans of the band above, whose rectangles end the list
    LONG lastBottom = 0;
    for (const auto& [top, band] : m_Bands) {
        if (band.m_Spans.empty())
            continue;
        if (last && lastBottom == top && *last == band.m_Spans) {
            for (std::size_t i = rects.size() - last->size(); i < rects.size(); ++i)
                rects[i].bottom = band.m_nBottom;
        } else {
            for (const auto& [left, right] : band.m_Spans)
                rects.push_back({left, top, right, band.m_nBottom});
            last = &band.m_Spans;
        }
        lastBottom = band.m_nBottom;
    }
    return rects;
}

bool CqSoftwareRegion::fnContains(LONG x, LONG y) const {
    auto at = m_Bands.upper_bound(y);
    if (at == m_Bands.begin())
        return false;
    --at;
    return y < at->second.m_nBottom &&
           std::any_of(at->second.m_Spans.begin(), at->second.m_Spans.end(),
                       [&](const Span& span) { return x >= span.first && x < span.second; });
}
