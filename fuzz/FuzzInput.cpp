#include "fuzz/FuzzInput.h"

#include "q32Base/memory/CqTileMap_p.h"

#include <algorithm>
#include <bit>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <limits>

namespace q32::fuzz {

void fnCheck(bool holds, const char* what) {
    if (holds)
        return;
    std::fprintf(stderr, "does not hold: %s\n", what);
    std::abort();
}

CqHeadlessWorld& fnWorld(const CqHeadlessOptions& options) {
    static const std::shared_ptr<CqHeadlessWorld> world = [&] {
        auto made = q32HeadlessWorld(options);
        fnCheck(q32Attach(made->fnPlatform()), "the library starts");
        std::atexit(q32Detach);
        made->m_pScreen->fnKeepDraws(false);
        q32GetVMPolicy()->fnSetRamLimit(kPixelBytes);
        q32GetVMPolicy()->fnEnableDisk(0, false);
        return made;
    }();
    return *world;
}

Balance::Balance()
    : m_nRamUsed((fnWorld(), q32GetVMPolicy()->fnGetRamUsed())),
      m_nMisuses(fnWorld().m_pMisuses->fnGetAll().size()) {}

Balance::~Balance() {
    const CqHeadlessWorld& world = fnWorld();
    fnCheck(q32GetVMPolicy()->fnGetRamUsed() == m_nRamUsed, "pixels are returned");
    fnCheck(world.m_pDisks->fnGetOpenFiles() == 0, "files are closed");
    fnCheck(world.m_pScreen->fnGetOpenDCs() == 0, "device contexts are released");
    fnCheck(world.m_pMisuses->fnGetAll().size() == m_nMisuses, "nothing is misused");
}

int Input::fnPlace() {
    static constexpr int kFar[] = {-2147483647 - 1, -2147483647, -65536,
                                   65536,           2147483646,  2147483647};
    const int value = fnByte();
    return value < 248 ? value - 60 : kFar[static_cast<std::size_t>(value) % std::size(kFar)];
}

CRect Input::fnRect() {
    const int left = fnPlace();
    const int top = fnPlace();
    const int right = fnPlace();
    return {left, top, right, fnPlace()};
}

CqColor Input::fnColor() {
    const std::uint8_t red = fnByte();
    const std::uint8_t green = fnByte();
    return {red, green, fnByte(), red};
}

double Input::fnReal() {
    using Limits = std::numeric_limits<double>;
    static constexpr double kSpecial[] = {0.0,
                                          -0.0,
                                          1.0,
                                          1e-10,
                                          -1e-10,
                                          1.0 - 1e-10,
                                          1e9,
                                          -1e9,
                                          1e300,
                                          Limits::infinity(),
                                          -Limits::infinity(),
                                          Limits::quiet_NaN(),
                                          Limits::denorm_min(),
                                          Limits::max()};
    const std::uint8_t kind = fnByte();
    if (kind >= 240)
        return kSpecial[kind % std::size(kSpecial)];
    const auto value = static_cast<std::int16_t>(fnWord());
    return kind % 2 ? value / 64.0 : value / 4096.0;
}

Bytes Input::fnBytes(std::size_t most) {
    const std::size_t count =
        std::min({std::size_t{fnWord()}, most, static_cast<std::size_t>(m_pEnd - m_pAt)});
    Bytes bytes(m_pAt, m_pAt + count);
    m_pAt += count;
    return bytes;
}

std::string Input::fnString(std::size_t most) {
    const Bytes bytes = fnBytes(most);
    return {bytes.begin(), bytes.end()};
}

void fnPaint(const CqImage& image, std::uint8_t seed) {
    std::uint32_t state = seed;
    for (std::uint32_t i = 0; i < image.TileMap->BufferSize; ++i) {
        if (i % (1u + seed % 5) == 0)
            state = state * 1664525u + 1013904223u;
        image.TileMap->PixelBuffer[i] = static_cast<unsigned char>(state >> 24);
    }
}

unsigned int fnBits(Input& input) {
    static constexpr unsigned int kBits[] = {4, 8, 16, 24, 32};
    return kBits[input.fnBelow(std::size(kBits))];
}

std::unique_ptr<CqImage> fnMakeImage(Input& input, unsigned int side) {
    const unsigned int bits = fnBits(input);
    const unsigned int width = 1 + input.fnBelow(side);
    const unsigned int height = 1 + input.fnBelow(side);
    const std::uint8_t seed = input.fnByte();
    const bool ramp = seed % 3 == 0; // at 4 bits too, where most of its indices don't fit in a
                                     // nibble
    auto image = std::make_unique<CqImage>(width, height, bits, ramp ? q32GreyRamp : nullptr,
                                           ramp ? 256u : 0u);
    fnPaint(*image, seed);
    return image;
}

Rows fnRows(const CqImage& image) {
    Rows rows(image.Height, Bytes(image.RowBytes));
    for (std::uint32_t y = 0; y < image.Height; ++y)
        image.TileMap->fnFetchRow(y, rows[y].data());
    return rows;
}

void CountedDisplay::fnDrawStatus(unsigned int percent, bool* aborted) {
    fnCheck(percent < 100, "a percentage stays below 100");
    fnCheck(m_nCalls < m_nAbortAt, "an abort ends the work");
    ++m_nCalls;
    CqProgressDisplay::fnDrawStatus(percent, aborted);
}

} // namespace q32::fuzz
