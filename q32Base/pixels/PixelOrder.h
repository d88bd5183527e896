/// @file
/// The forms of exchanged pixels.
#pragma once

/// The forms in which pixels are exchanged with hosts, views and plug-ins, named by their bytes in
/// memory from the lowest address on.
enum PIXEL_ORDER : unsigned int {
    PIXEL_STORED = 0, ///< as the image stores them; at 4 bits one index a byte
    PIXEL_ARGB32 = 1, ///< alpha, red, green, blue; alpha is 255 for images that have none
    PIXEL_BGRA32 = 2, ///< blue, green, red, alpha
    PIXEL_BGRX32 = 3, ///< blue, green, red, and a byte read as 255 and ignored when written
    PIXEL_RGB24 = 4,  ///< red, green, blue
    PIXEL_GREY8 = 5,  ///< (77 red + 150 green + 29 blue) / 256, rounded down; writes a grey
    PIXEL_BGR24 = 6   ///< blue, green, red
};
