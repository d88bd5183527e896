/// @file
/// The buffers that a tile map keeps for drawing: the device bitmap, the staged pixels and the
/// palette.
#pragma once

#include <cstdint>

class CqTileMap;

namespace q32 {

/// Creates the map's `DrawDib` and `DrawScratch` if there are none, and on an 8-bit display
/// `DrawPalette` for an image of fewer than 16 bits; replaces `DrawDib` when the depth of the
/// display has changed. New memory is zeroed, so drawing from it before anything was staged is
/// defined. False, with everything unchanged, when memory or a palette can't be allocated, there is
/// no display property, or the display's depth isn't 8, 24 or 32 bits.
///
/// A change of depth replaces `DrawDib` even where the old block is large enough. That is
/// deliberate: header, colour table and rows are laid out for one depth, and a zeroed block shows
/// nothing that was staged for another depth.
///
/// `DrawDib` is a header, on an 8-bit display a table of 256 entries of four bytes, which begins
/// with the 16-bit indices 0 to 255, and the pixels.
bool fnEnsureDrawBuffers(CqTileMap& map);

/// The same, and replaces buffers that are too small for a part of `width` by `height` pixels. The
/// header's width and height are set by fnDrawRows.
bool fnEnsureDrawBuffers(CqTileMap& map, std::uint32_t width, std::uint32_t height);

} // namespace q32
