#include "plugins/CqPictureSource.h"

#include "plugins/PixelRows.h"

#include <algorithm>

namespace q32 {

CqPictureSource::CqPictureSource(CqImage& image, CqPictureProgress* progress)
    : m_Image(image), m_Steps(progress),
      m_pRow(std::make_unique_for_overwrite<unsigned char[]>(std::size_t{image.Width} *
                                                             fnCodecBytes(image.BitCount))),
      m_nDotsX(fnDotsPerMeter(image.DpiX)), m_nDotsY(fnDotsPerMeter(image.DpiY)) {
    if (m_nDotsX == 0 || m_nDotsY == 0)
        m_nDotsX = m_nDotsY = 0;
    if (image.BitCount <= 8)
        fnFindColors();
}

void CqPictureSource::fnFindColors() {
    const unsigned int all = 1u << m_Image.BitCount;
    m_nColors = m_Image.fnGetPaletteEntry(0, std::min(m_Image.PaletteCount, all), m_Colors);
    for (unsigned int i = 0; i < all; ++i)
        m_Colors[i].rgbReserved = 0;

    bool ramp = all == 256 && m_nColors == all;
    for (unsigned int i = 0; ramp && i < all; ++i)
        ramp = m_Colors[i].rgbRed == i && m_Colors[i].rgbGreen == i && m_Colors[i].rgbBlue == i;
    m_bGrey = ramp;

    unsigned int highest = 0;
    for (std::uint32_t y = 0; m_nColors < all && y < m_Image.Height; ++y) {
        fnFetchRow(y, m_pRow.get());
        highest = std::max<unsigned int>(
            highest, *std::max_element(m_pRow.get(), m_pRow.get() + m_Image.Width));
    }
    m_nColors = std::max(m_nColors, highest + 1);
}

void CqPictureSource::fnFetchRow(std::uint32_t y, unsigned char* out) {
    fnFetchPixels(m_Image, m_Tile, 0, y, m_Image.Width, out);
}

void CqPictureSource::fnFetchRgb(std::uint32_t y, unsigned char* out) {
    const std::size_t width = m_Image.Width;
    if (m_Image.BitCount == 24) {
        fnFetchRow(y, out);
        return;
    }
    const unsigned char* in = m_pRow.get();
    fnFetchRow(y, m_pRow.get());
    if (m_Image.BitCount == 16) {
        fnExpand565(in, width, out);
        return;
    }
    for (std::size_t x = 0; x < width; ++x, out += 3) {
        if (m_Image.BitCount == 32) {
            std::copy_n(in + 4 * x + 1, 3, out);
        } else {
            const RGBQUAD& color = m_Colors[in[x]];
            out[0] = color.rgbRed;
            out[1] = color.rgbGreen;
            out[2] = color.rgbBlue;
        }
    }
}

} // namespace q32
