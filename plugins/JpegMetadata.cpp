#include "plugins/CodecInput_p.h"
#include "plugins/JpegMetadata_p.h"
#include "plugins/MetadataTarget_p.h"
#include "plugins/Orientation_p.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <string_view>

namespace q32 {

namespace {

constexpr std::size_t kMaxHeadBytes = 29; ///< of the longest of JpegMetadata_p.h

/// The data of a segment, behind its length.
struct Segment {
    std::uint64_t m_nPlace = 0;
    std::uint32_t m_nBytes = 0;
};

/// The blocks of a file; a profile lies in up to 255 numbered segments, and resources of an editor
/// may be cut anywhere.
class JpegBlocks {
public:
    JpegBlocks(CodecInput& input, MetadataTarget& target) : m_Input(input), m_Target(target) {}

    void fnTake(unsigned char marker, const Segment& segment);
    void fnFinish();

private:
    bool fnTakeWhole(MetadataTarget::Block& block, const Segment& segment, std::size_t head);
    bool fnNotePiece(const Segment& segment, const unsigned char* numbers);
    bool fnJoinProfile();

    CodecInput& m_Input;
    MetadataTarget& m_Target;
    std::array<Segment, 256> m_Pieces; ///< of the profile, by their numbers from 1
    std::size_t m_nPieces = 0;         ///< as declared
    std::vector<unsigned char> m_Resources;
};

bool JpegBlocks::fnTakeWhole(MetadataTarget::Block& block, const Segment& segment,
                             std::size_t head) {
    return block.empty() &&
           m_Target.fnAppend(block, m_Input, segment.m_nPlace + head, segment.m_nBytes - head);
}

/// @param numbers  of this piece, and of all
bool JpegBlocks::fnNotePiece(const Segment& segment, const unsigned char* numbers) {
    const std::size_t index = numbers[0];
    if (index == 0 || index > numbers[1] || (m_nPieces != 0 && m_nPieces != numbers[1]) ||
        m_Pieces[index].m_nPlace != 0)
        return false;
    m_nPieces = numbers[1];
    m_Pieces[index] = segment;
    return true;
}

void JpegBlocks::fnTake(unsigned char marker, const Segment& segment) {
    constexpr std::size_t kNumbers = 2;
    unsigned char bytes[kMaxHeadBytes + kNumbers] = {};
    m_Input.fnSeek(segment.m_nPlace);
    const std::size_t read =
        m_Input.fnRead(bytes, std::min<std::size_t>(sizeof(bytes), segment.m_nBytes));
    const std::string_view head(reinterpret_cast<const char*>(bytes), read);
    CqPictureMetadata& metadata = m_Target.fnGet();
    bool taken = false;
    unsigned int part = PICTURE_PART_NOTES;
    if (marker == kJpegNotes && head.starts_with(kJpegExif)) {
        taken = fnTakeWhole(metadata.m_Exif, segment, kJpegExif.size());
    } else if (marker == kJpegNotes && head.starts_with(kJpegXmp)) {
        taken = fnTakeWhole(metadata.m_Xmp, segment, kJpegXmp.size());
    } else if (marker == kJpegProfile && head.starts_with(kJpegIcc)) {
        taken = read >= kJpegIcc.size() + kNumbers && fnNotePiece(segment, bytes + kJpegIcc.size());
        part = PICTURE_PART_PROFILE;
    } else if (marker == kJpegProfile) {
        part = head.starts_with("MPF") ? PICTURE_PART_PAGES : PICTURE_PART_NOTES;
    } else if (marker == kJpegPress && head.starts_with(kJpegResources)) {
        taken = m_Target.fnAppend(m_Resources, m_Input, segment.m_nPlace + kJpegResources.size(),
                                  segment.m_nBytes - kJpegResources.size());
    }
    m_Target.fnLeaveOut(taken ? 0u : part);
}

bool JpegBlocks::fnJoinProfile() {
    constexpr std::size_t kHead = kJpegIcc.size() + 2;
    MetadataTarget::Block& profile = m_Target.fnGet().m_Profile;
    for (std::size_t i = 1; i <= m_nPieces; ++i) {
        const Segment& piece = m_Pieces[i];
        if (piece.m_nPlace == 0 ||
            !m_Target.fnAppend(profile, m_Input, piece.m_nPlace + kHead, piece.m_nBytes - kHead)) {
            profile.clear();
            return false;
        }
    }
    return true;
}

void JpegBlocks::fnFinish() {
    CqPictureMetadata& metadata = m_Target.fnGet();
    if (!fnJoinProfile())
        m_Target.fnLeaveOut(PICTURE_PART_PROFILE);
    bool more = false;
    MetadataTarget::fnCopy(metadata.m_Iptc, fnFindIptc(m_Resources, more));
    m_Target.fnLeaveOut(more ? PICTURE_PART_NOTES : 0u);
    metadata.m_nOrientation = std::max(1u, fnGetExifOrientation(metadata.m_Exif));
}

} // namespace

void fnTakeJpegMetadata(CodecInput& input, MetadataTarget& target) {
    constexpr unsigned char kScan = 0xDA;
    constexpr unsigned char kEnd = 0xD9;
    JpegBlocks blocks(input, target);
    std::uint64_t place = 2; // behind the first marker
    for (;;) {
        unsigned char head[4] = {};
        input.fnSeek(place);
        if (input.fnRead(head, sizeof(head)) != sizeof(head))
            break;
        // Bytes in front of a marker are skipped, as for pixels; a marker may begin with more 0xFF.
        if (head[0] != 0xFF || head[1] == 0xFF || head[1] == 0) {
            ++place;
            continue;
        }
        const unsigned char marker = head[1];
        const auto length = static_cast<std::uint32_t>(head[2] << 8 | head[3]);
        if (marker == kScan || marker == kEnd || length < 2)
            break;
        if (marker == kJpegNotes || marker == kJpegProfile || marker == kJpegPress)
            blocks.fnTake(marker, {place + 4, length - 2});
        place += 2 + std::uint64_t{length};
    }
    blocks.fnFinish();
}

} // namespace q32
