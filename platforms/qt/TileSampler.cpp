#include "platforms/qt/TileSampler.h"

#include "q32Base/display/CqDisplayProperty.h"
#include "q32Base/image/CqImage.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <vector>

namespace q32::qt {

namespace {

constexpr std::uint32_t kOpaque = 0xFF000000u;

using Palette = std::array<std::uint32_t, 256>;

/// The run of canvas columns or rows that one tile column or row covers.
struct Span {
    int m_nFirst;
    int m_nEnd;
};

/// For each column or row of a part: the image's under it, and where the tiles begin.
struct Axis {
    std::vector<std::uint32_t> m_Index;
    std::vector<Span> m_Spans; ///< offsets into m_Index, one span a tile
    int m_nFirst = 0;          ///< canvas coordinate of m_Index[0]
};

Axis fnMakeAxis(int first, int end, int origin, double zoom, std::uint32_t length,
                std::uint32_t tile) {
    Axis axis;
    while (first < end && fnSampleIndex(first, origin, zoom) < 0)
        ++first;
    axis.m_nFirst = first;
    axis.m_Index.reserve(static_cast<std::size_t>(std::max(0, end - first)));
    for (int at = first; at < end; ++at) {
        const long long index = fnSampleIndex(at, origin, zoom);
        if (index >= static_cast<long long>(length))
            break;
        const auto found = static_cast<std::uint32_t>(index);
        const int offset = at - first;
        if (axis.m_Spans.empty() || found / tile != axis.m_Index.back() / tile)
            axis.m_Spans.push_back({offset, offset});
        axis.m_Spans.back().m_nEnd = offset + 1;
        axis.m_Index.push_back(found);
    }
    return axis;
}

Palette fnReadPalette(CqImage& image) {
    Palette palette;
    palette.fill(kOpaque);
    std::array<RGBQUAD, 256> entries{};
    const unsigned count =
        image.BitCount <= 8 ? image.fnGetPaletteEntry(0, 256, entries.data()) : 0;
    for (unsigned i = 0; i < count; ++i)
        palette[i] = kOpaque | static_cast<std::uint32_t>(entries[i].rgbRed) << 16 |
                     static_cast<std::uint32_t>(entries[i].rgbGreen) << 8 | entries[i].rgbBlue;
    return palette;
}

/// One row of a tile, picked at the columns of `from` to `to`.
void fnPickRow(const CqImageTile& tile, const unsigned char* row, const Palette& palette,
               const std::uint32_t* columns, std::size_t count, std::uint32_t* out) {
    const auto left = static_cast<std::uint32_t>(tile.Left);
    switch (tile.BitCount) {
    case 4:
        for (std::size_t i = 0; i < count; ++i) {
            const std::uint32_t x = columns[i] - left;
            out[i] = palette[row[x / 2] >> (x % 2 == 0 ? 4 : 0) & 15];
        }
        break;
    case 8:
        for (std::size_t i = 0; i < count; ++i)
            out[i] = palette[row[columns[i] - left]];
        break;
    case 16:
        // Parts of 5 and 6 bits keep their low bits clear, as in the library's own drawing.
        for (std::size_t i = 0; i < count; ++i) {
            const unsigned char* p = row + 2 * std::size_t{columns[i] - left};
            const std::uint32_t v = static_cast<std::uint32_t>(p[0]) << 8 | p[1];
            out[i] = kOpaque | (v >> 8 & 0xF8u) << 16 | (v >> 3 & 0xFCu) << 8 | (v & 0x1Fu) << 3;
        }
        break;
    default: {
        const std::size_t bytes = tile.BytesPerPixel;
        const unsigned char* red = row + (bytes - 3);
        for (std::size_t i = 0; i < count; ++i) {
            const unsigned char* p = red + bytes * std::size_t{columns[i] - left};
            out[i] = kOpaque | static_cast<std::uint32_t>(p[0]) << 16 |
                     static_cast<std::uint32_t>(p[1]) << 8 | p[2];
        }
    }
    }
}

} // namespace

long long fnSampleIndex(int pixel, int origin, double zoom) {
    // The half keeps the sample in the middle of the screen's pixel.
    return static_cast<long long>(std::floor((static_cast<double>(pixel) + origin + 0.5) / zoom));
}

QRect fnSampleTiles(CqImage& image, const SamplePlace& place, const QRect& part, QImage& canvas) {
    const QRect cut = part & canvas.rect();
    if (cut.isEmpty())
        return {};
    const CSize tileSize = image.fnGetMaxTileSize();
    const Axis across = fnMakeAxis(cut.left(), cut.right() + 1, place.m_Origin.x(), place.m_Zoom,
                                   image.Width, static_cast<std::uint32_t>(tileSize.cx));
    const Axis down = fnMakeAxis(cut.top(), cut.bottom() + 1, place.m_Origin.y(), place.m_Zoom,
                                 image.Height, static_cast<std::uint32_t>(tileSize.cy));
    const Palette palette = fnReadPalette(image);
    const CqDisplayProperty* display = q32GetDisplayProperty();
    const bool gamma = display && display->fnIsGammaInEffect();
    auto* pixels = reinterpret_cast<std::uint32_t*>(canvas.bits());
    const std::size_t stride = static_cast<std::size_t>(canvas.bytesPerLine()) / 4;

    CqImageTile tile;
    for (const Span& rows : down.m_Spans) {
        for (const Span& columns : across.m_Spans) {
            CPoint at(static_cast<LONG>(across.m_Index[static_cast<std::size_t>(columns.m_nFirst)]),
                      static_cast<LONG>(down.m_Index[static_cast<std::size_t>(rows.m_nFirst)]));
            image.fnAccessTile(at, &tile);
            const auto count = static_cast<std::size_t>(columns.m_nEnd - columns.m_nFirst);
            for (int y = rows.m_nFirst; y < rows.m_nEnd; ++y) {
                std::uint32_t* out = pixels + static_cast<std::size_t>(down.m_nFirst + y) * stride +
                                     static_cast<std::size_t>(across.m_nFirst + columns.m_nFirst);
                const std::uint32_t row = down.m_Index[static_cast<std::size_t>(y)];
                if (y > rows.m_nFirst && row == down.m_Index[static_cast<std::size_t>(y) - 1]) {
                    std::memcpy(out, out - stride, count * 4);
                    continue;
                }
                const auto inTile =
                    static_cast<std::size_t>(row) - static_cast<std::size_t>(tile.Top);
                fnPickRow(tile, tile.Pixels + inTile * tile.RowBytes, palette,
                          across.m_Index.data() + columns.m_nFirst, count, out);
                if (gamma)
                    display->fnGammaCorrect(reinterpret_cast<unsigned char*>(out),
                                            static_cast<unsigned>(count), 32);
            }
        }
    }
    return {across.m_nFirst, down.m_nFirst, static_cast<int>(across.m_Index.size()),
            static_cast<int>(down.m_Index.size())};
}

void fnScrollPixels(QImage& canvas, const QPoint& by) {
    const QRect target = canvas.rect() & canvas.rect().translated(by);
    if (target.isEmpty())
        return;
    const auto bytes = static_cast<std::size_t>(target.width()) * 4;
    const qsizetype stride = canvas.bytesPerLine();
    uchar* pixels = canvas.bits();
    for (int i = 0; i < target.height(); ++i) {
        const int y = by.y() > 0 ? target.bottom() - i : target.top() + i;
        std::memmove(pixels + y * stride + target.left() * 4,
                     pixels + (y - by.y()) * stride + (target.left() - by.x()) * 4, bytes);
    }
}

void fnFillPixels(QImage& canvas, const QRect& part, QRgb color) {
    for (int y = part.top(); y <= part.bottom(); ++y)
        std::fill_n(reinterpret_cast<QRgb*>(canvas.scanLine(y)) + part.left(), part.width(),
                    color | kOpaque);
}

} // namespace q32::qt
