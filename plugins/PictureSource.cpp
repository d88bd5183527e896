#include "plugins/CodecSamples_p.h"
#include "plugins/PictureCodec_p.h"
#include "plugins/PictureSource_p.h"
#include "q32Base/pixels/PixelFormat_p.h"

#include <algorithm>
#include <memory>

namespace q32 {

PictureSource::PictureSource(CqImage& image, const CqPictureMetadata& metadata,
                             CqPictureProgress* progress)
    : m_Image(image), m_Metadata(metadata), m_Stored(image, PIXEL_STORED),
      m_Rgb(image, PIXEL_RGB24), m_Steps(progress), m_nDotsX(fnDotsPerMeter(image.DpiX)),
      m_nDotsY(fnDotsPerMeter(image.DpiY)) {
    if (m_nDotsX == 0 || m_nDotsY == 0)
        m_nDotsX = m_nDotsY = 0;
    if (fnIsIndexed(image.BitCount))
        fnFindColors();
}

void PictureSource::fnFindColors() {
    const unsigned int all = 1u << m_Image.BitCount;
    m_nColors = m_Image.fnGetPaletteEntry(0, std::min(m_Image.PaletteCount, all), m_Colors);
    for (unsigned int i = 0; i < all; ++i)
        m_Colors[i].rgbReserved = 0;

    bool ramp = all == 256 && m_nColors == all;
    for (unsigned int i = 0; ramp && i < all; ++i)
        ramp = m_Colors[i].rgbRed == i && m_Colors[i].rgbGreen == i && m_Colors[i].rgbBlue == i;
    m_bGrey = ramp;

    if (m_nColors == all)
        return;
    const auto row = std::make_unique_for_overwrite<unsigned char[]>(m_Image.Width);
    unsigned int highest = 0;
    for (std::uint32_t y = 0; y < m_Image.Height; ++y) {
        fnFetchRow(y, row.get());
        highest = std::max<unsigned int>(highest,
                                         *std::max_element(row.get(), row.get() + m_Image.Width));
        m_Steps.fnReport(0, m_Image.Height);
    }
    m_nColors = std::max(m_nColors, highest + 1);
}

void PictureSource::fnFetchRow(std::uint32_t y, unsigned char* out) {
    fnFetch(m_Stored, y, out);
}

void PictureSource::fnFetchRgb(std::uint32_t y, unsigned char* out) {
    fnFetch(m_Rgb, y, out);
}

void PictureSource::fnFetch(const CqPixelReader& reader, std::uint32_t y, unsigned char* out) {
    if (!reader.fnReadRow(0, y, m_Image.Width, out)) // its scratch file lost pixels
        throw CodecFailure{MESSAGE_NO_MEMORY};
}

} // namespace q32
