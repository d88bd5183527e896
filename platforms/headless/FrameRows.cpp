#include "platforms/headless/FrameRows_p.h"

#include <algorithm>

namespace q32::headless {

namespace {

constexpr std::uint32_t kStaticBlack = 0; ///< slot and colour alike

std::uint32_t fnRgb(std::uint32_t red, std::uint32_t green, std::uint32_t blue) {
    return red << 16 | green << 8 | blue;
}

} // namespace

FrameRows::FrameRows(const software::DibRows& rows, const std::uint8_t* table, UINT use,
                     unsigned screenBits, const CqHeadlessHardware& hardware,
                     const CqPaletteObject* palette)
    : m_nBits(rows.m_nBits), m_nScreenBits(screenBits), m_Hardware(hardware),
      m_Slots(hardware.fnGetSlots(palette)) {
    const auto fromIndex = [&](std::size_t index) {
        if (index >= m_Slots.size())
            return kStaticBlack;
        if (screenBits == 8)
            return std::uint32_t{m_Slots[index]};
        if (!palette)
            return fnToScreen(hardware.fnGetColor(m_Slots[index]));
        const PALETTEENTRY& entry = palette->fnGetEntries()[index];
        return fnToScreen(fnRgb(entry.peRed, entry.peGreen, entry.peBlue));
    };
    m_Table = software::fnReadDibTable(
        rows, table, use, kStaticBlack, [&](std::uint32_t color) { return fnToScreen(color); },
        fromIndex);
}

std::uint32_t FrameRows::fnToScreen(std::uint32_t color) {
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

void FrameRows::fnConvert(const std::uint8_t* row, std::size_t from, std::size_t count,
                          std::uint32_t* out) {
    software::fnDecodeDibRow(m_nBits, m_Table, row, from, count, out);
    if (m_nBits > 8)
        std::transform(out, out + count, out,
                       [&](std::uint32_t pixel) { return fnToScreen(pixel & 0x00FFFFFF); });
}

std::uint32_t fnFromScreen(std::uint32_t pixel, unsigned screenBits,
                           const CqHeadlessHardware& hardware) {
    if (screenBits == 8)
        return hardware.fnGetColor(static_cast<BYTE>(pixel));
    if (screenBits == 16) {
        const Rgb8 color = fnExpand565(pixel);
        return fnRgb(color.m_nRed, color.m_nGreen, color.m_nBlue);
    }
    return pixel;
}

} // namespace q32::headless
