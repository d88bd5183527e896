#include "examples/darkroom/ui/PixelReader.h"

#include "q32Base/display/CqDisplayProperty.h"

#include <algorithm>
#include <cstddef>
#include <new>

namespace darkroom {

PixelReader::PixelReader(CqImage& image) : m_Image(image) {
    if (image.BitCount > 8)
        return;
    std::array<RGBQUAD, 256> palette{};
    image.fnGetPaletteEntry(0, std::min<std::uint32_t>(image.PaletteCount, 256), palette.data());
    std::transform(palette.begin(), palette.end(), m_Palette.begin(), [](const RGBQUAD& entry) {
        return qRgb(entry.rgbRed, entry.rgbGreen, entry.rgbBlue);
    });
}

QRgb PixelReader::fnRead(int x, int y) {
    if (x < m_Tile.Left || x >= m_Tile.Right || y < m_Tile.Top || y >= m_Tile.Bottom) {
        CPoint place(x, y);
        m_Image.fnAccessTile(place, &m_Tile);
    }
    const auto column = static_cast<std::size_t>(x - m_Tile.Left);
    const unsigned char* const row =
        m_Tile.Pixels + static_cast<std::size_t>(y - m_Tile.Top) * m_Tile.RowBytes;
    if (m_Image.BitCount == 4)
        return m_Palette[column % 2 == 0 ? row[column / 2] >> 4 : row[column / 2] & 0x0F];
    const unsigned char* const in = row + column * m_Image.BytesPerPixel;
    switch (m_Image.BitCount) {
    case 8:
        return m_Palette[*in];
    case 16: // 5-6-5, high byte first
        return qRgb(in[0] & 0xF8, (in[0] << 5 | in[1] >> 3) & 0xFC, in[1] << 3 & 0xF8);
    case 24:
        return qRgb(in[0], in[1], in[2]);
    default:
        return qRgba(in[1], in[2], in[3], in[0]);
    }
}

void fnCorrectRow(QRgb* row, int count) {
    q32GetDisplayProperty()->fnGammaCorrect(reinterpret_cast<unsigned char*>(row),
                                            static_cast<unsigned int>(count), 32);
}

QImage fnNewScreenImage(const QSize& size) {
    QImage screen(size, QImage::Format_RGB32);
    if (screen.isNull() && !size.isEmpty())
        throw std::bad_alloc();
    return screen;
}

} // namespace darkroom
