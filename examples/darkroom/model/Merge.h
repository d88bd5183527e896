/// @file
/// A second picture laid over the first one.
#pragma once

#include "q32Base/image/CqMask.h"

class CqImage;
class CqProgressDisplay;

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
/// @return false when the user ended it, with some of it laid over the picture
/// Raises the memory exception.
bool fnMergePicture(CqImage& image, CqImage& over, const MergePlan& plan, CqMask* selection,
                    CqProgressDisplay* progress);

/// Moves a mask for as long as it lives.
class MovedMask {
public:
    MovedMask(CqMask& mask, const CPoint& place)
        : m_Mask(mask), m_Place(mask.m_rectBound.TopLeft()) {
        m_Mask.fnSetPos(place);
    }
    ~MovedMask() { m_Mask.fnSetPos(m_Place); }
    MovedMask(const MovedMask&) = delete;
    MovedMask& operator=(const MovedMask&) = delete;

private:
    CqMask& m_Mask;
    const CPoint m_Place;
};

} // namespace darkroom
