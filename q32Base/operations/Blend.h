/// @file
/// Blending of images.
#pragma once

#include "q32Base/framework/Values.h"
#include "q32Base/platform/Export.h"

class CqImage;
class CqMask;
class CqProgressDisplay;

/// What a blend does with the source's alpha. Any value but BLEND_REPLACE counts as BLEND_OVER.
enum BLEND_MODE : int {
    BLEND_OVER = 0,   ///< it covers the target: a transparent source changes nothing
    BLEND_REPLACE = 1 ///< it is mixed like a channel: a transparent source erases a 32-bit target
};

/// How strongly one image covers another.
struct CqBlendParam {
    unsigned char m_nOpacity = 255; ///< 0 changes nothing

    /// Weights from 0 to 255, 8 bits deep, in the target's coordinates; pixels that it doesn't
    /// cover stay unchanged. Null: 255 everywhere. Not owned.
    const CqMask* m_pMask = nullptr;
    /// To apply an effect inside a soft selection, replace by the picture with the effect.
    BLEND_MODE m_eMode = BLEND_OVER;
};

/// Blends a rectangle of `source` over `target`, so that its corner lands on (x, y), clipped to
/// both. The source has any depth, and its palette is resolved; only 32 bits have alpha, all other
/// depths are opaque. The target is an 8-bit grey, 24-bit or 32-bit image; onto grey, the source's
/// colour counts as (77 red + 150 green + 29 blue) / 256, rounded down.
///
/// For each pixel, where R(v) is v / 255 rounded to the nearest integer, s and t are channels of
/// source and target, and a and b their alphas:
/// - The weight w is R(mask x opacity), and to cover, R(R(mask x opacity) x a). Where it is 0, the
///   pixel stays as it is.
/// - At 8 and 24 bits, a channel becomes R(s w + t (255 - w)).
/// - At 32 bits, to cover: alpha becomes w + R(b (255 - w)), and a channel
///   (255 w s + b (255 - w) t) / (255 w + b (255 - w)).
/// - At 32 bits, to replace: alpha becomes R(a w + b (255 - w)), and a channel
///   (a w s + b (255 - w) t) / (a w + b (255 - w)), or s where that divides by 0.
/// - Such quotients are rounded to the nearest integer, halves up. So onto an opaque target an
///   opaque source gives the colours of 24 bits, and a weight of 255 that replaces is a copy.
///
/// Returns false after an abort, which leaves the rows of tiles done so far changed, and, with
/// nothing changed, for images without storage, a target of any other kind, a mask that isn't 8
/// bits deep, and if both images are the same. Allocates nothing. Raises the memory exception for
/// lost pixels of a scratch file. Called from the thread that uses the images.
/// @param rect      null: all of the source
/// @param progress  may be null
Q32_API bool q32Blend(const CqImage& source, const CRect* rect, CqImage& target, int x, int y,
                      const CqBlendParam& param, CqProgressDisplay* progress);
