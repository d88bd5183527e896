#pragma once

#include "plugins/CodecSamples_p.h"
#include "plugins/PictureTypes.h"
#include "q32Base/framework/CheckedSize_p.h"

#include <cstdint>

namespace q32 {

class CodecOutput;
class PictureSource;

/// Bytes of a row in a TIFF of an image of this depth.
constexpr CheckedSize fnTiffRowBytes(std::uint32_t width, unsigned int bitCount) {
    const CheckedSize pixels = width;
    return bitCount == 4 ? pixels.fnDivideUp(2)
                         : pixels * (bitCount == 16 ? 3 : fnCodecBytes(bitCount));
}

/// Writes a TIFF. Throws as PictureCodec describes.
void fnWriteTiff(CodecOutput& output, PictureSource& source, const CqPictureOptions& options);

} // namespace q32
