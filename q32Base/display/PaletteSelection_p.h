/// @file
/// The palette for drawing on an 8-bit display. On other displays, and without a device context,
/// these functions do nothing.
#pragma once

class CDC;
class CqTileMap;

namespace q32 {

/// Selects and realizes the image's own palette, or the one of 216 colours for an image of 16 bits
/// and more; the previous one is kept in the map's `SavedPalette`. False when memory runs out.
bool fnSelectDrawPalette(CqTileMap& map, CDC* dc, bool background);

/// Selects the palette in `SavedPalette` again, in the background, and clears `SavedPalette`.
void fnRestorePalette(CqTileMap& map, CDC* dc);

} // namespace q32
