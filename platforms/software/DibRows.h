/// @file
/// Rows of a device-independent bitmap on their way to a device.
#pragma once

#include "q32Base/platform/Export.h"
#include "q32Base/platform/Records.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace q32::software {

/// Rows as they are given to `CqScreenService::fnSetDIBitsToDevice`.
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

/// What a header says of its rows, once it has been found sound.
struct DibRows {
    std::size_t m_nWidth = 0;
    std::size_t m_nHeight = 0;
    bool m_bTopDown = false;
    unsigned m_nBits = 0;
    std::size_t m_nStride = 0;     ///< bytes from row to row
    std::size_t m_nTableBytes = 0; ///< of the colour table behind the header
};

/// Reads a header of 40 bytes for 1, 4, 8, 16, 24 or 32 bits without compression. False for any
/// other.
Q32_API bool fnReadDibRows(const BITMAPINFOHEADER& header, UINT use, DibRows& rows);

/// Scans of a job that the bitmap has.
inline std::size_t fnCountScans(const RowJob& job, const DibRows& rows) {
    return job.m_nStartScan >= rows.m_nHeight
               ? 0
               : std::min<std::size_t>(job.m_nScans, rows.m_nHeight - job.m_nStartScan);
}

/// Calls `put(row, from, count, x, y)` for each row of a job that lands in `area`: `count` pixels
/// of the stored row, beginning with pixel `from`, go to the device's pixels from x, y on.
/// @param taken   how many of the scans to take
/// @param origin  what the job's place on the device counts from
/// @param area    of the device that may be drawn on; not empty
template <typename Put>
void fnPlaceRows(const RowJob& job, const DibRows& rows, std::size_t taken, const POINT& origin,
                 const RECT& area, Put put) {
    // All in 64 bits: no place or size that a caller gives can overflow.
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
