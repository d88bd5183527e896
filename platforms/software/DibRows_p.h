/// @file
/// Rows of a device-independent bitmap and their placement on a device.
#pragma once

#include "q32Base/platform/Export.h"
#include "q32Base/platform/Records.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

namespace q32::software {

/// The arguments of `CqScreenService::fnSetDIBitsToDevice`.
struct RowJob {
    int m_nX;
    int m_nY;
    UINT m_nWidth;
    UINT m_nHeight;
    int m_nSourceX;
    int m_nSourceY;
    UINT m_nStartScan;
    UINT m_nScans;
    const void* m_pBits;
    const BITMAPINFOHEADER* m_pHeader;
    UINT m_nUse;
};

/// The layout of a bitmap's rows, from a validated header.
struct DibRows {
    std::size_t m_nWidth = 0;
    std::size_t m_nHeight = 0;
    bool m_bTopDown = false;
    unsigned m_nBits = 0;
    std::size_t m_nStride = 0;     ///< bytes between rows
    std::size_t m_nTableBytes = 0; ///< size of the colour table behind the header
};

/// Reads a header of 40 bytes for 1, 4, 8, 16, 24 or 32 bits without compression. False for any
/// other.
Q32_API bool fnReadDibRows(const BITMAPINFOHEADER& header, UINT use, DibRows& rows);

/// What the indices of a bitmap mean on a device: a value for each.
using DibTable = std::array<std::uint32_t, 256>;

/// Reads the colour table behind a header.
/// @param table      the table, `rows.m_nTableBytes` long
/// @param fromColor  gives the value of a colour, 0x00RRGGBB
/// @param fromIndex  gives the value of an index into the selected palette
/// @param missing    the value of entries that the table lacks
template <typename FromColor, typename FromIndex>
DibTable fnReadDibTable(const DibRows& rows, const std::uint8_t* table, UINT use,
                        std::uint32_t missing, FromColor fromColor, FromIndex fromIndex) {
    DibTable values{};
    values.fill(missing);
    if (use == DIB_RGB_COLORS) {
        for (std::size_t i = 0; i < rows.m_nTableBytes / 4; ++i, table += 4)
            values[i] =
                fromColor(std::uint32_t{table[2]} << 16 | std::uint32_t{table[1]} << 8 | table[0]);
    } else {
        for (std::size_t i = 0; i < rows.m_nTableBytes / 2; ++i, table += 2)
            values[i] = fromIndex(table[0] | std::size_t{table[1]} << 8);
    }
    return values;
}

/// Decodes pixels `from` to `from + count - 1` of a row: up to 8 bits to their values in the table,
/// above to 0xFFRRGGBB. 16 bits are 5-5-5.
Q32_API void fnDecodeDibRow(unsigned bits, const DibTable& table, const std::uint8_t* row,
                            std::size_t from, std::size_t count, std::uint32_t* out);

/// Number of a job's scans that exist in the bitmap.
inline std::size_t fnCountScans(const RowJob& job, const DibRows& rows) {
    return job.m_nStartScan >= rows.m_nHeight
               ? 0
               : std::min<std::size_t>(job.m_nScans, rows.m_nHeight - job.m_nStartScan);
}

/// Calls `put(row, from, count, x, y)` for each row of a job that intersects `area`: `count` pixels
/// of the stored row, beginning with pixel `from`, go to the device's pixels from x, y on.
/// @param taken   how many of the scans to use
/// @param origin  origin of the job's coordinates on the device
/// @param area    clipping rectangle on the device; not empty
template <typename Put>
void fnPlaceRows(const RowJob& job, const DibRows& rows, std::size_t taken, const POINT& origin,
                 const RECT& area, Put put) {
    // 64 bits throughout: no position or size passed by a caller can overflow.
    using Wide = std::int64_t;
    const Wide left = Wide{job.m_nX} + origin.x;
    const Wide top = Wide{job.m_nY} + origin.y;
    const Wide from = std::max({Wide{0}, -Wide{job.m_nSourceX}, area.left - left});
    const Wide to = std::min(
        {Wide{job.m_nWidth}, static_cast<Wide>(rows.m_nWidth) - job.m_nSourceX, area.right - left});
    if (from >= to)
        return;
    const auto* bits = static_cast<const std::uint8_t*>(job.m_pBits);
    for (std::size_t i = 0; i < taken; ++i) {
        const Wide down = static_cast<Wide>(i) + job.m_nStartScan - job.m_nSourceY;
        const Wide y = top + (rows.m_bTopDown ? down : Wide{job.m_nHeight} - 1 - down);
        if (down < 0 || down >= job.m_nHeight || y < area.top || y >= area.bottom)
            continue;
        put(bits + i * rows.m_nStride, static_cast<std::size_t>(job.m_nSourceX + from),
            static_cast<std::size_t>(to - from), static_cast<int>(left + from),
            static_cast<int>(y));
    }
}

} // namespace q32::software
