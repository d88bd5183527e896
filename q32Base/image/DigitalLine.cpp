#include "q32Base/image/CqImage.h"
#include "q32Base/image/DigitalLine_p.h"
#include "q32Base/image/PixelBytes_p.h"
#include "q32Base/platform/Checked_p.h"

#include <algorithm>
#include <cassert>
#include <cstring>

namespace q32 {

namespace {

/// At 8 bits and more, tiles are this long in every direction that has several.
constexpr std::int64_t kTileSize = CqTileMap::kMaxTileSize;

/// One coordinate of a line, in 64 bits, since the ends may lie anywhere.
struct LineAxis {
    std::int64_t m_nStart;
    std::int64_t m_nSize;   ///< of the image
    std::int64_t m_nStep;   ///< 1 or -1
    std::int64_t m_nLength; ///< steps to the other end

    LineAxis(std::int32_t from, std::int32_t to, std::uint32_t size)
        : m_nStart(from), m_nSize(size), m_nStep(to > from ? 1 : -1),
          m_nLength((std::int64_t{to} - from) * m_nStep) {}

    std::int64_t fnAt(std::int64_t steps) const { return m_nStart + m_nStep * steps; }
    bool fnIsInside(std::int64_t at) const { return at >= 0 && at < m_nSize; }
    /// Steps to the first and to the last position inside the image.
    std::int64_t fnEnter() const { return m_nStep > 0 ? -m_nStart : m_nStart - m_nSize + 1; }
    std::int64_t fnLeave() const { return m_nStep > 0 ? m_nSize - 1 - m_nStart : m_nStart; }
    /// Steps from `at` to the end of its tile; only the last tile can be narrower.
    std::int64_t fnRoom(std::int64_t at) const {
        const std::int64_t inTile = at & (kTileSize - 1);
        return m_nStep > 0 ? kTileSize - 1 - inTile : inTile;
    }
};

/// Bresenham's line: each step moves along the longer axis, and along the shorter one too if the
/// error isn't negative.
class SteppedLine {
public:
    struct State {
        std::int64_t m_nMinor; ///< steps along the shorter axis so far
        std::int64_t m_nError;
    };

    SteppedLine(const LineAxis& major, const LineAxis& minor)
        : m_Major(major), m_Minor(minor), m_nSpan(std::max<std::int64_t>(major.m_nLength, 1)),
          m_nGain(2 * minor.m_nLength), m_nLoss(2 * m_nSpan) {}

    /// The state after some steps, without walking them.
    State fnAfter(std::int64_t steps) const {
        assert(steps >= 0 && steps <= m_nSpan);
        if (steps == 0)
            return {0, m_nGain - m_nSpan};
        const auto major = static_cast<std::uint64_t>(m_nSpan);
        const std::uint64_t way = static_cast<std::uint64_t>(m_Minor.m_nLength) *
                                  static_cast<std::uint64_t>(steps); // below 2 to the 64
        const auto whole = static_cast<std::int64_t>(way / major);
        const auto rest = static_cast<std::int64_t>(way % major);
        const bool more = 2 * rest >= m_nSpan;
        return {whole + (more ? 1 : 0), 2 * rest + m_nGain - m_nSpan - (more ? m_nLoss : 0)};
    }

    /// Clips the steps to those inside the image. False when there are none.
    bool fnClip(std::int64_t& first, std::int64_t& last) const {
        first = std::max<std::int64_t>(0, m_Major.fnEnter());
        last = std::min(m_Major.m_nLength, m_Major.fnLeave());
        if (m_Minor.fnEnter() > 0)
            first = fnReach(first, last, m_Minor.fnEnter());
        if (m_Minor.fnLeave() < m_Minor.m_nLength)
            last = fnReach(first, last, m_Minor.fnLeave() + 1) - 1;
        return first <= last;
    }

    LineAxis m_Major, m_Minor;
    std::int64_t m_nSpan; ///< length along the longer axis; at least 1, for a single point too
    std::int64_t m_nGain, m_nLoss; ///< of the error, per step along the longer and the shorter axis

private:
    /// The first of the steps by which the line has moved `minor` steps along the shorter axis;
    /// `last + 1` if there is none.
    std::int64_t fnReach(std::int64_t first, std::int64_t last, std::int64_t minor) const {
        while (first <= last) {
            const std::int64_t middle = first + (last - first) / 2;
            if (fnAfter(middle).m_nMinor < minor)
                first = middle + 1;
            else
                last = middle - 1;
        }
        return first;
    }
};

/// Steps along the shorter axis as a product, so that no point depends on the one before it. After
/// j steps from an error e, their number is the integer part of (e + loss - gain + j * gain) /
/// loss. Both terms are held as multiples of 2^-56, rounded up, so each is too large by at most 1
/// unit; a quotient that isn't an integer lies at least 1 / loss below the next integer. The loss
/// is at most 2^34, so the integer part is exact for more than 2^21 steps.
class Slope {
public:
    static constexpr unsigned kBits = 56;
    static constexpr std::int64_t kMaxSteps = 1 << 21;

    Slope(const SteppedLine& line, const SteppedLine::State& state)
        : m_nRise(fnRatio(line.m_Minor.m_nLength, line.m_nSpan)),
          m_nPlace(fnFindPlace(state.m_nError + line.m_nLoss - line.m_nGain, line)),
          m_fInverse(1.0 / static_cast<double>(m_nRise)) {}

    /// How many points fit in `room` steps along the shorter axis, if they are fewer than a tile's
    /// side; otherwise a larger number.
    std::int64_t fnPoints(std::int64_t room) const {
        const std::uint64_t way = (static_cast<std::uint64_t>(room + 1) << kBits) - m_nPlace;
        const double guess = static_cast<double>(way) * m_fInverse;
        if (guess > 2.0 * kTileSize)
            return 2 * kTileSize;
        auto points = static_cast<std::uint64_t>(guess); // one too few merely ends a run early
        if (points * m_nRise < way)
            ++points;
        return static_cast<std::int64_t>(points);
    }

    /// Advances by `points` points inside one tile. Returns the steps along the shorter axis.
    std::int64_t fnMove(std::int64_t points) {
        const std::uint64_t place = m_nPlace + static_cast<std::uint64_t>(points) * m_nRise;
        m_nPlace = place & ((std::uint64_t{1} << kBits) - 1);
        return static_cast<std::int64_t>(place >> kBits);
    }

    std::uint64_t m_nRise;  ///< per step, in units of 2^-56; at most 1
    std::uint64_t m_nPlace; ///< in the same units; below 1

private:
    /// Lines that begin inside the image, as most do, begin in the middle.
    static std::uint64_t fnFindPlace(std::int64_t part, const SteppedLine& line) {
        return part == line.m_nSpan ? (std::uint64_t{1} << (kBits - 1)) + 1
                                    : fnRatio(part, line.m_nLoss);
    }

    static std::uint64_t fnRatio(std::int64_t part, std::int64_t whole) {
        assert(part >= 0 && whole > 0 && part <= whole);
        constexpr std::int64_t kMaxShort = 1 << (64 - kBits);
        if (part < kMaxShort) // one division instead of two: curves are made of short lines
            return (static_cast<std::uint64_t>(part) << kBits) / static_cast<std::uint64_t>(whole) +
                   1;
        constexpr unsigned kHalf = kBits / 2;
        const auto divisor = static_cast<std::uint64_t>(whole);
        const std::uint64_t high = static_cast<std::uint64_t>(part) << kHalf;
        const std::uint64_t low = high % divisor << kHalf;
        return (high / divisor << kHalf) + low / divisor + 1;
    }

    double m_fInverse;
};

/// Plots `points` points of one tile, from `at` on, with a pixel of fixed size. The loop uses only
/// local variables, since a stored byte may alias anything else. Not inlined and aligned: the
/// surroundings of the loop otherwise change its speed by a twelfth.
template <std::size_t Bytes>
[[gnu::noinline, gnu::aligned(64)]] void
fnPlotRun(unsigned char* at, const unsigned char* pixel, std::int64_t points, const Slope& slope,
          std::ptrdiff_t majorStride, std::ptrdiff_t minorStride) {
    unsigned char bytes[Bytes];
    std::memcpy(bytes, pixel, Bytes);
    const std::uint64_t rise = slope.m_nRise;
    std::uint64_t place = slope.m_nPlace;
    std::ptrdiff_t offset = 0;
    for (; points > 0; --points, offset += majorStride, place += rise)
        std::memcpy(at + offset + static_cast<std::ptrdiff_t>(place >> Slope::kBits) * minorStride,
                    bytes, Bytes);
}

/// The address of a point, and what a step along either axis adds to it.
struct Place {
    unsigned char* m_pAt;
    std::ptrdiff_t m_nMajor;
    std::ptrdiff_t m_nMinor;
};

template <std::size_t Bytes>
Place fnFindPlace(const CqTileMap& map, const SteppedLine& line, bool steep, std::int64_t major,
                  std::int64_t minor) {
    const std::int64_t x = steep ? minor : major;
    const std::int64_t y = steep ? major : minor;
    assert(x >= 0 && x < map.Width && y >= 0 && y < map.Height);
    const auto column = static_cast<std::uint32_t>(x) / CqTileMap::kMaxTileSize;
    const auto row = static_cast<std::uint32_t>(y) / CqTileMap::kMaxTileSize;
    const std::ptrdiff_t stride = map.fnRowBytes(map.fnColumnWidth(column));
    const std::ptrdiff_t sideways = std::ptrdiff_t{Bytes};
    return {map.TileTable[std::size_t{row} * map.TilesAcross + column].Pixels +
                stride * (y & (kTileSize - 1)) + sideways * (x & (kTileSize - 1)),
            line.m_Major.m_nStep * (steep ? stride : sideways),
            line.m_Minor.m_nStep * (steep ? sideways : stride)};
}

/// A short line in one tile, by the error itself: curves are made of such lines, and setting up a
/// slope would take longer than their points do.
template <std::size_t Bytes>
void fnPlotShort(const Place& place, const unsigned char* pixel, const SteppedLine& line) {
    unsigned char bytes[Bytes];
    std::memcpy(bytes, pixel, Bytes);
    const std::int64_t gain = line.m_nGain;
    const std::int64_t loss = line.m_nLoss;
    const std::ptrdiff_t majorStride = place.m_nMajor;
    const std::ptrdiff_t minorStride = place.m_nMinor;
    std::ptrdiff_t offset = 0;
    std::int64_t error = gain - line.m_nSpan;
    for (std::int64_t points = line.m_Major.m_nLength + 1; points > 0; --points) {
        std::memcpy(place.m_pAt + offset, bytes, Bytes);
        // All ones for a negative error: where a line steps aside can't be predicted, so no branch.
        const std::int64_t straight = error >> 63;
        offset += majorStride + (minorStride & ~straight);
        error += gain - (loss & ~straight);
    }
}

/// Whether a line, which begins inside the image, stays in its first tile and has few points.
bool fnIsShort(const SteppedLine& line, std::int64_t last) {
    constexpr std::int64_t kMaxShort = 48;
    return last == line.m_Major.m_nLength && last <= kMaxShort &&
           last <= line.m_Major.fnRoom(line.m_Major.m_nStart) &&
           line.m_Minor.m_nLength <= line.m_Minor.fnRoom(line.m_Minor.m_nStart);
}

/// From tile to tile, over as many steps as a slope is exact for.
template <std::size_t Bytes>
void fnPlotTiles(const CqTileMap& map, const unsigned char* pixel, const SteppedLine& line,
                 bool steep, std::int64_t first, std::int64_t last) {
    const SteppedLine::State start = line.fnAfter(first);
    Slope slope(line, start);
    std::int64_t minorSteps = start.m_nMinor;
    for (std::int64_t step = first; step <= last;) {
        const std::int64_t major = line.m_Major.fnAt(step);
        const std::int64_t minor = line.m_Minor.fnAt(minorSteps);
        const Place place = fnFindPlace<Bytes>(map, line, steep, major, minor);
        const std::int64_t points = std::min({last - step + 1, line.m_Major.fnRoom(major) + 1,
                                              slope.fnPoints(line.m_Minor.fnRoom(minor))});
        assert(points > 0 && points <= kTileSize);
        fnPlotRun<Bytes>(place.m_pAt, pixel, points, slope, place.m_nMajor, place.m_nMinor);
        minorSteps += slope.fnMove(points);
        step += points;
    }
}

template <std::size_t Bytes>
void fnPlotBytes(const CqTileMap& map, const unsigned char* pixel, const SteppedLine& line,
                 bool steep, std::int64_t first, std::int64_t last) {
    for (; first <= last; first += Slope::kMaxSteps)
        fnPlotTiles<Bytes>(map, pixel, line, steep, first,
                           std::min(last, first + Slope::kMaxSteps - 1));
}

/// Plots in the single tile of a 4-bit image. An odd column lies one byte after its pair, as in
/// single-pixel access.
void fnPlotNibbles(const CqTileMap& map, const unsigned char* pixel, const SteppedLine& line,
                   bool steep, std::int64_t first, std::int64_t last) {
    SteppedLine::State state = line.fnAfter(first);
    for (std::int64_t step = first; step <= last; ++step) {
        const std::int64_t major = line.m_Major.fnAt(step);
        const std::int64_t minor = line.m_Minor.fnAt(state.m_nMinor);
        const std::int64_t x = steep ? minor : major;
        const std::int64_t y = steep ? major : minor;
        assert(x >= 0 && x < map.Width && y >= 0 && y < map.Height);
        fnPutNibble(map.PixelBuffer + y * map.RowBytes + (x + 1) / 2, (x & 1) != 0, *pixel);
        if (state.m_nError >= 0) {
            ++state.m_nMinor;
            state.m_nError -= line.m_nLoss;
        }
        state.m_nError += line.m_nGain;
    }
}

/// Draws a line with a pixel of so many bytes, 0 for a nibble. All of it in one function, so that a
/// short line needs no memory but the image's.
template <std::size_t Bytes>
void fnDrawLine(const CqTileMap& map, const unsigned char* pixel, const LineAxis& across,
                const LineAxis& down) {
    const bool steep = across.m_nLength <= down.m_nLength;
    const SteppedLine line(steep ? LineAxis(down) : LineAxis(across),
                           steep ? LineAxis(across) : LineAxis(down));
    std::int64_t first = 0;
    std::int64_t last = 0;
    if (!line.fnClip(first, last))
        return;
    if constexpr (Bytes == 0)
        fnPlotNibbles(map, pixel, line, steep, first, last);
    else if (first == 0 && fnIsShort(line, last))
        fnPlotShort<Bytes>(
            fnFindPlace<Bytes>(map, line, steep, line.m_Major.m_nStart, line.m_Minor.m_nStart),
            pixel, line);
    else
        fnPlotBytes<Bytes>(map, pixel, line, steep, first, last);
}

} // namespace

DigitalLine::DigitalLine(CqImage& image, const CqColor& color) : m_pMap(image.TileMap) {
    if (m_pMap)
        fnWritePixel(*m_pMap, m_Pixel, true, color);
}

void DigitalLine::fnRequirePixels() const {
    if (m_pMap)
        m_pMap->fnRequirePixels();
}

void DigitalLine::fnDraw(std::int32_t x0, std::int32_t y0, std::int32_t x1, std::int32_t y1) const {
    if (!m_pMap)
        return;
    const LineAxis across(x0, x1, m_pMap->Width);
    const LineAxis down(y0, y1, m_pMap->Height);
    switch (m_pMap->BytesPerPixel) {
    case 0:
        return fnDrawLine<0>(*m_pMap, m_Pixel, across, down);
    case 1:
        return fnDrawLine<1>(*m_pMap, m_Pixel, across, down);
    case 2:
        return fnDrawLine<2>(*m_pMap, m_Pixel, across, down);
    case 3:
        return fnDrawLine<3>(*m_pMap, m_Pixel, across, down);
    default:
        return fnDrawLine<4>(*m_pMap, m_Pixel, across, down);
    }
}

} // namespace q32

void CqImage::fnDrawLine(int x0, int y0, int x1, int y1, const CqColor& color, bool) {
    q32::fnRequirePixels("CqImage::fnDrawLine", TileMap);
    const q32::DigitalLine line(*this, color);
    line.fnDraw(x0, y0, x1, y1);
    line.fnRequirePixels();
}
