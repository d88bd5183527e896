#include "q32Base/image/CqImage.h"
#include "q32Base/image/PixelBytes.h"

#include <cstring>
#include <limits>

namespace {

/// Tiles of 8 bits and more are that large wherever there are several.
constexpr std::int64_t kTileSize = CqTileMap::kMaxTileSize;

/// One coordinate of a line. In 64 bits, since the ends may lie anywhere.
struct Axis {
    std::int64_t m_nStart;
    std::int64_t m_nSize;   ///< of the image
    std::int64_t m_nStep;   ///< 1 or -1
    std::int64_t m_nLength; ///< steps to the other end

    Axis(int from, int to, std::uint32_t size)
        : m_nStart(from), m_nSize(size), m_nStep(to > from ? 1 : -1),
          m_nLength((std::int64_t{to} - from) * m_nStep) {}

    std::int64_t fnAt(std::int64_t steps) const { return m_nStart + m_nStep * steps; }
    bool fnIsInside(std::int64_t at) const { return at >= 0 && at < m_nSize; }
    /// The steps that lead to the image's edges, the nearer one first.
    std::int64_t fnEnter() const { return m_nStep > 0 ? -m_nStart : m_nStart - m_nSize + 1; }
    std::int64_t fnLeave() const { return m_nStep > 0 ? m_nSize - 1 - m_nStart : m_nStart; }
    /// Steps from `at` to the last place of its tile; a narrower tile is the last one anyway.
    std::int64_t fnRoom(std::int64_t at) const {
        const std::int64_t inTile = at & (kTileSize - 1);
        return m_nStep > 0 ? kTileSize - 1 - inTile : inTile;
    }
};

/// Bresenham's line: each step goes along the longer axis, and along the shorter one too where the
/// error isn't negative.
class Line {
public:
    struct State {
        std::int64_t m_nMinor; ///< steps along the shorter axis so far
        std::int64_t m_nError;
    };

    Line(const Axis& major, const Axis& minor)
        : m_Major(major), m_Minor(minor), m_nGain(2 * minor.m_nLength),
          m_nLoss(2 * major.m_nLength) {}

    /// Where the line is after some steps, without having walked them.
    State fnAfter(std::int64_t steps) const {
        const auto major = static_cast<std::uint64_t>(m_Major.m_nLength);
        const std::uint64_t way = static_cast<std::uint64_t>(m_Minor.m_nLength) *
                                  static_cast<std::uint64_t>(steps); // below 2 to the 64
        const auto whole = static_cast<std::int64_t>(way / major);
        const auto rest = static_cast<std::int64_t>(way % major);
        const bool more = 2 * rest >= m_Major.m_nLength;
        return {whole + (more ? 1 : 0),
                2 * rest + m_nGain - m_Major.m_nLength - (more ? m_nLoss : 0)};
    }

    /// How many points lie in a row of tiles that still has room for `room` steps along the shorter
    /// axis.
    std::int64_t fnPoints(const State& state, std::int64_t room) const {
        if (m_nGain == 0)
            return std::numeric_limits<std::int64_t>::max();
        return (m_nLoss * room - state.m_nError + m_nGain - 1) / m_nGain + 1;
    }

    /// Cuts the steps to those that lie inside the image. False when there are none.
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
    std::int64_t m_nGain, m_nLoss; ///< of the error, by a step along the longer, the shorter axis

private:
    /// The first of the steps that has come `minor` steps along the shorter axis; `last + 1` if
    /// none has.
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

/// Plots `points` points of one tile from `at` on, with one pixel of a fixed size, and moves the
/// state behind them. All that the loop uses is local: a byte that is stored may be any other.
template <std::size_t Bytes>
void fnPlotRun(unsigned char* at, const unsigned char* pixel, std::int64_t points,
               Line::State& state, const Line& line, std::ptrdiff_t majorStride,
               std::ptrdiff_t minorStride) {
    const std::int64_t loss = line.m_nLoss;
    const std::int64_t turn = line.m_nGain - loss;
    const std::ptrdiff_t bothStrides = majorStride + minorStride;
    unsigned char bytes[Bytes];
    std::memcpy(bytes, pixel, Bytes);
    std::int64_t error = state.m_nError;
    std::int64_t turns = points;
    std::ptrdiff_t offset = 0;
    for (; points > 0; --points) {
        std::memcpy(at + offset, bytes, Bytes);
        // A mask, all ones where the line goes straight on: a branch couldn't be foreseen.
        const std::int64_t straight = error >> 63;
        offset += bothStrides - (minorStride & straight);
        error = (error + turn) + (loss & straight);
        turns += straight;
    }
    state.m_nMinor += turns;
    state.m_nError = error;
}

/// From tile to tile.
template <std::size_t Bytes>
void fnPlotTiles(const CqTileMap& map, const CqColor& color, const Line& line, bool steep,
                 std::int64_t first, std::int64_t last) {
    unsigned char pixel[4] = {};
    q32::fnWritePixel(map, pixel, false, color);
    Line::State state = line.fnAfter(first);
    for (std::int64_t step = first; step <= last;) {
        const std::int64_t major = line.m_Major.fnAt(step);
        const std::int64_t minor = line.m_Minor.fnAt(state.m_nMinor);
        const std::int64_t x = steep ? minor : major;
        const std::int64_t y = steep ? major : minor;
        const auto column = static_cast<std::uint32_t>(x) / CqTileMap::kMaxTileSize;
        const auto row = static_cast<std::uint32_t>(y) / CqTileMap::kMaxTileSize;
        const std::ptrdiff_t stride = map.fnRowBytes(map.fnColumnWidth(column));
        const std::ptrdiff_t sideways = std::ptrdiff_t{Bytes};
        unsigned char* at = map.TileTable[std::size_t{row} * map.TilesAcross + column].Pixels +
                            stride * (y & (kTileSize - 1)) + sideways * (x & (kTileSize - 1));
        const std::int64_t points = std::min({last - step + 1, line.m_Major.fnRoom(major) + 1,
                                              line.fnPoints(state, line.m_Minor.fnRoom(minor))});
        fnPlotRun<Bytes>(at, pixel, points, state, line,
                         line.m_Major.m_nStep * (steep ? stride : sideways),
                         line.m_Minor.m_nStep * (steep ? sideways : stride));
        step += points;
    }
}

/// The one tile of a 4-bit image. An odd column lies one byte further than its pair, as it does for
/// single pixels.
void fnPlotNibbles(const CqTileMap& map, const CqColor& color, const Line& line, bool steep,
                   std::int64_t first, std::int64_t last) {
    const unsigned int index = q32::fnPaletteIndex(map, color) & 0x0Fu;
    Line::State state = line.fnAfter(first);
    for (std::int64_t step = first; step <= last; ++step) {
        const std::int64_t major = line.m_Major.fnAt(step);
        const std::int64_t minor = line.m_Minor.fnAt(state.m_nMinor);
        const std::int64_t x = steep ? minor : major;
        const std::int64_t y = steep ? major : minor;
        q32::fnPutNibble(map.PixelBuffer + y * map.RowBytes + (x + 1) / 2, (x & 1) != 0, index);
        if (state.m_nError >= 0) {
            ++state.m_nMinor;
            state.m_nError -= line.m_nLoss;
        }
        state.m_nError += line.m_nGain;
    }
}

using Plot = void (*)(const CqTileMap&, const CqColor&, const Line&, bool, std::int64_t,
                      std::int64_t);

constexpr Plot kPlots[] = {fnPlotNibbles, fnPlotTiles<1>, fnPlotTiles<2>, fnPlotTiles<3>,
                           fnPlotTiles<4>}; // by bytes a pixel

} // namespace

void CqImage::fnDrawLine(int x0, int y0, int x1, int y1, const CqColor& color, bool) {
    const Axis across(x0, x1, Width);
    const Axis down(y0, y1, Height);
    if (across.m_nLength == 0 && down.m_nLength == 0) {
        if (across.fnIsInside(x0) && down.fnIsInside(y0))
            fnSetPixelColor(x0, y0, color);
        return;
    }
    const bool steep = across.m_nLength <= down.m_nLength;
    const Line line(steep ? down : across, steep ? across : down);
    std::int64_t first = 0;
    std::int64_t last = 0;
    if (line.fnClip(first, last))
        kPlots[BytesPerPixel](*TileMap, color, line, steep, first, last);
}
