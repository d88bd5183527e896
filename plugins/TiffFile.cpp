#include "plugins/CodecInput_p.h"
#include "plugins/CodecSamples_p.h"
#include "plugins/MetadataTarget_p.h"
#include "plugins/PictureCodec_p.h"
#include "plugins/PictureTarget_p.h"
#include "plugins/TiffBytes_p.h"
#include "plugins/TiffHandle_p.h"
#include "plugins/TiffJpeg_p.h"
#include "plugins/TiffParts_p.h"
#include "plugins/TiffSamples_p.h"
#include "plugins/TiffTags_p.h"
#include "plugins/TiffWriting_p.h"

#include <tiffio.h>

#include <algorithm>
#include <cstring>
#include <initializer_list>
#include <utility>

namespace q32 {

namespace {

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
    TiffInput bytes(input, tags);
    TiffHandle file(bytes, "rm", limits.m_nCodecBytes);
    const CheckedSize taken = CheckedSize(tags.fnGetBytes()) + fnFindDecoderBytes(file);
    target.fnCheckCodecBytes(taken);
    const TiffLayout layout = fnReadLayout(file);
    fnCheckRoom(file, layout, input.fnGetLength());
    fnCheckTaken(file, tags, layout);
    if (target.fnNeedsPixels())
        fnRefuseJpegScans(file, input, tags, target.fnGetSteps());
    file.fnCheckMemory();
    fnAllocImage(file, layout, target);
    fnTakeNotes(file, tags, target);
    target.fnNoteReduced(fnFindParts(file, tags, layout, target.fnGetMetadata() != nullptr));
    if (file.fnHasGuessed())
        target.fnNoteReduced(PICTURE_PART_OTHER);
    file.fnWatchWarnings();
    if (target.fnNeedsPixels())
        fnReadTiffPixels({file, input, tags, layout, target}, taken);
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
