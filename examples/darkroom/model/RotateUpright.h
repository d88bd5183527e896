#pragma once

class CqImage;
class CqProgressDisplay;

namespace darkroom {

/// Rotates and flips a picture as its file says it is to be shown.
/// @param orientation  from 1 to 8, as in CqPictureMetadata; others change nothing
/// @return false when the user aborted it, with the picture in any state
/// Raises the memory exception.
bool fnRotateUpright(CqImage& image, unsigned int orientation, CqProgressDisplay* progress);

} // namespace darkroom
