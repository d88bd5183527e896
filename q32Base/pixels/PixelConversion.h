/// @file
/// Converts runs of pixels between the form in which an image stores them and each PIXEL_ORDER. The
/// core of image/PixelAccess.h, which hosts use.
#pragma once

#include "q32Base/pixels/PixelOrder.h"
#include "q32Base/platform/Records.h"

#include <cstddef>
#include <cstdint>

namespace q32 {

/// Palette entries that an index of eight bits can address.
inline constexpr std::size_t kPaletteSlots = 256;

/// The library's grey of a colour. The weights add up to 256, so that white stays white.
constexpr std::uint8_t fnGreyOf(unsigned int red, unsigned int green, unsigned int blue) {
    return static_cast<std::uint8_t>((77 * red + 150 * green + 29 * blue) >> 8);
}

/// Bytes per pixel in an order, for images of `bits` bits a pixel; PIXEL_STORED depends on it.
std::size_t fnGetOrderBytes(std::uint32_t bits, PIXEL_ORDER order);

/// Converts from the stored form to one order. Several threads may use one object.
class PixelDecoder {
public:
    /// For images of one depth and palette.
    /// @param bits     of the image: a depth of kPixelFormats
    /// @param palette  kPaletteSlots entries, which are copied; not read above 8 bits
    PixelDecoder(std::uint32_t bits, const RGBQUAD* palette, PIXEL_ORDER order);

    /// Decodes `count` pixels. Source and target don't overlap.
    /// @param in  pixels as stored, but at 4 bits one index a byte
    void fnRun(const std::uint8_t* in, std::uint8_t* out, std::size_t count) const;

    /// Single pixels of a row that begins with pixel `first` of the image: those at the columns of
    /// the image that are listed.
    void fnPick(const std::uint8_t* row, std::uint32_t first, const std::uint32_t* columns,
                std::size_t count, std::uint8_t* out) const {
        m_fnPick(m_Palette, row, first, columns, count, out);
    }

private:
    using Pick = void (*)(const RGBQUAD* palette, const std::uint8_t* row, std::uint32_t first,
                          const std::uint32_t* columns, std::size_t count, std::uint8_t* out);

    void fnRunIndices(const std::uint8_t* in, std::uint8_t* out, std::size_t count) const;

    std::uint32_t m_nBits;
    PIXEL_ORDER m_eOrder;
    Pick m_fnPick;
    RGBQUAD m_Palette[kPaletteSlots]; ///< of indexed depths, with 255 in the reserved byte
    std::uint8_t m_Greys[kPaletteSlots];
};

/// Converts from one order to the stored form. Indexed depths take the first entry of equal red,
/// green and blue, or 0; 16 bits drop the low bits; a depth without alpha drops it, and an order
/// without it gives 255. Several threads may use one object.
class PixelEncoder {
public:
    /// For images of one depth and palette.
    /// @param palette  copied; not read above 8 bits
    /// @param count    its entries; those beyond the 256th are ignored
    PixelEncoder(std::uint32_t bits, const RGBQUAD* palette, std::size_t count, PIXEL_ORDER order);

    /// Encodes `count` pixels. Source and target don't overlap.
    /// @param out  pixels as stored, but at 4 bits one index a byte
    void fnRun(const std::uint8_t* in, std::uint8_t* out, std::size_t count) const;

private:
    static constexpr std::size_t kSlots = 1024;
    static constexpr std::uint32_t kNoColor = 0xFFFFFFFF;

    static std::size_t fnHash(std::uint32_t color);
    std::uint8_t fnFindIndex(std::uint32_t color) const;
    void fnMakeTable(const RGBQUAD* palette, std::size_t count);
    void fnRunTo32(const std::uint8_t* in, std::uint8_t* out, std::size_t count) const;
    void fnRunToRgb24(const std::uint8_t* in, std::uint8_t* out, std::size_t count) const;

    std::uint32_t m_nBits;
    PIXEL_ORDER m_eOrder;
    std::uint32_t m_Colors[kSlots]; ///< open addressing, of indexed depths; kNoColor where empty
    std::uint8_t m_Indices[kSlots];
};

} // namespace q32
