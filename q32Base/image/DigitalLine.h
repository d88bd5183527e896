/// @file
/// One-pixel lines in whole coordinates, written straight into tiles.
#pragma once

#include <cstdint>

class CqColor;
class CqImage;
class CqTileMap;

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
    /// must keep its storage and palette for the life of this object. Without storage nothing is
    /// drawn.
    DigitalLine(CqImage& image, const CqColor& color);

    /// Between any two pixels.
    void fnDraw(std::int32_t x0, std::int32_t y0, std::int32_t x1, std::int32_t y1) const;

private:
    const CqTileMap* m_pMap;
    unsigned char m_Pixel[4] = {}; ///< at 4 bits the index
};

} // namespace q32
