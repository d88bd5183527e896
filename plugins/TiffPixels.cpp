#include "plugins/CodecInput_p.h"
#include "plugins/CodecSamples_p.h"
#include "plugins/PictureCodec_p.h"
#include "plugins/PictureTarget_p.h"
#include "plugins/RowBands_p.h"
#include "plugins/TiffParts_p.h"

#include <tiffio.h>

#include <algorithm>
#include <cstring>
#include <iterator>
#include <memory>

namespace q32 {

namespace {

using Bytes = std::unique_ptr<unsigned char[]>;

/// Nanoseconds in which a byte of decoded samples is converted and stored.
constexpr double kSampleTime = 1.0;

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
    std::uint64_t fnGetPlaneCount() const {
        return m_Layout.m_bSeparate ? m_Layout.fnGetUsedSamples() : 1;
    }
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

/// What bands of rows may take; nothing where rows are only copied. Only of the codings that fill
/// all of a row or fail: what another one leaves of it must be as it was in the row before.
std::uint64_t TiffReader::fnGetBandBytes() const {
    std::uint16_t compression = COMPRESSION_NONE;
    TIFFGetFieldDefaulted(m_File, TIFFTAG_COMPRESSION, &compression);
    constexpr std::uint16_t kFilling[] = {
        COMPRESSION_NONE,          COMPRESSION_LZW,      COMPRESSION_JPEG, COMPRESSION_DEFLATE,
        COMPRESSION_ADOBE_DEFLATE, COMPRESSION_PACKBITS, COMPRESSION_ZSTD};
    const bool copies = compression == COMPRESSION_NONE && !m_Layout.m_bSeparate &&
                        TiffSamples::fnArePlain(m_Layout);
    if (copies ||
        std::find(std::begin(kFilling), std::end(kFilling), compression) == std::end(kFilling))
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
    const Bytes pixels = fnMakePart(CheckedSize(width) * fnCodecBytes(m_Layout.fnGetBitCount()), 0);
    fnCountWidened(width);
    std::uint64_t done = 0;
    const auto report = [&] { m_Target.fnReport(++done, fnGetPlaneCount() * height); };
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
    for (unsigned int plane = 0; plane < fnGetPlaneCount(); ++plane) {
        RowBands rows(height, rowBytes, static_cast<double>(rowBytes) * kSampleTime,
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
        fnMakePart(CheckedSize(tileWidth) * fnCodecBytes(m_Layout.fnGetBitCount()), 0);
    fnCountWidened(tileWidth);
    const std::uint32_t tiles = fnCountParts(m_Layout);
    std::uint64_t done = 0;
    const auto report = [&](std::uint32_t) {
        m_Target.fnReport(++done, fnGetPlaneCount() * tiles);
    };
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
    for (unsigned int plane = 0; plane < fnGetPlaneCount(); ++plane)
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

} // namespace

CheckedSize fnSampleBytes(CheckedSize width, const TiffLayout& layout) {
    const unsigned int samples = layout.m_bSeparate ? 1 : layout.m_nSamples;
    return (width * samples * layout.m_nBits).fnDivideUp(8);
}

void fnReadTiffPixels(const TiffReading& reading, CheckedSize taken) {
    TiffReader(reading, taken).fnRead();
}

} // namespace q32
