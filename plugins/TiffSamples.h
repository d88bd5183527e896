/// @file
/// What the samples of a TIFF mean, and their way to pixels.
#pragma once

#include "q32Base/platform/Records.h"

#include <cstddef>
#include <cstdint>
#include <vector>

struct tiff;

namespace q32 {

/// What a TIFF's samples mean, and what they become.
enum TIFF_KIND : unsigned int {
    TIFF_PALETTE,
    TIFF_GREY,
    TIFF_GREY_ALPHA,
    TIFF_RGB,
    TIFF_RGB_ALPHA,
    TIFF_CMYK,
    TIFF_OTHER ///< left to libtiff's own conversion
};

/// The layout of a picture's samples, from its tags.
struct TiffLayout {
    std::uint32_t m_nWidth = 0;
    std::uint32_t m_nHeight = 0;
    std::uint16_t m_nBits = 1;    ///< a sample: 1, 2, 4, 8 or 16
    std::uint16_t m_nSamples = 1; ///< a pixel, those that aren't used too
    std::uint16_t m_nPhotometric = 0;
    bool m_bSeparate = false;      ///< one plane a sample
    bool m_bPremultiplied = false; ///< colours are weighed with an alpha that is kept
    bool m_bTiled = false;
    std::uint32_t m_nTileWidth = 0;
    std::uint32_t m_nTileHeight = 0; ///< of a tile, or rows of a strip
    TIFF_KIND m_eKind = TIFF_OTHER;

    unsigned int fnBitCount() const; ///< of the image
    unsigned int fnUsedSamples() const;
};

/// Reads the tags of the present directory. Throws CqPictureFailure for what nobody can read.
TiffLayout fnReadLayout(tiff* file);

/// Turns decoded samples into pixels as CodecSamples.h tells them. Not for TIFF_OTHER.
class CqTiffSamples {
public:
    /// `layout` must outlive the object.
    explicit CqTiffSamples(const TiffLayout& layout) : m_Layout(layout) {}

    /// `in` holds `count` pixels, with all samples of a pixel next to each other.
    void fnConvert(const unsigned char* in, std::size_t count, unsigned char* out);
    /// `in` holds `count` samples of one plane. `pixels` is where the planes meet, in the order of
    /// their numbers; right once the last one of `fnUsedSamples` is in place.
    void fnConvertPlane(const unsigned char* in, unsigned int plane, std::size_t count,
                        unsigned char* pixels);

private:
    unsigned int fnFlip() const;
    void fnWiden(const unsigned char* in, std::size_t count);
    void fnPlace(const unsigned char* samples, std::size_t step, unsigned int plane,
                 std::size_t count, unsigned char* pixels) const;
    void fnFinish(std::size_t count, unsigned char* pixels) const;

    const TiffLayout& m_Layout;
    std::vector<unsigned char> m_Bytes; ///< samples at 8 bits
};

} // namespace q32
