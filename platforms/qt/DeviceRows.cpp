#include "platforms/qt/CanvasPixels_p.h"
#include "platforms/qt/DeviceRows_p.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace q32::qt {

namespace {

using Table = std::array<std::uint32_t, 256>;

Table fnReadTable(const software::RowJob& job, const software::DibRows& rows,
                  const CqPaletteObject* palette) {
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

/// Converts pixels `from` to `from + count - 1` of a row.
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

int fnPutRows(const software::RowJob& job, const CqPaletteObject* palette, QImage& canvas,
              QRect& changed) {
    changed = QRect();
    software::DibRows rows;
    if (!job.m_pHeader || !job.m_pBits ||
        !software::fnReadDibRows(*job.m_pHeader, job.m_nUse, rows))
        return -1;
    const std::size_t taken = software::fnCountScans(job, rows);
    const Table table = fnReadTable(job, rows, palette);
    const auto put = [&](const std::uint8_t* row, std::size_t from, std::size_t count, int x,
                         int y) {
        auto* out = reinterpret_cast<std::uint32_t*>(canvas.scanLine(y));
        fnConvertRow(rows.m_nBits, table, row, from, count, out + x);
        changed |= QRect(x, y, static_cast<int>(count), 1);
    };
    software::fnPlaceRows(job, rows, taken, {0, 0}, {0, 0, canvas.width(), canvas.height()}, put);
    return static_cast<int>(taken);
}

} // namespace q32::qt
