#include "platforms/software/DibRows_p.h"
#include "q32Base/image/DibLayout_p.h"
#include "q32Base/kernels/Rgb565_p.h"
#include "q32Base/pixels/Nibbles_p.h"

#include <cstring>
#include <span>

namespace q32::software {

namespace {

constexpr std::uint32_t kOpaque = 0xFF000000u;

std::uint32_t fnOpaque(const Rgb8& color) {
    return kOpaque | std::uint32_t{color.m_nRed} << 16 | std::uint32_t{color.m_nGreen} << 8 |
           color.m_nBlue;
}

} // namespace

bool fnReadDibRows(const BITMAPINFOHEADER& header, UINT use, DibRows& rows) {
    const auto layout = fnReadDibLayout(
        std::span(reinterpret_cast<const unsigned char*>(&header), kDibHeaderBytes));
    constexpr WORD kDepths[] = {1, 4, 8, 16, 24, 32};
    const bool known = std::ranges::find(kDepths, header.biBitCount) != std::end(kDepths);
    if (!layout || !layout->fnHasPixels() || !known || header.biSize != kDibHeaderBytes ||
        header.biCompression != BI_RGB || header.biHeight == INT32_MIN ||
        (use != DIB_RGB_COLORS && use != DIB_PAL_COLORS))
        return false;
    rows.m_nBits = header.biBitCount;
    rows.m_nWidth = static_cast<std::size_t>(header.biWidth);
    rows.m_bTopDown = layout->m_bTopDown;
    rows.m_nHeight = layout->m_nHeight;
    rows.m_nStride = static_cast<std::size_t>(
        fnDibRowBytes(static_cast<std::uint32_t>(header.biWidth), header.biBitCount));
    rows.m_nTableBytes = layout->fnGetUsedColors() * std::size_t{use == DIB_PAL_COLORS ? 2u : 4u};
    return true;
}

void fnDecodeDibRow(unsigned bits, const DibTable& table, const std::uint8_t* row, std::size_t from,
                    std::size_t count, std::uint32_t* out) {
    switch (bits) {
    case 1:
        for (std::size_t x = from; x < from + count; ++x)
            *out++ = table[row[x / 8] >> (7 - x % 8) & 1];
        break;
    case 4:
        for (std::size_t x = from; x < from + count; ++x)
            *out++ = table[fnGetNibble(row, x)];
        break;
    case 8:
        for (std::size_t x = from; x < from + count; ++x)
            *out++ = table[row[x]];
        break;
    case 16:
        row += 2 * from;
        for (std::size_t i = 0; i < count; ++i, row += 2)
            out[i] = fnOpaque(fnExpand555(fnLoadLowFirst(row)));
        break;
    case 24:
        row += 3 * from;
        for (std::size_t i = 0; i < count; ++i, row += 3)
            out[i] = fnOpaque({row[2], row[1], row[0]});
        break;
    default:
        std::memcpy(out, row + 4 * from, 4 * count);
        for (std::size_t i = 0; i < count; ++i)
            out[i] |= kOpaque;
    }
}

} // namespace q32::software
