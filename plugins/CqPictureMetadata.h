#pragma once

#include <vector>

/// What a picture file says about its picture, besides pixels, title and resolution: blocks of
/// bytes in the formats of their own standards, without what a file wraps around them. A block that
/// a file doesn't have is empty. Nothing here was validated: a host that reads a block's content
/// has to expect any bytes.
///
/// A plain value. Copying may throw std::bad_alloc.
struct CqPictureMetadata {
    /// Data of a camera: a TIFF structure, from its byte order mark on.
    std::vector<unsigned char> m_Exif;
    /// Data of an editor: XML in UTF-8.
    std::vector<unsigned char> m_Xmp;
    /// Captions and rights: IIM records. From a TIFF, up to three zeros may follow.
    std::vector<unsigned char> m_Iptc;
    /// A colour profile as defined by the ICC.
    std::vector<unsigned char> m_Profile;
    /// How the picture is to be shown, from 1 to 8, as EXIF and TIFF number it: 1 as it is, 2
    /// mirrored, left and right exchanged, 3 rotated by 180 degrees, 4 mirrored, top and bottom
    /// exchanged, 5 mirrored along the diagonal from the top left corner, 6 rotated clockwise by 90
    /// degrees, 7 mirrored along the other diagonal, 8 rotated counter-clockwise by 90 degrees.
    /// Reading doesn't rotate pixels. Writing stores this value in place of what the blocks say:
    /// a host that has rotated the picture sets it to 1. Any other value counts as 1.
    unsigned int m_nOrientation = 1;
};
