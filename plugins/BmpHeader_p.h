/// @file
/// The headers of a BMP file.
#pragma once

#include "q32Base/image/DibLayout_p.h"
#include "q32Base/platform/Records.h"

#include <bit>
#include <cstddef>
#include <cstdint>

namespace q32 {

class CodecInput;

static_assert(std::endian::native == std::endian::little, "the records are used as they lie");

inline constexpr std::uint32_t kBmpFileHeaderBytes = 14;

/// Numbers of the file, the low byte first.
constexpr std::uint32_t fnGet16(const unsigned char* bytes) {
    return static_cast<std::uint32_t>(bytes[0] | bytes[1] << 8);
}
constexpr std::uint32_t fnGet32(const unsigned char* bytes) {
    return fnGet16(bytes) | fnGet16(bytes + 2) << 16;
}

/// The validated headers of a BMP.
struct BmpHeader {
    BITMAPINFOHEADER m_Info = {}; ///< `biSize` is that of the file's header variant
    std::uint32_t m_nWidth = 0;
    std::uint32_t m_nHeight = 0;
    bool m_bTopDown = false;
    std::uint32_t m_nPixelsAt = 0; ///< offset in the file
    RGBQUAD m_Colors[256] = {};
    unsigned int m_nColors = 0;
    bool m_bProfile = false; ///< the file refers to a colour profile
    DibMasks m_Masks = {};   ///< of 16- and 32-bit pixels

    bool fnIs555() const { return m_Info.biBitCount == 16 && m_Masks == kDibMasks555; }
    bool fnIs565() const { return m_Info.biBitCount == 16 && m_Masks == kDibMasks565; }
    unsigned int fnGetImageDepth() const;
    /// What the file holds beside the image, as bits of PICTURE_PART.
    unsigned int fnGetParts() const;
};

/// Reads and validates the headers, from the start of the file. Throws CodecFailure.
BmpHeader fnReadBmpHeader(CodecInput& input);

} // namespace q32
