#include "q32Base/image/DigitalLine.h"

#include "q32Base/image/CqImage.h"
#include "q32Base/image/PixelBytes.h"

#include <algorithm>
#include <cstring>

namespace q32 {

namespace {

/// At 8 bits and more, tiles are this long in every direction that has several.
constexpr std::int64_t kTileSize = CqTileMap::kMaxTileSize;

/// One coordinate of a line, in 64 bits, since the ends may lie anywhere.
struct Axis {
    std::int64_t m_nStart;
    std::int64_t m_nSize;   ///< of the image
    std::int64_t m_nStep;   ///< 1 or -1
    std::int64_t m_nLength; ///< steps to the other end

    Axis(std::int32_t from, std::int32_t to, std::uint32_t size)
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
class Line {
public:
    struct State {
        std::int64_t m_nMinor; ///< steps along the shorter axis so far
        std::int64_t m_nError;
    };

    Line(const Axis& major, const Axis& minor)
        : m_Major(major), m_Minor(minor), m_nSpan(std::max<std::int64_t>(major.m_nLength, 1)),
          m_nGain(2 * minor.m_nLength), m_nLoss(2 * m_nSpan) {}

    /// The state after some steps, without walking them.
    State fnAfter(std::int64_t steps) const {
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

    Axis m_Major, m_Minor;
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

    Slope(const Line& line, const Line::State& state)
        : m_nRise(fnRatio(line.m_nGain, line.m_nLoss)),
          m_nPlace(fnRatio(state.m_nError + line.m_nLoss - line.m_nGain, line.m_nLoss)),
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
    static std::uint64_t fnRatio(std::int64_t part, std::int64_t whole) {
        constexpr unsigned kHalf = kBits / 2;
        const auto divisor = static_cast<std::uint64_t>(whole);
        const std::uint64_t high = static_cast<std::uint64_t>(part) << kHalf;
        const std::uint64_t low = high % divisor << kHalf;
        return (high / divisor << kHalf) + low / divisor + 1;
    }

    double m_fInverse;
};

/// Plots `points` points of one tile, from `at` on, with a pixel of fixed size. The loop uses only
/// local variables, since a stored byte may alias anything else.
template <std::size_t Bytes>
void fnPlotRun(unsigned char* at, const unsigned char* pixel, std::int64_t points,
               const Slope& slope, std::ptrdiff_t majorStride, std::ptrdiff_t minorStride) {
    unsigned char bytes[Bytes];
    std::memcpy(bytes, pixel, Bytes);
    const std::uint64_t rise = slope.m_nRise;
    std::uint64_t place = slope.m_nPlace;
    std::ptrdiff_t offset = 0;
    for (; points > 0; --points, offset += majorStride, place += rise)
        std::memcpy(at + offset + static_cast<std::ptrdiff_t>(place >> Slope::kBits) * minorStride,
                    bytes, Bytes);
}

/// Plots tile by tile, in runs of at most as many steps as a slope is exact for.
template <std::size_t Bytes>
void fnPlotTiles(const CqTileMap& map, const unsigned char* pixel, const Line& line, bool steep,
                 std::int64_t first, std::int64_t last) {
    const Line::State start = line.fnAfter(first);
    Slope slope(line, start);
    std::int64_t minorSteps = start.m_nMinor;
    for (std::int64_t step = first; step <= last;) {
        const std::int64_t major = line.m_Major.fnAt(step);
        const std::int64_t minor = line.m_Minor.fnAt(minorSteps);
        const std::int64_t x = steep ? minor : major;
        const std::int64_t y = steep ? major : minor;
        const auto column = static_cast<std::uint32_t>(x) / CqTileMap::kMaxTileSize;
        const auto row = static_cast<std::uint32_t>(y) / CqTileMap::kMaxTileSize;
        const std::ptrdiff_t stride = map.fnRowBytes(map.fnColumnWidth(column));
        const std::ptrdiff_t sideways = std::ptrdiff_t{Bytes};
        unsigned char* at = map.TileTable[std::size_t{row} * map.TilesAcross + column].Pixels +
                            stride * (y & (kTileSize - 1)) + sideways * (x & (kTileSize - 1));
        const std::int64_t points = std::min({last - step + 1, line.m_Major.fnRoom(major) + 1,
                                              slope.fnPoints(line.m_Minor.fnRoom(minor))});
        fnPlotRun<Bytes>(at, pixel, points, slope,
                         line.m_Major.m_nStep * (steep ? stride : sideways),
                         line.m_Minor.m_nStep * (steep ? sideways : stride));
        minorSteps += slope.fnMove(points);
        step += points;
    }
}

template <std::size_t Bytes>
void fnPlotBytes(const CqTileMap& map, const unsigned char* pixel, const Line& line, bool steep,
                 std::int64_t first, std::int64_t last) {
    for (; first <= last; first += Slope::kMaxSteps)
        fnPlotTiles<Bytes>(map, pixel, line, steep, first,
                           std::min(last, first + Slope::kMaxSteps - 1));
}

/// Plots in the single tile of a 4-bit image. An odd column lies one byte after its pair, as in
/// single-pixel access.
void fnPlotNibbles(const CqTileMap& map, const unsigned char* pixel, const Line& line, bool steep,
                   std::int64_t first, std::int64_t last) {
    Line::State state = line.fnAfter(first);
    for (std::int64_t step = first; step <= last; ++step) {
        const std::int64_t major = line.m_Major.fnAt(step);
        const std::int64_t minor = line.m_Minor.fnAt(state.m_nMinor);
        const std::int64_t x = steep ? minor : major;
        const std::int64_t y = steep ? major : minor;
        fnPutNibble(map.PixelBuffer + y * map.RowBytes + (x + 1) / 2, (x & 1) != 0, *pixel);
        if (state.m_nError >= 0) {
            ++state.m_nMinor;
            state.m_nError -= line.m_nLoss;
        }
        state.m_nError += line.m_nGain;
    }
}

using Plot = void (*)(const CqTileMap&, const unsigned char*, const Line&, bool, std::int64_t,
                      std::int64_t);

constexpr Plot kPlots[] = {fnPlotNibbles, fnPlotBytes<1>, fnPlotBytes<2>, fnPlotBytes<3>,
                           fnPlotBytes<4>}; // by bytes a pixel

} // namespace

DigitalLine::DigitalLine(CqImage& image, const CqColor& color) : m_pMap(image.TileMap) {
    if (m_pMap)
        fnWritePixel(*m_pMap, m_Pixel, true, color);
}

void DigitalLine::fnDraw(std::int32_t x0, std::int32_t y0, std::int32_t x1, std::int32_t y1) const {
    if (!m_pMap)
        return;
    const Axis across(x0, x1, m_pMap->Width);
    const Axis down(y0, y1, m_pMap->Height);
    const bool steep = across.m_nLength <= down.m_nLength;
    const Line line(steep ? down : across, steep ? across : down);
    std::int64_t first = 0;
    std::int64_t last = 0;
    if (line.fnClip(first, last))
        kPlots[m_pMap->BytesPerPixel](*m_pMap, m_Pixel, line, steep, first, last);
}

} // namespace q32
