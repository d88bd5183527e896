#pragma once

#include "q32Base/platform/Export.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

/// What a screen shows: rows from the top down, three bytes a pixel, red first, without padding.
struct Q32_API CqHeadlessPicture {
    std::size_t m_nWidth = 0;
    std::size_t m_nHeight = 0;
    std::vector<std::uint8_t> m_Rgb;

    /// A colour, 0x00RRGGBB. The place must lie inside.
    std::uint32_t fnGetPixel(std::size_t x, std::size_t y) const;

    /// The bytes of a binary portable pixmap (P6).
    std::string fnToPpm() const;
    /// The bytes of a bitmap file of 24 bits.
    std::string fnToBmp() const;
    /// Writes such bytes into a file of the machine: a path as the machine has it. False on
    /// failure.
    bool fnSavePpm(const std::string& path) const;
    bool fnSaveBmp(const std::string& path) const;
};
