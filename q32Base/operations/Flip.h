/// @file
/// Images mirrored in place.
#pragma once

#include "q32Base/platform/Export.h"

class CqImage;
class CqProgressDisplay;

/// Mirror an image of any depth in place: `q32FlipHorizontal` exchanges left and right,
/// `q32FlipVertical` top and bottom.
///
/// Return false for an image without storage and after an abort. An abort, and any exception that
/// progress raises, leave the image unchanged: the rows done so far are flipped back. Raise the
/// memory exception, which for lost pixels of a scratch file comes at the end. Called from the
/// thread that uses the image.
/// @param progress  may be null
Q32_API bool q32FlipHorizontal(CqImage& image, CqProgressDisplay* progress);
Q32_API bool q32FlipVertical(CqImage& image, CqProgressDisplay* progress);
