#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace q32 {

class CodecInput;

/// The first directory of a TIFF as it lies in the file, and the one that libtiff gets, without the
/// tags that a read doesn't need. On opening, libtiff loads the values of all tags, whatever they
/// take: thousands of tags may share the same megabytes.
class TiffTags {
public:
    /// Reads the directory; the input's position changes. Where libtiff would refuse the structure,
    /// there are no tags, and it gets the file unchanged. Throws CodecFailure for a directory
    /// without needed tags, and for a tag whose values are longer than the file.
    /// @param textBytes  a longer title is left out
    TiffTags(CodecInput& input, std::uint64_t textBytes);

    /// Whether the file has the tag.
    bool fnHas(std::uint16_t tag) const;
    /// Where the values of a tag lie in the file.
    struct Place {
        std::uint64_t m_nPosition;
        std::uint64_t m_nBytes;
    };
    /// The place of a tag of metadata; none if the file lacks it, and for values of an unknown
    /// type or longer than the file.
    std::optional<Place> fnFind(std::uint16_t tag) const;
    /// The document's name, else the description; empty if the file has none, or one that was left
    /// out. Ends at the first zero.
    const char* fnGetTitle() const { return m_strTitle.c_str(); }
    /// Whether the file has a title that is too long, or isn't a text.
    bool fnHasLeftOutTitle() const { return m_bTitleLeftOut; }
    /// Bytes that libtiff takes at most for the values that it loads.
    std::uint64_t fnGetBytes() const { return m_nBytes; }
    /// Replaces the part of the directory in `count` bytes that were read from `position`.
    void fnOverlay(std::uint64_t position, unsigned char* bytes, std::size_t count) const noexcept;

private:
    /// How numbers lie in the file.
    struct Shape {
        bool m_bBigEndian;
        bool m_bBigTiff;
        /// Of counts of values and of offsets.
        std::size_t fnGetWideBytes() const { return m_bBigTiff ? 8 : 4; }
        /// Of the number of entries.
        std::size_t fnGetNumberBytes() const { return m_bBigTiff ? 8 : 2; }
        std::size_t fnGetEntryBytes() const { return 4 + 2 * fnGetWideBytes(); }
    };

    void fnReadEntries(CodecInput& input, const Shape& shape);
    void fnNotePlace(const unsigned char* entry, const Shape& shape, std::uint64_t position,
                     std::uint64_t fileBytes);
    bool fnTakeEntry(const unsigned char* entry, const Shape& shape, std::uint64_t fileBytes);
    bool fnReadText(CodecInput& input, const unsigned char* entry, const Shape& shape);
    void fnReadTitle(CodecInput& input, const std::vector<unsigned char>& entries,
                     const Shape& shape);

    std::uint64_t m_nTextBytes;
    std::uint64_t m_nPlace = 0;        ///< of the directory in the file
    std::vector<unsigned char> m_View; ///< what replaces it; shorter
    std::vector<std::uint16_t> m_Tags; ///< of the file
    std::vector<std::pair<std::uint16_t, Place>> m_Metadata;
    std::uint64_t m_nBytes = 0;
    std::string m_strTitle;
    bool m_bTitleLeftOut = false;
};

} // namespace q32
