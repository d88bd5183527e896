#include "plugins/CodecInput_p.h"
#include "plugins/PictureTypes.h"
#include "plugins/PngChunks_p.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <iterator>
#include <string_view>

namespace q32 {

namespace {

constexpr std::uint32_t kMaxLength = 0x7FFFFFFF;
/// A keyword is shorter, and followed by a zero.
constexpr std::size_t kMaxKeyBytes = 80;
/// More titles than any file has. Each may take the limit of texts when decompressed.
constexpr unsigned int kMaxTitles = 16;
/// A private chunk that may be skipped.
constexpr unsigned char kEmptyType[4] = {'s', 'k', 'I', 'P'};

struct Kind {
    char m_Type[5];
    std::uint32_t m_nMaxLength; ///< a longer one is invalid, and libpng would ignore it
};

/// The chunks that libpng gets besides titles. Any other critical one is refused.
constexpr Kind kNeeded[] = {{"IHDR", kMaxLength}, {"PLTE", kMaxLength}, {"IDAT", kMaxLength},
                            {"IEND", kMaxLength}, {"tRNS", 256},        {"pHYs", 9}};
/// Those that hold what the image doesn't.
struct PartChunk {
    char m_Type[5];
    PICTURE_PART m_ePart;
    bool m_bMetadata;
};
constexpr PartChunk kParts[] = {{"iCCP", PICTURE_PART_PROFILE, true},
                                {"eXIf", PICTURE_PART_NOTES, true},
                                {"acTL", PICTURE_PART_PAGES, false}};
constexpr char kTexts[][5] = {"tEXt", "zTXt", "iTXt"};
constexpr char kInternational[] = "iTXt";
/// The key of a text that is metadata.
constexpr std::string_view kXmp = "XML:com.adobe.xmp";

constexpr std::uint32_t fnChecksum(const unsigned char* bytes, std::size_t count) {
    std::uint32_t sum = 0xFFFFFFFFu;
    for (std::size_t i = 0; i < count; ++i) {
        sum ^= bytes[i];
        for (int bit = 0; bit < 8; ++bit)
            sum = sum >> 1 ^ (sum & 1 ? 0xEDB88320u : 0);
    }
    return ~sum;
}

/// A chunk without data: its length, type and checksum.
constexpr std::array<unsigned char, 12> kEmptyChunk = [] {
    std::array<unsigned char, 12> chunk{};
    const std::uint32_t sum = fnChecksum(kEmptyType, sizeof(kEmptyType));
    for (std::size_t i = 0; i < 4; ++i) {
        chunk[4 + i] = kEmptyType[i];
        chunk[8 + i] = static_cast<unsigned char>(sum >> (24 - 8 * i));
    }
    return chunk;
}();

bool fnIs(const unsigned char* type, const char* name) {
    return std::memcmp(type, name, 4) == 0;
}

bool fnIsLetter(unsigned char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}

bool fnIsCritical(const unsigned char* type) {
    return type[0] <= 'Z';
}

} // namespace

bool PngChunks::fnRead(unsigned char* out, std::size_t count) noexcept {
    while (count > 0) {
        std::size_t piece = std::min(count, m_nHeadEnd - m_nHeadNext);
        if (piece > 0) {
            std::memcpy(out, m_Head + m_nHeadNext, piece);
            m_nHeadNext += piece;
        } else if (m_nRest > 0) {
            piece = static_cast<std::size_t>(std::min<std::uint64_t>(count, m_nRest));
            if (m_Input.fnRead(out, piece) != piece)
                return false;
            m_nRest -= piece;
        } else if (!fnStartChunk()) {
            return false;
        }
        out += piece;
        count -= piece;
    }
    return true;
}

/// Reads the head of the next chunk, and decides what libpng gets of it.
bool PngChunks::fnStartChunk() noexcept {
    if (m_Input.fnRead(m_Head, kHeadBytes) != kHeadBytes)
        return false;
    const unsigned char* type = m_Head + 4;
    const std::uint32_t length =
        static_cast<std::uint32_t>(m_Head[0]) << 24 |
        static_cast<std::uint32_t>(m_Head[1] << 16 | m_Head[2] << 8 | m_Head[3]);
    const std::uint64_t end = m_Input.fnGetPosition() + length + 4;
    const bool whole = end <= m_Input.fnGetLength();
    const bool cutOff = !whole && m_bCutOff && fnIs(type, "IDAT");
    if (length > kMaxLength || !(whole || cutOff) || !std::all_of(type, type + 4, fnIsLetter))
        return false;
    m_nHeadNext = 0;
    if (cutOff) {
        fnCutOff();
        return true;
    }
    if (fnIsNeeded(type, length)) {
        m_nHeadEnd = kHeadBytes;
        m_nRest = std::uint64_t{length} + 4;
        return true;
    }
    if (m_Input.fnHasFailed() || fnIsCritical(type))
        return false;
    m_Input.fnSeek(end);
    std::copy(kEmptyChunk.begin(), kEmptyChunk.end(), m_Head);
    m_nHeadEnd = kEmptyBytes;
    return true;
}

/// Declares a chunk only as long as the file, so that libpng decodes all of it before it misses the
/// checksum.
void PngChunks::fnCutOff() noexcept {
    m_nRest = m_Input.fnGetLength() - m_Input.fnGetPosition();
    for (std::size_t i = 0; i < 4; ++i)
        m_Head[i] = static_cast<unsigned char>(m_nRest >> (24 - 8 * i));
    m_nHeadEnd = kHeadBytes;
}

bool PngChunks::fnIsNeeded(const unsigned char* type, std::uint32_t length) noexcept {
    const auto isType = [type](const char* name) { return fnIs(type, name); };
    if (std::any_of(std::begin(kTexts), std::end(kTexts), isType))
        return fnTakeText(length, isType(kInternational));
    for (const PartChunk& chunk : kParts)
        if (isType(chunk.m_Type) && !(chunk.m_bMetadata && m_bMetadata))
            m_nParts |= chunk.m_ePart;
    return std::any_of(std::begin(kNeeded), std::end(kNeeded), [&](const Kind& kind) {
        return fnIs(type, kind.m_Type) && length <= kind.m_nMaxLength;
    });
}

/// Looks at the keyword of a text: titles are needed, others only noted. The name of the program
/// that wrote the file isn't even that.
bool PngChunks::fnTakeText(std::uint32_t length, bool international) noexcept {
    const std::uint64_t start = m_Input.fnGetPosition();
    char bytes[kMaxKeyBytes] = {};
    const std::size_t count = m_Input.fnRead(bytes, std::min<std::size_t>(length, kMaxKeyBytes));
    m_Input.fnSeek(start);
    const std::string_view key(
        bytes, static_cast<std::size_t>(std::find(bytes, bytes + count, '\0') - bytes));
    if (international && m_bMetadata && key == kXmp)
        return false;
    const bool title = key == "Title";
    const bool fits = title && m_nTitles < kMaxTitles && m_nTextBytes > 0 &&
                      length <= m_nTextBytes - std::min(m_nStoredTitles, m_nTextBytes);
    m_nParts |= (title ? !fits : key != "Software") ? PICTURE_PART_NOTES : 0u;
    if (fits) {
        ++m_nTitles;
        m_nStoredTitles += length;
    }
    return fits;
}

} // namespace q32
