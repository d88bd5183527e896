/// @file
/// Counts of the values of pixels.
#pragma once

#include "q32Base/framework/Values.h"
#include "q32Base/platform/Export.h"

#include <cstdint>

class CqImage;
class CqMask;
class CqProgressDisplay;

/// How many pixels have each value of each channel. The luminance is the library's grey: (77 red +
/// 150 green + 29 blue) / 256, rounded down.
struct CqHistogram {
    std::uint64_t m_nRed[256] = {};       ///< pixels with each value of red
    std::uint64_t m_nGreen[256] = {};     ///< with each value of green
    std::uint64_t m_nBlue[256] = {};      ///< with each value of blue
    std::uint64_t m_nLuminance[256] = {}; ///< with each grey
    std::uint64_t m_nPixels = 0;          ///< the sum of each of the four
};

/// Counts the colours of an image of any depth, with palettes resolved. Of 32-bit images, pixels
/// whose alpha is 0 show nothing and aren't counted.
///
/// Returns false, with `histogram` unchanged, after an abort, for an image without storage, and for
/// a mask that isn't 8 bits deep. Allocates nothing if one thread does it. Raises the memory
/// exception, also for lost pixels of a scratch file. Called from the thread that uses the image
/// and the mask.
/// @param rect      clipped to the image; null: all of it
/// @param mask      counts only pixels whose weight is 128 or more; in the image's coordinates.
///                  Null: all pixels
/// @param progress  may be null
Q32_API bool q32CountHistogram(const CqImage& image, const CRect* rect, const CqMask* mask,
                               CqHistogram& histogram, CqProgressDisplay* progress);
