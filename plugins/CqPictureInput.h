#pragma once

#include "q32Base/platform/CqFileService.h"

#include <cstddef>
#include <cstdint>
#include <memory>

namespace q32 {

/// A picture file that is read: buffered, and safe to be called from inside a C library, since only
/// the constructor throws. The first failure stays: every later read gives nothing.
class CqPictureInput {
public:
    /// Opens the file. Throws CqPictureFailure.
    explicit CqPictureInput(const char* path);

    /// Reads up to `count` bytes; fewer only at the end or after a failure.
    std::size_t fnRead(void* out, std::size_t count) noexcept;
    /// A view of the bytes at the present place, which are read by that; none at the end or after a
    /// failure. Valid until the next call.
    const unsigned char* fnReadBlock(std::size_t& count) noexcept;
    /// Moves to a place from the start; beyond the end is allowed.
    void fnSeek(std::uint64_t position) noexcept;
    std::uint64_t fnGetPosition() const noexcept { return m_nBase + m_nNext; }
    std::uint64_t fnGetLength() const noexcept { return m_nLength; }
    /// Whether reading failed, other than by the file's end.
    bool fnHasFailed() const noexcept { return m_bFailed; }

private:
    static constexpr std::size_t kBlock = 65536;

    bool fnFill() noexcept;

    std::unique_ptr<CqFileStream> m_pStream;
    std::unique_ptr<unsigned char[]> m_pBlock;
    std::uint64_t m_nLength = 0;
    std::uint64_t m_nBase = 0; ///< place of the block in the file
    std::size_t m_nFilled = 0; ///< bytes in the block
    std::size_t m_nNext = 0;   ///< the next one of them
    bool m_bMoved = false;     ///< the stream itself doesn't stand behind the block
    bool m_bFailed = false;
};

/// Reads `count` bytes. Throws CqPictureFailure when there are fewer.
void fnReadExactly(CqPictureInput& input, void* out, std::size_t count);

} // namespace q32
