/// @file
/// Picture files: PNG, JPEG, TIFF and BMP into an image and back.
///
/// Files are reached through the platform's file service, so a platform must be in force. Pixels go
/// row by row between the file and the image's tiles; no second copy of the picture is ever held,
/// but for what a format itself needs: a progressive JPEG's coefficients, and one strip or row of
/// tiles of a TIFF.
///
/// No function here throws: every failure is told by a CqPictureResult. Nothing is locked; an image
/// is used by one thread at a time.
///
/// What is read:
/// - palette pictures of up to 4 bits become 4-bit images, of 8 bits 8-bit images, with their
///   palette; grey becomes 8 bits with the grey ramp; colour 24 bits; colour or grey with alpha 32
///   bits; 16 bits a channel are rounded to 8;
/// - BMP of 16 bits in 5-5-5 or 5-6-5 becomes a 16-bit image; of 32 bits, 24 bits unless the file
///   tells an alpha mask. RLE8 goes through the DIB interchange of CqImage, whose oddities hold;
/// - CMYK becomes 24 bits by plain multiplication. Gamma, colour profiles and the orientation that
///   a camera notes are not applied;
/// - the first picture of a file that holds several;
/// - resolution, rounded to whole dots per inch; the image's start value where the file tells none;
/// - the title (PNG: text "Title"; TIFF: document name, else description), its bytes as they stand.
/// A picture of 4 GiB or more is refused as too large for memory.
#pragma once

#include "plugins/PictureTypes.h"
#include "q32Base/platform/Export.h"

#include <span>

class CqImage;

/// All formats that can be read.
Q32_API std::span<const CqPictureFormat> q32GetPictureFormats();
/// The format that the extension of `path` tells, without regard to case; null when it tells none.
Q32_API const CqPictureFormat* q32FindPictureFormat(const char* path);

/// Reads a picture; the format is told by the file's first bytes. On success `image` gets the new
/// storage, title (empty if the file has none), resolution and plug-in number, and its plug-in's
/// object is deleted. Otherwise it keeps all that it had. `image` may be without storage; accessors
/// on it must be gone. Old and new storage exist at the same time.
///
/// A file that ends early or holds broken data gives -6 also where a lenient decoder would fill the
/// rest, and no image.
Q32_API CqPictureResult q32ReadPicture(const char* path, CqImage& image,
                                       CqPictureProgress* progress = nullptr);

/// Writes a picture. All is written to a new file beside `path` first, which then takes its place:
/// a file that stood there before is whole until then, and stays when anything fails. An image
/// without storage can't be saved: -5.
///
/// 4 and 8 bits are written with their palette (a full grey ramp as grey; JPEG: other palettes as
/// colour), 16 bits as colour (BMP: as 5-6-5), 32 bits with alpha (JPEG: without). Indices beyond
/// the palette count as black. All formats keep the resolution if both values
/// are above 0; PNG and TIFF keep the title.
Q32_API CqPictureResult q32WritePicture(const char* path, CqImage& image, PICTURE_FORMAT format,
                                        const CqPictureOptions& options = {},
                                        CqPictureProgress* progress = nullptr);
