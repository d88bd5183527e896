/// @file
/// One-pixel lines in integer coordinates, written directly into tiles.
#pragma once

#include <cstdint>

class CqColor;
class CqImage;
class CqTileMap;

namespace q32 {

/// Draws lines of one colour into one image. The colour is converted to bytes once, and the address
/// computed once for each tile that a line enters.
///
/// A line has one pixel per step of its longer axis (y on a tie), both ends included. Pixels
/// outside the image are clipped at no cost: the walk starts at the first visible pixel, with the
/// error term that a walk from the start would have there.
class DigitalLine {
public:
    /// The colour is stored as by `CqImage::fnSetPixelColor`. The image, which isn't owned, must
    /// keep its storage and palette for the lifetime of this object. Without storage nothing is
    /// drawn.
    DigitalLine(CqImage& image, const CqColor& color);

    /// Draws from (x0, y0) to (x1, y1), any two points.
    void fnDraw(std::int32_t x0, std::int32_t y0, std::int32_t x1, std::int32_t y1) const;

    /// Raises the memory exception if pixels of the image's scratch file were lost, once the last
    /// line is drawn.
    void fnRequirePixels() const;

private:
    const CqTileMap* m_pMap;
    unsigned char m_Pixel[4] = {}; ///< the stored bytes; at 4 bits the index
};

} // namespace q32
