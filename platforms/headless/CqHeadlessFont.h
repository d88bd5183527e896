#pragma once

#include "q32Base/platform/CqScreenService.h"
#include "q32Base/platform/Export.h"

#include <cstddef>

/// The only font of the headless screen, in integer multiples of its size: fixed-width glyphs for
/// 20h to 7Eh, and an empty box for any other byte.
class Q32_API CqHeadlessFont final : public CqFontObject {
public:
    /// Height in pixels of the smallest size, whose glyphs are 6 pixels wide.
    static constexpr int kHeight = 11;

    /// Chooses the largest size that is at most as high as requested, or the smallest.
    /// @param height  as in LOGFONTA: below 0, it excludes the two rows of leading
    explicit CqHeadlessFont(LONG height);

    /// Metrics in pixels: fixed pitch, weight 400, characters 20h to 7Fh.
    TEXTMETRICA fnGetMetrics() const;
    /// Size in pixels of a line of `count` characters; at most 00FFFFFFh wide.
    SIZE fnMeasure(std::size_t count) const;
    /// Whether a pixel of a glyph's cell is drawn.
    bool fnIsInk(char sign, int x, int y) const;

private:
    int m_nScale;
};
