#pragma once

#include "q32Base/framework/Values.h"
#include "q32Base/platform/Export.h"

class CqImage;
class CqMask;
class CqProgressDisplay;

/// How strongly one image covers another.
struct CqBlendParam {
    unsigned char m_nOpacity = 255; ///< 0 changes nothing
    /// Weights from 0 to 255, 8 bits deep, in the target's coordinates; pixels that it doesn't
    /// cover stay unchanged. Null: 255 everywhere. Not owned.
    const CqMask* m_pMask = nullptr;
};

/// Blends a rectangle of `source` over `target`, so that its corner lands on (x, y), clipped to
/// both. The source has any depth, and its palette is resolved; only 32 bits have alpha, all other
/// depths are opaque. The target is an 8-bit grey, 24-bit or 32-bit image; onto grey, the source's
/// colour counts as (77 red + 150 green + 29 blue) / 256, rounded down.
///
/// For each pixel, where R(v) is v / 255 rounded to the nearest integer:
/// - The weight is w = R(R(mask x opacity) x source alpha). A weight of 0 leaves the pixel as it
///   is.
/// - At 8 and 24 bits, a channel becomes R(source x w + target x (255 - w)).
/// - At 32 bits with a target alpha of a, the new alpha is w + R(a x (255 - w)), and a channel
///   becomes (source x 255 w + target x a (255 - w)) / (255 w + a (255 - w)), rounded to the
///   nearest integer, halves up. For an opaque target that is the rule of 24 bits.
///
/// Returns false after an abort, which leaves the rows of tiles done so far changed, and, with
/// nothing changed, for images without storage, a target of any other kind, a mask that isn't 8
/// bits deep, and if both images are the same. Allocates nothing. Raises the memory exception for
/// lost pixels of a scratch file. Called from the thread that uses the images.
/// @param rect      null: all of the source
/// @param progress  may be null
Q32_API bool q32Blend(const CqImage& source, const CRect* rect, CqImage& target, int x, int y,
                      const CqBlendParam& param, CqProgressDisplay* progress);
