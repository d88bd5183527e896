#include "plugins/CodecInput_p.h"
#include "plugins/JpegScans_p.h"
#include "plugins/PictureCodec_p.h"
#include "plugins/PictureTarget_p.h"
#include "plugins/TiffJpeg_p.h"
#include "plugins/TiffTags_p.h"

#include <tiffio.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

namespace q32 {

namespace {

/// The bytes of a strip or tile as libtiff gets them.
class PartBytes {
public:
    PartBytes(CodecInput& input, const TiffTags& tags, std::uint64_t place, std::uint64_t bytes)
        : m_Input(input), m_Tags(tags), m_nLeft(bytes) {
        m_Input.fnSeek(place);
    }

    const unsigned char* fnReadBlock(std::size_t& count) noexcept {
        const std::uint64_t place = m_Input.fnGetPosition();
        count = m_Input.fnRead(m_Block.data(), static_cast<std::size_t>(std::min<std::uint64_t>(
                                                   m_Block.size(), m_nLeft)));
        m_nLeft -= count;
        m_Tags.fnOverlay(place, m_Block.data(), count);
        return m_Block.data();
    }

private:
    CodecInput& m_Input;
    const TiffTags& m_Tags;
    std::uint64_t m_nLeft;
    std::array<unsigned char, 1024> m_Block; ///< most headers are shorter
};

} // namespace

void fnRefuseJpegScans(tiff* file, CodecInput& input, const TiffTags& tags, PictureSteps& steps) {
    // Of COMPRESSION_OJPEG, libtiff makes the header of a sequential JPEG of one scan itself.
    std::uint16_t compression = COMPRESSION_NONE;
    TIFFGetFieldDefaulted(file, TIFFTAG_COMPRESSION, &compression);
    if (compression != COMPRESSION_JPEG)
        return;
    const std::uint32_t count =
        TIFFIsTiled(file) ? TIFFNumberOfTiles(file) : TIFFNumberOfStrips(file);
    for (std::uint32_t i = 0; i < count && !input.fnHasFailed(); ++i) {
        PartBytes part(input, tags, TIFFGetStrileOffset(file, i), TIFFGetStrileByteCount(file, i));
        if (!fnIsJpegDecodedByRows([&](std::size_t& n) { return part.fnReadBlock(n); }))
            throw CodecFailure{MESSAGE_UNSUPPORTED};
        steps.fnTick();
    }
    if (input.fnHasFailed())
        input.fnFail(CodecFailure{MESSAGE_CORRUPTED});
}

} // namespace q32
