#include "plugins/CodecInput_p.h"
#include "plugins/MetadataTarget_p.h"
#include "plugins/TiffTags_p.h"

#include <tiffio.h>

namespace q32 {

void fnTakeTiffMetadata(CodecInput& input, const TiffTags& tags, MetadataTarget& target) {
    const struct {
        std::uint16_t m_nTag;
        MetadataTarget::Block& m_Block;
        PICTURE_PART m_ePart;
    } blocks[] = {
        {TIFFTAG_ICCPROFILE, target.fnGet().m_Profile, PICTURE_PART_PROFILE},
        {TIFFTAG_XMLPACKET, target.fnGet().m_Xmp, PICTURE_PART_NOTES},
        {TIFFTAG_RICHTIFFIPTC, target.fnGet().m_Iptc, PICTURE_PART_NOTES},
    };
    for (const auto& block : blocks) {
        const auto place = tags.fnFind(block.m_nTag);
        if (tags.fnHas(block.m_nTag) &&
            (!place || !target.fnAppend(block.m_Block, input, place->m_nPosition, place->m_nBytes)))
            target.fnLeaveOut(block.m_ePart);
    }
}

} // namespace q32
