/// @file
/// Checksums of results, random arguments, and the parts of the list.
#pragma once

#include "q32Base/framework/Values.h"
#include "q32Base/image/CqColor.h"
#include "tests/support/Random.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <type_traits>

class CqDisplayWorld;
class CqHeadlessWorld;
class CqImage;

/// FNV-1a of 64 bits.
class Checksum {
public:
    void fnAdd(const void* bytes, std::size_t count);
    /// A number, by its bytes.
    template <typename Number>
    requires std::is_arithmetic_v<Number>
    void fnAdd(Number number) { fnAdd(&number, sizeof(number)); }
    /// Size, palette and pixels.
    void fnAdd(CqImage& image);
    /// Prints a line of the list.
    void fnPrint(const std::string& name) const;

private:
    std::uint64_t m_nValue = 0xCBF29CE484222325u;
};

struct Size {
    unsigned m_nWidth;
    unsigned m_nHeight;
};

inline constexpr std::array<Size, 4> kSizes = {{{1, 1}, {7, 3}, {130, 129}, {300, 65}}};
inline constexpr std::array<unsigned, 5> kDepths = {4, 8, 16, 24, 32};
inline constexpr std::uint32_t kSeeds = 10;

/// From `low` to `high`.
int fnBetween(Random& random, int low, int high);
CqColor fnColor(Random& random);
/// A rectangle that overlaps the image, or at least touches it.
CRect fnRect(Random& random, const CqImage& image);

/// The name of a line.
std::string fnName(const char* what, unsigned bits, const Size& size, std::uint32_t seed);
/// The random numbers of a line.
Random fnRandom(unsigned bits, const Size& size, std::uint32_t seed);
/// Reports that a call, which was made on purpose, has failed: there is no result to compare. The
/// program then fails.
void fnReport(const std::string& name);

// The parts of the list.

/// Member functions of images that change them.
void fnPrintMethods(unsigned bits, const Size& size);
/// Functions that take an image.
void fnPrintFunctions(unsigned bits, const Size& size);
/// What a screen shows of an image: scaled and with gamma, and without its key colour.
void fnPrintDrawing(CqDisplayWorld& world, int screenBits, unsigned bits, const Size& size);
/// Parts, points and crossings of curves.
void fnPrintCurves();
/// Bitmaps with a header, as the library makes them and as it takes them.
void fnPrintBitmaps();
/// Files of pictures and sounds, as the library writes them, and what it reads from these and
/// others.
void fnPrintPictures(CqHeadlessWorld& world);
void fnPrintSounds(CqHeadlessWorld& world);
