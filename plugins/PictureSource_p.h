#pragma once

#include "plugins/CqPictureMetadata.h"
#include "plugins/PictureTarget_p.h"
#include "q32Base/image/CqImage.h"
#include "q32Base/image/PixelAccess.h"

#include <cstdint>

namespace q32 {

/// The image that a codec writes, read row by row.
class PictureSource {
public:
    /// Reads the palette; also scans the pixels if the palette is shorter than the depth allows.
    /// Throws CodecFailure if the host aborts that.
    /// `image` and `metadata` must outlive this; `progress` may be null.
    /// @param metadata  to be stored as it is
    PictureSource(CqImage& image, const CqPictureMetadata& metadata, CqPictureProgress* progress);
    PictureSource(const PictureSource&) = delete;
    PictureSource& operator=(const PictureSource&) = delete;

    std::uint32_t fnGetWidth() const { return m_Image.Width; }
    std::uint32_t fnGetHeight() const { return m_Image.Height; }
    unsigned int fnGetBitCount() const { return m_Image.BitCount; }
    /// Whether it is an 8-bit image whose palette is the full grey ramp.
    bool fnIsGrey() const { return m_bGrey; }
    /// The colours of an image of up to 8 bits: 1 to `1 << bits`, enough for all indices in use.
    /// 256 entries can be read; those beyond the count are black.
    const RGBQUAD* fnGetColors() const { return m_Colors; }
    unsigned int fnGetColorCount() const { return m_nColors; }
    const CqPictureMetadata& fnGetMetadata() const { return m_Metadata; }
    const char* fnGetTitle() const { return m_Image.Title; }
    /// Dots per metre; both 0 unless the image has a resolution in both directions.
    std::uint32_t fnGetDotsPerMeterX() const { return m_nDotsX; }
    std::uint32_t fnGetDotsPerMeterY() const { return m_nDotsY; }
    std::int32_t fnGetDpiX() const { return m_Image.DpiX; }
    std::int32_t fnGetDpiY() const { return m_Image.DpiY; }

    /// Reads a row in the layout of CodecSamples_p.h. Throws CodecFailure when pixels were lost.
    void fnFetchRow(std::uint32_t y, unsigned char* out);
    /// Reads a row as red, green, blue at any depth; alpha is dropped.
    void fnFetchRgb(std::uint32_t y, unsigned char* out);
    /// Reads a row in the order of a reader that `fnMakeReader` has made.
    void fnFetch(const CqPixelReader& reader, std::uint32_t y, unsigned char* out);
    CqPixelReader fnMakeReader(PIXEL_ORDER order) const { return {m_Image, order}; }
    void fnReport(std::uint64_t done, std::uint64_t total) { m_Steps.fnReport(done, total); }

private:
    void fnFindColors();

    CqImage& m_Image;
    const CqPictureMetadata& m_Metadata;
    CqPixelReader m_Stored;
    CqPixelReader m_Rgb;
    PictureSteps m_Steps;
    RGBQUAD m_Colors[256] = {};
    unsigned int m_nColors = 0;
    bool m_bGrey = false;
    std::uint32_t m_nDotsX = 0;
    std::uint32_t m_nDotsY = 0;
};

} // namespace q32
