/// @file
/// The filter's integer sums of adjacent samples of one row, in place: no transposition is needed.
#pragma once

#include "q32Base/kernels/QuadList_p.h"

#include <cstddef>
#include <cstdint>

namespace q32 {

/// The samples that are summed together.
inline constexpr std::size_t kLineGroup = 16;
/// Groups are complete: their number is a multiple of this one.
inline constexpr std::size_t kLineBlock = 4;

/// Bytes that may be read from the first one of a group on, for each quad.
constexpr std::size_t fnLineWindow(bool isWide) {
    return isWide ? 128 : 64;
}

/// Where adjacent samples of the target take the four samples of their first quads from: bytes
/// counted from the group's first one. Those of the next quads lie four pixels further on.
struct LineGroup {
    std::uint8_t m_Places[4 * kLineGroup];
    std::int32_t m_Bias[kLineGroup];
};

/// The weights of a quad for each sample of a group; see QuadWeights.
struct LineWeights {
    std::uint32_t m_High[kLineGroup];
    std::uint32_t m_Middle[kLineGroup];
    std::uint32_t m_Low[kLineGroup];
};

/// What decides whether all entries of a sample are equal, and what they add up to then.
struct LineFlats {
    std::uint8_t m_Places[4 * kLineGroup]; ///< as those of the group, from the list's first pixel
    std::uint8_t m_Last[4 * kLineGroup];   ///< pixels of the list less 1, the same for each quad
    std::uint8_t m_Most[kLineGroup];       ///< see ContribList::m_nFlatMax
};

/// The sums of a row. Group g has the samples from 16 g on, those of all channels of a pixel one
/// after another.
struct LineSums {
    const LineGroup* m_pGroups;
    const LineWeights* m_pWeights; ///< m_nQuads for each group
    const LineFlats* m_pFlats;     ///< null: equal entries are summed like others
    const std::uint32_t* m_pFirst; ///< the first byte of the source's row, for each group
    const QuadList* m_pLists;      ///< of each pixel, for sums of doubles
    std::uint32_t m_nQuads;
    std::uint32_t m_nFlatQuads;
    std::uint32_t m_nChannels;
    std::uint32_t m_nErrorBound; ///< the largest of all lists; 0: no sum needs the doubles
    bool m_bWide;                ///< whether places reach 128 instead of 64
};

/// Rows that lie at equal distances, and where their sums go.
struct LineRows {
    const std::uint8_t* m_pSamples; ///< the first row, from byte m_nOrigin on
    std::size_t m_nOrigin;
    std::size_t m_nStride;
    std::uint8_t* m_pTarget;
    std::size_t m_nTargetStride;
    std::size_t m_nRows;
};

} // namespace q32
