/// @file
/// Conversion to grey.
#pragma once

#include "q32Base/platform/Export.h"

class CqImage;
class CqProgressDisplay;

/// Converts an image of any depth to grey: (77 red + 150 green + 29 blue) / 256, rounded down, in
/// every channel. Palette colours are resolved.
///
/// Returns false, with the image unchanged, after an abort, for any other number of bits, and for
/// an image without storage. Raises the memory exception, with the image unchanged. Called from the
/// thread that uses the image.
/// @param bits      of the result: 8 with the grey ramp as palette, 24, or 32, which keeps the
///                  alpha of a 32-bit image and is opaque otherwise
/// @param progress  may be null
Q32_API bool q32ConvertToGrey(CqImage& image, unsigned int bits, CqProgressDisplay* progress);
