/// @file Lays a second picture over the first one.
#pragma once

#include "q32Base/framework/Values.h"
#include "q32Base/image/CqMask.h"

class CqImage;
class CqProgressDisplay;

namespace darkroom {

/// Which pixels of the second picture cover the first one.
enum class MergeRule {
    ALL,       ///< every pixel
    KEY,       ///< all but a key colour
    SELECTION, ///< pixels inside the selection
    ALPHA      ///< pixels that the second picture's alpha shows
};

/// Position and rule of a merge.
struct MergePlan {
    MergeRule m_eRule = MergeRule::ALL;
    CqColor m_Key;
    int m_nX = 0; ///< position of its top left corner; may be outside
    int m_nY = 0;
};

/// Alpha from this value up counts as opaque: the library's merge doesn't blend, so values in
/// between would show as white.
inline constexpr int kOpaqueFrom = 128;

/// The rectangle of a picture that another one covers, whatever the rule; empty for none.
CRect fnFindMerged(const CqImage& image, const CqImage& over, const MergePlan& plan);

/// Lays `over`, which is converted to 24 bits, over a picture of 24 bits.
/// @param selection  used by the rule SELECTION, in the picture's coordinates
/// @return false when the user aborted it, with part of it laid over the picture
/// Raises the memory exception.
bool fnMergePicture(CqImage& image, CqImage& over, const MergePlan& plan, CqMask* selection,
                    CqProgressDisplay* progress);

/// Moves a mask for its own lifetime.
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
