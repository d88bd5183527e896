#pragma once

#include <cstddef>
#include <cstdint>

namespace q32 {

class CodecInput;

/// The bytes of a PNG file for libpng, without the chunks that a read doesn't need: each is
/// replaced by an empty one, which libpng skips. libpng would allocate a chunk as long as it is
/// declared, store any number of them, and report no progress meanwhile.
class PngChunks {
public:
    /// @param textBytes  limit of one title, and of all titles as stored in the file
    /// @param metadata   blocks of metadata are collected elsewhere, and not noted as left out
    /// @param cutOff     pixels may end with the file
    PngChunks(CodecInput& input, std::uint64_t textBytes, bool metadata, bool cutOff)
        : m_Input(input), m_nTextBytes(textBytes), m_bMetadata(metadata), m_bCutOff(cutOff) {}

    /// Reads the next `count` bytes; false at the end of the file, after a failure of the input,
    /// and for a chunk that is invalid or extends beyond the end of the file.
    bool fnRead(unsigned char* out, std::size_t count) noexcept;

    /// What chunks left out hold beside the image, as bits of PICTURE_PART: a colour profile,
    /// metadata of a camera, the frames of an animation, texts other than title and program.
    unsigned int fnGetParts() const { return m_nParts; }
    /// Titles that libpng gets. It drops those that are damaged, or too long when decompressed.
    unsigned int fnGetTitles() const { return m_nTitles; }

private:
    static constexpr std::size_t kSignatureBytes = 8;
    static constexpr std::size_t kHeadBytes = 8;   ///< length and type
    static constexpr std::size_t kEmptyBytes = 12; ///< of an empty chunk, with its checksum

    bool fnStartChunk() noexcept;
    void fnCutOff() noexcept;
    bool fnIsNeeded(const unsigned char* type, std::uint32_t length) noexcept;
    bool fnTakeText(std::uint32_t length, bool international) noexcept;

    CodecInput& m_Input;
    std::uint64_t m_nTextBytes;
    bool m_bMetadata;
    bool m_bCutOff;
    unsigned char m_Head[kEmptyBytes] = {}; ///< given ahead of bytes of the file
    std::size_t m_nHeadNext = 0;
    std::size_t m_nHeadEnd = 0;
    std::uint64_t m_nRest = kSignatureBytes; ///< bytes of the file up to the next chunk
    std::uint64_t m_nStoredTitles = 0;       ///< bytes of titles in the file so far
    unsigned int m_nTitles = 0;
    unsigned int m_nParts = 0;
};

} // namespace q32
