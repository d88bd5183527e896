#include "plugins/CodecInput_p.h"
#include "plugins/CodecOutput_p.h"
#include "plugins/CodecSamples_p.h"
#include "plugins/PictureCodec_p.h"
#include "plugins/PictureSource_p.h"
#include "plugins/PictureTarget_p.h"
#include "plugins/TiffHandle_p.h"
#include "plugins/TiffSamples_p.h"

#include <tiffio.h>

#include <algorithm>
#include <cstring>
#include <memory>

namespace q32 {

namespace {

using Bytes = std::unique_ptr<unsigned char[]>;

/// Upper bound of the expansion by LZW, the largest of the general compressions.
constexpr std::uint64_t kMaxRatio = 4096;
/// Limit of decoded samples held at a time: a row, a tile, or a strip converted by libtiff.
constexpr std::uint64_t kMaxPartBytes = std::uint64_t{512} << 20;
constexpr std::uint32_t kStripBytes = 65536;
constexpr double kInchesPerMeter = 1 / 0.0254;

bool fnKnowsTiff(const unsigned char* head, std::size_t count) {
    // Byte order, then 42, or 43 for BigTIFF.
    return count >= 4 &&
           (std::memcmp(head, "II*\0", 4) == 0 || std::memcmp(head, "MM\0*", 4) == 0 ||
            std::memcmp(head, "II+\0", 4) == 0 || std::memcmp(head, "MM\0+", 4) == 0);
}

std::uint64_t fnSampleBytes(std::uint64_t width, const TiffLayout& layout) {
    const unsigned int samples = layout.m_bSeparate ? 1 : layout.m_nSamples;
    return (width * samples * layout.m_nBits + 7) / 8;
}

/// Allocates a block of `given` bytes, the size that libtiff writes in one call; at least `needed`.
Bytes fnMakePart(std::uint64_t given, std::uint64_t needed) {
    if (given < needed)
        throw CodecFailure{MESSAGE_CORRUPTED};
    if (given > kMaxPartBytes)
        throw CodecFailure{MESSAGE_NO_MEMORY};
    return std::make_unique_for_overwrite<unsigned char[]>(static_cast<std::size_t>(given));
}

/// Reads the pixels of one picture, by rows or tiles as its layout requires.
class TiffReader {
public:
    TiffReader(TiffHandle& file, const TiffLayout& layout, PictureTarget& target)
        : m_File(file), m_Layout(layout), m_Target(target), m_Samples(layout) {}

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
    void fnReadRows();
    void fnReadTiles();
    void fnReadConverted();
    void fnTake(const unsigned char* samples, unsigned int plane, std::uint32_t x, std::uint32_t y,
                std::uint32_t count, unsigned char* pixels);

    TiffHandle& m_File;
    const TiffLayout& m_Layout;
    PictureTarget& m_Target;
    TiffSamples m_Samples;
};

/// Stores decoded samples in the image. Separate planes are combined in the image itself.
void TiffReader::fnTake(const unsigned char* samples, unsigned int plane, std::uint32_t x,
                        std::uint32_t y, std::uint32_t count, unsigned char* pixels) {
    if (m_Layout.m_bSeparate) {
        if (plane > 0)
            m_Target.fnFetch(x, y, count, pixels);
        m_Samples.fnConvertPlane(samples, plane, count, pixels);
    } else {
        m_Samples.fnConvert(samples, count, pixels);
    }
    m_Target.fnStore(x, y, count, pixels);
}

void TiffReader::fnReadRows() {
    const std::uint32_t width = m_Layout.m_nWidth;
    const Bytes samples = fnMakePart(TIFFScanlineSize64(m_File), fnSampleBytes(width, m_Layout));
    const Bytes pixels =
        std::make_unique<unsigned char[]>(std::size_t{width} * fnCodecBytes(m_Layout.fnBitCount()));
    std::uint64_t done = 0;
    for (unsigned int plane = 0; plane < fnPlanes(); ++plane) {
        for (std::uint32_t y = 0; y < m_Layout.m_nHeight; ++y) {
            if (TIFFReadScanline(m_File, samples.get(), y, static_cast<std::uint16_t>(plane)) < 0)
                m_File.fnFail();
            fnTake(samples.get(), plane, 0, y, width, pixels.get());
            m_Target.fnTell(++done, fnPlanes() * m_Layout.m_nHeight);
        }
    }
}

void TiffReader::fnReadTiles() {
    const std::uint32_t tileWidth = m_Layout.m_nTileWidth;
    const std::uint32_t tileHeight = m_Layout.m_nTileHeight;
    const std::uint64_t tileRow = fnSampleBytes(tileWidth, m_Layout);
    const Bytes samples = fnMakePart(TIFFTileSize64(m_File), tileRow * tileHeight);
    const Bytes pixels =
        fnMakePart(std::uint64_t{tileWidth} * fnCodecBytes(m_Layout.fnBitCount()), 0);
    const auto down = (std::uint64_t{m_Layout.m_nHeight} + tileHeight - 1) / tileHeight;
    std::uint64_t done = 0;
    for (unsigned int plane = 0; plane < fnPlanes(); ++plane) {
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
            }
            m_Target.fnTell(++done, fnPlanes() * down);
        }
    }
}

/// Has libtiff convert to RGB, a strip or a row of tiles at a time.
void TiffReader::fnReadConverted() {
    const std::uint32_t width = m_Layout.m_nWidth;
    const std::uint32_t band = std::min(m_Layout.m_nTileHeight, m_Layout.m_nHeight);
    const Bytes raster = fnMakePart(std::uint64_t{width} * band * sizeof(std::uint32_t), 0);
    const Bytes row = std::make_unique_for_overwrite<unsigned char[]>(std::size_t{width} * 3);
    char reason[1024] = {};
    TIFFRGBAImage image = {};
    if (!TIFFRGBAImageBegin(&image, m_File, 1, reason))
        m_File.fnFail();
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
        m_Target.fnTell(std::uint64_t{top} + rows, m_Layout.m_nHeight);
        if (m_Layout.m_nHeight - top <= band)
            break; // `top` would wrap
    }
}

/// Reads the colour table of a palette picture. Tables of early writers hold 8-bit values.
void fnReadPalette(TIFF* file, unsigned int count, RGBQUAD* palette) {
    std::uint16_t* channels[3] = {};
    if (!TIFFGetField(file, TIFFTAG_COLORMAP, &channels[0], &channels[1], &channels[2]))
        throw CodecFailure{MESSAGE_CORRUPTED};
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

void fnCheckRoom(TIFF* file, const TiffLayout& layout, std::uint64_t fileBytes) {
    std::uint16_t compression = COMPRESSION_NONE;
    TIFFGetFieldDefaulted(file, TIFFTAG_COMPRESSION, &compression);
    const bool bounded = compression == COMPRESSION_NONE || compression == COMPRESSION_LZW ||
                         compression == COMPRESSION_PACKBITS ||
                         compression == COMPRESSION_DEFLATE ||
                         compression == COMPRESSION_ADOBE_DEFLATE;
    const std::uint64_t rowBytes = fnSampleBytes(layout.m_nWidth, layout);
    if (bounded)
        PictureTarget::fnCheckRoom(fileBytes, rowBytes, layout.m_nHeight, kMaxRatio);
    else
        PictureTarget::fnCheckSparseRoom(fileBytes, rowBytes, layout.m_nHeight);
}

void fnTakeNotes(TIFF* file, PictureTarget& target) {
    const char* title = nullptr;
    if (TIFFGetField(file, TIFFTAG_DOCUMENTNAME, &title) ||
        TIFFGetField(file, TIFFTAG_IMAGEDESCRIPTION, &title))
        target.fnSetTitle(title);
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

/// Whether the file holds more than the image does of its first directory.
bool fnHoldsMore(TIFF* file, const TiffLayout& layout) {
    std::uint16_t orientation = ORIENTATION_TOPLEFT;
    TIFFGetFieldDefaulted(file, TIFFTAG_ORIENTATION, &orientation);
    const auto has = [file]<typename Count>(ttag_t tag, Count count) {
        void* value = nullptr;
        return TIFFGetField(file, tag, &count, &value) != 0;
    };
    const auto tells = [file](ttag_t tag) {
        const char* text = nullptr;
        return TIFFGetField(file, tag, &text) != 0;
    };
    const auto leads = [file](ttag_t tag) {
        std::uint64_t offset = 0;
        return TIFFGetField(file, tag, &offset) != 0;
    };
    return !TIFFLastDirectory(file) || layout.m_nBits > 8 || layout.m_eKind == TIFF_OTHER ||
           layout.m_eKind == TIFF_CMYK || layout.m_nSamples > layout.fnUsedSamples() ||
           orientation != ORIENTATION_TOPLEFT || has(TIFFTAG_ICCPROFILE, 0u) ||
           has(TIFFTAG_XMLPACKET, 0u) || has(TIFFTAG_SUBIFD, std::uint16_t{0}) ||
           has(TIFFTAG_RICHTIFFIPTC, 0u) || has(TIFFTAG_PHOTOSHOP, 0u) || tells(TIFFTAG_ARTIST) ||
           tells(TIFFTAG_COPYRIGHT) ||
           (tells(TIFFTAG_DOCUMENTNAME) && tells(TIFFTAG_IMAGEDESCRIPTION)) ||
           leads(TIFFTAG_EXIFIFD) || leads(TIFFTAG_GPSIFD);
}

void fnReadTiff(CodecInput& input, PictureTarget& target) {
    TiffHandle file(input);
    const TiffLayout layout = fnReadLayout(file);
    fnCheckRoom(file, layout, input.fnGetLength());
    fnAllocImage(file, layout, target);
    fnTakeNotes(file, target);
    if (fnHoldsMore(file, layout))
        target.fnNoteReduced();
    file.fnWatchWarnings();
    TiffReader(file, layout, target).fnRead();
    if (file.fnHasWarned() || input.fnHasFailed())
        file.fnFail();
}

void fnDescribePalette(TIFF* file, const PictureSource& source) {
    std::uint16_t channels[3][256] = {};
    for (int i = 0; i < 256; ++i) {
        const RGBQUAD& color = source.fnGetColors()[i];
        channels[0][i] = static_cast<std::uint16_t>(color.rgbRed * 257);
        channels[1][i] = static_cast<std::uint16_t>(color.rgbGreen * 257);
        channels[2][i] = static_cast<std::uint16_t>(color.rgbBlue * 257);
    }
    TIFFSetField(file, TIFFTAG_COLORMAP, channels[0], channels[1], channels[2]);
}

std::uint32_t fnStoredRowBytes(const PictureSource& source) {
    const unsigned int bits = source.fnGetBitCount();
    return bits == 4 ? (source.fnGetWidth() + 1) / 2
                     : source.fnGetWidth() * (bits == 16 ? 3 : fnCodecBytes(bits));
}

void fnDescribe(TIFF* file, const PictureSource& source, const CqPictureOptions& options) {
    const unsigned int bits = source.fnGetBitCount();
    const bool palette = bits <= 8 && !source.fnIsGrey();
    TIFFSetField(file, TIFFTAG_IMAGEWIDTH, source.fnGetWidth());
    TIFFSetField(file, TIFFTAG_IMAGELENGTH, source.fnGetHeight());
    TIFFSetField(file, TIFFTAG_BITSPERSAMPLE, bits == 4 ? 4 : 8);
    TIFFSetField(file, TIFFTAG_SAMPLESPERPIXEL, bits <= 8 ? 1 : bits == 32 ? 4 : 3);
    TIFFSetField(file, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(file, TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
    TIFFSetField(file, TIFFTAG_PHOTOMETRIC,
                 palette     ? PHOTOMETRIC_PALETTE
                 : bits <= 8 ? PHOTOMETRIC_MINISBLACK
                             : PHOTOMETRIC_RGB);
    TIFFSetField(file, TIFFTAG_ROWSPERSTRIP,
                 std::max(1u, kStripBytes / std::max(1u, fnStoredRowBytes(source))));
    if (palette)
        fnDescribePalette(file, source);
    if (bits == 32) {
        const std::uint16_t extra = EXTRASAMPLE_UNASSALPHA;
        TIFFSetField(file, TIFFTAG_EXTRASAMPLES, 1, &extra);
    }
    constexpr int kCompressions[] = {COMPRESSION_LZW, COMPRESSION_ADOBE_DEFLATE, COMPRESSION_NONE};
    TIFFSetField(file, TIFFTAG_COMPRESSION,
                 kCompressions[std::min<unsigned int>(options.m_eTiffCompression, 2)]);
    if (!palette && options.m_eTiffCompression != PICTURE_UNCOMPRESSED)
        TIFFSetField(file, TIFFTAG_PREDICTOR, PREDICTOR_HORIZONTAL);
    if (source.fnGetDotsPerMeterX() > 0) {
        TIFFSetField(file, TIFFTAG_RESOLUTIONUNIT, RESUNIT_INCH);
        TIFFSetField(file, TIFFTAG_XRESOLUTION, static_cast<double>(source.fnGetDpiX()));
        TIFFSetField(file, TIFFTAG_YRESOLUTION, static_cast<double>(source.fnGetDpiY()));
    }
    if (*source.fnGetTitle())
        TIFFSetField(file, TIFFTAG_DOCUMENTNAME, source.fnGetTitle());
}

/// Fetches a row in the order of the file: alpha follows the colours.
void fnFetchStored(PictureSource& source, std::uint32_t y, unsigned char* row,
                   unsigned char* stored) {
    const std::size_t width = source.fnGetWidth();
    switch (source.fnGetBitCount()) {
    case 4:
        source.fnFetchRow(y, row);
        fnJoinNibbles(row, width, stored);
        break;
    case 32:
        source.fnFetchRow(y, stored);
        for (std::size_t x = 0; x < width; ++x)
            std::rotate(stored + 4 * x, stored + 4 * x + 1, stored + 4 * x + 4);
        break;
    case 8:
        source.fnFetchRow(y, stored);
        break;
    default:
        source.fnFetchRgb(y, stored);
        break;
    }
}

void fnWriteTiff(CodecOutput& output, PictureSource& source, const CqPictureOptions& options) {
    TiffHandle file(output);
    fnDescribe(file, source, options);
    const std::uint32_t height = source.fnGetHeight();
    const Bytes row = std::make_unique_for_overwrite<unsigned char[]>(source.fnGetWidth());
    const Bytes stored = std::make_unique_for_overwrite<unsigned char[]>(fnStoredRowBytes(source));
    for (std::uint32_t y = 0; y < height; ++y) {
        fnFetchStored(source, y, row.get(), stored.get());
        if (TIFFWriteScanline(file, stored.get(), y, 0) < 0)
            file.fnFail();
        source.fnTell(std::uint64_t{y} + 1, height);
    }
    if (!TIFFWriteDirectory(file) || output.fnHasFailed())
        file.fnFail();
}

} // namespace

const PictureCodec kTiffCodec = {
    {PICTURE_TIFF, "TIFF", "tif tiff", true, true}, fnKnowsTiff, fnReadTiff, fnWriteTiff};

} // namespace q32
