/// @file
/// The records at the head of a BMP.
#pragma once

#include "q32Base/image/DibLayout.h"
#include "q32Base/platform/Records.h"

#include <bit>
#include <cstddef>
#include <cstdint>

namespace q32 {

class CqPictureInput;

static_assert(std::endian::native == std::endian::little, "the records are used as they lie");

inline constexpr std::uint32_t kBmpFileHeaderBytes = 14;

/// What a BMP says of itself, checked.
struct BmpHeader {
    BITMAPINFOHEADER m_Info = {}; ///< its size may be that of another kind of header
    std::uint32_t m_nWidth = 0;
    std::uint32_t m_nHeight = 0;
    bool m_bTopDown = false;
    std::uint32_t m_nPixelsAt = 0; ///< in the file
    RGBQUAD m_Colors[256] = {};
    unsigned int m_nColors = 0;
    bool m_bProfile = false;       ///< a colour profile goes with it
    std::uint32_t m_Masks[4] = {}; ///< red, green, blue, alpha; 0 for one that isn't there

    bool fnIs555() const { return fnHasMasks16(0x7C00, 0x03E0); }
    bool fnIs565() const { return fnHasMasks16(0xF800, 0x07E0); }
    unsigned int fnImageDepth() const;
    /// Whether there is more in a pixel, or about it, than an image takes.
    bool fnHoldsMore() const;

private:
    bool fnHasMasks16(std::uint32_t red, std::uint32_t green) const;
};

/// Reads and checks the head from the file's start on. Throws CqPictureFailure.
BmpHeader fnReadBmpHeader(CqPictureInput& input);

} // namespace q32
