/// @file
/// GIF and WebP, by the interface for formats of a host's own (CqPictureCodec.h). They are built
/// where giflib and libwebp are installed, for this project's own programs, and aren't installed; a
/// host that wants them compiles the sources with its own: GifFile.cpp, WebpFile.cpp,
/// WebFormats.cpp and WebFormats_p.h.
///
/// GIF is read. The first frame is the picture, on a canvas of the size that the file declares, or
/// larger if the frame needs it. A frame that fills the canvas and has no transparent colour
/// becomes an 8-bit image with the frame's palette, or the file's; any other becomes 32 bits, with
/// alpha 0 where nothing is painted. Further frames, comments and data of other programs are noted
/// in the result.
///
/// WebP is read and written. The first frame is the picture: 32 bits if it has alpha or doesn't
/// fill the canvas, otherwise 24. Further frames, a profile and metadata are noted in the result.
/// An image is written with CqPictureOptions::m_nQuality: up to 99 with losses, from 100 on
/// exactly, colours of transparent pixels included. Neither metadata nor the resolution is written.
/// A side of more than 16,383 pixels can't be saved: -5.
///
/// The decoder of WebP holds the file and the picture, up to twice; the limit on memory of decoders
/// applies to that, and the pixels that it has decoded are stored after each 64 KiB of the file.
/// Encoding holds the picture. Both libraries allocate memory of their own, and one that runs out
/// of it ends the work as exhausted memory does.
#pragma once

#include "plugins/PictureTypes.h"

/// The number of GIF.
inline constexpr auto PICTURE_GIF = static_cast<PICTURE_FORMAT>(PICTURE_OF_HOST + 1);
/// The number of WebP.
inline constexpr auto PICTURE_WEBP = static_cast<PICTURE_FORMAT>(PICTURE_OF_HOST + 2);

/// Adds both formats for the rest of the program. False if their numbers are taken. Not in the
/// installed library.
bool q32AddWebFormats();
