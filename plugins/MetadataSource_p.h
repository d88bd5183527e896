/// @file
/// Metadata as a format stores it.
#pragma once

#include "plugins/CqPictureMetadata.h"
#include "plugins/PictureTypes.h"

class CqImage;

namespace q32 {

/// What a file of the format would lack of the metadata, as bits of PICTURE_PART.
unsigned int fnFindLostMetadata(const CqImage& image, const CqPictureMetadata& metadata,
                                PICTURE_FORMAT format);
/// A copy without the blocks that the format can't store, and with the orientation in its place in
/// all of them. May throw std::bad_alloc.
CqPictureMetadata fnPrepareMetadata(const CqImage& image, const CqPictureMetadata& metadata,
                                    PICTURE_FORMAT format);

} // namespace q32
