/// @file
/// A second picture laid over the first one.
#pragma once

#include "q32Base/image/CqMask.h"

class CqImage;

namespace darkroom {

enum class MergeRule {
    ALL,       ///< every pixel
    KEY,       ///< all but a key colour
    SELECTION, ///< what falls into the selection
    ALPHA      ///< what the second picture's own alpha shows
};

struct MergePlan {
    MergeRule m_eRule = MergeRule::ALL;
    CqColor m_Key;
    int m_nX = 0; ///< where its top left corner comes to lie; may be outside
    int m_nY = 0;
};

/// An alpha of this and above counts as opaque: the library's merge doesn't blend, so that what is
/// in between would show as white.
inline constexpr int kOpaqueFrom = 128;

/// Lays `over`, which is converted to 24 bits, over a picture of 24 bits.
/// @param selection  for that rule, in the picture's coordinates
/// Raises the memory exception.
void fnMergePicture(CqImage& image, CqImage& over, const MergePlan& plan, CqMask* selection);

} // namespace darkroom
