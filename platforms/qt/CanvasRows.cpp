#include "platforms/qt/CanvasPixels_p.h"
#include "platforms/qt/CanvasRows_p.h"

#include <cstddef>
#include <cstdint>

namespace q32::qt {

namespace {

software::DibTable fnReadTable(const software::RowJob& job, const software::DibRows& rows,
                               const CqPaletteObject* palette) {
    const auto fromIndex = [palette](std::size_t index) {
        if (!palette || index >= palette->fnGetEntries().size())
            return kOpaque;
        const PALETTEENTRY& entry = palette->fnGetEntries()[index];
        return fnCanvasPixel(entry.peRed, entry.peGreen, entry.peBlue);
    };
    return software::fnReadDibTable(
        rows, reinterpret_cast<const std::uint8_t*>(job.m_pHeader + 1), job.m_nUse, kOpaque,
        [](std::uint32_t color) { return kOpaque | color; }, fromIndex);
}

} // namespace

int fnPutCanvasRows(const software::RowJob& job, const CqPaletteObject* palette, QImage& canvas,
                    QRect& changed) {
    changed = QRect();
    software::DibRows rows;
    if (!job.m_pHeader || !job.m_pBits ||
        !software::fnReadDibRows(*job.m_pHeader, job.m_nUse, rows))
        return -1;
    const std::size_t taken = software::fnCountScans(job, rows);
    const software::DibTable table = fnReadTable(job, rows, palette);
    const auto put = [&](const std::uint8_t* row, std::size_t from, std::size_t count, int x,
                         int y) {
        auto* out = reinterpret_cast<std::uint32_t*>(canvas.scanLine(y));
        software::fnDecodeDibRow(rows.m_nBits, table, row, from, count, out + x);
        changed |= QRect(x, y, static_cast<int>(count), 1);
    };
    software::fnPlaceRows(job, rows, taken, {0, 0}, {0, 0, canvas.width(), canvas.height()}, put);
    return static_cast<int>(taken);
}

} // namespace q32::qt
