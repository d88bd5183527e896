#include "plugins/JpegMetadata_p.h"
#include "plugins/MetadataSource_p.h"
#include "plugins/Orientation_p.h"
#include "q32Base/image/CqImage.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <iterator>

namespace q32 {

namespace {

using Block = std::vector<unsigned char> CqPictureMetadata::*;

struct Kind {
    Block m_Block;
    PICTURE_PART m_ePart;
};
constexpr Kind kKinds[] = {{&CqPictureMetadata::m_Exif, PICTURE_PART_NOTES},
                           {&CqPictureMetadata::m_Xmp, PICTURE_PART_NOTES},
                           {&CqPictureMetadata::m_Iptc, PICTURE_PART_NOTES},
                           {&CqPictureMetadata::m_Profile, PICTURE_PART_PROFILE}};

/// The most bytes of each kind that a format stores. Blocks of PNG and TIFF are limited so that
/// their files' own numbers hold them.
struct Room {
    PICTURE_FORMAT m_eFormat;
    std::size_t m_nMax[std::size(kKinds)];
};
constexpr std::size_t kMaxBlockBytes = std::size_t{1} << 30;
constexpr Room kRooms[] = {
    {PICTURE_PNG, {kMaxBlockBytes, kMaxBlockBytes, 0, kMaxBlockBytes}},
    {PICTURE_JPEG,
     {kMaxJpegSegment - kJpegExif.size(), kMaxJpegSegment - kJpegXmp.size(),
      (kMaxJpegSegment - kJpegResources.size() - kJpegResourceHead) / 2 * 2,
      kMaxJpegPieces* kMaxJpegPiece}},
    {PICTURE_TIFF, {0, kMaxBlockBytes, kMaxBlockBytes, kMaxBlockBytes}},
};

/// Whether a profile describes the colours that a file of the image has: grey, or red, green and
/// blue.
bool fnSuits(const std::vector<unsigned char>& profile, const CqImage& image) {
    constexpr std::size_t kHeader = 128;
    constexpr std::size_t kColorSpace = 16;
    const bool grey = image.BitCount == 8 && image.fnIsGrayScale();
    return profile.size() >= kHeader &&
           std::memcmp(profile.data() + kColorSpace, grey ? "GRAY" : "RGB ", 4) == 0;
}

/// Whether a file of the format would hold a block.
bool fnHolds(const CqImage& image, const CqPictureMetadata& metadata, PICTURE_FORMAT format,
             std::size_t kind) {
    const auto room = std::find_if(std::begin(kRooms), std::end(kRooms),
                                   [format](const Room& one) { return one.m_eFormat == format; });
    const std::vector<unsigned char>& block = metadata.*kKinds[kind].m_Block;
    return room != std::end(kRooms) && block.size() <= room->m_nMax[kind] &&
           (kKinds[kind].m_ePart != PICTURE_PART_PROFILE || fnSuits(block, image));
}

unsigned int fnGetOrientation(const CqPictureMetadata& metadata) {
    const unsigned int orientation = metadata.m_nOrientation;
    return orientation >= 1 && orientation <= 8 ? orientation : 1;
}

} // namespace

unsigned int fnFindLostMetadata(const CqImage& image, const CqPictureMetadata& metadata,
                                PICTURE_FORMAT format) {
    unsigned int parts = 0;
    for (std::size_t i = 0; i < std::size(kKinds); ++i)
        if (!(metadata.*kKinds[i].m_Block).empty() && !fnHolds(image, metadata, format, i))
            parts |= kKinds[i].m_ePart;
    const bool tagged = format == PICTURE_TIFF || (fnHolds(image, metadata, format, 0) &&
                                                   fnGetExifOrientation(metadata.m_Exif) != 0);
    return parts | (fnGetOrientation(metadata) != 1 && !tagged ? PICTURE_PART_ORIENTATION : 0u);
}

CqPictureMetadata fnPrepareMetadata(const CqImage& image, const CqPictureMetadata& metadata,
                                    PICTURE_FORMAT format) {
    CqPictureMetadata made;
    for (std::size_t i = 0; i < std::size(kKinds); ++i)
        if (fnHolds(image, metadata, format, i))
            made.*kKinds[i].m_Block = metadata.*kKinds[i].m_Block;
    made.m_nOrientation = fnGetOrientation(metadata);
    fnSetExifOrientation(made.m_Exif, made.m_nOrientation);
    fnSetXmpOrientation(made.m_Xmp, made.m_nOrientation);
    return made;
}

} // namespace q32
