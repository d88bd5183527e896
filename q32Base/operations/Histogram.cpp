#include "q32Base/operations/Histogram.h"

#include "q32Base/framework/Exceptions.h"
#include "q32Base/image/CqImage.h"
#include "q32Base/image/CqMask.h"
#include "q32Base/image/PixelAccess.h"
#include "q32Base/operations/BandWalk_p.h"
#include "q32Base/operations/PlacedMask_p.h"
#include "q32Base/pixels/PixelConversion.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <optional>

namespace {

constexpr double kHistogramPixelTime = 1.2; ///< nanoseconds

/// Counts runs of pixels. Pixels take turns among several sets of tables: a value that repeats
/// would otherwise wait for the store of its last count. No count overflows, since an image has
/// fewer than 2^32 pixels.
class Tally {
public:
    /// A pixel is a palette index, red, green and blue, or alpha, red, green and blue.
    void fnCount(const unsigned char* pixels, std::size_t count, std::size_t bytes) {
        switch (bytes) {
        case 1:
            return fnCountRun<1>(pixels, count);
        case 3:
            return fnCountRun<3>(pixels, count);
        default:
            return fnCountRun<4>(pixels, count);
        }
    }

    /// The result for pixels that were colours.
    CqHistogram fnGetColors() const {
        CqHistogram sum;
        for (std::size_t i = 0; i < 256; ++i) {
            sum.m_nRed[i] = fnSum(0, i);
            sum.m_nGreen[i] = fnSum(1, i);
            sum.m_nBlue[i] = fnSum(2, i);
            sum.m_nLuminance[i] = fnSum(3, i);
            sum.m_nPixels += sum.m_nRed[i];
        }
        return sum;
    }

    /// The result for pixels that were indices.
    CqHistogram fnGetColors(const RGBQUAD* palette) const {
        CqHistogram sum;
        for (std::size_t i = 0; i < 256; ++i) {
            const RGBQUAD& color = palette[i];
            const std::uint64_t count = fnSum(0, i);
            sum.m_nRed[color.rgbRed] += count;
            sum.m_nGreen[color.rgbGreen] += count;
            sum.m_nBlue[color.rgbBlue] += count;
            sum.m_nLuminance[q32::fnGreyOf(color.rgbRed, color.rgbGreen, color.rgbBlue)] += count;
            sum.m_nPixels += count;
        }
        return sum;
    }

private:
    static constexpr std::size_t kSets = 4;
    using Table = std::uint32_t[256];

    template <std::size_t Bytes>
    void fnCountRun(const unsigned char* pixels, std::size_t count) {
        for (; count >= kSets; count -= kSets, pixels += kSets * Bytes) {
            fnCountPixel<Bytes>(m_Sets[0], pixels);
            fnCountPixel<Bytes>(m_Sets[1], pixels + Bytes);
            fnCountPixel<Bytes>(m_Sets[2], pixels + 2 * Bytes);
            fnCountPixel<Bytes>(m_Sets[3], pixels + 3 * Bytes);
        }
        for (; count > 0; --count, pixels += Bytes)
            fnCountPixel<Bytes>(m_Sets[0], pixels);
    }

    template <std::size_t Bytes>
    static void fnCountPixel(Table* tables, const unsigned char* pixel) {
        if constexpr (Bytes == 1) {
            ++tables[0][*pixel];
        } else {
            const std::uint32_t one = Bytes == 3 || pixel[0] != 0 ? 1 : 0;
            const unsigned char* color = pixel + (Bytes - 3);
            tables[0][color[0]] += one;
            tables[1][color[1]] += one;
            tables[2][color[2]] += one;
            tables[3][q32::fnGreyOf(color[0], color[1], color[2])] += one;
        }
    }

    std::uint64_t fnSum(std::size_t channel, std::size_t value) const {
        std::uint64_t sum = 0;
        for (const auto& set : m_Sets)
            sum += set[channel][value];
        return sum;
    }

    Table m_Sets[kSets][4] = {};
};

/// Counts pieces of one image. Pixels of 4 and 16 bits are converted first, and those of a mask are
/// collected first.
class PieceTally {
public:
    PieceTally(const CqImage& image, const CqMask* mask, const CPoint& maskPlace)
        : m_Map(*image.TileMap), m_Reader(image, fnIsCounted(m_Map) ? PIXEL_STORED : PIXEL_ARGB32),
          m_MaskPlace(maskPlace) {
        if (mask)
            m_MaskReader.emplace(*mask, PIXEL_STORED);
    }

    void fnCount(const q32::TilePiece& piece) {
        const auto width = static_cast<std::size_t>(piece.m_rect.Width());
        const auto height = static_cast<std::size_t>(piece.m_rect.Height());
        if (!fnIsCounted(m_Map) || m_MaskReader) {
            for (LONG y = piece.m_rect.top; y < piece.m_rect.bottom; ++y)
                fnCountRow(static_cast<std::uint32_t>(piece.m_rect.left),
                           static_cast<std::uint32_t>(y), width);
        } else if (piece.m_nStride == width * m_Map.BytesPerPixel) {
            m_Tally.fnCount(piece.m_pPixels, width * height, m_Map.BytesPerPixel);
        } else {
            for (std::size_t row = 0; row < height; ++row)
                m_Tally.fnCount(piece.m_pPixels + row * piece.m_nStride, width,
                                m_Map.BytesPerPixel);
        }
    }

    CqHistogram fnGetColors() const {
        return m_Map.BitCount == 8 ? m_Tally.fnGetColors(m_Map.Palette.get())
                                   : m_Tally.fnGetColors();
    }

private:
    static constexpr std::size_t kChunk = 256;

    /// Whether pixels are counted as they are stored.
    static bool fnIsCounted(const CqTileMap& map) {
        return map.BitCount == 8 || map.BitCount >= 24;
    }

    void fnCountRow(std::uint32_t x, std::uint32_t y, std::size_t width) {
        unsigned char pixels[4 * kChunk];
        const std::size_t bytes = m_Reader.fnGetPixelBytes();
        for (std::size_t done = 0; done < width; done += kChunk) {
            const auto part = static_cast<std::uint32_t>(std::min(kChunk, width - done));
            const auto at = static_cast<std::uint32_t>(x + done);
            if (!m_Reader.fnReadRow(at, y, part, pixels))
                AfxThrowMemoryException(); // pixels were lost
            m_Tally.fnCount(pixels, m_MaskReader ? fnSelect(at, y, part, pixels, bytes) : part,
                            bytes);
        }
    }

    /// Moves the selected pixels to the front, and returns their count.
    std::size_t fnSelect(std::uint32_t x, std::uint32_t y, std::uint32_t count,
                         unsigned char* pixels, std::size_t bytes) const {
        unsigned char weights[kChunk];
        if (!m_MaskReader->fnReadRow(
                static_cast<std::uint32_t>(static_cast<LONG>(x) - m_MaskPlace.x),
                static_cast<std::uint32_t>(static_cast<LONG>(y) - m_MaskPlace.y), count, weights))
            AfxThrowMemoryException(); // pixels of the mask were lost
        std::size_t selected = 0;
        for (std::size_t i = 0; i < count; ++i) {
            std::memmove(pixels + selected * bytes, pixels + i * bytes, bytes);
            selected += weights[i] >> 7;
        }
        return selected;
    }

    const CqTileMap& m_Map;
    CqPixelReader m_Reader;
    std::optional<CqPixelReader> m_MaskReader;
    CPoint m_MaskPlace;
    Tally m_Tally;
};

void fnAdd(CqHistogram& sum, const CqHistogram& part) {
    for (std::size_t i = 0; i < 256; ++i) {
        sum.m_nRed[i] += part.m_nRed[i];
        sum.m_nGreen[i] += part.m_nGreen[i];
        sum.m_nBlue[i] += part.m_nBlue[i];
        sum.m_nLuminance[i] += part.m_nLuminance[i];
    }
    sum.m_nPixels += part.m_nPixels;
}

} // namespace

bool q32CountHistogram(const CqImage& image, const CRect* rect, const CqMask* mask,
                       CqHistogram& histogram, CqProgressDisplay* progress) {
    if (!image.TileMap || (mask && mask->TileMap && mask->BitCount != 8))
        return false;
    const CqTileMap& map = *image.TileMap;
    CRect inside = q32::fnWholeRect(map);
    bool any = !rect || inside.IntersectRect(*rect, q32::fnWholeRect(map));
    if (any && mask)
        any = inside.IntersectRect(CRect(inside), q32::PlacedMask(*mask).m_rect);
    if (!any) {
        histogram = CqHistogram();
        return true;
    }
    const q32::TileGrid grid(inside, kHistogramPixelTime);
    q32::PerWorker<PieceTally> tallies(grid.fnGetParallel(), image, mask,
                                       mask ? mask->m_rectBound.TopLeft() : CPoint());
    if (!q32::fnForEachBand(map, inside, kHistogramPixelTime, progress,
                            [&](std::uint32_t worker, const q32::TilePiece& piece) {
                                tallies[worker].fnCount(piece);
                            }))
        return false;
    map.fnRequirePixels();
    CqHistogram sum;
    tallies.fnForEach([&](const PieceTally& tally) { fnAdd(sum, tally.fnGetColors()); });
    histogram = sum;
    return true;
}
