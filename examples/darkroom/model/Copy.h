#pragma once

class CqImage;
class CqMask;
class CqProgressDisplay;

namespace darkroom {

/// Copies what a selection holds of a picture; null: all of it. Unless the selection is a full
/// rectangle, the copy has 32 bits, and its alpha is multiplied by the selection's weights.
/// @return false when the user aborted it
/// Raises the memory exception.
bool fnCopyPart(CqImage& image, CqMask* selection, CqImage& copy, CqProgressDisplay* progress);

} // namespace darkroom
