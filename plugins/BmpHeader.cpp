#include "plugins/BmpHeader_p.h"
#include "plugins/CodecInput_p.h"
#include "plugins/PictureCodec_p.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <iterator>
#include <span>

namespace q32 {

namespace {

/// Reads the information header, in either of its two layouts, with the masks behind it.
DibLayout fnReadInfo(CodecInput& input, BmpHeader& header) {
    unsigned char file[kBmpFileHeaderBytes];
    fnReadExactly(input, file, sizeof(file));
    header.m_nPixelsAt = fnGet32(file + 10);

    unsigned char bytes[kDibV5HeaderBytes] = {};
    fnReadExactly(input, bytes, 4);
    const std::uint32_t size = fnGet32(bytes);
    if (size != kDibCoreHeaderBytes && (size < kDibHeaderBytes || size > kDibV5HeaderBytes))
        throw CodecFailure{MESSAGE_CORRUPTED};
    fnReadExactly(input, bytes + 4, size - 4);
    if (size == kDibCoreHeaderBytes) {
        const BITMAPINFOHEADER wide =
            fnWidenCoreHeader(std::span(bytes).first<kDibCoreHeaderBytes>());
        std::memcpy(bytes, &wide, sizeof(wide));
    }
    DibLayout layout = *fnReadDibLayout(bytes);
    if (layout.m_nMasksBehind != 0) {
        fnReadExactly(input, bytes + kDibHeaderBytes, layout.m_nMasksBehind);
        layout = *fnReadDibLayout(bytes);
    }
    return layout;
}

/// Rejects invalid combinations.
void fnTakeLayout(const DibLayout& layout, BmpHeader& header) {
    const BITMAPINFOHEADER& info = header.m_Info = layout.m_Header;
    if (!layout.fnHasPixels())
        throw CodecFailure{MESSAGE_CORRUPTED};
    header.m_nWidth = static_cast<std::uint32_t>(info.biWidth);
    header.m_nHeight = layout.m_nHeight;
    header.m_bTopDown = layout.m_bTopDown;
    header.m_nColors = layout.fnGetUsedColors();
    header.m_bProfile = layout.m_bProfile;
    header.m_Masks = layout.fnGetChannels();

    const bool masked = layout.fnIsMasked();
    const bool deep = info.biBitCount == 16 || info.biBitCount == 32;
    constexpr WORD kDepths[] = {1, 2, 4, 8, 16, 24, 32};
    if (std::ranges::find(kDepths, info.biBitCount) == std::end(kDepths))
        throw CodecFailure{MESSAGE_CORRUPTED};
    if (info.biCompression == BI_RLE8 ? info.biBitCount != 8 || header.m_bTopDown : masked && !deep)
        throw CodecFailure{MESSAGE_CORRUPTED};
    if (info.biCompression > BI_RLE8 && !masked)
        throw CodecFailure{MESSAGE_UNSUPPORTED};
    if (deep && (header.m_Masks[0] | header.m_Masks[1] | header.m_Masks[2]) == 0)
        throw CodecFailure{MESSAGE_CORRUPTED};
}

/// Reads the colour table, whose entries have three bytes in the core layout.
void fnReadColors(CodecInput& input, BmpHeader& header) {
    const std::size_t entry = header.m_Info.biSize == kDibCoreHeaderBytes ? 3 : sizeof(RGBQUAD);
    for (unsigned int i = 0; i < header.m_nColors; ++i) {
        fnReadExactly(input, &header.m_Colors[i], entry);
        header.m_Colors[i].rgbReserved = 0;
    }
}

} // namespace

BmpHeader fnReadBmpHeader(CodecInput& input) {
    BmpHeader header;
    fnTakeLayout(fnReadInfo(input, header), header);
    fnReadColors(input, header);
    if (header.m_nPixelsAt == 0)
        header.m_nPixelsAt = static_cast<std::uint32_t>(input.fnGetPosition());
    return header;
}

unsigned int BmpHeader::fnGetImageDepth() const {
    const unsigned int bits = m_Info.biBitCount;
    if (bits <= 8)
        return bits <= 4 ? 4 : 8;
    if (fnIs555() || fnIs565())
        return 16;
    return m_Masks[3] != 0 ? 32 : 24;
}

unsigned int BmpHeader::fnGetParts() const {
    const bool wide =
        m_Info.biBitCount > 8 && std::any_of(std::begin(m_Masks), std::end(m_Masks), [](auto mask) {
            return mask >> (mask ? std::countr_zero(mask) : 0) > 0xFF;
        });
    return (wide ? PICTURE_PART_DEPTH : 0u) | (m_bProfile ? PICTURE_PART_PROFILE : 0u);
}

} // namespace q32
