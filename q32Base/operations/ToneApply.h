/// @file
/// Tone curves applied to images.
#pragma once

#include "q32Base/framework/Values.h"
#include "q32Base/platform/Export.h"

class CqImage;
class CqProgressDisplay;

/// A tone curve for each channel: the new value of each old one.
struct CqToneCurves {
    unsigned char m_Red[256];   ///< at 8 bits, that of grey
    unsigned char m_Green[256]; ///< not read at 8 bits
    unsigned char m_Blue[256];  ///< not read at 8 bits
};

/// Maps the channels of a rectangle, clipped to the image, through tone curves, in place. Acts on
/// 8-bit grey images, which use the curve of red alone, and on 16, 24 and 32 bits; alpha stays. At
/// 16 bits, a channel's low bits count as 0, and those of the result are dropped.
///
/// Returns false after an abort, which leaves the rows of tiles done so far changed, and, with
/// nothing changed, for any other image and if nothing of the rectangle lies in it. Allocates
/// nothing. Raises the memory exception for lost pixels of a scratch file. Called from the thread
/// that uses the image.
/// @param rect      null: the whole image
/// @param progress  may be null
Q32_API bool q32ApplyToneCurves(CqImage& image, const CRect* rect, const CqToneCurves& curves,
                                CqProgressDisplay* progress);
