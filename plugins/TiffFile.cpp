#include "plugins/CodecInput_p.h"
#include "plugins/CodecSamples_p.h"
#include "plugins/MetadataTarget_p.h"
#include "plugins/PictureCodec_p.h"
#include "plugins/PictureTarget_p.h"
#include "plugins/TiffHandle_p.h"
#include "plugins/TiffSamples_p.h"
#include "plugins/TiffTags_p.h"
#include "plugins/TiffWriting_p.h"

#include <tiffio.h>

#include <algorithm>
#include <cstring>
#include <initializer_list>
#include <iterator>
#include <memory>
#include <utility>

namespace q32 {

namespace {

using Bytes = std::unique_ptr<unsigned char[]>;

/// Upper bound of the expansion by LZW, the largest of the general compressions.
constexpr std::uint64_t kMaxRatio = 4096;
/// Of samples without compression: chroma of YCbCr may be stored for 4 x 4 pixels at a time.
constexpr std::uint64_t kMaxPlainRatio = 3;

bool fnKnowsTiff(const unsigned char* head, std::size_t count) {
    // Byte order, then 42, or 43 for BigTIFF.
    return count >= 4 &&
           (std::memcmp(head, "II*\0", 4) == 0 || std::memcmp(head, "MM\0*", 4) == 0 ||
            std::memcmp(head, "II+\0", 4) == 0 || std::memcmp(head, "MM\0+", 4) == 0);
}

CheckedSize fnSampleBytes(CheckedSize width, const TiffLayout& layout) {
    const unsigned int samples = layout.m_bSeparate ? 1 : layout.m_nSamples;
    return (width * samples * layout.m_nBits).fnDivideUp(8);
}

/// Reads the pixels of one picture, by rows or tiles as its layout requires.
class TiffReader {
public:
    /// @param taken  memory that libtiff takes for the tags and the decoder
    TiffReader(TiffHandle& file, const TiffLayout& layout, PictureTarget& target, CheckedSize taken)
        : m_File(file), m_Layout(layout), m_Target(target), m_nTaken(taken),
          m_Samples(layout, target.fnGetLimits().m_bDither) {}

    void fnRead() {
        if (m_Layout.m_eKind == TIFF_OTHER)
            fnReadConverted();
        else if (m_Layout.m_bTiled)
            fnReadTiles();
        else
            fnReadRows();
    }

private:
    std::uint64_t fnGetPlaneCount() const {
        return m_Layout.m_bSeparate ? m_Layout.fnGetUsedSamples() : 1;
    }
    Bytes fnMakePart(CheckedSize given, CheckedSize needed);
    void fnCountWidened(std::uint32_t columns);
    void fnReadRows();
    void fnReadTiles();
    void fnReadConverted();
    void fnTake(const unsigned char* samples, unsigned int plane, std::uint32_t x, std::uint32_t y,
                std::uint32_t count, unsigned char* pixels);

    TiffHandle& m_File;
    const TiffLayout& m_Layout;
    PictureTarget& m_Target;
    CheckedSize m_nTaken; ///< of the memory that a codec may take
    TiffSamples m_Samples;
};

/// Allocates a block of `given` bytes, the size that libtiff writes in one call; at least `needed`.
/// Counts it twice: libtiff may hold as much.
Bytes TiffReader::fnMakePart(CheckedSize given, CheckedSize needed) {
    const auto size = given.fnGetOrThrow();
    if (!needed.fnIsWithin(size))
        throw CodecFailure{MESSAGE_CORRUPTED};
    m_nTaken = m_nTaken + given * 2;
    m_Target.fnCheckCodecBytes(m_nTaken);
    return std::make_unique_for_overwrite<unsigned char[]>(size);
}

/// Counts a byte for each sample of a row, which is how samples are converted.
void TiffReader::fnCountWidened(std::uint32_t columns) {
    const unsigned int samples = m_Layout.m_bSeparate ? 1 : m_Layout.m_nSamples;
    m_nTaken = m_nTaken + CheckedSize(columns) * samples;
    m_Target.fnCheckCodecBytes(m_nTaken);
}

/// Stores decoded samples in the image. Separate planes are combined in the image itself.
void TiffReader::fnTake(const unsigned char* samples, unsigned int plane, std::uint32_t x,
                        std::uint32_t y, std::uint32_t count, unsigned char* pixels) {
    if (m_Layout.m_bSeparate) {
        if (plane > 0)
            m_Target.fnFetch(x, y, count, pixels);
        m_Samples.fnConvertPlane(samples, plane, x, y, count, pixels);
    } else {
        m_Samples.fnConvert(samples, x, y, count, pixels);
    }
    m_Target.fnStore(x, y, count, pixels);
}

void TiffReader::fnReadRows() {
    const std::uint32_t width = m_Layout.m_nWidth;
    const Bytes samples = fnMakePart(TIFFScanlineSize64(m_File), fnSampleBytes(width, m_Layout));
    const Bytes pixels = fnMakePart(CheckedSize(width) * fnCodecBytes(m_Layout.fnGetBitCount()), 0);
    fnCountWidened(width);
    std::uint64_t done = 0;
    for (unsigned int plane = 0; plane < fnGetPlaneCount(); ++plane) {
        for (std::uint32_t y = 0; y < m_Layout.m_nHeight; ++y) {
            if (TIFFReadScanline(m_File, samples.get(), y, static_cast<std::uint16_t>(plane)) < 0)
                m_File.fnFail();
            fnTake(samples.get(), plane, 0, y, width, pixels.get());
            m_Target.fnReport(++done, fnGetPlaneCount() * m_Layout.m_nHeight);
        }
    }
}

void TiffReader::fnReadTiles() {
    const std::uint32_t tileWidth = m_Layout.m_nTileWidth;
    const std::uint32_t tileHeight = m_Layout.m_nTileHeight;
    const auto tileRow = fnSampleBytes(tileWidth, m_Layout).fnGetOrThrow();
    const Bytes samples = fnMakePart(TIFFTileSize64(m_File), CheckedSize(tileRow) * tileHeight);
    const Bytes pixels =
        fnMakePart(CheckedSize(tileWidth) * fnCodecBytes(m_Layout.fnGetBitCount()), 0);
    fnCountWidened(tileWidth);
    const auto across = (std::uint64_t{m_Layout.m_nWidth} + tileWidth - 1) / tileWidth;
    const auto down = (std::uint64_t{m_Layout.m_nHeight} + tileHeight - 1) / tileHeight;
    std::uint64_t done = 0;
    for (unsigned int plane = 0; plane < fnGetPlaneCount(); ++plane) {
        for (std::uint64_t top = 0; top < m_Layout.m_nHeight; top += tileHeight) {
            const auto bottom = std::min<std::uint64_t>(top + tileHeight, m_Layout.m_nHeight);
            for (std::uint64_t left = 0; left < m_Layout.m_nWidth; left += tileWidth) {
                const auto x = static_cast<std::uint32_t>(left);
                if (TIFFReadTile(m_File, samples.get(), x, static_cast<std::uint32_t>(top), 0,
                                 static_cast<std::uint16_t>(plane)) < 0)
                    m_File.fnFail();
                const std::uint32_t count = std::min(tileWidth, m_Layout.m_nWidth - x);
                for (std::uint64_t y = top; y < bottom; ++y)
                    fnTake(samples.get() + (y - top) * tileRow, plane, x,
                           static_cast<std::uint32_t>(y), count, pixels.get());
                m_Target.fnReport(++done, fnGetPlaneCount() * down * across);
            }
        }
    }
}

/// Has libtiff convert to RGB, a strip or a row of tiles at a time.
void TiffReader::fnReadConverted() {
    const std::uint32_t width = m_Layout.m_nWidth;
    const std::uint32_t band = std::min(m_Layout.m_nTileHeight, m_Layout.m_nHeight);
    // libtiff decodes the same part in the file's own depth, all planes of it at a time.
    const CheckedSize decoded(m_Layout.m_bTiled ? TIFFTileSize64(m_File) : TIFFStripSize64(m_File));
    m_nTaken = m_nTaken + decoded * (m_Layout.m_bSeparate ? m_Layout.m_nSamples : 1u);
    const Bytes raster = fnMakePart(CheckedSize(width) * band * sizeof(std::uint32_t), 0);
    const Bytes row = fnMakePart(CheckedSize(width) * 3, 0);
    char reason[1024] = {};
    TIFFRGBAImage image = {};
    if (!TIFFRGBAImageBegin(&image, m_File, 1, reason))
        m_File.fnFail();
    m_File.fnCheckMemory();
    const std::unique_ptr<TIFFRGBAImage, void (*)(TIFFRGBAImage*)> end(&image, TIFFRGBAImageEnd);
    image.req_orientation = image.orientation; // rows in the order in which they are stored
    for (std::uint32_t top = 0; top < m_Layout.m_nHeight; top += band) {
        const std::uint32_t rows = std::min(band, m_Layout.m_nHeight - top);
        image.row_offset = static_cast<int>(top);
        auto* colors = reinterpret_cast<std::uint32_t*>(raster.get());
        if (!TIFFRGBAImageGet(&image, colors, width, rows))
            m_File.fnFail();
        for (std::uint32_t i = 0; i < rows; ++i) {
            for (std::size_t x = 0; x < width; ++x) {
                const std::uint32_t color = colors[std::size_t{i} * width + x];
                row[3 * x] = static_cast<unsigned char>(TIFFGetR(color));
                row[3 * x + 1] = static_cast<unsigned char>(TIFFGetG(color));
                row[3 * x + 2] = static_cast<unsigned char>(TIFFGetB(color));
            }
            m_Target.fnStoreRow(top + i, row.get());
        }
        m_Target.fnReport(std::uint64_t{top} + rows, m_Layout.m_nHeight);
        if (m_Layout.m_nHeight - top <= band)
            break; // `top` would wrap
    }
}

/// Reads the colour table of a palette picture. Tables of early writers hold 8-bit values.
void fnReadPalette(TIFF* file, unsigned int count, RGBQUAD* palette) {
    std::uint16_t* channels[3] = {};
    if (!TIFFGetField(file, TIFFTAG_COLORMAP, &channels[0], &channels[1], &channels[2]))
        throw CodecFailure{MESSAGE_CORRUPTED};
    if (!channels[0] || !channels[1] || !channels[2])
        throw CodecFailure{MESSAGE_NO_MEMORY};
    const bool narrow = std::all_of(channels, channels + 3, [&](const std::uint16_t* channel) {
        return std::all_of(channel, channel + count, [](std::uint16_t v) { return v < 256; });
    });
    const int shift = narrow ? 0 : 8;
    for (unsigned int i = 0; i < count; ++i) {
        palette[i].rgbRed = static_cast<BYTE>(channels[0][i] >> shift);
        palette[i].rgbGreen = static_cast<BYTE>(channels[1][i] >> shift);
        palette[i].rgbBlue = static_cast<BYTE>(channels[2][i] >> shift);
    }
}

void fnAllocImage(TIFF* file, const TiffLayout& layout, PictureTarget& target) {
    RGBQUAD palette[256] = {};
    const RGBQUAD* colors = nullptr;
    unsigned int count = 0;
    if (layout.m_eKind == TIFF_PALETTE) {
        count = 1u << layout.m_nBits;
        fnReadPalette(file, count, palette);
        colors = palette;
    } else if (layout.m_eKind == TIFF_GREY) {
        colors = q32GreyRamp;
        count = 256;
    }
    target.fnAlloc(layout.m_nWidth, layout.m_nHeight, layout.fnGetBitCount(), colors, count);
}

/// Memory of the decoder itself, which libtiff doesn't count. Throws for one that takes as much as
/// the coded data demands (LZMA, WebP, LERC, JBIG), and for unknown ones.
std::uint64_t fnFindDecoderBytes(TIFF* file) {
    /// The largest window that the library for Zstandard accepts, and its buffers.
    constexpr std::uint64_t kZstdBytes = (std::uint64_t{128} << 20) + (1u << 20);
    std::uint16_t compression = COMPRESSION_NONE;
    TIFFGetFieldDefaulted(file, TIFFTAG_COMPRESSION, &compression);
    switch (compression) {
    case COMPRESSION_NONE:
    case COMPRESSION_CCITTRLE:
    case COMPRESSION_CCITTRLEW:
    case COMPRESSION_CCITTFAX3:
    case COMPRESSION_CCITTFAX4:
    case COMPRESSION_LZW:
    case COMPRESSION_OJPEG:
    case COMPRESSION_JPEG:
    case COMPRESSION_DEFLATE:
    case COMPRESSION_ADOBE_DEFLATE:
    case COMPRESSION_PACKBITS:
    case COMPRESSION_NEXT:
    case COMPRESSION_THUNDERSCAN:
    case COMPRESSION_PIXARLOG:
    case COMPRESSION_SGILOG:
    case COMPRESSION_SGILOG24:
        return 0;
    case COMPRESSION_ZSTD:
        return kZstdBytes;
    default:
        throw CodecFailure{MESSAGE_UNSUPPORTED};
    }
}

/// Checks all that is decoded, also what tiles hold beyond the edges of the picture.
void fnCheckRoom(TIFF* file, const TiffLayout& layout, std::uint64_t fileBytes) {
    std::uint16_t compression = COMPRESSION_NONE;
    TIFFGetFieldDefaulted(file, TIFFTAG_COMPRESSION, &compression);
    const bool bounded = compression == COMPRESSION_NONE || compression == COMPRESSION_LZW ||
                         compression == COMPRESSION_PACKBITS ||
                         compression == COMPRESSION_DEFLATE ||
                         compression == COMPRESSION_ADOBE_DEFLATE;
    const std::uint32_t unitHeight = layout.m_bTiled ? layout.m_nTileHeight : 1;
    const CheckedSize across = CheckedSize(layout.m_nWidth).fnDivideUp(layout.m_nTileWidth);
    const auto rowBytes =
        (across * fnSampleBytes(layout.m_nTileWidth, layout)).fnGetOrThrow<std::uint64_t>();
    const unsigned int planes = layout.m_bSeparate ? std::max(layout.fnGetUsedSamples(), 1u) : 1;
    const auto rows = (CheckedSize(layout.m_nHeight).fnAlignUp(unitHeight) * planes)
                          .fnGetOrThrow<std::uint64_t>();
    if (bounded)
        PictureTarget::fnCheckRoom(fileBytes, rowBytes, rows,
                                   compression == COMPRESSION_NONE ? kMaxPlainRatio : kMaxRatio);
    else
        PictureTarget::fnCheckSparseRoom(fileBytes, rowBytes, rows);
}

void fnTakeNotes(TIFF* file, const TiffTags& tags, PictureTarget& target) {
    target.fnSetTitle(tags.fnGetTitle());
    float x = 0;
    float y = 0;
    std::uint16_t unit = RESUNIT_INCH;
    TIFFGetFieldDefaulted(file, TIFFTAG_RESOLUTIONUNIT, &unit);
    if (unit != RESUNIT_NONE && TIFFGetField(file, TIFFTAG_XRESOLUTION, &x) &&
        TIFFGetField(file, TIFFTAG_YRESOLUTION, &y)) {
        const double factor = unit == RESUNIT_CENTIMETER ? 100 : kInchesPerMeter;
        target.fnSetDotsPerMeter(x * factor, y * factor);
    }
}

std::uint16_t fnGetOrientation(TIFF* file) {
    std::uint16_t orientation = ORIENTATION_TOPLEFT;
    TIFFGetFieldDefaulted(file, TIFFTAG_ORIENTATION, &orientation);
    return orientation;
}

/// What the file holds beside the image of its first directory, as bits of PICTURE_PART.
/// @param metadata  without what `fnTakeTiffMetadata` collects
unsigned int fnFindParts(TIFF* file, const TiffTags& tags, const TiffLayout& layout,
                         bool metadata) {
    constexpr std::pair<std::uint16_t, PICTURE_PART> kDropped[] = {
        {TIFFTAG_SUBIFD, PICTURE_PART_PAGES},  {TIFFTAG_PHOTOSHOP, PICTURE_PART_NOTES},
        {TIFFTAG_ARTIST, PICTURE_PART_NOTES},  {TIFFTAG_COPYRIGHT, PICTURE_PART_NOTES},
        {TIFFTAG_EXIFIFD, PICTURE_PART_NOTES}, {TIFFTAG_GPSIFD, PICTURE_PART_NOTES}};
    constexpr std::pair<std::uint16_t, PICTURE_PART> kMetadata[] = {
        {TIFFTAG_ICCPROFILE, PICTURE_PART_PROFILE},
        {TIFFTAG_XMLPACKET, PICTURE_PART_NOTES},
        {TIFFTAG_RICHTIFFIPTC, PICTURE_PART_NOTES}};
    unsigned int parts = 0;
    const auto note = [&parts](bool has, PICTURE_PART part) { parts |= has ? part : 0u; };
    note(!TIFFLastDirectory(file), PICTURE_PART_PAGES);
    note(layout.m_nBits > 8, PICTURE_PART_DEPTH);
    note(layout.m_eKind == TIFF_OTHER || layout.m_eKind == TIFF_CMYK ||
             layout.m_nSamples > layout.fnGetUsedSamples(),
         PICTURE_PART_CHANNELS);
    note(!metadata && fnGetOrientation(file) != ORIENTATION_TOPLEFT, PICTURE_PART_ORIENTATION);
    note(tags.fnHasLeftOutTitle() ||
             (tags.fnHas(TIFFTAG_DOCUMENTNAME) && tags.fnHas(TIFFTAG_IMAGEDESCRIPTION)),
         PICTURE_PART_NOTES);
    for (const auto& [tag, part] : kDropped)
        note(tags.fnHas(tag), part);
    for (const auto& [tag, part] : kMetadata)
        note(!metadata && tags.fnHas(tag), part);
    return parts;
}

/// Throws if libtiff has ignored one of the tags that determine pixels, and would go on with a
/// default. Of a tag with a list it may hold a null in its place, if memory was exhausted.
void fnCheckTaken(TIFF* file, const TiffTags& tags, const TiffLayout& layout) {
    const auto check = [&](std::initializer_list<std::uint16_t> list, bool lists) {
        for (const std::uint16_t tag : list) {
            std::uint64_t values[4] = {}; // numbers or addresses, by tag
            if (!tags.fnHas(tag))
                continue;
            if (!TIFFGetField(file, tag, &values[0], &values[1], &values[2], &values[3]))
                throw CodecFailure{MESSAGE_CORRUPTED};
            if (lists && values[0] == 0)
                throw CodecFailure{MESSAGE_NO_MEMORY};
        }
    };
    std::uint16_t compression = COMPRESSION_NONE;
    TIFFGetFieldDefaulted(file, TIFFTAG_COMPRESSION, &compression);
    check({TIFFTAG_FILLORDER, TIFFTAG_PLANARCONFIG, TIFFTAG_EXTRASAMPLES, TIFFTAG_SAMPLEFORMAT,
           TIFFTAG_INKSET},
          false);
    if (compression == COMPRESSION_LZW || compression == COMPRESSION_DEFLATE ||
        compression == COMPRESSION_ADOBE_DEFLATE)
        check({TIFFTAG_PREDICTOR}, false);
    if (compression == COMPRESSION_CCITTFAX3)
        check({TIFFTAG_GROUP3OPTIONS}, false);
    if (layout.m_nPhotometric == PHOTOMETRIC_YCBCR) {
        check({TIFFTAG_YCBCRSUBSAMPLING}, false);
        check({TIFFTAG_YCBCRCOEFFICIENTS, TIFFTAG_REFERENCEBLACKWHITE}, true);
    }
    if (layout.m_eKind == TIFF_OTHER)
        check({TIFFTAG_WHITEPOINT}, true);
}

void fnReadTiff(CodecInput& input, PictureTarget& target) {
    const CqPictureLimits& limits = target.fnGetLimits();
    const TiffTags tags(input, limits.m_nTextBytes);
    target.fnCheckCodecBytes(tags.fnGetBytes());
    TiffHandle file(input, tags, limits.m_nCodecBytes);
    const CheckedSize taken = CheckedSize(tags.fnGetBytes()) + fnFindDecoderBytes(file);
    target.fnCheckCodecBytes(taken);
    const TiffLayout layout = fnReadLayout(file);
    fnCheckRoom(file, layout, input.fnGetLength());
    fnCheckTaken(file, tags, layout);
    file.fnCheckMemory();
    fnAllocImage(file, layout, target);
    fnTakeNotes(file, tags, target);
    target.fnNoteReduced(fnFindParts(file, tags, layout, target.fnGetMetadata() != nullptr));
    if (file.fnHasGuessed())
        target.fnNoteReduced(PICTURE_PART_OTHER);
    file.fnWatchWarnings();
    if (target.fnNeedsPixels())
        TiffReader(file, layout, target, taken).fnRead();
    if (file.fnHasWarned() || input.fnHasFailed())
        file.fnFail();
    file.fnCheckMemory();
    fnCollectMetadata(input, target, [&](MetadataTarget& blocks) {
        fnTakeTiffMetadata(input, tags, blocks);
        blocks.fnGet().m_nOrientation = fnGetOrientation(file);
    });
}

} // namespace

const PictureCodec kTiffCodec = {
    {PICTURE_TIFF, "TIFF", "tif tiff", true, true}, fnKnowsTiff, fnReadTiff, fnWriteTiff};

} // namespace q32
