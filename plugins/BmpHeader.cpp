#include "plugins/BmpHeader_p.h"
#include "plugins/CodecInput_p.h"
#include "plugins/PictureCodec_p.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <iterator>

namespace q32 {

namespace {

constexpr std::uint32_t kCoreHeaderBytes = 12;
constexpr std::uint32_t kMaxHeaderBytes = 124;
/// The longest header declares its colour space at this offset, by four letters as a number.
constexpr std::uint32_t kColorSpaceAt = 56;
constexpr std::uint32_t kEmbeddedProfile = 0x4D424544;
constexpr std::uint32_t kLinkedProfile = 0x4C494E4B;

template <typename Value>
Value fnGet(const unsigned char* bytes, std::size_t at) {
    Value value;
    std::memcpy(&value, bytes + at, sizeof(value));
    return value;
}

/// Converts the 12-byte core header to one of 40 bytes in place; `biSize` stays 12.
void fnWidenCore(unsigned char* bytes) {
    BITMAPINFOHEADER info = {};
    info.biSize = kCoreHeaderBytes;
    info.biWidth = fnGet<std::uint16_t>(bytes, 4);
    info.biHeight = fnGet<std::uint16_t>(bytes, 6);
    info.biBitCount = fnGet<std::uint16_t>(bytes, 10);
    std::memcpy(bytes, &info, sizeof(info));
}

/// Reads the information header, in either of its two layouts, with the masks behind it.
DibLayout fnReadInfo(CodecInput& input, BmpHeader& header) {
    unsigned char file[kBmpFileHeaderBytes];
    fnReadExactly(input, file, sizeof(file));
    header.m_nPixelsAt = fnGet<std::uint32_t>(file, 10);

    unsigned char bytes[kMaxHeaderBytes] = {};
    fnReadExactly(input, bytes, 4);
    const auto size = fnGet<std::uint32_t>(bytes, 0);
    if (size != kCoreHeaderBytes && (size < kDibHeaderBytes || size > kMaxHeaderBytes))
        throw CodecFailure{MESSAGE_CORRUPTED};
    fnReadExactly(input, bytes + 4, size - 4);
    if (size == kCoreHeaderBytes)
        fnWidenCore(bytes);
    DibLayout layout = *fnReadDibLayout(bytes);
    if (layout.m_nMasksBehind != 0) {
        fnReadExactly(input, bytes + kDibHeaderBytes, layout.m_nMasksBehind);
        layout = *fnReadDibLayout(bytes);
    }
    const auto space = fnGet<std::uint32_t>(bytes, kColorSpaceAt);
    header.m_bProfile =
        size == kMaxHeaderBytes && (space == kEmbeddedProfile || space == kLinkedProfile);
    return layout;
}

/// Rejects invalid combinations, and fills in the masks of uncompressed pixels.
void fnTakeLayout(const DibLayout& layout, BmpHeader& header) {
    const BITMAPINFOHEADER& info = header.m_Info = layout.m_Header;
    if (!layout.fnHasPixels())
        throw CodecFailure{MESSAGE_CORRUPTED};
    header.m_nWidth = static_cast<std::uint32_t>(info.biWidth);
    header.m_nHeight = layout.m_nHeight;
    header.m_bTopDown = layout.m_bTopDown;
    header.m_nColors = layout.fnGetUsedColors();
    std::copy_n(layout.m_Masks, 4, header.m_Masks);

    const bool masked = layout.fnIsMasked();
    const bool deep = info.biBitCount == 16 || info.biBitCount == 32;
    switch (info.biBitCount) {
    case 1:
    case 2:
    case 4:
    case 8:
    case 16:
    case 24:
    case 32:
        break;
    default:
        throw CodecFailure{MESSAGE_CORRUPTED};
    }
    if (info.biCompression == BI_RLE8 ? info.biBitCount != 8 || header.m_bTopDown : masked && !deep)
        throw CodecFailure{MESSAGE_CORRUPTED};
    if (info.biCompression > BI_RLE8 && !masked)
        throw CodecFailure{MESSAGE_UNSUPPORTED};
    if (!masked && deep) {
        const std::uint32_t plain16[4] = {0x7C00, 0x03E0, 0x001F, 0};
        const std::uint32_t plain32[4] = {0xFF0000, 0x00FF00, 0x0000FF, 0};
        std::copy_n(info.biBitCount == 16 ? plain16 : plain32, 4, header.m_Masks);
    }
    if (deep && (header.m_Masks[0] | header.m_Masks[1] | header.m_Masks[2]) == 0)
        throw CodecFailure{MESSAGE_CORRUPTED};
}

/// Reads the colour table, whose entries have three bytes in the core layout.
void fnReadColors(CodecInput& input, BmpHeader& header) {
    const std::size_t entry = header.m_Info.biSize == kCoreHeaderBytes ? 3 : sizeof(RGBQUAD);
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

unsigned int BmpHeader::fnImageDepth() const {
    const unsigned int bits = m_Info.biBitCount;
    if (bits <= 8)
        return bits <= 4 ? 4 : 8;
    if (fnIs555() || fnIs565())
        return 16;
    return m_Masks[3] != 0 ? 32 : 24;
}

bool BmpHeader::fnHoldsMore() const {
    const bool wide =
        m_Info.biBitCount > 8 && std::any_of(std::begin(m_Masks), std::end(m_Masks), [](auto mask) {
            return mask >> (mask ? std::countr_zero(mask) : 0) > 0xFF;
        });
    return wide || m_bProfile;
}

bool BmpHeader::fnHasMasks16(std::uint32_t red, std::uint32_t green) const {
    return m_Info.biBitCount == 16 && m_Masks[0] == red && m_Masks[1] == green &&
           m_Masks[2] == 0x001F && m_Masks[3] == 0;
}

} // namespace q32
