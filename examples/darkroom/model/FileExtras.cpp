#include "examples/darkroom/model/FileExtras.h"

#include "q32Base/framework/CFile.h"
#include "q32Base/framework/Exceptions.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <exception>
#include <iterator>
#include <string_view>

namespace darkroom {

namespace {

/// Longest beginning of a block that decides what it is.
constexpr std::size_t kHeadBytes = 36;
/// More blocks than any ordinary file has; a damaged one must not take forever.
constexpr int kMaxBlocks = 200'000;

/// A file of numbers of either byte order.
class Source {
public:
    explicit Source(const char* path) : m_File(path, CFile::modeRead | CFile::shareDenyNone) {}

    void fnSetLittleEndian(bool on) { m_bLittle = on; }
    std::uint64_t fnGetLength() { return m_File.GetLength(); }
    /// What a place holds, at most `count` bytes and `kHeadBytes`.
    std::string_view fnPeek(std::uint64_t place, std::size_t count) {
        m_File.Seek(place);
        return {m_Bytes, m_File.Read(m_Bytes, std::min(count, kHeadBytes))};
    }
    /// A number of `count` bytes; 0 beyond the end of the file.
    std::uint32_t fnGet(std::uint64_t place, std::size_t count) {
        const std::string_view bytes = fnPeek(place, count);
        std::uint32_t value = 0;
        for (std::size_t i = 0; bytes.size() == count && i < count; ++i)
            value = value << 8 | static_cast<unsigned char>(bytes[m_bLittle ? count - 1 - i : i]);
        return value;
    }

private:
    CFile m_File;
    bool m_bLittle = false;
    char m_Bytes[kHeadBytes] = {};
};

std::uint32_t fnSearchPng(Source& file) {
    static constexpr struct {
        const char* m_pszType;
        std::uint32_t m_nExtra;
    } kChunks[] = {{"iCCP", EXTRA_PROFILE}, {"eXIf", EXTRA_CAMERA}, {"acTL", EXTRA_PAGES}};
    constexpr std::string_view kEditing = "XML:com.adobe.xmp";
    std::uint32_t found = file.fnGet(24, 1) > 8 ? EXTRA_DEPTH : EXTRA_NONE; // in the first chunk
    std::uint64_t place = 8;
    for (int i = 0; i < kMaxBlocks && place + 12 <= file.fnGetLength(); ++i) {
        const std::uint32_t length = file.fnGet(place, 4);
        const std::string_view head = file.fnPeek(place + 4, kHeadBytes);
        for (const auto& chunk : kChunks)
            found |= head.starts_with(chunk.m_pszType) ? chunk.m_nExtra : 0;
        if (head.starts_with("tEXt") || head.starts_with("zTXt") || head.starts_with("iTXt")) {
            const std::string_view key = head.substr(4, head.find('\0', 4) - 4);
            if (key != "Title" && key != "Software")
                found |= key == kEditing ? EXTRA_EDITING : EXTRA_NOTES;
        }
        place += 12 + std::uint64_t{length};
    }
    return found;
}

std::uint32_t fnSearchJpeg(Source& file) {
    static constexpr struct {
        std::uint32_t m_nMarker;
        const char* m_pszBegin;
        std::uint32_t m_nExtra;
    } kSegments[] = {
        {0xFFE1, "Exif", EXTRA_CAMERA},         {0xFFE1, "http://ns.adobe.com/xap", EXTRA_EDITING},
        {0xFFE2, "ICC_PROFILE", EXTRA_PROFILE}, {0xFFE2, "MPF", EXTRA_PAGES},
        {0xFFED, "Photoshop 3.0", EXTRA_PRESS},
    };
    constexpr std::uint32_t kScan = 0xFFDA;
    std::uint32_t found = 0;
    std::uint64_t place = 2;
    for (int i = 0; i < kMaxBlocks; ++i) {
        const std::uint32_t marker = file.fnGet(place, 2);
        const std::uint32_t length = file.fnGet(place + 2, 2);
        if (marker <= 0xFF00 || marker == kScan || length < 2)
            break;
        const bool frame = marker >= 0xFFC0 && marker <= 0xFFCF && marker != 0xFFC4 &&
                           marker != 0xFFC8 && marker != 0xFFCC;
        if (frame && file.fnGet(place + 9, 1) > 3) // number of components
            found |= EXTRA_CHANNELS;
        const std::string_view head = file.fnPeek(place + 4, kHeadBytes);
        for (const auto& segment : kSegments)
            if (marker == segment.m_nMarker && head.starts_with(segment.m_pszBegin))
                found |= segment.m_nExtra;
        place += 2 + std::uint64_t{length};
    }
    return found;
}

std::uint32_t fnSearchTiff(Source& file) {
    static constexpr struct {
        std::uint32_t m_nTag;
        std::uint32_t m_nExtra;
    } kTags[] = {{330, EXTRA_PAGES},     {315, EXTRA_NOTES},    {33432, EXTRA_NOTES},
                 {34675, EXTRA_PROFILE}, {34665, EXTRA_CAMERA}, {34853, EXTRA_CAMERA},
                 {700, EXTRA_EDITING},   {33723, EXTRA_PRESS},  {34377, EXTRA_EDITING}};
    constexpr std::uint32_t kBitsTag = 258;
    constexpr std::uint32_t kPhotometricTag = 262;
    constexpr std::uint32_t kOrientationTag = 274;
    constexpr std::uint32_t kSamplesTag = 277;
    constexpr std::uint32_t kInks = 5;
    file.fnSetLittleEndian(file.fnPeek(0, 2) == "II");
    const std::uint64_t directory = file.fnGet(4, 4);
    const std::uint32_t count = file.fnGet(directory, 2);
    std::uint32_t found =
        file.fnGet(directory + 2 + 12 * std::uint64_t{count}, 4) != 0 ? EXTRA_PAGES : EXTRA_NONE;
    for (std::uint32_t i = 0; i < count; ++i) {
        const std::uint64_t entry = directory + 2 + 12 * std::uint64_t{i};
        const std::uint32_t tag = file.fnGet(entry, 2);
        for (const auto& known : kTags)
            found |= tag == known.m_nTag ? known.m_nExtra : 0;
        // Up to two numbers of 16 bits lie in the entry itself.
        const bool inside = file.fnGet(entry + 4, 4) <= 2;
        const std::uint32_t value = file.fnGet(inside ? entry + 8 : file.fnGet(entry + 8, 4), 2);
        if (tag == kBitsTag && value > 8)
            found |= EXTRA_DEPTH;
        if ((tag == kPhotometricTag && value >= kInks) || (tag == kSamplesTag && value > 4))
            found |= EXTRA_CHANNELS;
        if (tag == kOrientationTag && value > 1)
            found |= EXTRA_ORIENTATION;
    }
    return found;
}

std::uint32_t fnSearch(const char* path) {
    using namespace std::string_view_literals;
    Source file(path);
    const std::string_view head = file.fnPeek(0, 4);
    if (head == "\x89PNG"sv)
        return fnSearchPng(file);
    if (head.starts_with("\xFF\xD8"sv))
        return fnSearchJpeg(file);
    if (head == "II*\0"sv || head == "MM\0*"sv)
        return fnSearchTiff(file);
    return 0;
}

} // namespace

std::uint32_t fnFindExtras(const char* path) noexcept {
    try {
        return fnSearch(path);
    } catch (CException* failure) {
        failure->Delete();
    } catch (const std::exception&) {
        // Without memory the user is asked in general terms.
    }
    return 0;
}

} // namespace darkroom
