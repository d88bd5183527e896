#include "q32Base/kernels/Avx2_p.h"
#include "q32Base/kernels/KernelParts_p.h"

#include <cstring>

namespace q32 {
namespace avx2 {
namespace {

constexpr char kZ = -1; // a shuffle puts a zero byte here

// The palette prepared for one run: 256 entries, each in the target's byte order, so that an index
// needs neither a test nor a shuffle. A full palette that is already in that order is used
// directly. Plain loads of single entries are faster than the gather instruction on most
// processors.
class Entries {
public:
    // `order` shuffles blue, green, red, reserved to the target's byte order; `fill` is added to
    // every entry.
    Entries(const std::uint8_t* palette, std::size_t count, __m128i order, std::uint32_t fill) {
        const __m256i shuffle = fnTwice(order);
        const __m256i added = _mm256_set1_epi32(static_cast<int>(fill));
        std::uint8_t* out = m_Entries;
        if (count > 256)
            count = 256;
        for (; count >= 8; count -= 8, palette += 32, out += 32)
            fnStore(out, _mm256_or_si256(_mm256_shuffle_epi8(fnLoad(palette), shuffle), added));
        for (; count != 0; --count, palette += 4, out += 4) {
            const __m128i entry = _mm_shuffle_epi8(_mm_cvtsi32_si128(fnLoad32(palette)), order);
            const int value = _mm_cvtsi128_si32(entry) | static_cast<int>(fill);
            std::memcpy(out, &value, 4);
        }
        const std::uint8_t* const end = m_Entries + sizeof m_Entries;
        for (; end - out >= 32; out += 32)
            fnStore(out, added);
        for (; out != end; out += 4)
            std::memcpy(out, &fill, 4);
    }

    const std::uint8_t* fnGetData() const { return m_Entries; }

private:
    static int fnLoad32(const std::uint8_t* from) {
        int value;
        std::memcpy(&value, from, 4);
        return value;
    }

    alignas(32) std::uint8_t m_Entries[1024];
};

// Below this, preparing the palette costs more than it saves.
constexpr std::size_t kShortRun = 64;

void fnStore64(std::uint8_t* target, std::uint64_t value) {
    std::memcpy(target, &value, 8);
}

std::uint64_t fnEntry(const std::uint8_t* entries, std::uint8_t index) {
    std::uint32_t entry;
    std::memcpy(&entry, entries + 4 * std::size_t{index}, 4);
    return entry;
}

// Eight pixels a to h of three bytes fill three words:
//   first  c c b b b a a a    second  f e e e d d d c    third  h h h g g g f f
// (from the high byte to the low one). Returns the number of pixels done.
std::size_t fnLookUp24(const std::uint8_t* source, std::uint8_t* target, std::size_t count,
                       const std::uint8_t* entries) {
    const auto at = [&](std::size_t i) { return fnEntry(entries, source[i]) & 0xFFFFFF; };
    std::size_t done = 0;
    for (; count - done >= 8; done += 8, source += 8, target += 24) {
        const std::uint64_t c = at(2), f = at(5);
        fnStore64(target, at(0) | at(1) << 24 | c << 48);
        fnStore64(target + 8, c >> 16 | at(3) << 8 | at(4) << 32 | f << 56);
        fnStore64(target + 16, f >> 8 | at(6) << 16 | at(7) << 40);
    }
    return done;
}

std::size_t fnLookUp32(const std::uint8_t* source, std::uint8_t* target, std::size_t count,
                       const std::uint8_t* entries) {
    std::size_t done = 0;
    for (; count - done >= 8; done += 8, source += 8, target += 32)
        for (std::size_t i = 0; i < 8; i += 2)
            fnStore64(target + 4 * i, fnEntry(entries, source[i]) | fnEntry(entries, source[i + 1])
                                                                        << 32);
    return done;
}

__m128i fnSameOrder() {
    return _mm_setr_epi8(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15);
}

void fnIndex8ToBgr24(const std::uint8_t* source, std::uint8_t* target, std::size_t count,
                     const std::uint8_t* palette, std::size_t paletteCount) {
    std::size_t done = 0;
    if (paletteCount >= 256)
        done = fnLookUp24(source, target, count, palette);
    else if (count >= kShortRun)
        done = fnLookUp24(source, target, count,
                          Entries(palette, paletteCount, fnSameOrder(), 0).fnGetData());
    scalar::fnIndex8ToBgr24(source + done, target + 3 * done, count - done, palette, paletteCount);
}

void fnIndex8ToBgrx32(const std::uint8_t* source, std::uint8_t* target, std::size_t count,
                      const std::uint8_t* palette, std::size_t paletteCount) {
    std::size_t done = 0;
    if (paletteCount >= 256)
        done = fnLookUp32(source, target, count, palette);
    else if (count >= kShortRun)
        done = fnLookUp32(source, target, count,
                          Entries(palette, paletteCount, fnSameOrder(), 0).fnGetData());
    scalar::fnIndex8ToBgrx32(source + done, target + 4 * done, count - done, palette, paletteCount);
}

void fnIndex8ToRgb24(const std::uint8_t* source, std::uint8_t* target, std::size_t count,
                     const std::uint8_t* palette, std::size_t paletteCount) {
    const __m128i order = _mm_setr_epi8(2, 1, 0, kZ, 6, 5, 4, kZ, 10, 9, 8, kZ, 14, 13, 12, kZ);
    std::size_t done = 0;
    if (count >= kShortRun)
        done =
            fnLookUp24(source, target, count, Entries(palette, paletteCount, order, 0).fnGetData());
    scalar::fnIndex8ToRgb24(source + done, target + 3 * done, count - done, palette, paletteCount);
}

void fnIndex8ToArgb32(const std::uint8_t* source, std::uint8_t* target, std::size_t count,
                      const std::uint8_t* palette, std::size_t paletteCount) {
    const __m128i order = _mm_setr_epi8(kZ, 2, 1, 0, kZ, 6, 5, 4, kZ, 10, 9, 8, kZ, 14, 13, 12);
    std::size_t done = 0;
    if (count >= kShortRun)
        done = fnLookUp32(source, target, count,
                          Entries(palette, paletteCount, order, 0xFF).fnGetData());
    scalar::fnIndex8ToArgb32(source + done, target + 4 * done, count - done, palette, paletteCount);
}

// A byte HL becomes the 16 bits 0L0H, of which the low byte comes first in memory.
void fnIndex4ToIndex8(const std::uint8_t* source, std::uint8_t* target, std::size_t count) {
    const __m256i nibbles = _mm256_set1_epi8(0x0F);
    for (; count >= 32; count -= 32, source += 16, target += 32) {
        const __m256i bytes = _mm256_cvtepu8_epi16(fnLoad128(source)); // 00HL
        const __m256i spread =
            _mm256_or_si256(_mm256_srli_epi16(bytes, 4), _mm256_slli_epi16(bytes, 8)); // HL0H
        fnStore(target, _mm256_and_si256(spread, nibbles));
    }
    scalar::fnIndex4ToIndex8(source, target, count);
}

} // namespace
} // namespace avx2

void fnUseAvx2Palette(Kernels& table) {
    table.fnIndex4ToIndex8 = avx2::fnIndex4ToIndex8;
    table.fnIndex8ToBgr24 = avx2::fnIndex8ToBgr24;
    table.fnIndex8ToBgrx32 = avx2::fnIndex8ToBgrx32;
    table.fnIndex8ToRgb24 = avx2::fnIndex8ToRgb24;
    table.fnIndex8ToArgb32 = avx2::fnIndex8ToArgb32;
}

} // namespace q32
