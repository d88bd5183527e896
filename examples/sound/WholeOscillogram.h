#pragma once

#include "q32Base/image/CqImage.h"
#include "q32Base/sound/CqWave.h"

/// Draws all of a sound as an oscillogram over an image of 24 bits, except for less than a column's
/// worth of frames at its end. A sound without frames gives the background.
///
/// A column of `CqWave::fnRasterize` covers a whole number of bytes, and one that isn't a number of
/// frames reads samples out of step. So each column gets the same number of frames here, and the
/// result is stretched if that leaves fewer columns. Raises the memory exception.
inline void fnDrawOscillogram(const CqWave& wave, CqImage& image) {
    const std::uint32_t frames = wave.fnGetFrameCount();
    if (frames == 0)
        return wave.fnRasterize(image, 0, 0, false, false);
    const std::uint32_t step = (frames - 1) / image.Width + 1;
    const std::uint32_t columns = frames / step;
    CqImage drawn(columns, image.Height, 24, nullptr, 0);
    wave.fnRasterize(drawn, 0, columns * step, false, false);
    drawn.fnResample(image.Width, image.Height, false, nullptr);
    image.fnSwapBuf(drawn);
}
