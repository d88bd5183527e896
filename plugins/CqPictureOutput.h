#pragma once

#include "q32Base/framework/CString.h"
#include "q32Base/platform/CqFileService.h"

#include <cstddef>
#include <cstdint>
#include <memory>

namespace q32 {

/// A picture file that is written: under a new name beside the wanted one, whose place it takes at
/// the end. Buffered, and safe to be called from inside a C library, since only the constructor and
/// the commit throw. The first failure stays. Without a commit, no trace is left.
class CqPictureOutput {
public:
    /// Creates the new file. Throws CqPictureFailure and the memory failures.
    explicit CqPictureOutput(const char* path);
    ~CqPictureOutput();
    CqPictureOutput(const CqPictureOutput&) = delete;
    CqPictureOutput& operator=(const CqPictureOutput&) = delete;

    /// False when not all could be written.
    bool fnWrite(const void* bytes, std::size_t count) noexcept;
    /// Reads what was written before; fewer than `count` bytes only at the end or after a failure.
    std::size_t fnRead(void* out, std::size_t count) noexcept;
    bool fnSeek(std::uint64_t position) noexcept;
    std::uint64_t fnGetPosition() const noexcept { return m_nBase + m_nFilled; }
    std::uint64_t fnGetLength() const noexcept;
    bool fnHasFailed() const noexcept { return m_bFailed; }

    /// Closes the new file and puts it in its place. Throws CqPictureFailure.
    void fnCommit();

private:
    static constexpr std::size_t kBlock = 65536;

    void fnCreate();
    bool fnFlush() noexcept;
    template <typename Work>
    bool fnTry(const Work& work) noexcept;

    CString m_strPath;
    CString m_strNewPath; ///< empty when there is no new file to remove
    std::unique_ptr<CqFileStream> m_pStream;
    std::unique_ptr<unsigned char[]> m_pBlock;
    std::uint64_t m_nBase = 0; ///< place of the block in the file
    std::uint64_t m_nWritten = 0;
    std::size_t m_nFilled = 0;
    bool m_bFailed = false;
};

} // namespace q32
