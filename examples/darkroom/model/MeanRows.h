/// @file A picture at a smaller size, row by row, for output that needs no more.
#pragma once

#include "q32Base/image/PixelAccess.h"

#include <cstdint>
#include <vector>

class CqImage;

namespace darkroom {

/// Reads a picture in means over white: the picture's area is divided into width x height equal
/// rectangles, and a sample is the mean of the pixels in one of them, each weighted by the part of
/// it that lies inside, in double precision, rounded. Where alpha is below 255, white shows
/// through. Holds two rows.
class MeanRows {
public:
    /// The picture has storage, and must outlive this.
    /// @param width, height  from 1 to those of the picture
    MeanRows(const CqImage& image, std::uint32_t width, std::uint32_t height);

    /// Makes a row of samples: blue in bits 0 to 7, green in 8 to 15, red in 16 to 23, and 255
    /// above. Raises the memory exception for lost pixels of a scratch file.
    void fnMake(std::uint32_t y, std::uint32_t* out);

private:
    void fnAdd(std::uint32_t row, double weight);

    const CqImage& m_Image;
    CqPixelReader m_Reader;
    std::uint32_t m_nWidth;
    std::uint32_t m_nHeight;
    std::vector<unsigned char> m_Pixels;
    std::vector<double> m_Sums; ///< blue, green and red of each sample
};

} // namespace darkroom
