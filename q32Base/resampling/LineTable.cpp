#include "q32Base/framework/Memory.h"
#include "q32Base/resampling/ContribTable_p.h"
#include "q32Base/resampling/LineTable_p.h"
#include "q32Base/resampling/QuadTable_p.h"

#include <algorithm>
#include <cassert>
#include <new>
#include <utility>

namespace q32 {
namespace {

constexpr std::size_t kTableLine = 64; ///< of the cache: loads that cross one take twice as long

/// Four places, a pixel apart.
std::uint32_t fnPlaces(std::uint32_t first, std::uint32_t channels) {
    return first * 0x01010101 + channels * 0x03020100;
}

void fnPut(std::uint8_t* to, std::uint32_t places) {
    for (unsigned i = 0; i < 4; ++i)
        to[i] = static_cast<std::uint8_t>(places >> 8 * i);
}

} // namespace

LineTable::LineTable(const QuadTable& quads, std::uint32_t count, std::uint32_t channels)
    : m_nSamples(std::size_t{count} * channels) {
    m_Sums.m_pLists = &quads[0];
    m_Sums.m_nChannels = channels;
    m_bComplete = fnFindWindows(quads, count);
    if (!m_bComplete)
        return;
    fnAllocate();
    bool flats = m_pFlats != nullptr;
    for (std::size_t group = 0; group < fnGetGroups(); ++group) {
        fnSetGroup(quads, group);
        flats = flats && fnSetFlats(quads, group);
    }
    m_Sums.m_pFlats = flats ? m_pFlats.get() : nullptr;
}

std::size_t LineTable::fnGetReach() const {
    return fnLineWindow(m_Sums.m_bWide) +
           std::size_t{4} * m_Sums.m_nChannels * std::max(m_Sums.m_nQuads, m_Sums.m_nFlatQuads);
}

std::size_t LineTable::fnGetGroups() const {
    constexpr std::size_t kSamples = kLineGroup * kLineBlock;
    return (m_nSamples + kSamples - 1) / kSamples * kLineBlock;
}

/// Finds the first byte of each group, and what all have in common. False if a window would be too
/// small.
bool LineTable::fnFindWindows(const QuadTable& quads, std::uint32_t count) {
    const std::uint32_t channels = m_Sums.m_nChannels;
    m_pFirst.reset(fnNewArray<std::uint32_t>(fnGetGroups()));
    for (std::uint32_t x = 0; x < count; ++x) {
        const QuadList& list = quads[x];
        m_Sums.m_nQuads = std::max(m_Sums.m_nQuads, static_cast<std::uint32_t>(list.m_nQuads));
        m_Sums.m_nFlatQuads = std::max(
            m_Sums.m_nFlatQuads, static_cast<std::uint32_t>(list.m_nMost - list.m_nLeast) / 4 + 1);
        m_Sums.m_nErrorBound = std::max(m_Sums.m_nErrorBound, list.m_nErrorBound);
    }
    std::uint32_t window = 0;
    for (std::size_t group = 0; group * kLineGroup < m_nSamples; ++group) {
        std::uint32_t first = 0xFFFFFFFF;
        std::uint32_t end = 0;
        for (std::size_t at = group * kLineGroup;
             at < std::min((group + 1) * kLineGroup, m_nSamples); ++at) {
            const QuadList& list = quads[static_cast<std::uint32_t>(at / channels)];
            const auto channel = static_cast<std::uint32_t>(at % channels);
            first = std::min(first, static_cast<std::uint32_t>(list.m_nLeast) * channels + channel);
            end = std::max(end, (static_cast<std::uint32_t>(list.m_nFirst) + 3) * channels +
                                    channel + 1);
        }
        m_pFirst[group] = first;
        window = std::max(window, end - first);
    }
    // Groups without samples read what the last one does.
    const std::size_t last = (m_nSamples - 1) / kLineGroup;
    std::fill(m_pFirst.get() + last + 1, m_pFirst.get() + fnGetGroups(), m_pFirst[last]);
    m_Sums.m_pFirst = m_pFirst.get();
    m_Sums.m_bWide = window > fnLineWindow(false);
    return window <= fnLineWindow(true);
}

void LineTable::fnAllocate() {
    static_assert(sizeof(LineGroup) % kTableLine == 0 && sizeof(LineWeights) % kTableLine == 0);
    const std::size_t groups = fnGetGroups();
    const std::size_t weights = groups * m_Sums.m_nQuads;
    std::size_t space = kTableLine - 1 + groups * sizeof(LineGroup) + weights * sizeof(LineWeights);
    m_pBlock.reset(fnNewArray<unsigned char>(space));
    void* at = m_pBlock.get();
    at = std::align(kTableLine, groups * sizeof(LineGroup), at, space);
    assert(at);
    m_pGroups = new (at) LineGroup[groups]();
    m_pWeights =
        new (static_cast<unsigned char*>(at) + groups * sizeof(LineGroup)) LineWeights[weights]();
    m_Sums.m_pGroups = m_pGroups;
    m_Sums.m_pWeights = m_pWeights;
    constexpr std::uint32_t kMaxFlatQuads = 64; // pixels are counted in bytes
    if (m_Sums.m_nErrorBound != 0 && m_Sums.m_nFlatQuads < kMaxFlatQuads) {
        m_pFlats.reset(fnNewArray<LineFlats>(groups));
        std::fill_n(m_pFlats.get(), groups, LineFlats{});
    }
}

void LineTable::fnSetGroup(const QuadTable& quads, std::size_t group) {
    const std::uint32_t channels = m_Sums.m_nChannels;
    LineWeights* const weights = m_pWeights + group * m_Sums.m_nQuads;
    for (std::size_t i = 0; i < kLineGroup && group * kLineGroup + i < m_nSamples; ++i) {
        const std::size_t at = group * kLineGroup + i;
        const QuadList& list = quads[static_cast<std::uint32_t>(at / channels)];
        const auto first = static_cast<std::uint32_t>(
            static_cast<std::uint32_t>(list.m_nFirst) * channels + at % channels);
        fnPut(m_pGroups[group].m_Places + 4 * i, fnPlaces(first - m_pFirst[group], channels));
        m_pGroups[group].m_Bias[i] = list.m_nBias;
        for (std::int32_t quad = 0; quad < list.m_nQuads; ++quad) {
            weights[quad].m_High[i] = list.m_pWeights[quad].m_nHigh;
            weights[quad].m_Middle[i] = list.m_pWeights[quad].m_nMiddle;
            weights[quad].m_Low[i] = list.m_pWeights[quad].m_nLow;
        }
    }
}

/// False if what equal entries of a list add up to is unknown.
bool LineTable::fnSetFlats(const QuadTable& quads, std::size_t group) {
    const std::uint32_t channels = m_Sums.m_nChannels;
    LineFlats& flats = m_pFlats[group];
    for (std::size_t i = 0; i < kLineGroup && group * kLineGroup + i < m_nSamples; ++i) {
        const std::size_t at = group * kLineGroup + i;
        const QuadList& list = quads[static_cast<std::uint32_t>(at / channels)];
        // A list whose own sums are exact may still be uncertain by the bound of another.
        const std::int16_t most =
            list.m_nErrorBound != 0 ? list.m_nFlatMax : fnFindFlatMax(*list.m_pExact);
        if (most < 0)
            return false;
        const auto least = static_cast<std::uint32_t>(
            static_cast<std::uint32_t>(list.m_nLeast) * channels + at % channels);
        fnPut(flats.m_Places + 4 * i, fnPlaces(least - m_pFirst[group], channels));
        std::fill_n(flats.m_Last + 4 * i, 4,
                    static_cast<std::uint8_t>(list.m_nMost - list.m_nLeast));
        flats.m_Most[i] = static_cast<std::uint8_t>(most);
    }
    return true;
}

std::unique_ptr<LineTable> fnMakeLines(const QuadTable* quads, std::uint32_t count,
                                       std::uint32_t channels) {
    if (!quads || channels == 0)
        return nullptr;
    std::unique_ptr<LineTable> lines(fnNew<LineTable>(*quads, count, channels));
    return lines->fnIsComplete() ? std::move(lines) : nullptr;
}

} // namespace q32
