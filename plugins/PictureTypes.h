/// @file
/// Formats, progress, options and results of picture files. See PictureFile.h.
#pragma once

#include "q32Base/framework/CString.h"
#include "q32Base/platform/Export.h"

#include <cstdint>

/// The formats, numbered as in `CqImage::fnGetFioPlugin`.
enum PICTURE_FORMAT : unsigned int {
    PICTURE_PNG = 1,       ///< Portable Network Graphics
    PICTURE_JPEG = 2,      ///< Joint Photographic Experts Group
    PICTURE_TIFF = 3,      ///< Tagged Image File Format
    PICTURE_BMP = 4,       ///< a device-independent bitmap as a file
    PICTURE_OF_HOST = 1000 ///< the first number for formats of the host's own (CqPictureCodec.h)
};

/// A format of picture files.
struct CqPictureFormat {
    PICTURE_FORMAT m_eFormat;    ///< its number
    const char* m_pszName;       ///< for display
    const char* m_pszExtensions; ///< lower case, no dots, separated by spaces, the usual one first
    bool m_bCanWrite;            ///< false: it can only be read
    bool m_bHasAlpha;            ///< a file keeps the alpha channel of a 32-bit image
};

/// Receives the progress of a read or write, on the thread that reads or writes. It is called about
/// once per row, and for every 64 KiB of a file from which no row comes, such as headers, metadata
/// and the first scans of a progressive JPEG.
class Q32_API CqPictureProgress {
public:
    virtual ~CqPictureProgress() = default;

    /// The work has come so far.
    /// @param percent  0 to 100, never decreasing
    /// @param aborted  false on entry; if set to true, the work ends without an image or a file
    virtual void fnOnProgress(unsigned int percent, bool& aborted) = 0;
};

/// A limit of CqPictureLimits, or of CqWaveLimits for those of sounds.
enum PICTURE_LIMIT : unsigned int {
    PICTURE_LIMIT_NONE,          ///< none has refused the file
    PICTURE_LIMIT_PIXELS,        ///< `CqPictureLimits::m_nPixels`
    PICTURE_LIMIT_STORAGE,       ///< `CqPictureLimits::m_nStorageBytes`
    PICTURE_LIMIT_EXPANSION,     ///< `CqPictureLimits::m_nExpansion`
    PICTURE_LIMIT_CODEC,         ///< `CqPictureLimits::m_nCodecBytes`
    PICTURE_LIMIT_SCANS,         ///< `CqPictureLimits::m_nScans`
    PICTURE_LIMIT_TIME,          ///< `CqPictureLimits::m_nMilliseconds`
    PICTURE_LIMIT_SOUND_STORAGE, ///< `CqWaveLimits::m_nStorageBytes`
    PICTURE_LIMIT_SOUND_CHUNKS,  ///< `CqWaveLimits::m_nChunks`
    PICTURE_LIMIT_SOUND_TIME     ///< `CqWaveLimits::m_nMilliseconds`
};

/// What reading one file may take. A file that needs more is refused, if its headers show that,
/// before anything is allocated for its pixels. The defaults accept every picture that an image can
/// hold, unless it is hundreds of times smaller than its pixels.
struct CqPictureLimits {
    /// Width times height.
    std::uint64_t m_nPixels = UINT64_MAX;
    /// Bytes of the image's tiles, in memory or in a scratch file. An image holds less than 4 GiB.
    std::uint64_t m_nStorageBytes = UINT32_MAX;
    /// Bytes of tiles for each byte of the file, where they are more than `m_nSmallBytes`.
    std::uint64_t m_nExpansion = 2048;
    /// Tiles of so many bytes may come from a file of any length.
    std::uint64_t m_nSmallBytes = std::uint64_t{1} << 30;
    /// Memory of the decoder, apart from the image: the coefficients of a progressive JPEG, the
    /// rows of a PNG or BMP, a tile or strip and the tables of a TIFF, the window of its Zstandard
    /// coding (129 MiB), the data of a run-length coded BMP. If it doesn't do for several threads,
    /// one reads the file.
    std::uint64_t m_nCodecBytes = std::uint64_t{1} << 30;
    /// Decoded bytes of a title. A longer one is left out; the result then has `m_bReduced`.
    std::uint64_t m_nTextBytes = std::uint64_t{1} << 20;
    /// Scans of a progressive JPEG.
    unsigned int m_nScans = 200;
    /// Elapsed time, without that in the progress object; 0 for any. Checked at each report of
    /// progress.
    unsigned int m_nMilliseconds = 0;
    /// A box, in pixels, into which the host is going to reduce the picture; a side of 0 has no
    /// bound. A format that can (JPEG) then decodes a half, a quarter or an eighth of the width and
    /// height, rounded up, as long as the picture still reaches the box in one of its sides. That
    /// takes less time and storage; the limits on pixels and storage apply to what is decoded.
    std::uint32_t m_nFitWidth = 0;
    std::uint32_t m_nFitHeight = 0;
    /// Bytes of all metadata, for a read that collects it. A block beyond that is left out, and
    /// noted in the result.
    std::uint64_t m_nMetadataBytes = std::uint64_t{64} << 20;
    /// Whether a PNG or JPEG that ends early, or whose pixels are damaged, is read as far as it
    /// goes. What is missing is black, transparent if the picture has alpha, or what the decoder
    /// makes of it; the result says so. Headers must be there.
    bool m_bPartial = false;
    /// How the samples of a PNG or TIFF of 16 bits per channel become 8 bits: false, rounded; true,
    /// by ordered dithering, which shows no steps in smooth areas. What 8 bits can hold is the same
    /// by both. Samples that libtiff converts itself, such as CIE L*a*b*, aren't dithered.
    bool m_bDither = false;
};

/// What a file may hold that an image doesn't: bits of CqPictureResult::m_nParts.
enum PICTURE_PART : unsigned int {
    PICTURE_PART_PAGES = 1,        ///< further pictures, frames or reduced copies
    PICTURE_PART_DEPTH = 2,        ///< more than 8 bits per channel
    PICTURE_PART_CHANNELS = 4,     ///< a colour model other than RGB, channels beside RGB and alpha
    PICTURE_PART_PROFILE = 8,      ///< a colour profile
    PICTURE_PART_ORIENTATION = 16, ///< an orientation, which isn't applied
    PICTURE_PART_NOTES =
        32, ///< metadata of a camera or editor, texts beside the title, a long title
    PICTURE_PART_OTHER = 64 ///< one or more of these, which the codec doesn't tell apart
};

/// How a read or write ended.
struct Q32_API CqPictureResult {
    /// A message of the library, 0 for none: -1 out of memory, -3 the file can't be opened, -4 it
    /// can't be read, -5 it can't be saved, -6 it is invalid or corrupted, -7 another program has
    /// it open, -11 it is empty, -102 its format, or this variant of it, is not supported.
    int m_nMsgId = 0;
    bool m_bAborted = false; ///< the progress object ended the work; there is no message then
    CString m_strPath;       ///< the file as named by the caller: the message's first argument

    /// The picture was read, but the file holds more than the image does: further pictures or
    /// frames, more than 8 bits per channel, a colour model other than RGB, channels other than RGB
    /// and alpha, a colour profile, an orientation, or metadata of a camera or editor. Writing the
    /// image over that file would lose it.
    bool m_bReduced = false;
    /// Which of these it holds: bits of PICTURE_PART; 0 unless `m_bReduced`.
    unsigned int m_nParts = 0;
    /// The limit that refused the file. The message is then -1 for memory (pixels, storage, codec),
    /// -6 for what no ordinary encoder writes (expansion, scans, chunks), and -4 for the time.
    PICTURE_LIMIT m_eLimit = PICTURE_LIMIT_NONE;
    /// The picture's width and height were divided by this while it was decoded, to suit the box of
    /// the limits: 1, 2, 4 or 8. The image's resolution is still that of the file.
    unsigned int m_nReduction = 1;
    /// The file ends early or is damaged, and the picture holds what could be decoded; only if the
    /// limits allow that.
    bool m_bPartial = false;

    /// Whether the picture was read or written.
    bool fnIsDone() const { return m_nMsgId == 0 && !m_bAborted; }
};

/// What the headers of a picture file declare: what an image that is read from it would have.
struct CqPictureFacts {
    PICTURE_FORMAT m_eFormat{};   ///< as recognised by the first bytes
    std::uint32_t m_nWidth = 0;   ///< in pixels, after the reduction that the result names
    std::uint32_t m_nHeight = 0;  ///< in pixels, after that reduction
    unsigned int m_nBitCount = 0; ///< of the image, not of the file: 4, 8, 16, 24 or 32
    unsigned int m_nColors = 0;   ///< entries of its palette; 0 for none
    bool m_bGrey = false;         ///< the palette is a ramp of greys (`CqImage::fnIsGrayScale`)
    std::int32_t m_nDpiX = 0;     ///< dots per inch across; that of new images if none are declared
    std::int32_t m_nDpiY = 0;     ///< dots per inch downwards; likewise
    CString m_strTitle;           ///< its bytes unchanged; empty for none
};

/// Compressions of a TIFF.
enum PICTURE_COMPRESSION : unsigned int {
    PICTURE_LZW,         ///< lossless
    PICTURE_DEFLATE,     ///< lossless, by zlib
    PICTURE_UNCOMPRESSED ///< the samples as they are
};

/// Options of writing; each applies to one format and is ignored for the others.
struct CqPictureOptions {
    unsigned int m_nQuality = 90;  ///< of a JPEG, 1 to 100; clamped
    unsigned int m_nPngEffort = 6; ///< zlib's level for a PNG, 0 to 9; clamped
    PICTURE_COMPRESSION m_eTiffCompression = PICTURE_LZW; ///< of a TIFF
};
