#include "q32Base/image/CqImage.h"
#include "q32Base/image/PixelBytes_p.h"
#include "q32Base/memory/CqTileMap_p.h"
#include "q32Base/sound/CqWave.h"

#include <algorithm>

namespace {

const CqColor kBackground(0, 0, 0, 255);
const CqColor kTrace(0, 255, 0, 255);

/// Layout of an oscillogram in its image.
struct Drawing {
    CqImage& m_Image;
    bool m_bVertical;
    bool m_bLineFlag;
    std::int64_t m_nAcross; ///< size across the time axis
    std::int64_t m_nBand;   ///< part of it for one channel

    /// Draws one sample at step `t` in the band from `from` to `to`: a bar mirrored about the
    /// middle, or one point for silence.
    void fnDraw(std::uint32_t t, std::uint32_t sample, std::uint32_t full, std::int64_t from,
                std::int64_t to) const {
        const std::int64_t height = m_bVertical ? sample : full - sample;
        const std::int64_t place = std::min(height * m_nBand / full, m_nBand - 1);
        if (sample == full / 2 + 1)
            fnPlot(t, from + place);
        else
            fnPlotLine(static_cast<int>(t), static_cast<int>(from + place),
                       static_cast<int>(to - place));
    }

private:
    /// In a band of no pixels the point is outside the image.
    void fnPlot(std::uint32_t t, std::int64_t place) const {
        if (place < 0 || place >= m_nAcross)
            return;
        const int along = static_cast<int>(t);
        const int across = static_cast<int>(place);
        m_Image.fnSetPixelColor(m_bVertical ? across : along, m_bVertical ? along : across, kTrace);
    }

    void fnPlotLine(int t, int from, int to) const {
        if (m_bVertical)
            m_Image.fnDrawLine(from, t, to, t, kTrace, m_bLineFlag);
        else
            m_Image.fnDrawLine(t, from, t, to, kTrace, m_bLineFlag);
    }
};

} // namespace

void CqWave::fnRasterize(CqImage& image, unsigned long nStart, unsigned long nLength,
                         bool bVertical, bool bLineFlag) const {
    if (!image.TileMap)
        return;
    q32::fnFillAll(*image.TileMap, kBackground);
    if (m_nChannels == 0)
        return;
    const bool wide = m_nBitsPerSample == 16;
    const std::uint32_t full = wide ? 65535 : 255;
    const std::uint32_t sampleBytes = wide ? 2 : 1;
    const std::uint32_t steps = bVertical ? image.Height : image.Width;
    const std::uint32_t across = bVertical ? image.Width : image.Height;
    const Drawing drawing = {image, bVertical, bLineFlag, across, across / m_nChannels};
    // In bytes, not frames: a step that isn't a multiple of a frame deliberately reads out of step.
    const std::uint32_t stride = m_nBlockAlign * static_cast<std::uint32_t>(nLength) / steps;
    std::uint64_t position = m_nBlockAlign * static_cast<std::uint32_t>(nStart);
    for (std::uint32_t t = 0; t < steps; ++t, position += stride) {
        for (std::uint32_t channel = 0; channel < (m_nChannels == 2 ? 2u : 1u); ++channel) {
            const std::uint64_t at = position + channel * sampleBytes;
            if (at + sampleBytes > fnGetBufferSize())
                break;
            const unsigned char* bytes = fnGetBuffer() + at;
            // Flipping the sign bit adds 32768.
            const std::uint32_t sample =
                wide ? static_cast<std::uint32_t>(bytes[0] | bytes[1] << 8) ^ 0x8000u : *bytes;
            if (channel == 0)
                drawing.fnDraw(t, sample, full, 0, drawing.m_nBand);
            else
                drawing.fnDraw(t, sample, full, drawing.m_nBand, across);
        }
    }
    m_Block.fnRequireBytes();
    image.TileMap->fnRequirePixels();
}
