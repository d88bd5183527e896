/// @file
/// The layout of a device-independent bitmap. Headers are parsed only here.
#pragma once

#include "q32Base/platform/Records.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <span>

namespace q32 {

inline constexpr std::size_t kDibHeaderBytes = 40;
/// The oldest header, which has 16-bit fields and is followed by a table of three-byte entries.
inline constexpr std::size_t kDibCoreHeaderBytes = 12;
/// The headers with masks and a colour space.
inline constexpr std::size_t kDibV4HeaderBytes = 108;
inline constexpr std::size_t kDibV5HeaderBytes = 124;
/// Red, green and blue masks, in a longer header or directly after one of 40 bytes.
inline constexpr std::size_t kDibMaskBytes = 12;
/// The compression with masks as for BI_BITFIELDS and one for alpha.
inline constexpr DWORD kDibAlphaBitFields = 6;

/// Channel masks of 16- and 32-bit pixels: red, green, blue, alpha; 0 for a missing one.
using DibMasks = std::array<std::uint32_t, 4>;
inline constexpr DibMasks kDibMasks555 = {0x7C00, 0x03E0, 0x001F, 0};
inline constexpr DibMasks kDibMasks565 = {0xF800, 0x07E0, 0x001F, 0};
inline constexpr DibMasks kDibMasks888 = {0x00FF0000, 0x0000FF00, 0x000000FF, 0};
inline constexpr DibMasks kDibMasks8888 = {0x00FF0000, 0x0000FF00, 0x000000FF, 0xFF000000};

/// Bytes per row, with the byte count first rounded down and then padded to four bytes. Only for
/// 4-bit rows can that be less than `fnDibRowBytes`.
constexpr std::size_t fnDibStride(std::uint32_t width, std::uint32_t bits) {
    return static_cast<std::size_t>(((static_cast<std::uint64_t>(width) * bits >> 3) + 3) & ~3ull);
}

/// Bytes per row, with all of its bits, padded to four bytes.
constexpr std::uint64_t fnDibRowBytes(std::uint32_t width, std::uint32_t bits) {
    return (static_cast<std::uint64_t>(width) * bits + 31) / 32 * 4;
}

/// Entries of the colour table that a header declares; 0 above 8 bits.
constexpr std::uint32_t fnDibPaletteCount(const BITMAPINFOHEADER& header) {
    if (header.biBitCount >= 9)
        return 0;
    return header.biClrUsed ? header.biClrUsed : 1u << header.biBitCount;
}

/// Where the pixels begin: after the header, of its declared length, and the colour table. Masks
/// after a header of 40 bytes count as pixels; `DibLayout::fnGetTableAt` skips them.
constexpr std::uint64_t fnDibPixelOffset(const BITMAPINFOHEADER& header) {
    return header.biSize + 4ull * fnDibPaletteCount(header);
}

/// The first row in memory of a packed bitmap that this library has created.
inline unsigned char* fnDibPixels(BITMAPINFOHEADER* header) {
    return reinterpret_cast<unsigned char*>(header) + fnDibPixelOffset(*header);
}
inline const unsigned char* fnDibPixels(const BITMAPINFOHEADER* header) {
    return reinterpret_cast<const unsigned char*>(header) + fnDibPixelOffset(*header);
}

/// What a BITMAPINFO declares. Offsets count from the header's start, have 64 bits and may lie
/// outside the block.
struct DibLayout {
    BITMAPINFOHEADER m_Header;
    std::uint32_t m_nHeight = 0; ///< absolute value
    bool m_bTopDown = false;
    std::uint32_t m_nColors = 0;   ///< entries that the colour table is declared to have
    std::uint64_t m_nPixelsAt = 0; ///< see `fnDibPixelOffset`
    DibMasks m_Masks = {};         ///< as declared by the compression; 0 without one that has masks
    std::uint32_t m_nMasksBehind = 0; ///< bytes of masks after a header of 40 bytes
    bool m_bProfile = false;          ///< refers to a colour profile

    /// Whether the compression defines its channels by masks.
    constexpr bool fnIsMasked() const {
        return m_Header.biCompression == BI_BITFIELDS ||
               m_Header.biCompression == kDibAlphaBitFields;
    }
    /// The masks that define the channels of 16 and 32 bits: the declared ones, or those of
    /// uncompressed pixels. Masks in a header whose compression doesn't use them don't count.
    constexpr DibMasks fnGetChannels() const {
        return fnIsMasked()                ? m_Masks
               : m_Header.biBitCount == 16 ? kDibMasks555
               : m_Header.biBitCount == 32 ? kDibMasks888
                                           : DibMasks{};
    }
    /// Where the colour table begins: after the header and its masks.
    constexpr std::uint64_t fnGetTableAt() const {
        return std::uint64_t{m_Header.biSize} + m_nMasksBehind;
    }
    /// Where an RLE stream begins: with the pixels, but never inside the header, even if that
    /// declares fewer bytes than it has.
    constexpr std::uint64_t fnGetStreamAt() const {
        const std::uint64_t behindTable = kDibHeaderBytes + 4ull * m_nColors;
        return m_nPixelsAt < behindTable ? behindTable : m_nPixelsAt;
    }
    /// Entries of the colour table that pixels can index.
    constexpr std::uint32_t fnGetUsedColors() const {
        const std::uint32_t all = m_Header.biBitCount > 8 ? 0 : 1u << m_Header.biBitCount;
        return m_nColors < all ? m_nColors : all;
    }
    /// Whether width and height are those of a bitmap that has pixels.
    constexpr bool fnHasPixels() const { return m_Header.biWidth > 0 && m_nHeight != 0; }
};

/// A header of 40 bytes for rows of `bits` bits a pixel, without compression. A negative height
/// declares rows from the top down.
inline BITMAPINFOHEADER fnMakeDibHeader(std::uint32_t width, std::int32_t height,
                                        std::uint32_t bits) {
    BITMAPINFOHEADER header = {};
    header.biSize = kDibHeaderBytes;
    header.biWidth = static_cast<LONG>(width);
    header.biHeight = static_cast<LONG>(height);
    header.biPlanes = 1;
    header.biBitCount = static_cast<WORD>(bits);
    return header;
}

/// Widens a core header to one of 40 bytes, in which `biSize` stays 12.
inline BITMAPINFOHEADER
fnWidenCoreHeader(std::span<const unsigned char, kDibCoreHeaderBytes> core) {
    std::uint16_t fields[4]; // width, height, planes, bits
    std::memcpy(fields, core.data() + 4, sizeof(fields));
    BITMAPINFOHEADER header = {};
    header.biSize = kDibCoreHeaderBytes;
    header.biWidth = fields[0];
    header.biHeight = fields[1];
    header.biPlanes = fields[2];
    header.biBitCount = fields[3];
    return header;
}

/// Whether the longest header refers to a colour profile, by the four letters that declare its
/// colour space.
inline bool fnRefersToProfile(std::span<const unsigned char> block, std::uint32_t headerBytes) {
    constexpr std::size_t kColorSpaceAt = 56;
    constexpr std::uint32_t kEmbedded = 0x4D424544;
    constexpr std::uint32_t kLinked = 0x4C494E4B;
    if (headerBytes != kDibV5HeaderBytes || block.size() < kColorSpaceAt + 4)
        return false;
    std::uint32_t space;
    std::memcpy(&space, block.data() + kColorSpaceAt, sizeof(space));
    return space == kEmbedded || space == kLinked;
}

/// Reads what a header declares, without checking whether it makes sense. Masks beyond the block
/// are 0.
/// @param block  the header and as much as follows it
/// @return none for a block shorter than 40 bytes
inline std::optional<DibLayout> fnReadDibLayout(std::span<const unsigned char> block) {
    if (block.size() < kDibHeaderBytes)
        return std::nullopt;
    DibLayout layout;
    BITMAPINFOHEADER& header = layout.m_Header;
    std::memcpy(&header, block.data(), kDibHeaderBytes);
    layout.m_bTopDown = header.biHeight < 0;
    layout.m_nHeight = static_cast<std::uint32_t>(std::abs(std::int64_t{header.biHeight}));
    layout.m_nColors = fnDibPaletteCount(header);
    layout.m_nPixelsAt = fnDibPixelOffset(header);
    layout.m_bProfile = fnRefersToProfile(block, header.biSize);
    if (!layout.fnIsMasked())
        return layout;
    // Alpha counts where the header is long enough for its mask, or the compression says so.
    constexpr DWORD kAlphaHeaderBytes = 56;
    const bool alpha =
        header.biSize >= kAlphaHeaderBytes || header.biCompression == kDibAlphaBitFields;
    const std::size_t bytes = alpha ? kDibMaskBytes + 4 : kDibMaskBytes;
    if (header.biSize == kDibHeaderBytes)
        layout.m_nMasksBehind = static_cast<std::uint32_t>(bytes);
    for (std::size_t at = 0; at < bytes && kDibHeaderBytes + at + 4 <= block.size(); at += 4)
        std::memcpy(&layout.m_Masks[at / 4], block.data() + kDibHeaderBytes + at, 4);
    return layout;
}

} // namespace q32
