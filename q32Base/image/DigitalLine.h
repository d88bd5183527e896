/// @file
/// One-pixel lines in whole coordinates, written straight into tiles.
#pragma once

#include "q32Base/geometry/CqPoint2D.h"

#include <cstdint>

class CqColor;
class CqImage;

namespace q32 {

/// Draws lines of one colour into one image. The colour is brought into its bytes once; per tile
/// that a line enters, the address is found once.
///
/// A line takes one pixel per step of its longer axis (y on a tie), both ends included. Pixels
/// outside of the image are left out, at no cost: the walk enters at the first visible pixel, with
/// the error term that a walk from the start would bring there.
class DigitalLine {
public:
    /// The colour's bytes are those of `CqImage::fnSetPixelColor`. The image, which isn't owned,
    /// must keep its storage and palette for the life of this object.
    DigitalLine(CqImage& image, const CqColor& color);

    /// Between whole pixels. Coordinates must lie within 2^30 either way.
    void fnDraw(std::int64_t x0, std::int64_t y0, std::int64_t x1, std::int64_t y1) const;
    /// Rounds each coordinate by adding 0.5 and truncating toward zero, and cuts it to that range.
    void fnDraw(const CqPoint2D& start, const CqPoint2D& end) const;

private:
    struct Walk;

    std::int64_t fnDrawInTile(const Walk& walk, std::int64_t k, std::int64_t last) const;
    void fnDrawNibbles(const Walk& walk, std::int64_t k, std::int64_t last) const;

    CqImage& m_Image;
    unsigned char m_Pixel[4] = {}; ///< at 4 bits the index
};

} // namespace q32
