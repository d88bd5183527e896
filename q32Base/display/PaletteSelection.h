/// @file
/// The palette that an 8-bit display is drawn with. Other displays need none: nothing happens
/// there, nor without a device context.
#pragma once

class CDC;
class CqTileMap;

namespace q32 {

/// Selects and realizes the image's own palette, or that of 216 colours for an image of 16 bits and
/// more; the former one is kept in the map's `SavedPalette`. False when memory runs out.
bool fnSelectDrawPalette(CqTileMap& map, CDC* dc, bool background);

/// Selects the palette kept in `SavedPalette` back, in the background, and forgets it.
void fnRestorePalette(CqTileMap& map, CDC* dc);

} // namespace q32
