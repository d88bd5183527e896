#include "plugins/CodecInput_p.h"
#include "plugins/PictureCodec_p.h"
#include "plugins/TiffTags_p.h"
#include "q32Base/framework/CheckedSize_p.h"

#include <tiffio.h>

#include <algorithm>
#include <cstring>
#include <iterator>

namespace q32 {

namespace {

constexpr std::uint64_t kMaxEntries = 4096; ///< libtiff refuses longer directories
constexpr std::uint16_t kBigTiff = 43;

/// Tags that libtiff needs to decode pixels, and the resolution. Sorted.
constexpr std::uint16_t kNeeded[] = {
    TIFFTAG_SUBFILETYPE,
    TIFFTAG_OSUBFILETYPE,
    TIFFTAG_IMAGEWIDTH,
    TIFFTAG_IMAGELENGTH,
    TIFFTAG_BITSPERSAMPLE,
    TIFFTAG_COMPRESSION,
    TIFFTAG_PHOTOMETRIC,
    TIFFTAG_FILLORDER,
    TIFFTAG_STRIPOFFSETS,
    TIFFTAG_ORIENTATION,
    TIFFTAG_SAMPLESPERPIXEL,
    TIFFTAG_ROWSPERSTRIP,
    TIFFTAG_STRIPBYTECOUNTS,
    TIFFTAG_XRESOLUTION,
    TIFFTAG_YRESOLUTION,
    TIFFTAG_PLANARCONFIG,
    TIFFTAG_GROUP3OPTIONS,
    TIFFTAG_GROUP4OPTIONS,
    TIFFTAG_RESOLUTIONUNIT,
    TIFFTAG_PREDICTOR,
    TIFFTAG_WHITEPOINT,
    TIFFTAG_COLORMAP,
    TIFFTAG_TILEWIDTH,
    TIFFTAG_TILELENGTH,
    TIFFTAG_TILEOFFSETS,
    TIFFTAG_TILEBYTECOUNTS,
    TIFFTAG_INKSET,
    TIFFTAG_EXTRASAMPLES,
    TIFFTAG_SAMPLEFORMAT,
    TIFFTAG_JPEGTABLES,
    TIFFTAG_JPEGPROC,
    TIFFTAG_JPEGIFOFFSET,
    TIFFTAG_JPEGIFBYTECOUNT,
    TIFFTAG_JPEGRESTARTINTERVAL,
    TIFFTAG_JPEGQTABLES,
    TIFFTAG_JPEGDCTABLES,
    TIFFTAG_JPEGACTABLES,
    TIFFTAG_YCBCRCOEFFICIENTS,
    TIFFTAG_YCBCRSUBSAMPLING,
    TIFFTAG_YCBCRPOSITIONING,
    TIFFTAG_REFERENCEBLACKWHITE,
    TIFFTAG_MATTEING,
    TIFFTAG_DATATYPE,
    TIFFTAG_IMAGEDEPTH,
    TIFFTAG_TILEDEPTH,
};

static_assert(std::is_sorted(std::begin(kNeeded), std::end(kNeeded)));

/// Tags of metadata that hosts may ask for.
constexpr std::uint16_t kMetadata[] = {TIFFTAG_XMLPACKET, TIFFTAG_RICHTIFFIPTC, TIFFTAG_ICCPROFILE};

/// Bytes of one value, by type; 0 for an unknown one.
constexpr std::uint8_t kTypeBytes[] = {0, 1, 1, 2, 4, 8, 1, 1, 2, 4, 8, 4, 8, 4, 0, 0, 8, 8, 8};

/// A number of `size` bytes.
std::uint64_t fnGet(const unsigned char* bytes, std::size_t size, bool bigEndian) {
    std::uint64_t value = 0;
    for (std::size_t i = 0; i < size; ++i)
        value = value << 8 | bytes[bigEndian ? i : size - 1 - i];
    return value;
}

void fnPut(unsigned char* bytes, std::size_t size, bool bigEndian, std::uint64_t value) {
    for (std::size_t i = 0; i < size; ++i, value >>= 8)
        bytes[bigEndian ? size - 1 - i : i] = static_cast<unsigned char>(value);
}

bool fnIsNeeded(std::uint16_t tag) {
    return std::binary_search(std::begin(kNeeded), std::end(kNeeded), tag);
}

} // namespace

TiffTags::TiffTags(CodecInput& input, std::uint64_t textBytes) : m_nTextBytes(textBytes) {
    unsigned char head[16] = {};
    input.fnSeek(0);
    input.fnRead(head, sizeof(head));
    Shape shape = {head[0] == 'M', false};
    shape.m_bBigTiff = fnGet(head + 2, 2, shape.m_bBigEndian) == kBigTiff;
    m_nPlace = fnGet(head + (shape.m_bBigTiff ? 8 : 4), shape.fnGetWideBytes(), shape.m_bBigEndian);
    fnReadEntries(input, shape);
    input.fnSeek(0);
}

void TiffTags::fnReadEntries(CodecInput& input, const Shape& shape) {
    unsigned char number[8] = {};
    input.fnSeek(m_nPlace);
    if (input.fnRead(number, shape.fnGetNumberBytes()) != shape.fnGetNumberBytes())
        return;
    const std::uint64_t entries = fnGet(number, shape.fnGetNumberBytes(), shape.m_bBigEndian);
    const std::size_t each = shape.fnGetEntryBytes();
    if (entries > kMaxEntries)
        return;
    std::vector<unsigned char> all(static_cast<std::size_t>(entries) * each);
    if (input.fnRead(all.data(), all.size()) != all.size())
        return;
    unsigned char next[8] = {}; // the place of the next directory; a file may end ahead of it
    input.fnRead(next, shape.fnGetWideBytes());

    m_View.resize(shape.fnGetNumberBytes());
    std::uint64_t taken = 0;
    for (const unsigned char* entry = all.data(); entry != all.data() + all.size(); entry += each) {
        fnNotePlace(entry, shape, m_nPlace + shape.fnGetNumberBytes() + m_Tags.size() * each,
                    input.fnGetLength());
        if (fnTakeEntry(entry, shape, input.fnGetLength())) {
            m_View.insert(m_View.end(), entry, entry + each);
            ++taken;
        }
    }
    fnReadTitle(input, all, shape);
    if (taken == 0)
        throw CodecFailure{MESSAGE_CORRUPTED};
    fnPut(m_View.data(), shape.fnGetNumberBytes(), shape.m_bBigEndian, taken);
    m_View.insert(m_View.end(), next, next + shape.fnGetWideBytes());
}

/// Notes where the values of metadata are.
/// @param position  of the entry in the file; short values lie in the entry itself
void TiffTags::fnNotePlace(const unsigned char* entry, const Shape& shape, std::uint64_t position,
                           std::uint64_t fileBytes) {
    const auto tag = static_cast<std::uint16_t>(fnGet(entry, 2, shape.m_bBigEndian));
    const std::uint64_t type = fnGet(entry + 2, 2, shape.m_bBigEndian);
    const CheckedSize count = fnGet(entry + 4, shape.fnGetWideBytes(), shape.m_bBigEndian);
    const std::size_t each = type < std::size(kTypeBytes) ? kTypeBytes[type] : 0;
    const std::size_t head = 4 + shape.fnGetWideBytes();
    const auto bytes = (count * each).fnGet<std::uint64_t>();
    if (std::find(std::begin(kMetadata), std::end(kMetadata), tag) == std::end(kMetadata) ||
        each == 0 || !bytes || *bytes > fileBytes)
        return;
    const bool inside = *bytes <= shape.fnGetWideBytes();
    const std::uint64_t place = fnGet(entry + head, shape.fnGetWideBytes(), shape.m_bBigEndian);
    m_Metadata.emplace_back(tag, Place{inside ? position + head : place, *bytes});
}

/// Notes an entry; whether libtiff gets it.
bool TiffTags::fnTakeEntry(const unsigned char* entry, const Shape& shape,
                           std::uint64_t fileBytes) {
    const auto tag = static_cast<std::uint16_t>(fnGet(entry, 2, shape.m_bBigEndian));
    const std::uint64_t type = fnGet(entry + 2, 2, shape.m_bBigEndian);
    const std::uint64_t count = fnGet(entry + 4, shape.fnGetWideBytes(), shape.m_bBigEndian);
    const std::size_t each = type < std::size(kTypeBytes) ? kTypeBytes[type] : 0;
    m_Tags.push_back(tag);
    if (!fnIsNeeded(tag))
        return false;
    if (!(CheckedSize(count) * each).fnIsWithin(fileBytes))
        throw CodecFailure{MESSAGE_CORRUPTED};
    // As stored, and converted to the widest type.
    constexpr std::size_t kWidest = sizeof(std::uint64_t);
    const CheckedSize all =
        CheckedSize(m_nBytes) + CheckedSize(count) * (each == 0 ? 0 : each + kWidest);
    m_nBytes = all.fnGet<std::uint64_t>().value_or(UINT64_MAX);
    return true;
}

/// Reads the text of an entry, from the entry itself if it fits. False if it is missing or too
/// long.
bool TiffTags::fnReadText(CodecInput& input, const unsigned char* entry, const Shape& shape) {
    const std::uint64_t type = fnGet(entry + 2, 2, shape.m_bBigEndian);
    const std::uint64_t count = fnGet(entry + 4, shape.fnGetWideBytes(), shape.m_bBigEndian);
    const unsigned char* value = entry + 4 + shape.fnGetWideBytes();
    const bool bytes = type < std::size(kTypeBytes) && kTypeBytes[type] == 1;
    if (!bytes || count > std::min(m_nTextBytes, input.fnGetLength()))
        return false;
    m_strTitle.assign(static_cast<std::size_t>(count), '\0');
    if (count <= shape.fnGetWideBytes()) {
        std::memcpy(m_strTitle.data(), value, m_strTitle.size());
        return true;
    }
    input.fnSeek(fnGet(value, shape.fnGetWideBytes(), shape.m_bBigEndian));
    return input.fnRead(m_strTitle.data(), m_strTitle.size()) == m_strTitle.size();
}

void TiffTags::fnReadTitle(CodecInput& input, const std::vector<unsigned char>& entries,
                           const Shape& shape) {
    for (const int tag : {TIFFTAG_DOCUMENTNAME, TIFFTAG_IMAGEDESCRIPTION}) {
        const auto found = std::find(m_Tags.begin(), m_Tags.end(), tag);
        if (found == m_Tags.end())
            continue;
        const auto index = static_cast<std::size_t>(found - m_Tags.begin());
        m_bTitleLeftOut =
            !fnReadText(input, entries.data() + index * shape.fnGetEntryBytes(), shape);
        if (m_bTitleLeftOut)
            m_strTitle.clear();
        return;
    }
}

bool TiffTags::fnHas(std::uint16_t tag) const {
    return std::find(m_Tags.begin(), m_Tags.end(), tag) != m_Tags.end();
}

std::optional<TiffTags::Place> TiffTags::fnFind(std::uint16_t tag) const {
    const auto found = std::find_if(m_Metadata.begin(), m_Metadata.end(),
                                    [tag](const auto& entry) { return entry.first == tag; });
    return found == m_Metadata.end() ? std::nullopt : std::optional(found->second);
}

void TiffTags::fnOverlay(std::uint64_t position, unsigned char* bytes,
                         std::size_t count) const noexcept {
    const std::uint64_t begin = std::max(position, m_nPlace);
    const std::uint64_t end = std::min(position + count, m_nPlace + m_View.size());
    if (begin < end)
        std::memcpy(bytes + (begin - position), m_View.data() + (begin - m_nPlace),
                    static_cast<std::size_t>(end - begin));
}

} // namespace q32
