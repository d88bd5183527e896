#include "q32Base/operations/Blend.h"

#include "q32Base/framework/Exceptions.h"
#include "q32Base/image/CqImage.h"
#include "q32Base/image/CqMask.h"
#include "q32Base/image/PixelAccess.h"
#include "q32Base/operations/BandWalk_p.h"
#include "q32Base/operations/ImageStorage_p.h"
#include "q32Base/operations/PlacedMask_p.h"
#include "q32Base/pixels/PixelConversion.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>

namespace {

constexpr double kBlendPixelTime = 4.0; ///< nanoseconds

/// A product of two bytes divided by 255, rounded to nearest; exact up to 65535.
constexpr unsigned int fnDiv255(unsigned int product) {
    const unsigned int raised = product + 128;
    return (raised + (raised >> 8)) >> 8;
}

constexpr unsigned char fnMix(unsigned int over, unsigned int under, unsigned int weight) {
    return static_cast<unsigned char>(fnDiv255(over * weight + under * (255 - weight)));
}

// Runs of one depth: `over` has alpha, red, green and blue, `weights` are final.

void fnBlend8(const unsigned char* over, unsigned char* under, const unsigned char* weights,
              std::size_t count) {
    for (std::size_t i = 0; i < count; ++i, over += 4)
        under[i] = fnMix(q32::fnGreyOf(over[1], over[2], over[3]), under[i], weights[i]);
}

void fnBlend24(const unsigned char* over, unsigned char* under, const unsigned char* weights,
               std::size_t count) {
    for (std::size_t i = 0; i < count; ++i, over += 4, under += 3)
        for (std::size_t c = 0; c < 3; ++c)
            under[c] = fnMix(over[c + 1], under[c], weights[i]);
}

/// Mixes two colours by shares that add up to a `sum` above 0.
void fnMixColors(const unsigned char* over, unsigned int share, unsigned char* under,
                 unsigned int rest, unsigned int sum) {
    for (std::size_t c = 1; c < 4; ++c)
        under[c] = static_cast<unsigned char>((over[c] * share + under[c] * rest + sum / 2) / sum);
}

void fnCover32(const unsigned char* over, unsigned char* under, const unsigned char* weights,
               std::size_t count) {
    for (std::size_t i = 0; i < count; ++i, over += 4, under += 4) {
        const unsigned int weight = weights[i];
        if (weight == 0)
            continue;
        const unsigned int rest = under[0] * (255 - weight);
        fnMixColors(over, 255 * weight, under, rest, 255 * weight + rest);
        under[0] = static_cast<unsigned char>(weight + fnDiv255(rest));
    }
}

void fnReplace32(const unsigned char* over, unsigned char* under, const unsigned char* weights,
                 std::size_t count) {
    for (std::size_t i = 0; i < count; ++i, over += 4, under += 4) {
        const unsigned int weight = weights[i];
        if (weight == 0)
            continue;
        const unsigned int share = over[0] * weight;
        const unsigned int rest = under[0] * (255 - weight);
        if (share + rest == 0)
            std::copy_n(over + 1, 3, under + 1);
        else
            fnMixColors(over, share, under, rest, share + rest);
        under[0] = static_cast<unsigned char>(fnDiv255(share + rest));
    }
}

/// Blends the source over pieces of the target.
class Blending {
public:
    /// @param shift  from the source's coordinates to the target's
    Blending(const CqImage& source, const CqTileMap& target, const CPoint& shift,
             const CqBlendParam& param)
        : m_Source(source, PIXEL_ARGB32), m_Shift(shift), m_nOpacity(param.m_nOpacity),
          m_bReplace(param.m_eMode == BLEND_REPLACE), m_nBytes(target.BytesPerPixel),
          m_fnRun(m_nBytes == 1   ? fnBlend8
                  : m_nBytes == 3 ? fnBlend24
                                  : (m_bReplace ? fnReplace32 : fnCover32)) {
        if (!param.m_pMask)
            return;
        m_Mask.emplace(*param.m_pMask, PIXEL_STORED);
        m_MaskPlace = param.m_pMask->m_rectBound.TopLeft();
    }

    void fnBlend(const q32::TilePiece& piece) const {
        const auto width = static_cast<std::size_t>(piece.m_rect.Width());
        unsigned char* row = piece.m_pPixels;
        for (LONG y = piece.m_rect.top; y < piece.m_rect.bottom; ++y, row += piece.m_nStride)
            for (std::size_t x = 0; x < width; x += kChunk)
                fnBlendRun(piece.m_rect.left + static_cast<LONG>(x), y, row + x * m_nBytes,
                           std::min(kChunk, width - x));
    }

private:
    static constexpr std::size_t kChunk = 128;

    void fnBlendRun(LONG x, LONG y, unsigned char* target, std::size_t count) const {
        unsigned char over[4 * kChunk];
        unsigned char weights[kChunk];
        if (!fnRead(m_Source, x - m_Shift.x, y - m_Shift.y, count, over) ||
            (m_Mask && !fnRead(*m_Mask, x - m_MaskPlace.x, y - m_MaskPlace.y, count, weights)))
            AfxThrowMemoryException(); // pixels were lost
        if (!m_Mask)
            std::fill_n(weights, count, static_cast<unsigned char>(255));
        for (std::size_t i = 0; i < count; ++i) {
            const unsigned int weight = fnDiv255(weights[i] * m_nOpacity);
            weights[i] =
                static_cast<unsigned char>(m_bReplace ? weight : fnDiv255(weight * over[4 * i]));
        }
        m_fnRun(over, target, weights, count);
    }

    static bool fnRead(const CqPixelReader& reader, LONG x, LONG y, std::size_t count,
                       unsigned char* out) {
        return reader.fnReadRow(static_cast<std::uint32_t>(x), static_cast<std::uint32_t>(y),
                                static_cast<std::uint32_t>(count), out);
    }

    CqPixelReader m_Source;
    std::optional<CqPixelReader> m_Mask;
    CPoint m_Shift;
    CPoint m_MaskPlace;
    unsigned int m_nOpacity;
    bool m_bReplace;
    std::size_t m_nBytes;
    void (*m_fnRun)(const unsigned char* over, unsigned char* under, const unsigned char* weights,
                    std::size_t count);
};

} // namespace

bool q32Blend(const CqImage& source, const CRect* rect, CqImage& target, int x, int y,
              const CqBlendParam& param, CqProgressDisplay* progress) {
    const CqMask* const mask = param.m_pMask;
    if (!source.TileMap || !target.TileMap || source.TileMap == target.TileMap ||
        !q32::fnHasBrightness(*target.TileMap) || (mask && mask->TileMap && mask->BitCount != 8))
        return false;
    const CqTileMap& to = *target.TileMap;
    const CRect block = rect ? *rect : q32::fnWholeRect(*source.TileMap);
    q32::PlacedSpan columns{block.left, block.right, x};
    q32::PlacedSpan rows{block.top, block.bottom, y};
    if (!columns.fnClip(source.Width, to.Width) || !rows.fnClip(source.Height, to.Height))
        return true;
    CRect place(CPoint(columns.m_nPlace, rows.m_nPlace),
                CSize(columns.m_nEnd - columns.m_nFirst, rows.m_nEnd - rows.m_nFirst));
    if (mask && !place.IntersectRect(CRect(place), q32::PlacedMask(*mask).m_rect))
        return true;
    const CPoint shift(columns.m_nPlace - columns.m_nFirst, rows.m_nPlace - rows.m_nFirst);
    const Blending blending(source, to, shift, param);
    const bool done = q32::fnForEachBand(
        to, place, kBlendPixelTime, progress,
        [&](std::uint32_t, const q32::TilePiece& piece) { blending.fnBlend(piece); });
    to.fnRequirePixels();
    return done;
}
