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

#include "q32Base/framework/CString.h"
#include "q32Base/platform/Export.h"

#include <span>

class CqImage;

/// The formats, numbered as in `CqImage::fnGetFioPlugin`.
enum PICTURE_FORMAT : unsigned int {
    PICTURE_PNG = 1,
    PICTURE_JPEG = 2,
    PICTURE_TIFF = 3,
    PICTURE_BMP = 4
};

struct CqPictureFormat {
    PICTURE_FORMAT m_eFormat;
    const char* m_pszName;
    const char* m_pszExtensions; ///< lower case, without dots, the usual one first, spaces between
    bool m_bCanWrite;
    bool m_bHasAlpha; ///< of 32 bits, a file keeps all four
};

/// All formats that can be read.
Q32_API std::span<const CqPictureFormat> q32GetPictureFormats();
/// The format that the extension of `path` tells, without regard to case; null when it tells none.
Q32_API const CqPictureFormat* q32FindPictureFormat(const char* path);

/// Told how far a picture is, after each row or so.
class Q32_API CqPictureProgress {
public:
    virtual ~CqPictureProgress() = default;

    /// @param percent  0 to 100, never falling
    /// @param aborted  false on entry; set, it ends the work without an image or a file
    virtual void fnOnProgress(unsigned int percent, bool& aborted) = 0;
};

/// How a read or write ended.
struct Q32_API CqPictureResult {
    /// A message of the library, 0 for none: -1 out of memory, -3 the file can't be opened, -4 it
    /// can't be read, -5 it can't be saved, -6 it is invalid or corrupted, -7 another program has
    /// it open, -11 it is empty, -102 its format, or this kind of it, is not supported.
    int m_nMsgId = 0;
    bool m_bAborted = false; ///< the progress object ended the work; no message then
    CString m_strPath;       ///< the file, as the caller named it: the message's first argument
    /// A picture was read whose file holds more than the image took: further pictures or frames,
    /// more than 8 bits a channel, other colours than red, green and blue, channels beside these
    /// and alpha, a colour profile, an orientation, a camera's or an editor's notes. Writing the
    /// image over that file would lose it.
    bool m_bReduced = false;

    /// Whether the picture was read or written.
    bool fnIsDone() const { return m_nMsgId == 0 && !m_bAborted; }
};

enum PICTURE_COMPRESSION : unsigned int { PICTURE_LZW, PICTURE_DEFLATE, PICTURE_UNCOMPRESSED };

struct CqPictureOptions {
    unsigned int m_nQuality = 90;  ///< of a JPEG, 1 to 100; others are cut to that
    unsigned int m_nPngEffort = 6; ///< zlib's level for a PNG, 0 to 9; others are cut to that
    PICTURE_COMPRESSION m_eTiffCompression = PICTURE_LZW;
};

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
