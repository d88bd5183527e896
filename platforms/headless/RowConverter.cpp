#include "platforms/headless/RowConverter_p.h"

namespace q32::headless {

namespace {

constexpr std::uint32_t kStaticBlack = 0; ///< slot and colour alike

std::uint32_t fnRgb(std::uint32_t red, std::uint32_t green, std::uint32_t blue) {
    return red << 16 | green << 8 | blue;
}

std::uint32_t fnWiden5(std::uint32_t value) {
    return value << 3 | value >> 2;
}

} // namespace

RowConverter::RowConverter(const software::DibRows& rows, const std::uint8_t* table, UINT use,
                           unsigned screenBits, const CqHeadlessHardware& hardware,
                           const CqPaletteObject* palette)
    : m_nBits(rows.m_nBits), m_nScreenBits(screenBits), m_Hardware(hardware) {
    m_Slots = hardware.fnGetSlots(palette);
    for (std::size_t i = 0; i < rows.m_nTableBytes / 4 && use == DIB_RGB_COLORS; ++i)
        m_Table[i] = fnToScreen(fnRgb(table[4 * i + 2], table[4 * i + 1], table[4 * i]));
    for (std::size_t i = 0; i < rows.m_nTableBytes / 2 && use == DIB_PAL_COLORS; ++i) {
        const std::size_t index = table[2 * i] | static_cast<std::size_t>(table[2 * i + 1]) << 8;
        if (index >= m_Slots.size()) {
            m_Table[i] = kStaticBlack;
        } else if (screenBits == 8) {
            m_Table[i] = m_Slots[index];
        } else if (palette) {
            const PALETTEENTRY& entry = palette->fnGetEntries()[index];
            m_Table[i] = fnToScreen(fnRgb(entry.peRed, entry.peGreen, entry.peBlue));
        } else {
            m_Table[i] = fnToScreen(hardware.fnGetColor(m_Slots[index]));
        }
    }
}

std::uint32_t RowConverter::fnToScreen(std::uint32_t color) {
    if (m_nScreenBits > 16)
        return color;
    if (m_nScreenBits == 16)
        return fnTo565(color);
    if (m_Slots.empty())
        return kStaticBlack;
    if (!m_bHasLast || color != m_nLastColor) {
        m_nLastColor = color;
        m_nLastResult = m_Hardware.fnFindNearest(color, m_Slots);
        m_bHasLast = true;
    }
    return m_nLastResult;
}

void RowConverter::fnConvert(const std::uint8_t* row, std::size_t from, std::size_t count,
                             std::uint32_t* out) {
    for (std::size_t x = from; x < from + count; ++x, ++out) {
        switch (m_nBits) {
        case 1:
            *out = m_Table[row[x / 8] >> (7 - x % 8) & 1];
            break;
        case 4:
            *out = m_Table[row[x / 2] >> (x % 2 == 0 ? 4 : 0) & 15];
            break;
        case 8:
            *out = m_Table[row[x]];
            break;
        case 16: {
            const std::uint32_t value = row[2 * x] | static_cast<std::uint32_t>(row[2 * x + 1])
                                                         << 8;
            *out = fnToScreen(
                fnRgb(fnWiden5(value >> 10 & 31), fnWiden5(value >> 5 & 31), fnWiden5(value & 31)));
            break;
        }
        default: {
            const std::uint8_t* pixel = row + x * (m_nBits / 8);
            *out = fnToScreen(fnRgb(pixel[2], pixel[1], pixel[0]));
        }
        }
    }
}

std::uint32_t fnFromScreen(std::uint32_t pixel, unsigned screenBits,
                           const CqHeadlessHardware& hardware) {
    if (screenBits == 8)
        return hardware.fnGetColor(static_cast<BYTE>(pixel));
    if (screenBits == 16) {
        const Rgb8 wide = fnWiden565(pixel);
        return fnRgb(wide.m_nRed | wide.m_nRed >> 5, wide.m_nGreen | wide.m_nGreen >> 6,
                     wide.m_nBlue | wide.m_nBlue >> 5);
    }
    return pixel;
}

} // namespace q32::headless
