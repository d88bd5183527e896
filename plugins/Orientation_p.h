/// @file
/// The orientation inside of metadata blocks, which may hold any bytes.
#pragma once

#include <span>

namespace q32 {

/// The orientation that EXIF declares, from 1 to 8; 0 if there is none.
unsigned int fnGetExifOrientation(std::span<const unsigned char> exif);
/// Replaces the orientation in place; false, with nothing changed, if there is none to replace.
bool fnSetExifOrientation(std::span<unsigned char> exif, unsigned int orientation);
/// Replaces each copy of the orientation in XMP in place.
void fnSetXmpOrientation(std::span<unsigned char> xmp, unsigned int orientation);

} // namespace q32
