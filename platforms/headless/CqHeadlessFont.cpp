#include "platforms/headless/CqHeadlessFont.h"

#include <algorithm>
#include <cstdlib>

namespace {

// The glyphs 20h to 7Fh, sixteen to a band, six columns each. The last two rows are below the
// baseline. Glyph 7Fh is used for all bytes without one.
// clang-format off
constexpr const char* kPictures[6][9] = {
    {"........X....X.X...X.X....X...XX..X..XX.....X......X...X......................................X.",
     "........X....X.X...X.X...XXXX.XX..X.X..X....X.....X.....X...X.X.X...X.........................X.",
     "........X....X.X..XXXXX.X.X......X..X.X....X.....X.......X...XXX....X........................X..",
     "........X..........X.X...XXX....X....X...........X.......X..XXXXX.XXXXX.......XXXXX.........X...",
     "........X.........XXXXX...X.X..X....X.X.X........X.......X...XXX....X......................X....",
     "...................X.X..XXXX..X..XX.X..X..........X.....X...X.X.X...X.....XX..........XX..X.....",
     "........X..........X.X....X...X..XX..XX.X..........X...X..................XX..........XX..X.....",
     "..........................................................................X.....................",
     ".........................................................................X......................"},
    {".XXX....X....XXX...XXX.....X..XXXXX...XX..XXXXX..XXX...XXX..................X.......X......XXX..",
     "X...X..XX...X...X.X...X...XX..X......X........X.X...X.X...X...XX....XX.....X.........X....X...X.",
     "X..XX.X.X.......X.....X..X.X..XXXX..X........X..X...X.X...X...XX....XX....X...XXXXX...X.......X.",
     "X.X.X...X......X....XX..X..X......X.XXXX.....X...XXX...XXXX..............X.............X.....X..",
     "XX..X...X.....X.......X.XXXXX.....X.X...X...X...X...X.....X...XX....XX....X...XXXXX...X.....X...",
     "X...X...X....X....X...X....X..X...X.X...X...X...X...X....X....XX....XX.....X.........X..........",
     ".XXX..XXXXX.XXXXX..XXX.....X...XXX...XXX....X....XXX...XX...........X.......X.......X.......X...",
     "...................................................................X............................",
     "................................................................................................"},
    {".XXX....X...XXXX...XXX..XXX...XXXXX.XXXXX..XXX..X...X..XXX....XXX.X...X.X.....X...X.X...X..XXX..",
     "X...X..X.X..X...X.X...X.X..X..X.....X.....X...X.X...X...X......X..X..X..X.....XX.XX.XX..X.X...X.",
     "X.XXX.X...X.X...X.X.....X...X.X.....X.....X.....X...X...X......X..X.X...X.....X.X.X.XX..X.X...X.",
     "X.X.X.X...X.XXXX..X.....X...X.XXXX..XXXX..X.XXX.XXXXX...X......X..XX....X.....X.X.X.X.X.X.X...X.",
     "X.XXX.XXXXX.X...X.X.....X...X.X.....X.....X...X.X...X...X......X..X.X...X.....X...X.X..XX.X...X.",
     "X.....X...X.X...X.X...X.X..X..X.....X.....X...X.X...X...X...X..X..X..X..X.....X...X.X..XX.X...X.",
     ".XXXX.X...X.XXXX...XXX..XXX...XXXXX.X......XXXX.X...X..XXX...XX...X...X.XXXXX.X...X.X...X..XXX..",
     "................................................................................................",
     "................................................................................................"},
    {"XXXX...XXX..XXXX...XXXX.XXXXX.X...X.X...X.X...X.X...X.X...X.XXXXX..XXX..X......XXX....X.........",
     "X...X.X...X.X...X.X.......X...X...X.X...X.X...X.X...X.X...X.....X..X....X........X...X.X........",
     "X...X.X...X.X...X.X.......X...X...X.X...X.X...X..X.X...X.X.....X...X.....X.......X..X...X.......",
     "XXXX..X...X.XXXX...XXX....X...X...X.X...X.X.X.X...X.....X.....X....X......X......X..............",
     "X.....X.X.X.X.X.......X...X...X...X..X.X..X.X.X..X.X....X....X.....X.......X.....X..............",
     "X.....X..X..X..X......X...X...X...X..X.X..XX.XX.X...X...X...X......X........X....X..............",
     "X......XX.X.X...X.XXXX....X....XXX....X...X...X.X...X...X...XXXXX..XXX......X..XXX..............",
     "..........................................................................................XXXXX.",
     "................................................................................................"},
    {".X..........X...............X.........XX........X.......X......X..X......XX.....................",
     "..X.........X...............X........X..........X.................X.......X.....................",
     ".......XXX..XXXX...XXXX..XXXX..XXX..XXXX...XXXX.XXXX...XX.....XX..X..X....X...XX.X..XXXX...XXX..",
     "..........X.X...X.X.....X...X.X...X..X....X...X.X...X...X......X..X.X.....X...X.X.X.X...X.X...X.",
     ".......XXXX.X...X.X.....X...X.XXXXX..X....X...X.X...X...X......X..XX......X...X.X.X.X...X.X...X.",
     "......X...X.X...X.X.....X...X.X......X....X...X.X...X...X......X..X.X.....X...X.X.X.X...X.X...X.",
     ".......XXXX.XXXX...XXXX..XXXX..XXX...X.....XXXX.X...X..XXX.....X..X..X...XXX..X.X.X.X...X..XXX..",
     "..............................................X.............X..X................................",
     "...........................................XXX...............XX................................."},
    {".........................X...........................................XX...X...XX..........XXXXX.",
     ".........................X..........................................X.....X.....X.........X...X.",
     "XXXX...XXXX.X.XX...XXXX.XXXX..X...X.X...X.X...X.X...X.X...X.XXXXX...X.....X.....X....XX.X.X...X.",
     "X...X.X...X.XX....X......X....X...X.X...X.X.X.X..X.X..X...X....X...X......X......X..X..X..X...X.",
     "X...X.X...X.X......XXX...X....X...X..X.X..X.X.X...X...X...X...X.....X.....X.....X.........X...X.",
     "X...X.X...X.X.........X..X....X...X..X.X..X.X.X..X.X..X...X..X......X.....X.....X.........X...X.",
     "XXXX...XXXX.X.....XXXX....XX...XXXX...X....X.X..X...X..XXXX.XXXXX....XX...X...XX..........XXXXX.",
     "X.........X...............................................X.....................................",
     "X.........X............................................XXX......................................"},
};
// clang-format on

constexpr int kColumns = 6;
constexpr int kRows = 9;
constexpr int kLeading = 2; ///< empty rows above the glyphs
constexpr int kDescent = 2;
constexpr unsigned kFirst = 0x20;
constexpr unsigned kLast = 0x7F;

} // namespace

CqHeadlessFont::CqHeadlessFont(LONG height) {
    // Below 0, a height excludes the leading.
    const int smallest = height < 0 ? kRows : kHeight;
    constexpr LONG kMax = 64 * kHeight;
    const LONG requested = std::abs(std::clamp(height, -kMax, kMax));
    m_nScale = std::max(1, static_cast<int>(requested) / smallest);
}

TEXTMETRICA CqHeadlessFont::fnGetMetrics() const {
    TEXTMETRICA metrics{};
    metrics.tmHeight = kHeight * m_nScale;
    metrics.tmDescent = kDescent * m_nScale;
    metrics.tmAscent = metrics.tmHeight - metrics.tmDescent;
    metrics.tmInternalLeading = kLeading * m_nScale;
    metrics.tmAveCharWidth = kColumns * m_nScale;
    metrics.tmMaxCharWidth = kColumns * m_nScale;
    metrics.tmWeight = 400;
    metrics.tmFirstChar = kFirst;
    metrics.tmLastChar = kLast;
    metrics.tmDefaultChar = kLast;
    metrics.tmBreakChar = ' ';
    return metrics;
}

SIZE CqHeadlessFont::fnMeasure(std::size_t count) const {
    constexpr std::size_t kMax = 0x00FFFFFF; // so that no sum overflows
    return {
        static_cast<LONG>(std::min(count * kColumns * static_cast<std::size_t>(m_nScale), kMax)),
        kHeight * m_nScale};
}

bool CqHeadlessFont::fnIsInk(char sign, int x, int y) const {
    unsigned code = static_cast<unsigned char>(sign);
    if (code < kFirst || code > kLast)
        code = kLast;
    const int row = y / m_nScale - kLeading;
    const int column = x / m_nScale;
    if (x < 0 || row < 0 || row >= kRows || column >= kColumns)
        return false;
    const unsigned index = code - kFirst;
    return kPictures[index / 16][row][index % 16 * kColumns + static_cast<unsigned>(column)] == 'X';
}
