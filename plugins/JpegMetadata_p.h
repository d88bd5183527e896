/// @file
/// How metadata lies in the segments of a JPEG: the marker's second byte, and what each begins
/// with.
#pragma once

#include <cstddef>
#include <string_view>

namespace q32 {

inline constexpr unsigned char kJpegNotes = 0xE1;   ///< EXIF or XMP
inline constexpr unsigned char kJpegProfile = 0xE2; ///< a piece of a profile, or further pictures
inline constexpr unsigned char kJpegPress = 0xED;   ///< resources of an editor, among them IPTC

inline constexpr std::string_view kJpegExif("Exif\0\0", 6);
inline constexpr std::string_view kJpegXmp("http://ns.adobe.com/xap/1.0/\0", 29);
inline constexpr std::string_view kJpegIcc("ICC_PROFILE\0",
                                           12); ///< then its number, and of how many
inline constexpr std::string_view kJpegResources("Photoshop 3.0\0", 14);

/// Bytes of a segment, behind its length.
inline constexpr std::size_t kMaxJpegSegment = 65533;
inline constexpr std::size_t kMaxJpegPieces = 255;
/// Of a profile in one segment.
inline constexpr std::size_t kMaxJpegPiece = kMaxJpegSegment - kJpegIcc.size() - 2;
/// Ahead of the records of IPTC: the resource's signature, number, empty name and size.
inline constexpr std::size_t kJpegResourceHead = 12;

} // namespace q32
