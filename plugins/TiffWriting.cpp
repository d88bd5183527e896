#include "plugins/CodecOutput_p.h"
#include "plugins/PictureCodec_p.h"
#include "plugins/PictureSource_p.h"
#include "plugins/TiffHandle_p.h"
#include "plugins/TiffWriting_p.h"

#include <tiffio.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <vector>

namespace q32 {

namespace {

using Bytes = std::unique_ptr<unsigned char[]>;

constexpr std::uint64_t kStripBytes = 65536;

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

void fnDescribe(TiffHandle& file, const PictureSource& source, const CqPictureOptions& options) {
    const unsigned int bits = source.fnGetBitCount();
    const bool palette = bits <= 8 && !source.fnIsGrey();
    const auto rowBytes = fnTiffRowBytes(source.fnGetWidth(), bits).fnGetOrThrow<std::uint64_t>();
    fnSet(file, TIFFTAG_IMAGEWIDTH, source.fnGetWidth());
    fnSet(file, TIFFTAG_IMAGELENGTH, source.fnGetHeight());
    fnSet(file, TIFFTAG_BITSPERSAMPLE, bits == 4 ? 4 : 8);
    fnSet(file, TIFFTAG_SAMPLESPERPIXEL, bits <= 8 ? 1 : bits == 32 ? 4 : 3);
    fnSet(file, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    fnSet(file, TIFFTAG_ORIENTATION, source.fnGetMetadata().m_nOrientation);
    fnSet(file, TIFFTAG_PHOTOMETRIC,
          palette     ? PHOTOMETRIC_PALETTE
          : bits <= 8 ? PHOTOMETRIC_MINISBLACK
                      : PHOTOMETRIC_RGB);
    fnSet(file, TIFFTAG_ROWSPERSTRIP,
          static_cast<std::uint32_t>(
              std::clamp<std::uint64_t>(kStripBytes / rowBytes, 1, kStripBytes)));
    if (palette)
        fnDescribePalette(file, source);
    if (bits == 32)
        fnDescribeAlpha(file);
    constexpr int kCompressions[] = {COMPRESSION_LZW, COMPRESSION_ADOBE_DEFLATE, COMPRESSION_NONE};
    fnSet(file, TIFFTAG_COMPRESSION,
          kCompressions[std::min<unsigned int>(options.m_eTiffCompression, 2)]);
    if (!palette && options.m_eTiffCompression != PICTURE_UNCOMPRESSED)
        fnSet(file, TIFFTAG_PREDICTOR, PREDICTOR_HORIZONTAL);
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

} // namespace

void fnWriteTiff(CodecOutput& output, PictureSource& source, const CqPictureOptions& options) {
    TiffHandle file(output);
    fnDescribe(file, source, options);
    const std::uint32_t height = source.fnGetHeight();
    const Bytes row = std::make_unique_for_overwrite<unsigned char[]>(source.fnGetWidth());
    const Bytes stored = std::make_unique_for_overwrite<unsigned char[]>(
        fnTiffRowBytes(source.fnGetWidth(), source.fnGetBitCount()).fnGetOrThrow());
    for (std::uint32_t y = 0; y < height; ++y) {
        fnFetchStored(source, y, row.get(), stored.get());
        if (TIFFWriteScanline(file, stored.get(), y, 0) < 0)
            file.fnFail();
        source.fnReport(std::uint64_t{y} + 1, height);
    }
    if (!TIFFWriteDirectory(file) || output.fnHasFailed())
        file.fnFail();
    file.fnCheckMemory();
}

} // namespace q32
