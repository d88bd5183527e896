#include "q32Base/geometry/DigitalLine.h"

#include "q32Base/image/CqImage.h"
#include "q32Base/image/PixelBytes.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

// With L steps along the longer axis and h <= L along the other one, the walk keeps an error term
// that begins at 2h - L. At each step, if it isn't negative, the minor coordinate moves on and 2L
// goes off; then the major one moves on and 2h comes on. So before step k
//
//     minor steps  c(k) = floor((2hk + L) / 2L)
//     error term   e(k) = 2h - L + 2hk - 2L c(k)
//     c(k) >= c    from k = ceil(L (2c - 1) / 2h) on
//
// All products stay below 2^63, since L is at most 2^31.

namespace q32 {

namespace {

constexpr double kReach = 1073741824.0; ///< 2^30

std::int64_t fnRound(double value) {
    const double rounded = value + 0.5;
    return std::isnan(rounded) ? 0
                               : static_cast<std::int64_t>(std::clamp(rounded, -kReach, kReach));
}

/// Steps k for which start + sign k lies in 0 to size - 1, cut to first..last.
void fnClip(std::int64_t start, std::int64_t sign, std::int64_t size, std::int64_t& first,
            std::int64_t& last) {
    first = std::max(first, sign > 0 ? -start : start - (size - 1));
    last = std::min(last, sign > 0 ? size - 1 - start : start);
}

/// What moves along while pixels are written.
struct Stride {
    std::ptrdiff_t m_nMajor;
    std::ptrdiff_t m_nMinor;
    std::int64_t m_nRise; ///< 2h
    std::int64_t m_nFall; ///< 2L
};

/// Where a walk stands: bytes from the start of the run, and the error term.
struct Place {
    std::ptrdiff_t m_nAt;
    std::int64_t m_nError;

    void fnStep(const Stride& stride) {
        // All ones for a negative error: which way a line turns can't be predicted, so no branch.
        const std::int64_t straight = m_nError >> 63;
        m_nAt += stride.m_nMajor + (stride.m_nMinor & ~straight);
        m_nError += stride.m_nRise - (stride.m_nFall & ~straight);
    }
};

/// Writes `count` pixels from `a` on, and as many or one more from `b` on. Each walk waits for its
/// own last step; two of them fill each other's pauses.
template <std::size_t kBytes>
void fnPlot(unsigned char* target, const unsigned char* pixel, const Stride& stride, Place a,
            Place b, std::int64_t count, bool oneMore) {
    unsigned char bytes[kBytes];
    std::memcpy(bytes, pixel, kBytes);
    for (; count > 0; --count) {
        std::memcpy(target + a.m_nAt, bytes, kBytes);
        std::memcpy(target + b.m_nAt, bytes, kBytes);
        a.fnStep(stride);
        b.fnStep(stride);
    }
    if (oneMore)
        std::memcpy(target + b.m_nAt, bytes, kBytes);
}

/// Division by a number that stays, as a multiplication.
class Divisor {
public:
    explicit Divisor(std::int64_t divisor)
        : m_nDivisor(divisor), m_dInverse(1.0 / static_cast<double>(divisor)) {}

    /// Rounded down. `number` lies in 0 to 2^63 - 1; the quotient must stay below 2^40, so that it
    /// comes out of the multiplication wrong by 1 at most.
    std::int64_t fnQuotient(std::int64_t number) const {
        const auto rough = static_cast<std::int64_t>(static_cast<double>(number) * m_dInverse);
        const std::int64_t rest = number - rough * m_nDivisor;
        return rough + (rest >= m_nDivisor ? 1 : 0) - (rest < 0 ? 1 : 0);
    }

private:
    std::int64_t m_nDivisor;
    double m_dInverse;
};

} // namespace

/// One line, told along its longer axis.
struct DigitalLine::Walk {
    bool m_bSteep; ///< y is the longer axis
    std::int64_t m_nMajor;
    std::int64_t m_nMinor;
    std::int64_t m_nMajorStep;
    std::int64_t m_nMinorStep;
    std::int64_t m_nLength; ///< L
    std::int64_t m_nHeight; ///< h
    // Of a line without length or height no quotient but 0 is taken.
    Divisor m_ByLength = Divisor(std::max<std::int64_t>(2 * m_nLength, 1)); ///< by 2L
    Divisor m_ByHeight = Divisor(std::max<std::int64_t>(2 * m_nHeight, 1)); ///< by 2h

    std::int64_t fnMinorSteps(std::int64_t k) const {
        return m_ByLength.fnQuotient(2 * m_nHeight * k + m_nLength);
    }
    std::int64_t fnError(std::int64_t k, std::int64_t minorSteps) const {
        return 2 * m_nHeight - m_nLength + 2 * m_nHeight * k - 2 * m_nLength * minorSteps;
    }
    /// The first step at which `steps` minor steps have been taken; L + 1 if there is none.
    std::int64_t fnFirstWith(std::int64_t steps) const {
        if (steps <= 0)
            return 0;
        if (steps > m_nHeight)
            return m_nLength + 1;
        return m_ByHeight.fnQuotient(m_nLength * (2 * steps - 1) + 2 * m_nHeight - 1);
    }
    /// Position before step k.
    void fnPlace(std::int64_t k, std::int64_t minorSteps, int& x, int& y) const {
        const auto major = static_cast<int>(m_nMajor + m_nMajorStep * k);
        const auto minor = static_cast<int>(m_nMinor + m_nMinorStep * minorSteps);
        x = m_bSteep ? minor : major;
        y = m_bSteep ? major : minor;
    }
};

DigitalLine::DigitalLine(CqImage& image, const CqColor& color) : m_Image(image) {
    if (image.TileMap)
        fnWritePixel(*image.TileMap, m_Pixel, true, color);
}

void DigitalLine::fnDraw(const CqPoint2D& start, const CqPoint2D& end) const {
    fnDraw(fnRound(start.m_X), fnRound(start.m_Y), fnRound(end.m_X), fnRound(end.m_Y));
}

void DigitalLine::fnDraw(std::int64_t x0, std::int64_t y0, std::int64_t x1, std::int64_t y1) const {
    const std::int64_t width = std::abs(x1 - x0);
    const std::int64_t height = std::abs(y1 - y0);
    const std::int64_t right = x1 > x0 ? 1 : -1;
    const std::int64_t down = y1 > y0 ? 1 : -1;
    const Walk walk = width > height ? Walk{false, x0, y0, right, down, width, height}
                                     : Walk{true, y0, x0, down, right, height, width};
    const std::int64_t columns = m_Image.Width;
    const std::int64_t rows = m_Image.Height;
    std::int64_t first = 0;
    std::int64_t last = walk.m_nLength;
    fnClip(walk.m_nMajor, walk.m_nMajorStep, walk.m_bSteep ? rows : columns, first, last);
    std::int64_t least = 0;
    std::int64_t most = walk.m_nHeight;
    fnClip(walk.m_nMinor, walk.m_nMinorStep, walk.m_bSteep ? columns : rows, least, most);
    if (least > most)
        return;
    first = std::max(first, walk.fnFirstWith(least));
    last = std::min(last, walk.fnFirstWith(most + 1) - 1);
    if (m_Image.BitCount == 4) {
        fnDrawNibbles(walk, first, last);
        return;
    }
    while (first <= last)
        first = fnDrawInTile(walk, first, last);
}

/// Draws from step k on, up to the last one or to where the line leaves the tile; returns the step
/// after that.
std::int64_t DigitalLine::fnDrawInTile(const Walk& walk, std::int64_t k, std::int64_t last) const {
    const CqTileMap& map = *m_Image.TileMap;
    const std::int64_t taken = walk.fnMinorSteps(k);
    int x;
    int y;
    walk.fnPlace(k, taken, x, y);
    const auto column = static_cast<std::uint32_t>(x) / map.TileWidth;
    const auto row = static_cast<std::uint32_t>(y) / map.TileHeight;
    const std::int64_t inX = static_cast<std::uint32_t>(x) - column * map.TileWidth;
    const std::int64_t inY = static_cast<std::uint32_t>(y) - row * map.TileHeight;
    const std::int64_t stepX = walk.m_bSteep ? walk.m_nMinorStep : walk.m_nMajorStep;
    const std::int64_t stepY = walk.m_bSteep ? walk.m_nMajorStep : walk.m_nMinorStep;
    const std::int64_t roomX = stepX > 0 ? map.TileWidth - 1 - inX : inX;
    const std::int64_t roomY = stepY > 0 ? map.TileHeight - 1 - inY : inY;
    std::int64_t end = std::min(last, k + (walk.m_bSteep ? roomY : roomX)) + 1;
    const std::int64_t minorRoom = walk.m_bSteep ? roomX : roomY;
    if (minorRoom < end - 1 - k)
        end = std::min(end, walk.fnFirstWith(taken + minorRoom + 1));

    const std::ptrdiff_t rowBytes = map.fnRowBytes(map.fnColumnWidth(column));
    const std::ptrdiff_t across = stepX * map.BytesPerPixel;
    const std::ptrdiff_t along = stepY * rowBytes;
    const Stride stride = {walk.m_bSteep ? along : across, walk.m_bSteep ? across : along,
                           2 * walk.m_nHeight, 2 * walk.m_nLength};
    unsigned char* target = map.TileTable[row * map.TilesAcross + column].Pixels + inY * rowBytes +
                            inX * map.BytesPerPixel;
    const std::int64_t count = end - k;
    const std::int64_t half = count / 2;
    const std::int64_t takenByHalf = walk.fnMinorSteps(k + half);
    const Place start = {0, walk.fnError(k, taken)};
    const Place middle = {half * stride.m_nMajor + (takenByHalf - taken) * stride.m_nMinor,
                          walk.fnError(k + half, takenByHalf)};
    const bool odd = count % 2 != 0;
    switch (map.BytesPerPixel) {
    case 1:
        fnPlot<1>(target, m_Pixel, stride, start, middle, half, odd);
        break;
    case 2:
        fnPlot<2>(target, m_Pixel, stride, start, middle, half, odd);
        break;
    case 3:
        fnPlot<3>(target, m_Pixel, stride, start, middle, half, odd);
        break;
    default:
        fnPlot<4>(target, m_Pixel, stride, start, middle, half, odd);
    }
    return end;
}

/// A 4-bit image is one tile, and its bytes are shared: each pixel's byte is looked up.
void DigitalLine::fnDrawNibbles(const Walk& walk, std::int64_t k, std::int64_t last) const {
    std::int64_t taken = walk.fnMinorSteps(k);
    std::int64_t error = walk.fnError(k, taken);
    for (; k <= last; ++k) {
        int x;
        int y;
        walk.fnPlace(k, taken, x, y);
        fnPutNibble(m_Image.fnGetPixelAddr(x, y), (x & 1) != 0, m_Pixel[0]);
        if (error >= 0) {
            ++taken;
            error -= 2 * walk.m_nLength;
        }
        error += 2 * walk.m_nHeight;
    }
}

} // namespace q32
