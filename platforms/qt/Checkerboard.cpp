#include "platforms/qt/CanvasPixels_p.h"
#include "platforms/qt/Checkerboard_p.h"

namespace q32::qt {

namespace {

/// A sum of products by 255, in two fields, divided by 255 and rounded to nearest.
constexpr std::uint32_t fnDivide(std::uint32_t sums) {
    sums += 0x00800080u;
    return (sums + (sums >> 8 & 0x00FF00FFu)) >> 8 & 0x00FF00FFu;
}

constexpr std::uint32_t fnBlend(std::uint32_t pixel, std::uint32_t below) {
    constexpr std::uint32_t kFields = 0x00FF00FFu;
    const std::uint32_t alpha = pixel >> 24;
    const std::uint32_t rest = 255 - alpha;
    const std::uint32_t redBlue = (pixel & kFields) * alpha + (below & kFields) * rest;
    const std::uint32_t green = (pixel >> 8 & 0xFFu) * alpha + (below >> 8 & 0xFFu) * rest;
    return kOpaque | fnDivide(redBlue) | fnDivide(green) << 8;
}

} // namespace

void fnLayOverBoard(std::uint32_t* row, std::size_t count, int x, int y) {
    for (std::size_t i = 0; i < count; ++i)
        if (row[i] < kOpaque)
            row[i] = fnBlend(row[i], fnBoardPixel(x + static_cast<int>(i), y));
}

void fnLayPremultiplied(std::uint32_t* row, std::size_t count, int x, int y) {
    constexpr std::uint32_t kFields = 0x00FF00FFu;
    for (std::size_t i = 0; i < count; ++i) {
        if (row[i] >= kOpaque)
            continue;
        const std::uint32_t below = fnBoardPixel(x + static_cast<int>(i), y);
        const std::uint32_t rest = 255 - (row[i] >> 24);
        // No channel exceeds its alpha by rounding, so no sum exceeds 255.
        row[i] = kOpaque | ((row[i] & kFields) + fnDivide((below & kFields) * rest)) |
                 ((row[i] >> 8 & 0xFFu) + fnDivide((below >> 8 & 0xFFu) * rest)) << 8;
    }
}

} // namespace q32::qt
