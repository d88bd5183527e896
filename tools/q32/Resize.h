/// @file Sizes and resizing, for all commands that reduce pictures.
#pragma once

#include "tools/q32/Pictures.h"
#include "tools/q32/Words.h"

namespace tool {

/// The size that a picture gets: inside the box of `spec` with its proportions, at least one pixel.
Extent fnFitSize(const Extent& picture, const SizeSpec& spec);
/// Resizes by the cubic filter. Palettes and 16 bits become 24 bits; 8-bit greys stay.
void fnFilterSize(CqImage& image, const Extent& size, Session& session);

} // namespace tool
