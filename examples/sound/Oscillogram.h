#pragma once

#include "q32Base/image/CqImage.h"
#include "q32Base/sound/CqWave.h"

/// Draws all of a sound as an oscillogram over an image of 24 bits, except for less than a column's
/// worth of frames at its end. A sound without frames gives the background.
///
/// A column of `CqWave::fnRasterize` covers a whole number of bytes, and one that isn't a number of
/// frames reads samples out of step. So the frames are a multiple of the columns here; a sound of
/// fewer frames is drawn with a column for each and then stretched. Raises the memory exception.
inline void fnDrawOscillogram(const CqWave& wave, CqImage& image) {
    const std::uint32_t frames = wave.fnGetFrameCount();
    if (frames >= image.Width || frames == 0)
        return wave.fnRasterize(image, 0, frames - frames % image.Width, false, false);
    CqImage narrow(frames, image.Height, 24, nullptr, 0);
    wave.fnRasterize(narrow, 0, frames, false, false);
    narrow.fnResample(image.Width, image.Height, false, nullptr);
    image.fnSwapBuf(narrow);
}
