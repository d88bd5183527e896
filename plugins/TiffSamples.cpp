#include "plugins/CodecSamples_p.h"
#include "plugins/Dither16_p.h"
#include "plugins/PictureCodec_p.h"
#include "plugins/TiffSamples_p.h"

#include <tiffio.h>

#include <algorithm>
#include <cassert>
#include <cstring>

namespace q32 {

namespace {

struct KindFacts {
    unsigned int m_nBitCount;    ///< of the image; 0: depends on the bits per sample
    unsigned int m_nUsedSamples; ///< per pixel
};

/// Indexed by TIFF_KIND.
constexpr KindFacts kKinds[] = {{0, 1}, {8, 1}, {32, 2}, {24, 3}, {32, 4}, {24, 4}, {24, 0}};

/// `extra` is the type of the first of `extras` samples that follow the colours.
TIFF_KIND fnKindOf(TIFF* file, const TiffLayout& layout, unsigned int extras, std::uint16_t extra) {
    const unsigned int colors = extras < layout.m_nSamples ? layout.m_nSamples - extras : 0u;
    const bool alpha = extra == EXTRASAMPLE_ASSOCALPHA || extra == EXTRASAMPLE_UNASSALPHA;
    std::uint16_t inks = INKSET_CMYK;
    TIFFGetFieldDefaulted(file, TIFFTAG_INKSET, &inks);

    switch (layout.m_nPhotometric) {
    case PHOTOMETRIC_PALETTE:
        return colors == 1 && layout.m_nBits <= 8 ? TIFF_PALETTE : TIFF_OTHER;
    case PHOTOMETRIC_MINISWHITE:
    case PHOTOMETRIC_MINISBLACK:
        return colors != 1 ? TIFF_OTHER : alpha ? TIFF_GREY_ALPHA : TIFF_GREY;
    case PHOTOMETRIC_RGB:
        return colors != 3 ? TIFF_OTHER : alpha ? TIFF_RGB_ALPHA : TIFF_RGB;
    case PHOTOMETRIC_SEPARATED:
        return colors == 4 && inks == INKSET_CMYK ? TIFF_CMYK : TIFF_OTHER;
    default:
        return TIFF_OTHER;
    }
}

/// Unsupported alpha is ignored, whether or not the other samples are multiplied by it.
void fnSetKind(TIFF* file, TiffLayout& layout) {
    std::uint16_t extras = 0;
    std::uint16_t* list = nullptr;
    TIFFGetFieldDefaulted(file, TIFFTAG_EXTRASAMPLES, &extras, &list);
    if (extras > 0 && !list) // libtiff reports no failure when it can't copy a list
        throw CodecFailure{MESSAGE_NO_MEMORY};
    const std::uint16_t extra = extras > 0 ? list[0] : std::uint16_t{EXTRASAMPLE_UNSPECIFIED};
    layout.m_eKind = fnKindOf(file, layout, extras, extra);
    layout.m_bPremultiplied =
        extra == EXTRASAMPLE_ASSOCALPHA &&
        (layout.m_eKind == TIFF_GREY_ALPHA || layout.m_eKind == TIFF_RGB_ALPHA);
}

bool fnIsPlainSample(TIFF* file, std::uint16_t bits) {
    std::uint16_t format = SAMPLEFORMAT_UINT;
    TIFFGetFieldDefaulted(file, TIFFTAG_SAMPLEFORMAT, &format);
    const bool whole = format == SAMPLEFORMAT_UINT || format == SAMPLEFORMAT_VOID;
    return whole && (bits == 1 || bits == 2 || bits == 4 || bits == 8 || bits == 16);
}

/// Has libtiff's JPEG decoder convert to RGB.
void fnAskForRgb(TIFF* file, TiffLayout& layout) {
    std::uint16_t compression = COMPRESSION_NONE;
    TIFFGetFieldDefaulted(file, TIFFTAG_COMPRESSION, &compression);
    if (compression == COMPRESSION_JPEG && layout.m_nPhotometric == PHOTOMETRIC_YCBCR &&
        !layout.m_bSeparate && TIFFSetField(file, TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB))
        layout.m_nPhotometric = PHOTOMETRIC_RGB;
}

} // namespace

unsigned int TiffLayout::fnGetBitCount() const {
    const unsigned int bits = kKinds[m_eKind].m_nBitCount;
    return bits != 0 ? bits : m_nBits <= 4 ? 4 : 8;
}

unsigned int TiffLayout::fnGetUsedSamples() const {
    return kKinds[m_eKind].m_nUsedSamples;
}

TiffLayout fnReadLayout(TIFF* file) {
    TiffLayout layout;
    std::uint16_t planes = PLANARCONFIG_CONTIG;
    if (!TIFFGetField(file, TIFFTAG_IMAGEWIDTH, &layout.m_nWidth) ||
        !TIFFGetField(file, TIFFTAG_IMAGELENGTH, &layout.m_nHeight))
        throw CodecFailure{MESSAGE_CORRUPTED};
    TIFFGetFieldDefaulted(file, TIFFTAG_BITSPERSAMPLE, &layout.m_nBits);
    TIFFGetFieldDefaulted(file, TIFFTAG_SAMPLESPERPIXEL, &layout.m_nSamples);
    TIFFGetFieldDefaulted(file, TIFFTAG_PLANARCONFIG, &planes);
    layout.m_bSeparate = planes == PLANARCONFIG_SEPARATE && layout.m_nSamples > 1;
    layout.m_bTiled = TIFFIsTiled(file) != 0;
    if (layout.m_bTiled) {
        TIFFGetField(file, TIFFTAG_TILEWIDTH, &layout.m_nTileWidth);
        TIFFGetField(file, TIFFTAG_TILELENGTH, &layout.m_nTileHeight);
    } else {
        TIFFGetFieldDefaulted(file, TIFFTAG_ROWSPERSTRIP, &layout.m_nTileHeight);
        layout.m_nTileWidth = layout.m_nWidth;
        layout.m_nTileHeight = std::min(layout.m_nTileHeight, layout.m_nHeight);
    }
    if (layout.m_nTileWidth == 0 || layout.m_nTileHeight == 0 || layout.m_nSamples == 0)
        throw CodecFailure{MESSAGE_CORRUPTED};

    if (TIFFGetField(file, TIFFTAG_PHOTOMETRIC, &layout.m_nPhotometric) &&
        fnIsPlainSample(file, layout.m_nBits)) {
        fnAskForRgb(file, layout);
        fnSetKind(file, layout);
    }
    char reason[1024] = {};
    if (layout.m_eKind == TIFF_OTHER && !TIFFRGBAImageOK(file, reason))
        throw CodecFailure{MESSAGE_UNSUPPORTED};
    return layout;
}

/// Does for `samples` of 16 bits for each of some pixels what `fnWiden` does.
void TiffSamples::fnDither(const unsigned char* in, std::uint32_t x, std::uint32_t y,
                           std::size_t pixels, std::size_t samples) {
    m_Bytes.resize(pixels * samples);
    for (std::size_t pixel = 0; pixel < pixels; ++pixel) {
        const std::uint16_t threshold = fnDitherThreshold(x + pixel, y);
        for (std::size_t i = pixel * samples; i < (pixel + 1) * samples; ++i) {
            std::uint16_t value = 0;
            std::memcpy(&value, in + 2 * i, sizeof(value));
            m_Bytes[i] = fnDitherSample(value, threshold);
        }
    }
}

void TiffSamples::fnWiden(const unsigned char* in, std::size_t count) {
    m_Bytes.resize(count);
    const unsigned int bits = m_Layout.m_nBits;
    if (bits == 16) {
        for (std::size_t i = 0; i < count; ++i) {
            std::uint16_t value = 0;
            std::memcpy(&value, in + 2 * i, sizeof(value));
            m_Bytes[i] = fnScale16(value);
        }
    } else {
        fnUnpackBits(in, bits, count, m_Bytes.data());
    }
    if (bits < 8 && m_Layout.m_eKind != TIFF_PALETTE) {
        const unsigned int factor = 255u / ((1u << bits) - 1);
        for (unsigned char& value : m_Bytes)
            value = static_cast<unsigned char>(value * factor);
    }
}

/// The mask that inverts colour samples whose 0 is the lightest: 0xFF, else 0.
unsigned int TiffSamples::fnGetFlip() const {
    return m_Layout.m_nPhotometric == PHOTOMETRIC_MINISWHITE || m_Layout.m_eKind == TIFF_CMYK
               ? 0xFFu
               : 0u;
}

/// Stores one sample per pixel in its channel; `step` is the distance between samples in bytes.
void TiffSamples::fnPlace(const unsigned char* samples, std::size_t step, unsigned int plane,
                          std::size_t count, unsigned char* pixels) const {
    const std::size_t width = fnCodecBytes(m_Layout.fnGetBitCount());
    const bool withAlpha = width == 4;
    const bool isAlpha = withAlpha && plane + 1 == m_Layout.fnGetUsedSamples();
    const std::size_t place = isAlpha ? 0 : withAlpha + std::size_t{plane};
    const unsigned int flip = isAlpha ? 0 : fnGetFlip();
    for (std::size_t i = 0; i < count; ++i, samples += step, pixels += width) {
        const auto value = static_cast<unsigned char>(*samples ^ flip);
        if (m_Layout.m_eKind == TIFF_CMYK && plane == 3) {
            for (int channel = 0; channel < 3; ++channel)
                pixels[channel] =
                    static_cast<unsigned char>((pixels[channel] * value + 127u) / 255);
        } else if (m_Layout.m_eKind == TIFF_GREY_ALPHA && !isAlpha) {
            std::fill_n(pixels + 1, 3, value);
        } else {
            pixels[place] = value;
        }
    }
}

/// Divides premultiplied colours by alpha. Alpha was applied to the samples as stored, so also
/// where their 0 is white.
void TiffSamples::fnFinish(std::size_t count, unsigned char* pixels) const {
    if (!m_Layout.m_bPremultiplied)
        return;
    assert(fnCodecBytes(m_Layout.fnGetBitCount()) == 4);
    const unsigned int flip = fnGetFlip();
    for (std::size_t i = 0; i < count; ++i, pixels += 4) {
        const unsigned int alpha = pixels[0];
        for (int channel = 1; channel < 4 && alpha != 0; ++channel) {
            const unsigned int weighed = pixels[channel] ^ flip;
            pixels[channel] = static_cast<unsigned char>(
                std::min((weighed * 255u + alpha / 2) / alpha, 255u) ^ flip);
        }
    }
}

void TiffSamples::fnConvert(const unsigned char* in, std::uint32_t x, std::uint32_t y,
                            std::size_t count, unsigned char* out) {
    if (m_bDither && m_Layout.m_nBits == 16)
        fnDither(in, x, y, count, m_Layout.m_nSamples);
    else
        fnWiden(in, count * m_Layout.m_nSamples);
    for (unsigned int plane = 0; plane < m_Layout.fnGetUsedSamples(); ++plane)
        fnPlace(m_Bytes.data() + plane, m_Layout.m_nSamples, plane, count, out);
    fnFinish(count, out);
}

void TiffSamples::fnConvertPlane(const unsigned char* in, unsigned int plane, std::uint32_t x,
                                 std::uint32_t y, std::size_t count, unsigned char* pixels) {
    if (m_bDither && m_Layout.m_nBits == 16)
        fnDither(in, x, y, count, 1);
    else
        fnWiden(in, count);
    fnPlace(m_Bytes.data(), 1, plane, count, pixels);
    if (plane + 1 == m_Layout.fnGetUsedSamples())
        fnFinish(count, pixels);
}

} // namespace q32
