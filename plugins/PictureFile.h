/// @file
/// Reads picture files (PNG, JPEG, TIFF and BMP) into an image, and writes them.
///
/// Files are accessed through the platform's file service, so a platform must be attached. Pixels
/// go row by row between the file and the image's tiles; no second copy of the picture is held,
/// except for what a format itself needs: the coefficients of a progressive JPEG, one strip or one
/// row of tiles of a TIFF, and the coded data of a run-length coded BMP.
///
/// No function here throws: every failure is reported by a CqPictureResult. Nothing is locked; an
/// image may be used by only one thread at a time.
///
/// Conversions on reading:
/// - palette pictures of up to 4 bits become 4-bit images, those of 8 bits 8-bit images, with their
///   palette; grey becomes 8 bits with the grey ramp; colour 24 bits; colour or grey with alpha 32
///   bits; 16 bits per channel are rounded to 8,
///   or dithered, as the host chooses (`CqPictureLimits::m_bDither`);
/// - BMP of 16 bits in 5-5-5 or 5-6-5 becomes a 16-bit image; of 32 bits, a 24-bit image unless the
///   file declares an alpha mask. RLE8 goes through the DIB interchange of CqImage, whose rules
///   apply;
/// - CMYK becomes 24 bits by plain multiplication. Gamma, colour profiles and a camera's
///   orientation tag are not applied;
/// - only the first picture of a file that holds several;
/// - resolution, rounded to whole dots per inch; the image's default where the file declares none;
/// - the title (PNG: text "Title"; TIFF: document name, else description), its bytes unchanged.
///
/// A picture of 4 GiB or more is rejected as too large for memory.
///
/// A host adds formats of its own by `q32AddPictureFormat` (CqPictureCodec.h).
#pragma once

#include "plugins/CqPictureMetadata.h"
#include "plugins/PictureTypes.h"
#include "q32Base/platform/Export.h"

#include <span>

class CqImage;

/// All formats that can be read, in the order in which files are recognised. The list has static
/// storage; formats that a host adds later are not in it.
Q32_API std::span<const CqPictureFormat> q32GetPictureFormats();
/// The format of the extension of `path`, without regard to case; null for an unknown extension or
/// none. The record has static storage.
Q32_API const CqPictureFormat* q32FindPictureFormat(const char* path);

/// Reads a picture; its format is recognised by the file's first bytes. On success `image` gets the
/// new storage, title (empty if the file has none), resolution and plug-in number, and its plug-in
/// data object is deleted. Otherwise `image` is unchanged. `image` may be without storage; there
/// must be no accessors on it. Old and new storage exist at the same time.
///
/// A truncated or corrupt file gives -6 and no image, even where a lenient decoder would fill in
/// the rest.
/// @param progress  called from this thread; may be null
Q32_API CqPictureResult q32ReadPicture(const char* path, CqImage& image,
                                       CqPictureProgress* progress = nullptr);
/// The same with limits of the host's, which may also ask for a reduced picture. The other form
/// uses the defaults.
Q32_API CqPictureResult q32ReadPicture(const char* path, CqImage& image,
                                       const CqPictureLimits& limits,
                                       CqPictureProgress* progress = nullptr);
/// The same with the file's metadata: of a PNG EXIF, XMP and the profile; of a JPEG these and IPTC,
/// except for XMP and profiles beyond what their first segments declare; of a TIFF XMP, IPTC and
/// the profile, but not EXIF, whose blocks are spread over the file. Other formats have none. The
/// result then notes as parts only what neither the image nor the metadata holds. The orientation
/// isn't applied.
/// @param metadata  replaced on success, otherwise unchanged
Q32_API CqPictureResult q32ReadPicture(const char* path, CqImage& image,
                                       CqPictureMetadata& metadata,
                                       const CqPictureLimits& limits = {},
                                       CqPictureProgress* progress = nullptr);

/// Describes a picture by what its file declares, in the time that reading the headers takes: no
/// pixel is decoded, and nothing is allocated for any. What headers show to be corrupt, unsupported
/// or beyond the limits fails as a read would; damaged pixels aren't noticed. A PNG must be there
/// up to its end, a BMP without compression with all of its rows; a title that a PNG has behind its
/// pixels isn't read but noted in the result, and of a JPEG only what is ahead of its first scan
/// counts. A format of the host's own is read up to its first row.
/// @param facts     replaced on success, otherwise unchanged
/// @param metadata  as for q32ReadPicture; may be null
/// @param progress  called from this thread; may be null
Q32_API CqPictureResult q32DescribePicture(const char* path, CqPictureFacts& facts,
                                           CqPictureMetadata* metadata = nullptr,
                                           const CqPictureLimits& limits = {},
                                           CqPictureProgress* progress = nullptr);

/// A sentence in English for a result that a limit has caused, naming the limit; null for none. It
/// has static storage.
Q32_API const char* q32GetPictureLimitText(PICTURE_LIMIT limit);

/// Words in English for something that a file holds beside the image, such as "a colour profile";
/// null for anything but one bit of PICTURE_PART. They have static storage.
Q32_API const char* q32GetPicturePartText(PICTURE_PART part);

/// What a result means, in one line for a terminal, a log or a status bar: the library's message
/// with the file's name, and the limit if one is the reason. Empty for success, and if memory is
/// exhausted.
Q32_API CString q32GetPictureResultText(const CqPictureResult& result);
/// Shows that text in a message box, unless the host itself has aborted the work. Returns whether
/// the result is a success, for which nothing is shown. Call on the thread of the user interface.
Q32_API bool q32ShowPictureResult(const CqPictureResult& result);

/// Writes a picture. Everything is first written to a new file beside `path`, which then replaces
/// it: an existing file stays complete until then, and remains when anything fails. An image
/// without storage can't be saved: -5.
///
/// 4 and 8 bits are written with their palette (a full grey ramp as grey; JPEG: other palettes as
/// colour), 16 bits as colour (BMP: as 5-6-5), 32 bits with alpha (JPEG: without). Indices beyond
/// the palette are black. All formats keep the resolution if both values are above 0; PNG and TIFF
/// keep the title. A format that can't be written, or isn't known, gives -102.
/// @param progress  called from this thread; may be null
Q32_API CqPictureResult q32WritePicture(const char* path, CqImage& image, PICTURE_FORMAT format,
                                        const CqPictureOptions& options = {},
                                        CqPictureProgress* progress = nullptr);
/// The same with metadata, except for what the format can't hold (see q32FindLostMetadata). The
/// orientation replaces that in EXIF and XMP, in place; everything else in the blocks is unchanged,
/// also a small picture and a size that they declare.
Q32_API CqPictureResult q32WritePicture(const char* path, CqImage& image,
                                        const CqPictureMetadata& metadata, PICTURE_FORMAT format,
                                        const CqPictureOptions& options = {},
                                        CqPictureProgress* progress = nullptr);
/// What a file of a format would lack of the metadata, as bits of PICTURE_PART; 0 for an image
/// without storage. PNG has no IPTC, TIFF no EXIF here, BMP and formats of the host's own nothing;
/// a JPEG holds up to about 64 KiB each of EXIF, XMP and IPTC. A profile must be one of grey for a
/// grey image of 8 bits, and of RGB for all others. Only TIFF, and EXIF with an orientation, can
/// say that a picture isn't upright.
Q32_API unsigned int q32FindLostMetadata(const CqImage& image, const CqPictureMetadata& metadata,
                                         PICTURE_FORMAT format);
/// The same as the first, in the format of the path's extension; an unknown extension gives -102.
Q32_API CqPictureResult q32WritePicture(const char* path, CqImage& image,
                                        const CqPictureOptions& options = {},
                                        CqPictureProgress* progress = nullptr);
