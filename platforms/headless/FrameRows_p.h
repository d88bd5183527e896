/// @file
/// Conversion of bitmap rows to the headless screen.
#pragma once

#include "platforms/headless/CqHeadlessPalette.h"
#include "platforms/software/DibRows_p.h"
#include "q32Base/kernels/Rgb565_p.h"
#include "q32Base/platform/Records.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace q32::headless {

/// Converts pixels of a bitmap to those of a screen: slots at 8 bits, 5-6-5 at 16, else 0x00RRGGBB.
/// A missing table entry, or one that names a missing palette entry, is black.
class FrameRows {
public:
    /// @param table    the colour table, `rows.m_nTableBytes` long
    /// @param palette  the one selected into the device context; may be null
    FrameRows(const software::DibRows& rows, const std::uint8_t* table, UINT use,
              unsigned screenBits, const CqHeadlessHardware& hardware,
              const CqPaletteObject* palette);

    /// Converts pixels `from` to `from + count - 1` of a row.
    void fnConvert(const std::uint8_t* row, std::size_t from, std::size_t count,
                   std::uint32_t* out);

private:
    std::uint32_t fnToScreen(std::uint32_t color);

    unsigned m_nBits;
    unsigned m_nScreenBits;
    const CqHeadlessHardware& m_Hardware;
    std::vector<BYTE> m_Slots; ///< slots available to colours on an 8-bit screen
    software::DibTable m_Table{};
    std::uint32_t m_nLastColor = 0;
    std::uint32_t m_nLastResult = 0;
    bool m_bHasLast = false;
};

/// Packs 0x00RRGGBB to 5-6-5, truncating.
inline std::uint32_t fnTo565(std::uint32_t color) {
    return fnPack565(color >> 16, color >> 8 & 0xFF, color & 0xFF);
}

/// Converts a screen's pixel to 0x00RRGGBB. Channels of 5 and 6 bits are widened by repeating their
/// high bits, so that full intensity is preserved.
std::uint32_t fnFromScreen(std::uint32_t pixel, unsigned screenBits,
                           const CqHeadlessHardware& hardware);

} // namespace q32::headless
