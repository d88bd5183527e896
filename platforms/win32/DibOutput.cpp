#include "platforms/win32/DibOutput_p.h"
#include "q32Base/image/DibLayout_p.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace q32::win32 {

namespace {

using Wide = std::int64_t;

/// A bitmap's header with a full colour table, of colours or of indices.
struct Header {
    BITMAPINFOHEADER m_Head{};
    std::array<std::uint32_t, 256> m_Table{};
};

/// The part of a bitmap that lands inside a rectangle of the device: columns and scans from the
/// first to before the last, and where the top left pixel goes.
struct Part {
    Wide m_nFirstColumn, m_nLastColumn;
    Wide m_nFirstScan, m_nLastScan;
    Wide m_nX, m_nY;

    bool fnIsEmpty() const {
        return m_nFirstColumn >= m_nLastColumn || m_nFirstScan >= m_nLastScan;
    }
};

Part fnClip(const software::RowJob& job, const software::DibRows& rows, std::size_t taken,
            const RECT& box) {
    // Column c lands at x = c - `left`, scan s at y = s + `down` or `up` - s.
    const Wide left = Wide{job.m_nSourceX} - job.m_nX;
    const Wide down = Wide{job.m_nY} - job.m_nSourceY;
    const Wide up = Wide{job.m_nY} + job.m_nHeight - 1 + job.m_nSourceY;
    Part part{};
    part.m_nFirstColumn = std::max({Wide{0}, Wide{job.m_nSourceX}, box.left + left});
    part.m_nLastColumn = std::min(
        {static_cast<Wide>(rows.m_nWidth), Wide{job.m_nSourceX} + job.m_nWidth, box.right + left});
    part.m_nFirstScan = std::max({Wide{job.m_nStartScan}, Wide{job.m_nSourceY},
                                  rows.m_bTopDown ? box.top - down : up - box.bottom + 1});
    part.m_nLastScan = std::min({Wide{job.m_nStartScan} + static_cast<Wide>(taken),
                                 Wide{job.m_nSourceY} + job.m_nHeight,
                                 rows.m_bTopDown ? box.bottom - down : up - box.top + 1});
    part.m_nX = part.m_nFirstColumn - left;
    part.m_nY = rows.m_bTopDown ? part.m_nFirstScan + down : up - part.m_nLastScan + 1;
    return part;
}

/// The entries of the selected palette; without one, those of the system's.
std::vector<PALETTEENTRY> fnGetEntries(const CqWin32Palette* palette) {
    if (palette)
        return palette->fnGetEntries();
    auto* const standard = static_cast<HPALETTE>(::GetStockObject(DEFAULT_PALETTE));
    std::vector<PALETTEENTRY> entries(::GetPaletteEntries(standard, 0, 0, nullptr));
    ::GetPaletteEntries(standard, 0, static_cast<UINT>(entries.size()), entries.data());
    return entries;
}

/// Indices stay indices in bitmaps of 8 bits where the device has a palette of its own, unless one
/// of them names no entry: black has no index. Wine confuses those of 1 and 4 bits.
bool fnCanUseIndices(HDC dc, const software::DibRows& rows, const std::uint8_t* table,
                     std::size_t entries) {
    if (rows.m_nBits != 8 || (::GetDeviceCaps(dc, RASTERCAPS) & RC_PALETTE) == 0)
        return false;
    for (std::size_t i = 0; i < rows.m_nTableBytes / 2; ++i)
        if ((table[2 * i] | std::size_t{table[2 * i + 1]} << 8) >= entries)
            return false;
    return true;
}

/// Fills the table; returns whether it holds colours or indices.
UINT fnFillTable(HDC dc, const software::RowJob& job, const software::DibRows& rows,
                 const CqWin32Palette* palette, Header& header) {
    if (rows.m_nBits > 8)
        return DIB_RGB_COLORS;
    const auto* table = reinterpret_cast<const std::uint8_t*>(job.m_pHeader + 1);
    const std::vector<PALETTEENTRY> entries =
        job.m_nUse == DIB_PAL_COLORS ? fnGetEntries(palette) : std::vector<PALETTEENTRY>();
    if (job.m_nUse == DIB_PAL_COLORS && fnCanUseIndices(dc, rows, table, entries.size())) {
        std::memcpy(header.m_Table.data(), table, rows.m_nTableBytes);
        return DIB_PAL_COLORS;
    }
    header.m_Table = software::fnReadDibTable(
        rows, table, job.m_nUse, 0, [](std::uint32_t color) { return color; },
        [&](std::size_t index) {
            const PALETTEENTRY entry = index < entries.size() ? entries[index] : PALETTEENTRY{};
            return std::uint32_t{entry.peRed} << 16 | std::uint32_t{entry.peGreen} << 8 |
                   entry.peBlue;
        });
    return DIB_RGB_COLORS;
}

} // namespace

int fnPutRows(HDC dc, const software::RowJob& job, const CqWin32Palette* palette) {
    software::DibRows rows;
    if (!job.m_pBits || !job.m_pHeader ||
        !software::fnReadDibRows(*job.m_pHeader, job.m_nUse, rows))
        return -1;
    const std::size_t taken = software::fnCountScans(job, rows);
    RECT box;
    const int kind = ::GetClipBox(dc, &box);
    if (kind == ERROR)
        return -1;
    const Part part = fnClip(job, rows, taken, box);
    if (kind == NULLREGION || part.fnIsEmpty())
        return static_cast<int>(taken);

    const auto scans = static_cast<UINT>(part.m_nLastScan - part.m_nFirstScan);
    Header header;
    header.m_Head = fnMakeDibHeader(static_cast<std::uint32_t>(job.m_pHeader->biWidth),
                                    rows.m_bTopDown ? -static_cast<std::int32_t>(scans)
                                                    : static_cast<std::int32_t>(scans),
                                    job.m_pHeader->biBitCount);
    const UINT use = fnFillTable(dc, job, rows, palette, header);
    const auto skipped = static_cast<std::size_t>(part.m_nFirstScan - job.m_nStartScan);
    const auto* bits = static_cast<const std::uint8_t*>(job.m_pBits) + skipped * rows.m_nStride;
    const int done =
        ::SetDIBitsToDevice(dc, static_cast<int>(part.m_nX), static_cast<int>(part.m_nY),
                            static_cast<DWORD>(part.m_nLastColumn - part.m_nFirstColumn), scans,
                            static_cast<int>(part.m_nFirstColumn), 0, 0, scans, bits,
                            reinterpret_cast<const BITMAPINFO*>(&header), use);
    return done > 0 ? static_cast<int>(taken) : -1;
}

} // namespace q32::win32
