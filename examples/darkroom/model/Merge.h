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
    ALPHA      ///< as far as the second picture's alpha shows it
};

/// Position and rule of a merge.
struct MergePlan {
    MergeRule m_eRule = MergeRule::ALL;
    CqColor m_Key;
    int m_nX = 0; ///< position of its top left corner; may be outside
    int m_nY = 0;
};

/// The rectangle of a picture that another one covers, whatever the rule; empty for none.
CRect fnFindMerged(const CqImage& image, const CqImage& over, const MergePlan& plan);

/// Lays `over`, of any depth, over a picture of 8 bits of grey, 24 or 32 bits. A second picture
/// with alpha blends by the rule ALPHA; by the others it replaces, alpha included.
/// @param selection  used by the rule SELECTION, in the picture's coordinates
/// @return false when the user aborted it, with part of it laid over the picture
/// Raises the memory exception.
bool fnMergePicture(CqImage& image, const CqImage& over, const MergePlan& plan,
                    const CqMask* selection, CqProgressDisplay* progress);

} // namespace darkroom
