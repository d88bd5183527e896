#include "plugins/CodecInput_p.h"
#include "plugins/MetadataTarget_p.h"
#include "plugins/Orientation_p.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <string_view>

namespace q32 {

namespace {

constexpr std::uint64_t kSignatureBytes = 8;
constexpr std::size_t kHeadBytes = 8; ///< of a chunk: length and type
constexpr std::uint64_t kChecksumBytes = 4;
constexpr std::string_view kXmpKey("XML:com.adobe.xmp\0", 18);

using Bytes = std::span<const unsigned char>;

/// The index behind the next zero; the size if there is none.
std::size_t fnSkipText(Bytes bytes, std::size_t from) {
    const auto zero = std::find(bytes.begin() + static_cast<std::ptrdiff_t>(from), bytes.end(), 0);
    return std::min(bytes.size(), static_cast<std::size_t>(zero - bytes.begin()) + 1);
}

/// A profile is behind a name and a byte for the compression.
bool fnTakeProfile(Bytes chunk, MetadataTarget& target) {
    const std::size_t stream = fnSkipText(chunk, 0) + 1;
    return stream < chunk.size() && chunk[stream - 1] == 0 &&
           target.fnInflate(target.fnGet().m_Profile, chunk.subspan(stream));
}

/// The text is behind the key, two bytes for the compression, a language and a translation.
bool fnTakeXmp(Bytes chunk, MetadataTarget& target) {
    const std::size_t flags = kXmpKey.size();
    if (chunk.size() < flags + 2)
        return false;
    const std::size_t text = fnSkipText(chunk, fnSkipText(chunk, flags + 2));
    if (chunk[flags] != 0)
        return chunk[flags + 1] == 0 && target.fnInflate(target.fnGet().m_Xmp, chunk.subspan(text));
    MetadataTarget::fnCopy(target.fnGet().m_Xmp, chunk.subspan(text));
    return true;
}

/// Takes a chunk from `place` on. False if it isn't a block, or one that there is already.
bool fnTakeChunk(std::string_view type, CodecInput& input, std::uint64_t place,
                 std::uint32_t length, MetadataTarget& target) {
    CqPictureMetadata& metadata = target.fnGet();
    if (type == "eXIf")
        return metadata.m_Exif.empty() && target.fnAppend(metadata.m_Exif, input, place, length);
    std::vector<unsigned char> chunk;
    if (type == "iCCP")
        return metadata.m_Profile.empty() && target.fnAppend(chunk, input, place, length) &&
               fnTakeProfile(chunk, target);
    return metadata.m_Xmp.empty() && target.fnAppend(chunk, input, place, length) &&
           fnTakeXmp(chunk, target);
}

/// Whether a text that begins at the input's position is XMP.
bool fnIsXmp(CodecInput& input, std::uint32_t length) {
    char key[kXmpKey.size()] = {};
    return length >= kXmpKey.size() && input.fnRead(key, kXmpKey.size()) == kXmpKey.size() &&
           std::string_view(key, kXmpKey.size()) == kXmpKey;
}

} // namespace

void fnTakePngMetadata(CodecInput& input, MetadataTarget& target) {
    std::uint64_t place = kSignatureBytes;
    unsigned char head[kHeadBytes];
    for (;;) {
        input.fnSeek(place);
        if (input.fnRead(head, kHeadBytes) != kHeadBytes)
            break;
        const std::string_view type(reinterpret_cast<const char*>(head) + 4, 4);
        const std::uint32_t length = static_cast<std::uint32_t>(head[0]) << 24 |
                                     static_cast<std::uint32_t>(head[1] << 16 | head[2] << 8) |
                                     head[3];
        if (type == "IEND")
            break;
        const bool text = type == "iTXt" && fnIsXmp(input, length);
        if ((type == "eXIf" || type == "iCCP" || text) &&
            !fnTakeChunk(type, input, place + kHeadBytes, length, target))
            target.fnLeaveOut(type == "iCCP" ? PICTURE_PART_PROFILE : PICTURE_PART_NOTES);
        place += kHeadBytes + length + kChecksumBytes;
    }
    const unsigned int orientation = fnGetExifOrientation(target.fnGet().m_Exif);
    target.fnGet().m_nOrientation = std::max(1u, orientation);
}

} // namespace q32
