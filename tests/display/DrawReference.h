/// @file
/// The expected output of drawing, computed pixel by pixel from the rules. Shares nothing
/// with the library but its records.
#pragma once

#include "platforms/headless/headless.h"
#include "q32Base/image/CqImage.h"

#include <array>
#include <cstdint>
#include <string>
#include <vector>

/// One block of rows passed to the screen.
struct CqExpectedDraw {
    int m_nX = 0;
    int m_nY = 0;
    int m_nWidth = 0;
    int m_nHeight = 0;
    std::vector<std::uint8_t> m_Rows; ///< bottom row first, padded with zeros to four bytes
};

enum class REFERENCE_MODE { INFLATE, SHRINK, FIT };

/// The state in which a draw takes place.
struct CqReferenceSetup {
    int m_nScreenBits = 32;
    REFERENCE_MODE m_eMode = REFERENCE_MODE::INFLATE;
    int m_nFactor = 1;       ///< factor of enlarging or shrinking
    double m_nFitZoom = 1.0; ///< for FIT
    unsigned m_nGamma = 180; ///< 180 for none
    bool m_bHiColorDither = true;
};

/// A pixel's bytes in the image's order; a 4-bit pixel is its index.
std::array<std::uint8_t, 4> fnReferencePixel(CqImage& image, int x, int y);

/// A device pixel's bytes, according to the device depth.
struct CqDevicePixel {
    std::array<std::uint8_t, 4> m_Bytes{};
    std::size_t m_nCount = 0;
};

/// The device pixel at the cell (x, y) of the pattern.
CqDevicePixel fnReferenceDevicePixel(CqImage& image, const std::array<std::uint8_t, 4>& pixel,
                                     const CqReferenceSetup& setup, int x, int y);

/// The blocks of `CqImage::fnDraw`.
std::vector<CqExpectedDraw> fnReferenceDraw(CqImage& image, const CqReferenceSetup& setup,
                                            const CRect& destination, int x, int y);

/// The blocks of one tile's part: `rect` and (x, y) as for `CqImageTile::fnDraw`.
std::vector<CqExpectedDraw> fnReferenceTile(CqImage& image, const CqReferenceSetup& setup,
                                            std::uint32_t index, const CRect& rect, int x, int y);

/// Compares the recorded blocks with the expected ones. Returns the first difference, or "".
std::string fnFindDifference(const std::vector<CqExpectedDraw>& expected,
                             const std::vector<CqHeadlessDraw>& draws, int screenBits);
