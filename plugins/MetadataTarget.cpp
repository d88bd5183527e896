#include "plugins/CodecInput_p.h"
#include "plugins/MetadataTarget_p.h"
#include "plugins/PictureCodec_p.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <memory>
#include <new>
#include <zlib.h>

namespace q32 {

bool MetadataTarget::fnAppend(Block& block, CodecInput& input, std::uint64_t place,
                              std::uint64_t count) {
    const std::uint64_t length = input.fnGetLength();
    if (count > m_nFree || place > length || count > length - place)
        return false;
    const std::size_t before = block.size();
    block.resize(before + static_cast<std::size_t>(count));
    input.fnSeek(place);
    if (input.fnRead(block.data() + before, static_cast<std::size_t>(count)) != count) {
        fnRequireRead(input);
        block.resize(before); // the file has become shorter
        return false;
    }
    m_nFree -= count;
    return true;
}

bool MetadataTarget::fnInflate(Block& block, std::span<const unsigned char> stored) {
    constexpr std::size_t kPiece = 65536;
    z_stream stream = {};
    if (inflateInit(&stream) != Z_OK)
        throw std::bad_alloc();
    const std::unique_ptr<z_stream, int (*)(z_stream*)> end(&stream, inflateEnd);
    Block made;
    stream.next_in = const_cast<Bytef*>(stored.data()); // zlib doesn't write to it
    stream.avail_in = static_cast<uInt>(std::min<std::size_t>(stored.size(), UINT32_MAX));
    int state = Z_OK;
    while (state == Z_OK) {
        const std::size_t before = made.size();
        const auto piece = static_cast<std::size_t>(
            std::min<std::uint64_t>(kPiece, m_nFree - std::min<std::uint64_t>(m_nFree, before)));
        made.resize(before + piece);
        stream.next_out = made.data() + before;
        stream.avail_out = static_cast<uInt>(piece);
        state = inflate(&stream, Z_NO_FLUSH); // Z_BUF_ERROR: no space, or no more input
        made.resize(made.size() - stream.avail_out);
    }
    if (state == Z_MEM_ERROR)
        throw std::bad_alloc();
    if (state != Z_STREAM_END)
        return false;
    m_nFree -= made.size();
    block = std::move(made);
    return true;
}

void fnRequireRead(const CodecInput& input) {
    if (input.fnHasFailed())
        input.fnFail(CodecFailure{MESSAGE_CANNOT_READ});
}

std::span<const unsigned char> fnFindIptc(std::span<const unsigned char> resources, bool& more) {
    constexpr std::size_t kHeadBytes = 6; // signature and number
    constexpr unsigned int kIptc = 0x0404;
    constexpr unsigned int kIptcDigest = 0x0425; // of no use without the editor that made it
    const auto even = [](std::size_t count) { return count + count % 2; };
    std::span<const unsigned char> found;
    while (resources.size() > kHeadBytes) {
        const unsigned int number = static_cast<unsigned int>(resources[4] << 8 | resources[5]);
        const std::size_t data = kHeadBytes + even(std::size_t{1} + resources[kHeadBytes]) + 4;
        if (std::memcmp(resources.data(), "8BIM", 4) != 0 || data > resources.size()) {
            more = true;
            break;
        }
        std::size_t size = 0;
        for (std::size_t i = data - 4; i < data; ++i)
            size = size << 8 | resources[i];
        if (size > resources.size() - data) {
            more = true;
            break;
        }
        if (number == kIptc && found.empty())
            found = resources.subspan(data, size);
        else if (number != kIptcDigest)
            more = true;
        resources = resources.subspan(std::min(resources.size(), data + even(size)));
    }
    return found;
}

} // namespace q32
