#pragma once

#include "q32Base/image/CqImage.h"
#include "q32Base/memory/CqTileMap_p.h"
#include "q32Base/services/CqProgressDisplay.h"

#include <memory>
#include <utility>

namespace q32 {

/// Replaces the storage of images for operations that aren't functions of CqImage.
class ImageStorage {
public:
    /// Gives `image` storage that was made from its own, unless the user has aborted. Raises the
    /// memory exception if pixels of either were lost. A display's own state is checked in addition
    /// to the results of its calls, since a host's display may set only one of the two.
    static bool fnReplace(CqImage& image, std::unique_ptr<CqTileMap> map,
                          const CqProgressDisplay* progress) {
        if (progress && progress->fnWasAborted())
            return false;
        image.fnSetBuf(map.release());
        return true;
    }
    /// The same for storage that was made from that of `source`.
    static bool fnReplace(CqImage& image, const CqImage& source, std::unique_ptr<CqTileMap> map,
                          const CqProgressDisplay* progress) {
        source.TileMap->fnRequirePixels();
        if (progress && progress->fnWasAborted())
            return false;
        image.fnTakeBuf(std::move(map));
        return true;
    }
};

/// Whether the bytes of pixels are brightnesses, so that they can be averaged: 8-bit grey, 24 and
/// 32 bits.
inline bool fnHasBrightness(const CqTileMap& map) {
    return map.BitCount >= 24 || (map.BitCount == 8 && map.GrayScale);
}

} // namespace q32
