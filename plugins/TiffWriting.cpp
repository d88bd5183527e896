#include "plugins/CodecOutput_p.h"
#include "plugins/PictureCodec_p.h"
#include "plugins/PictureSource_p.h"
#include "plugins/PictureWork_p.h"
#include "plugins/TiffBytes_p.h"
#include "plugins/TiffHandle_p.h"
#include "plugins/TiffWriting_p.h"

#include <tiffio.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <vector>

namespace q32 {

namespace {

constexpr std::uint64_t kStripBytes = 65536;
/// Limit of a single allocation by libtiff: no more than a strip and the tables of all strips.
constexpr std::uint64_t kMaxWriteBytes = std::uint64_t{1} << 34;
/// Nanoseconds in which a byte is compressed, at least.
constexpr double kPackTime = 8.0;
/// Pictures that take less than so many overheads of a task are compressed by one thread.
constexpr double kMinPackTime = 40.0;
/// What a thread does between two reports, in overheads.
constexpr double kPackBatchTime = 200.0;

template <typename... Values>
void fnSet(TiffHandle& file, ttag_t tag, Values... values) {
    if (!TIFFSetField(file, tag, values...))
        file.fnFail();
}

/// Throws unless libtiff holds `count` values equal to `expected` at `stored`: it reports no
/// failure when memory for a copy is exhausted.
template <typename Value>
void fnCheckStored(const Value* stored, const Value* expected, std::size_t count) {
    if (!stored || !std::equal(expected, expected + count, stored))
        throw CodecFailure{MESSAGE_NO_MEMORY};
}

void fnDescribePalette(TiffHandle& file, const PictureSource& source) {
    std::uint16_t channels[3][256] = {};
    for (int i = 0; i < 256; ++i) {
        const RGBQUAD& color = source.fnGetColors()[i];
        channels[0][i] = static_cast<std::uint16_t>(color.rgbRed * 257);
        channels[1][i] = static_cast<std::uint16_t>(color.rgbGreen * 257);
        channels[2][i] = static_cast<std::uint16_t>(color.rgbBlue * 257);
    }
    fnSet(file, TIFFTAG_COLORMAP, channels[0], channels[1], channels[2]);
    std::uint16_t* stored[3] = {};
    TIFFGetField(file, TIFFTAG_COLORMAP, &stored[0], &stored[1], &stored[2]);
    for (int i = 0; i < 3; ++i)
        fnCheckStored(stored[i], channels[i], std::size_t{1} << source.fnGetBitCount());
}

void fnDescribeAlpha(TiffHandle& file) {
    const std::uint16_t extra = EXTRASAMPLE_UNASSALPHA;
    fnSet(file, TIFFTAG_EXTRASAMPLES, 1, &extra);
    std::uint16_t count = 0;
    std::uint16_t* stored = nullptr;
    TIFFGetField(file, TIFFTAG_EXTRASAMPLES, &count, &stored);
    fnCheckStored(stored, &extra, 1);
}

void fnDescribeTitle(TiffHandle& file, const char* title) {
    fnSet(file, TIFFTAG_DOCUMENTNAME, title);
    const char* stored = nullptr;
    TIFFGetField(file, TIFFTAG_DOCUMENTNAME, &stored);
    fnCheckStored(stored, title, std::strlen(title) + 1);
}

void fnDescribeBlock(TiffHandle& file, ttag_t tag, const std::vector<unsigned char>& block) {
    if (block.empty())
        return;
    fnSet(file, tag, static_cast<std::uint32_t>(block.size()), block.data());
    std::uint32_t count = 0;
    unsigned char* stored = nullptr;
    TIFFGetField(file, tag, &count, &stored);
    fnCheckStored(stored, block.data(), block.size());
}

/// Some versions of libtiff take IPTC as numbers of 32 bits.
void fnDescribeIptc(TiffHandle& file, const std::vector<unsigned char>& block) {
    const TIFFField* field = TIFFFindField(file, TIFFTAG_RICHTIFFIPTC, TIFF_ANY);
    if (block.empty() || !field || TIFFDataWidth(TIFFFieldDataType(field)) == 1)
        return fnDescribeBlock(file, TIFFTAG_RICHTIFFIPTC, block);
    std::vector<std::uint32_t> numbers((block.size() + 3) / 4);
    std::memcpy(numbers.data(), block.data(), block.size());
    fnSet(file, TIFFTAG_RICHTIFFIPTC, static_cast<std::uint32_t>(numbers.size()), numbers.data());
    std::uint32_t count = 0;
    std::uint32_t* stored = nullptr;
    TIFFGetField(file, TIFFTAG_RICHTIFFIPTC, &count, &stored);
    fnCheckStored(stored, numbers.data(), numbers.size());
}

std::uint64_t fnGetRowBytes(const PictureSource& source) {
    return fnTiffRowBytes(source.fnGetWidth(), source.fnGetBitCount())
        .fnGetOrThrow<std::uint64_t>();
}

std::uint32_t fnGetStripRows(const PictureSource& source) {
    return static_cast<std::uint32_t>(
        std::clamp<std::uint64_t>(kStripBytes / fnGetRowBytes(source), 1, kStripBytes));
}

bool fnHasPalette(const PictureSource& source) {
    return source.fnGetBitCount() <= 8 && !source.fnIsGrey();
}

/// Declares what determines the bytes of strips.
void fnDescribeStrips(TiffHandle& file, const PictureSource& source,
                      const CqPictureOptions& options) {
    const unsigned int bits = source.fnGetBitCount();
    fnSet(file, TIFFTAG_IMAGEWIDTH, source.fnGetWidth());
    fnSet(file, TIFFTAG_IMAGELENGTH, source.fnGetHeight());
    fnSet(file, TIFFTAG_BITSPERSAMPLE, bits == 4 ? 4 : 8);
    fnSet(file, TIFFTAG_SAMPLESPERPIXEL, bits <= 8 ? 1 : bits == 32 ? 4 : 3);
    fnSet(file, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    fnSet(file, TIFFTAG_PHOTOMETRIC,
          fnHasPalette(source) ? PHOTOMETRIC_PALETTE
          : bits <= 8          ? PHOTOMETRIC_MINISBLACK
                               : PHOTOMETRIC_RGB);
    fnSet(file, TIFFTAG_ROWSPERSTRIP, fnGetStripRows(source));
    constexpr int kCompressions[] = {COMPRESSION_LZW, COMPRESSION_ADOBE_DEFLATE, COMPRESSION_NONE};
    fnSet(file, TIFFTAG_COMPRESSION,
          kCompressions[std::min<unsigned int>(options.m_eTiffCompression, 2)]);
    if (!fnHasPalette(source) && options.m_eTiffCompression != PICTURE_UNCOMPRESSED)
        fnSet(file, TIFFTAG_PREDICTOR, PREDICTOR_HORIZONTAL);
}

void fnDescribe(TiffHandle& file, const PictureSource& source, const CqPictureOptions& options) {
    fnDescribeStrips(file, source, options);
    fnSet(file, TIFFTAG_ORIENTATION, source.fnGetMetadata().m_nOrientation);
    if (fnHasPalette(source))
        fnDescribePalette(file, source);
    if (source.fnGetBitCount() == 32)
        fnDescribeAlpha(file);
    if (source.fnGetDotsPerMeterX() > 0) {
        fnSet(file, TIFFTAG_RESOLUTIONUNIT, RESUNIT_INCH);
        fnSet(file, TIFFTAG_XRESOLUTION, static_cast<double>(source.fnGetDpiX()));
        fnSet(file, TIFFTAG_YRESOLUTION, static_cast<double>(source.fnGetDpiY()));
    }
    if (*source.fnGetTitle())
        fnDescribeTitle(file, source.fnGetTitle());
    fnDescribeBlock(file, TIFFTAG_ICCPROFILE, source.fnGetMetadata().m_Profile);
    fnDescribeBlock(file, TIFFTAG_XMLPACKET, source.fnGetMetadata().m_Xmp);
    fnDescribeIptc(file, source.fnGetMetadata().m_Iptc);
}

/// The rows of the image in the order of the file: alpha follows the colours. On one thread at a
/// time.
class StoredRows {
public:
    explicit StoredRows(PictureSource& source)
        : m_Source(source),
          m_Reader(source.fnMakeReader(source.fnGetBitCount() <= 8 || source.fnGetBitCount() == 32
                                           ? PIXEL_STORED
                                           : PIXEL_RGB24)),
          m_Indices(std::make_unique_for_overwrite<unsigned char[]>(
              source.fnGetBitCount() == 4 ? source.fnGetWidth() : 0)) {}

    void fnFetch(std::uint32_t y, unsigned char* stored) {
        const std::size_t width = m_Source.fnGetWidth();
        const unsigned int bits = m_Source.fnGetBitCount();
        m_Source.fnFetch(m_Reader, y, bits == 4 ? m_Indices.get() : stored);
        if (bits == 4)
            fnJoinNibbles(m_Indices.get(), width, stored);
        for (std::size_t x = 0; bits == 32 && x < width; ++x)
            std::rotate(stored + 4 * x, stored + 4 * x + 1, stored + 4 * x + 4);
    }

private:
    PictureSource& m_Source;
    CqPixelReader m_Reader;
    std::unique_ptr<unsigned char[]> m_Indices;
};

/// Compresses strips with a libtiff handle of its own, to the bytes that the file's handle would
/// write. On any thread, one strip at a time.
class StripPacker {
public:
    StripPacker(PictureSource& source, const CqPictureOptions& options)
        : m_nHeight(source.fnGetHeight()), m_nRows(fnGetStripRows(source)),
          m_File(m_Bytes, "w", kMaxWriteBytes), m_Fetched(source),
          m_pRow(std::make_unique_for_overwrite<unsigned char[]>(
              CheckedSize(fnGetRowBytes(source)).fnGetOrThrow())) {
        fnDescribeStrips(m_File, source, options);
    }

    /// Its failure; MESSAGE_NONE for none.
    CodecFailure fnPack(std::uint32_t strip, std::vector<unsigned char>& packed) noexcept {
        try {
            m_Bytes.fnTake(packed); // of opening, or of a strip that failed
            for (std::uint32_t y = strip * m_nRows; y < fnGetEnd(strip); ++y) {
                m_Fetched.fnFetch(y, m_pRow.get());
                if (TIFFWriteScanline(m_File, m_pRow.get(), y, 0) < 0)
                    m_File.fnFail();
            }
            if (!TIFFFlushData(m_File))
                m_File.fnFail();
            m_File.fnCheckMemory();
            return {m_Bytes.fnTake(packed) ? MESSAGE_NONE : MESSAGE_NO_MEMORY};
        } catch (const CodecFailure& failure) {
            return failure;
        } catch (...) {
            return {MESSAGE_NO_MEMORY};
        }
    }

    /// The row beyond those of a strip.
    std::uint32_t fnGetEnd(std::uint32_t strip) const {
        return strip * m_nRows + std::min(m_nRows, m_nHeight - strip * m_nRows);
    }

private:
    std::uint32_t m_nHeight;
    std::uint32_t m_nRows; ///< of a strip
    TiffScratch m_Bytes;
    TiffHandle m_File;
    StoredRows m_Fetched;
    std::unique_ptr<unsigned char[]> m_pRow;
};

/// Strips that several threads compress at once, and this one writes.
class PackedStrips {
public:
    /// For one thread, and where it does as well, makes nothing.
    PackedStrips(PictureSource& source, const CqPictureOptions& options)
        : m_Source(source), m_nStrips((CheckedSize(source.fnGetHeight()))
                                          .fnDivideUp(fnGetStripRows(source))
                                          .fnGetOrThrow<std::uint32_t>()) {
        const double time =
            kPackTime * static_cast<double>(fnGetRowBytes(source)) * fnGetStripRows(source);
        const std::uint32_t threads = std::min(fnCountPictureThreads(), m_nStrips);
        if (threads < 2 || options.m_eTiffCompression == PICTURE_UNCOMPRESSED ||
            time * m_nStrips < kMinPackTime * fnGetTaskOverhead())
            return;
        const double each = std::max(std::ceil(kPackBatchTime * fnGetTaskOverhead() / time), 1.0);
        m_Packed.resize(
            static_cast<std::size_t>(std::min(each * threads, static_cast<double>(m_nStrips))));
        while (m_Packers.size() < threads)
            m_Packers.push_back(std::make_unique<StripPacker>(source, options));
    }

    bool fnAreDivided() const { return !m_Packers.empty(); }

    void fnWrite(TiffHandle& file) {
        for (std::uint32_t first = 0; first < m_nStrips;) {
            const std::uint32_t count = static_cast<std::uint32_t>(
                std::min<std::size_t>(m_Packed.size(), m_nStrips - first));
            fnRunPieces(count, [&](std::uint32_t i, std::uint32_t worker) {
                m_Packed[i].m_Failure = m_Packers[worker]->fnPack(first + i, m_Packed[i].m_Bytes);
            });
            for (std::uint32_t i = 0; i < count; ++i)
                fnWriteStrip(file, first++, m_Packed[i]);
        }
    }

private:
    struct Packed {
        CodecFailure m_Failure = {MESSAGE_NONE};
        std::vector<unsigned char> m_Bytes;
    };

    void fnWriteStrip(TiffHandle& file, std::uint32_t strip, Packed& packed) {
        if (packed.m_Failure.m_eMessage != MESSAGE_NONE)
            throw packed.m_Failure;
        const auto size = static_cast<tmsize_t>(packed.m_Bytes.size());
        if (TIFFWriteRawStrip(file, strip, packed.m_Bytes.data(), size) != size)
            file.fnFail();
        const std::uint32_t end = m_Packers[0]->fnGetEnd(strip);
        for (std::uint32_t y = strip * fnGetStripRows(m_Source); y < end; ++y)
            m_Source.fnReport(std::uint64_t{y} + 1, m_Source.fnGetHeight());
    }

    PictureSource& m_Source;
    std::uint32_t m_nStrips;
    std::vector<Packed> m_Packed; ///< as many as are compressed at once
    std::vector<std::unique_ptr<StripPacker>> m_Packers;
};

void fnWriteRows(TiffHandle& file, PictureSource& source) {
    const std::uint32_t height = source.fnGetHeight();
    const auto row = std::make_unique_for_overwrite<unsigned char[]>(
        CheckedSize(fnGetRowBytes(source)).fnGetOrThrow());
    StoredRows stored(source);
    for (std::uint32_t y = 0; y < height; ++y) {
        stored.fnFetch(y, row.get());
        if (TIFFWriteScanline(file, row.get(), y, 0) < 0)
            file.fnFail();
        source.fnReport(std::uint64_t{y} + 1, height);
    }
}

} // namespace

void fnWriteTiff(CodecOutput& output, PictureSource& source, const CqPictureOptions& options) {
    TiffOutput bytes(output);
    TiffHandle file(bytes, "w", kMaxWriteBytes);
    fnDescribe(file, source, options);
    PackedStrips strips(source, options);
    if (strips.fnAreDivided())
        strips.fnWrite(file);
    else
        fnWriteRows(file, source);
    if (!TIFFWriteDirectory(file) || output.fnHasFailed())
        file.fnFail();
    file.fnCheckMemory();
}

} // namespace q32
