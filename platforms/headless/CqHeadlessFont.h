#pragma once

#include "q32Base/platform/CqScreenService.h"
#include "q32Base/platform/Export.h"

#include <cstddef>

/// The one font of the headless screen, in whole multiples of its size: signs of the same width, a
/// picture each for 20h to 7Eh, and an empty box for any other byte.
class Q32_API CqHeadlessFont final : public CqFontObject {
public:
    /// Height of the smallest size; a sign is 6 pixels wide there.
    static constexpr int kHeight = 11;

    /// The largest size that isn't higher than asked for, or the smallest.
    /// @param height  as in LOGFONTA: below 0, it counts without the two rows of leading
    explicit CqHeadlessFont(LONG height);

    TEXTMETRICA fnGetMetrics() const;
    SIZE fnMeasure(std::size_t count) const;
    /// Whether a pixel of a sign's cell is drawn.
    bool fnIsInk(char sign, int x, int y) const;

private:
    int m_nScale;
};
