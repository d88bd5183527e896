/// @file
/// What a tile map keeps for drawing: the device bitmap, the staged pixels and the palette.
#pragma once

#include <cstdint>

class CqTileMap;

namespace q32 {

/// Makes the map's `DrawDib` and `DrawScratch` if there are none, and on an 8-bit display
/// `DrawPalette` for an image of fewer than 16 bits; replaces `DrawDib` when the depth of the
/// display has changed. New memory is zero, so what is drawn from it before anything was staged is
/// defined. False, with everything left as it was, when memory or a palette can't be had, there is
/// no display property, or the display has another depth than 8, 24 or 32 bits.
///
/// A change of depth replaces `DrawDib` even where the old block is large enough. That is
/// deliberate: header, colour table and rows are laid out for one depth, and a block of zeros shows
/// nothing of what was staged for another.
///
/// `DrawDib` is a header, on an 8-bit display a table of four bytes for each of 256 entries that
/// begins with the 16-bit indices 0 to 255, and the pixels.
bool fnEnsureDrawBuffers(CqTileMap& map);

/// The same, and replaces what is too small for a part of `width` by `height` pixels. The header's
/// width and height are set by fnDrawRows.
bool fnEnsureDrawBuffers(CqTileMap& map, std::uint32_t width, std::uint32_t height);

} // namespace q32
