#include "q32Base/image/PixelBytes_p.h"

#include <cassert>

namespace q32 {

/// The pixels are one run, since tiles follow each other without gaps. One thread writes as fast as
/// the memory allows.
void fnFillAll(CqTileMap& map, const CqColor& color) {
    unsigned char pixel[4];
    const unsigned int bytes = fnPackFill(map, color, pixel);
    assert(map.BufferSize % bytes == 0);
    fnFillPixels(map.PixelBuffer, pixel, bytes, map.BufferSize / bytes);
    map.fnRequirePixels();
}

} // namespace q32
