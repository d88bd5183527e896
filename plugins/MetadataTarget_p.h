#pragma once

#include "plugins/CqPictureMetadata.h"
#include "plugins/PictureTarget_p.h"
#include "plugins/PictureTypes.h"

#include <cstdint>
#include <span>
#include <vector>

namespace q32 {

class CodecInput;
class TiffTags;

/// Collects the metadata of a file, as many bytes as the host allows. What doesn't fit, or isn't in
/// order, is left out and noted. Functions throw CodecFailure and std::bad_alloc.
class MetadataTarget {
public:
    using Block = std::vector<unsigned char>;

    /// @param most  bytes of all blocks, and of what they are decoded from
    MetadataTarget(CqPictureMetadata& metadata, std::uint64_t most)
        : m_Metadata(metadata), m_nFree(most) {}

    CqPictureMetadata& fnGet() { return m_Metadata; }
    /// Appends `count` bytes of the file from `place` on to a block. False, with nothing changed,
    /// if they don't fit or the file is shorter.
    bool fnAppend(Block& block, CodecInput& input, std::uint64_t place, std::uint64_t count);
    /// Sets a block to what zlib has compressed. False, with nothing changed, if it doesn't fit or
    /// is damaged.
    bool fnInflate(Block& block, std::span<const unsigned char> stored);
    /// Sets a block to bytes that are counted already.
    static void fnCopy(Block& block, std::span<const unsigned char> bytes) {
        block.assign(bytes.begin(), bytes.end());
    }

    /// Notes what the file holds and no block does: bits of PICTURE_PART.
    void fnLeaveOut(unsigned int parts) { m_nParts |= parts; }
    unsigned int fnGetParts() const { return m_nParts; }

private:
    CqPictureMetadata& m_Metadata;
    std::uint64_t m_nFree;
    unsigned int m_nParts = 0;
};

/// Throws if reading has failed.
void fnRequireRead(const CodecInput& input);

/// Has `take(MetadataTarget&)` collect the metadata, if the host asks for it, and notes what it
/// leaves out.
template <typename Take>
void fnCollectMetadata(CodecInput& input, PictureTarget& target, const Take& take) {
    if (!target.fnGetMetadata())
        return;
    MetadataTarget blocks(*target.fnGetMetadata(), target.fnGetLimits().m_nMetadataBytes);
    take(blocks);
    fnRequireRead(input);
    target.fnNoteReduced(blocks.fnGetParts());
}

/// Collect the metadata of a file of each format whose pixels could be read; the input's position
/// changes. The orientation of a TIFF is set by its reader.
void fnTakePngMetadata(CodecInput& input, MetadataTarget& target);
void fnTakeJpegMetadata(CodecInput& input, MetadataTarget& target);
void fnTakeTiffMetadata(CodecInput& input, const TiffTags& tags, MetadataTarget& target);

/// The records of IPTC in the resources of an editor, `8BIM` and so on; empty for none.
/// @param more  set to true if there are other resources
std::span<const unsigned char> fnFindIptc(std::span<const unsigned char> resources, bool& more);

} // namespace q32
