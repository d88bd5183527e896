#include "platforms/qt/QtRows.h"

#include "platforms/headless/HeadlessRows.h"
#include "platforms/qt/CanvasPixels.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace q32::qt {

namespace {

using Table = std::array<std::uint32_t, 256>;

Table fnReadTable(const RowJob& job, const DibRows& rows, const CqPaletteObject* palette) {
    Table table;
    table.fill(kOpaque);
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(job.m_pHeader + 1);
    if (job.m_nUse == DIB_RGB_COLORS) {
        for (std::size_t i = 0; i < rows.m_nTableBytes / 4; ++i)
            table[i] = fnCanvasPixel(bytes[4 * i + 2], bytes[4 * i + 1], bytes[4 * i]);
        return table;
    }
    for (std::size_t i = 0; i < rows.m_nTableBytes / 2; ++i) {
        const std::size_t index = bytes[2 * i] | static_cast<std::size_t>(bytes[2 * i + 1]) << 8;
        if (palette && index < palette->fnGetEntries().size()) {
            const PALETTEENTRY& entry = palette->fnGetEntries()[index];
            table[i] = fnCanvasPixel(entry.peRed, entry.peGreen, entry.peBlue);
        }
    }
    return table;
}

std::uint32_t fnWiden5(std::uint32_t value) {
    value &= 31u;
    return value << 3 | value >> 2;
}

/// Pixels `from` to `from + count - 1` of a row.
void fnConvertRow(unsigned bits, const Table& table, const std::uint8_t* row, std::size_t from,
                  std::size_t count, std::uint32_t* out) {
    switch (bits) {
    case 1:
        for (std::size_t x = from; x < from + count; ++x)
            *out++ = table[row[x / 8] >> (7 - x % 8) & 1];
        break;
    case 4:
        for (std::size_t x = from; x < from + count; ++x)
            *out++ = table[row[x / 2] >> (x % 2 == 0 ? 4 : 0) & 15];
        break;
    case 8:
        for (std::size_t x = from; x < from + count; ++x)
            *out++ = table[row[x]];
        break;
    case 16:
        for (std::size_t x = from; x < from + count; ++x) {
            const std::uint32_t v = row[2 * x] | static_cast<std::uint32_t>(row[2 * x + 1]) << 8;
            *out++ = fnCanvasPixel(fnWiden5(v >> 10), fnWiden5(v >> 5), fnWiden5(v));
        }
        break;
    case 24:
        row += 3 * from;
        for (std::size_t i = 0; i < count; ++i, row += 3)
            out[i] = fnCanvasPixel(row[2], row[1], row[0]);
        break;
    default:
        std::memcpy(out, row + 4 * from, 4 * count);
        for (std::size_t i = 0; i < count; ++i)
            out[i] |= kOpaque;
    }
}

} // namespace

int fnPutRows(const RowJob& job, const CqPaletteObject* palette, QImage& canvas, QRect& changed) {
    changed = QRect();
    DibRows rows;
    if (!job.m_pHeader || !job.m_pBits || !fnReadDibRows(*job.m_pHeader, job.m_nUse, rows))
        return -1;
    const std::size_t taken =
        job.m_nStartScan >= rows.m_nHeight
            ? 0
            : std::min<std::size_t>(job.m_nScans, rows.m_nHeight - job.m_nStartScan);
    // All in 64 bits: no place or size that a caller gives can overflow.
    using Wide = std::int64_t;
    const Wide from = std::max({Wide{0}, -Wide{job.m_nSourceX}, -Wide{job.m_nX}});
    const Wide to = std::min({Wide{job.m_nWidth}, static_cast<Wide>(rows.m_nWidth) - job.m_nSourceX,
                              Wide{canvas.width()} - job.m_nX});
    if (from >= to)
        return static_cast<int>(taken);
    const Table table = fnReadTable(job, rows, palette);
    const auto* bits = static_cast<const std::uint8_t*>(job.m_pBits);
    Wide top = canvas.height();
    Wide bottom = -1;
    for (std::size_t i = 0; i < taken; ++i) {
        const Wide down = static_cast<Wide>(i) + job.m_nStartScan - job.m_nSourceY;
        const Wide y = job.m_nY + (rows.m_bTopDown ? down : Wide{job.m_nHeight} - 1 - down);
        if (down < 0 || down >= job.m_nHeight || y < 0 || y >= canvas.height())
            continue;
        auto* out = reinterpret_cast<std::uint32_t*>(canvas.scanLine(static_cast<int>(y)));
        fnConvertRow(rows.m_nBits, table, bits + i * rows.m_nStride,
                     static_cast<std::size_t>(job.m_nSourceX + from),
                     static_cast<std::size_t>(to - from), out + job.m_nX + from);
        top = std::min(top, y);
        bottom = std::max(bottom, y);
    }
    if (bottom >= top)
        changed = QRect(QPoint(static_cast<int>(job.m_nX + from), static_cast<int>(top)),
                        QPoint(static_cast<int>(job.m_nX + to - 1), static_cast<int>(bottom)));
    return static_cast<int>(taken);
}

} // namespace q32::qt
