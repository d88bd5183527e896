#include "plugins/CodecInput_p.h"
#include "plugins/CodecSamples_p.h"
#include "plugins/MetadataTarget_p.h"
#include "plugins/PictureCodec_p.h"
#include "plugins/PictureTarget_p.h"
#include "plugins/RowBands_p.h"
#include "plugins/TiffBytes_p.h"
#include "plugins/TiffHandle_p.h"
#include "plugins/TiffParts_p.h"
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
constexpr double kInchesPerMeter = 1 / 0.0254;
/// Nanoseconds in which a byte of decoded samples is converted and stored.
constexpr double kConvertTime = 1.0;

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
    TiffReader(const TiffReading& reading, CheckedSize taken)
        : m_Reading(reading), m_File(reading.m_File), m_Layout(reading.m_Layout),
          m_Target(reading.m_Target), m_nHandleBytes(taken), m_nTaken(taken),
          m_Samples(m_Layout, m_Target.fnGetLimits().m_bDither) {}

    void fnRead() {
        if (m_Layout.m_eKind == TIFF_OTHER)
            fnReadConverted();
        else if (m_Layout.m_bTiled)
            fnReadTiles();
        else
            fnReadRows();
    }

private:
    std::uint64_t fnPlanes() const { return m_Layout.m_bSeparate ? m_Layout.fnUsedSamples() : 1; }
    std::size_t fnCountPart(CheckedSize given, CheckedSize needed);
    Bytes fnMakePart(CheckedSize given, CheckedSize needed);
    void fnCountWidened(std::uint32_t columns);
    void fnReadRows();
    void fnReadTiles();
    void fnReadConverted();
    std::uint64_t fnGetBandBytes() const;
    void fnReadScanline(std::uint32_t y, unsigned int plane, unsigned char* samples);
    void fnReadTile(const TiffPart& tile, unsigned int plane, unsigned char* samples,
                    std::size_t bytes);
    TiffParts fnDivide(std::size_t rowBytes, std::size_t partBytes) const {
        return {m_Reading, rowBytes, partBytes, m_nTaken, m_nHandleBytes};
    }
    template <class Read, class Report>
    void fnReadParts(TiffParts& parts, const Read& read, const Report& report);
    void fnTake(const unsigned char* samples, unsigned int plane, std::uint32_t x, std::uint32_t y,
                std::uint32_t count, unsigned char* pixels);

    const TiffReading m_Reading;
    TiffHandle& m_File;
    const TiffLayout& m_Layout;
    PictureTarget& m_Target;
    CheckedSize m_nHandleBytes; ///< that a libtiff handle takes
    CheckedSize m_nTaken;       ///< of the memory that a codec may take
    TiffSamples m_Samples;
    const bool m_bDeflated = fnIsDeflated(m_File);
};

/// Takes account of a block of `given` bytes, the size that libtiff writes in one call; at least
/// `needed`. Counts it twice: libtiff may hold as much.
std::size_t TiffReader::fnCountPart(CheckedSize given, CheckedSize needed) {
    const auto size = given.fnGetOrThrow();
    if (!needed.fnIsWithin(size))
        throw CodecFailure{MESSAGE_CORRUPTED};
    m_nTaken = m_nTaken + given * 2;
    m_Target.fnCheckCodecBytes(m_nTaken);
    return size;
}

Bytes TiffReader::fnMakePart(CheckedSize given, CheckedSize needed) {
    return std::make_unique<unsigned char[]>(fnCountPart(given, needed));
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

/// Has several threads read the strips or tiles.
/// @param read    reads and reports a part by the one handle
/// @param report  reports a part
template <class Read, class Report>
void TiffReader::fnReadParts(TiffParts& parts, const Read& read, const Report& report) {
    const std::uint32_t all = fnCountParts(m_Layout);
    read(0);
    for (std::uint32_t next = 1; next < all;) {
        const std::uint32_t count = parts.fnDecode(next);
        if (count == 0)
            read(next++);
        for (const std::uint32_t first = next; next < first + count; ++next) {
            const TIFF_PART_STATE state = parts.fnTake(next - first);
            if (state == TIFF_PART_STORED) {
                report(next);
            } else if (state == TIFF_PART_LEFT) {
                const CountedReports again(m_Reading.m_Input); // those of the part are made
                read(next);
            } else {
                throw CodecFailure{MESSAGE_NO_MEMORY};
            }
        }
    }
}

/// What bands of rows may take. Only of the codings that fill all of a row or fail: what another
/// one leaves of it must be as it was in the row before.
std::uint64_t TiffReader::fnGetBandBytes() const {
    std::uint16_t compression = COMPRESSION_NONE;
    TIFFGetFieldDefaulted(m_File, TIFFTAG_COMPRESSION, &compression);
    constexpr std::uint16_t kFilling[] = {
        COMPRESSION_NONE,          COMPRESSION_LZW,      COMPRESSION_JPEG, COMPRESSION_DEFLATE,
        COMPRESSION_ADOBE_DEFLATE, COMPRESSION_PACKBITS, COMPRESSION_ZSTD};
    if (std::find(std::begin(kFilling), std::end(kFilling), compression) == std::end(kFilling))
        return 0;
    return (CheckedSize(m_Target.fnGetLimits().m_nCodecBytes) - m_nTaken)
        .fnGet<std::uint64_t>()
        .value_or(0);
}

void TiffReader::fnReadScanline(std::uint32_t y, unsigned int plane, unsigned char* samples) {
    if (m_bDeflated)
        std::memset(samples, 0, static_cast<std::size_t>(TIFFScanlineSize(m_File)));
    if (TIFFReadScanline(m_File, samples, y, static_cast<std::uint16_t>(plane)) < 0)
        m_File.fnFail();
}

void TiffReader::fnReadRows() {
    const std::uint32_t width = m_Layout.m_nWidth;
    const std::uint32_t height = m_Layout.m_nHeight;
    const std::size_t rowBytes =
        fnCountPart(TIFFScanlineSize64(m_File), fnSampleBytes(width, m_Layout));
    const Bytes pixels = fnMakePart(CheckedSize(width) * fnCodecBytes(m_Layout.fnBitCount()), 0);
    fnCountWidened(width);
    std::uint64_t done = 0;
    const auto report = [&] { m_Target.fnReport(++done, fnPlanes() * height); };
    TiffParts strips =
        fnDivide(rowBytes, (CheckedSize(rowBytes) * m_Layout.m_nTileHeight).fnGetOrThrow());
    const Bytes samples = std::make_unique<unsigned char[]>(strips.fnAreDivided() ? rowBytes : 0);
    const auto readStrip = [&](std::uint32_t index) {
        const TiffPart strip = fnGetPart(m_Layout, index);
        for (std::uint32_t i = 0; i < strip.m_nRows; ++i) {
            fnReadScanline(strip.m_nY + i, 0, samples.get());
            fnTake(samples.get(), 0, 0, strip.m_nY + i, width, pixels.get());
            report();
        }
    };
    const auto reportStrip = [&](std::uint32_t index) {
        for (std::uint32_t i = 0; i < fnGetPart(m_Layout, index).m_nRows; ++i)
            report();
    };
    if (strips.fnAreDivided())
        return fnReadParts(strips, readStrip, reportStrip);
    for (unsigned int plane = 0; plane < fnPlanes(); ++plane) {
        RowBands rows(height, rowBytes, static_cast<double>(rowBytes) * kConvertTime,
                      fnGetBandBytes());
        rows.fnRead([&](std::uint32_t y, unsigned char* row) { fnReadScanline(y, plane, row); },
                    [&](std::uint32_t y, unsigned char* row) {
                        fnTake(row, plane, 0, y, width, pixels.get());
                    },
                    [&](std::uint32_t) { report(); });
    }
}

void TiffReader::fnReadTile(const TiffPart& tile, unsigned int plane, unsigned char* samples,
                            std::size_t bytes) {
    if (m_bDeflated)
        std::memset(samples, 0, bytes);
    if (TIFFReadTile(m_File, samples, tile.m_nX, tile.m_nY, 0, static_cast<std::uint16_t>(plane)) <
        0)
        m_File.fnFail();
}

void TiffReader::fnReadTiles() {
    const std::uint32_t tileWidth = m_Layout.m_nTileWidth;
    const auto tileRow = fnSampleBytes(tileWidth, m_Layout).fnGetOrThrow();
    const std::size_t tileBytes =
        fnCountPart(TIFFTileSize64(m_File), CheckedSize(tileRow) * m_Layout.m_nTileHeight);
    const Bytes samples = std::make_unique<unsigned char[]>(tileBytes);
    const Bytes pixels =
        fnMakePart(CheckedSize(tileWidth) * fnCodecBytes(m_Layout.fnBitCount()), 0);
    fnCountWidened(tileWidth);
    const std::uint32_t tiles = fnCountParts(m_Layout);
    std::uint64_t done = 0;
    const auto report = [&](std::uint32_t) { m_Target.fnReport(++done, fnPlanes() * tiles); };
    const auto readTile = [&](std::uint32_t index, unsigned int plane) {
        const TiffPart tile = fnGetPart(m_Layout, index);
        fnReadTile(tile, plane, samples.get(), tileBytes);
        for (std::uint32_t i = 0; i < tile.m_nRows; ++i)
            fnTake(samples.get() + i * tileRow, plane, tile.m_nX, tile.m_nY + i, tile.m_nColumns,
                   pixels.get());
        report(index);
    };
    TiffParts parts = fnDivide(tileRow, tileBytes);
    if (parts.fnAreDivided())
        return fnReadParts(
            parts, [&](std::uint32_t index) { readTile(index, 0); }, report);
    for (unsigned int plane = 0; plane < fnPlanes(); ++plane)
        for (std::uint32_t index = 0; index < tiles; ++index)
            readTile(index, plane);
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
    target.fnAlloc(layout.m_nWidth, layout.m_nHeight, layout.fnBitCount(), colors, count);
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
    const unsigned int planes = layout.m_bSeparate ? std::max(layout.fnUsedSamples(), 1u) : 1;
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
             layout.m_nSamples > layout.fnUsedSamples(),
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
    TiffInput bytes(input, tags);
    TiffHandle file(bytes, "rm", limits.m_nCodecBytes);
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
        TiffReader({file, input, tags, layout, target}, taken).fnRead();
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
