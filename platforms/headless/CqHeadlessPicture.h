#pragma once

#include "q32Base/platform/Export.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

/// A picture of a screen: rows from the top down, three bytes per pixel, red first, without
/// padding.
struct Q32_API CqHeadlessPicture {
    std::size_t m_nWidth = 0;        ///< in pixels
    std::size_t m_nHeight = 0;       ///< in pixels
    std::vector<std::uint8_t> m_Rgb; ///< 3 x width x height bytes

    /// A pixel's colour, 0x00RRGGBB. The position must lie inside.
    std::uint32_t fnGetPixel(std::size_t x, std::size_t y) const;

    /// The bytes of a binary portable pixmap (P6).
    std::string fnToPpm() const;
    /// The bytes of a 24-bit BMP file.
    std::string fnToBmp() const;
    /// Write such a file to a path of the real system. False on failure.
    bool fnSavePpm(const std::string& path) const;
    bool fnSaveBmp(const std::string& path) const;
};
