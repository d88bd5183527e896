/// @file
/// The layout of a TIFF's samples, and their conversion to pixels.
#pragma once

#include "q32Base/platform/Records.h"

#include <cstddef>
#include <cstdint>
#include <vector>

struct tiff;

namespace q32 {

/// The meaning of a TIFF's samples.
enum TIFF_KIND : unsigned int {
    TIFF_PALETTE,
    TIFF_GREY,
    TIFF_GREY_ALPHA,
    TIFF_RGB,
    TIFF_RGB_ALPHA,
    TIFF_CMYK,
    TIFF_OTHER ///< converted by libtiff
};

/// The layout of a picture's samples, as declared by its tags.
struct TiffLayout {
    std::uint32_t m_nWidth = 0;
    std::uint32_t m_nHeight = 0;
    std::uint16_t m_nBits = 1;    ///< per sample: 1, 2, 4, 8 or 16
    std::uint16_t m_nSamples = 1; ///< per pixel, including unused ones
    std::uint16_t m_nPhotometric = 0;
    bool m_bSeparate = false;      ///< one plane per sample
    bool m_bPremultiplied = false; ///< colours are multiplied by alpha
    bool m_bTiled = false;
    std::uint32_t m_nTileWidth = 0;
    std::uint32_t m_nTileHeight = 0; ///< of a tile, or the rows of a strip
    TIFF_KIND m_eKind = TIFF_OTHER;

    unsigned int fnGetBitCount() const; ///< of the image
    unsigned int fnGetUsedSamples() const;
};

/// Reads the tags of the current directory. Throws CodecFailure for an invalid or unsupported
/// layout.
TiffLayout fnReadLayout(tiff* file);

/// Converts decoded samples to pixels in the layout of CodecSamples_p.h. Not for TIFF_OTHER.
class TiffSamples {
public:
    /// `layout` must outlive the object.
    /// @param dither  how 16 bits become 8: by dithering, or rounded
    TiffSamples(const TiffLayout& layout, bool dither) : m_Layout(layout), m_bDither(dither) {}

    /// Converts `count` pixels whose samples are interleaved, from that at x, y of the picture on.
    void fnConvert(const unsigned char* in, std::uint32_t x, std::uint32_t y, std::size_t count,
                   unsigned char* out);
    /// Converts `count` samples of one plane likewise. The planes are combined in `pixels`, in
    /// ascending order; the pixels are complete after the last of `fnGetUsedSamples` planes.
    void fnConvertPlane(const unsigned char* in, unsigned int plane, std::uint32_t x,
                        std::uint32_t y, std::size_t count, unsigned char* pixels);

private:
    unsigned int fnGetFlip() const;
    void fnWiden(const unsigned char* in, std::size_t count);
    void fnDither(const unsigned char* in, std::uint32_t x, std::uint32_t y, std::size_t pixels,
                  std::size_t samples);
    void fnPlace(const unsigned char* samples, std::size_t step, unsigned int plane,
                 std::size_t count, unsigned char* pixels) const;
    void fnFinish(std::size_t count, unsigned char* pixels) const;

    const TiffLayout& m_Layout;
    const bool m_bDither;
    std::vector<unsigned char> m_Bytes; ///< samples converted to 8 bits
};

} // namespace q32
