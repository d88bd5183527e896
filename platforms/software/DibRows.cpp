#include "platforms/software/DibRows_p.h"
#include "q32Base/image/DibLayout_p.h"

#include <span>

namespace q32::software {

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

} // namespace q32::software
