#pragma once

#include "q32Base/platform/CqFileService.h"

#include <cstddef>
#include <cstdint>
#include <memory>

namespace q32 {

/// A picture file opened for writing as a replacement of the file at its path. Buffered, and safe
/// to call from callbacks of a C library, since only the constructor and `fnCommit` throw. Failure
/// is permanent. Without a commit, the temporary file is deleted.
class CodecOutput {
public:
    /// Creates the temporary file. Throws CodecFailure, std::bad_alloc and the framework's
    /// memory exception.
    explicit CodecOutput(const char* path);
    ~CodecOutput() = default;
    CodecOutput(const CodecOutput&) = delete;
    CodecOutput& operator=(const CodecOutput&) = delete;

    /// False if not everything could be written.
    bool fnWrite(const void* bytes, std::size_t count) noexcept;
    /// Reads back what was written; fewer than `count` bytes only at the end or after a failure.
    std::size_t fnRead(void* out, std::size_t count) noexcept;
    bool fnSeek(std::uint64_t position) noexcept;
    std::uint64_t fnGetPosition() const noexcept { return m_nBase + m_nFilled; }
    std::uint64_t fnGetLength() const noexcept;
    bool fnHasFailed() const noexcept { return m_bFailed; }

    /// Gives the file its name. Throws CodecFailure.
    void fnCommit();

private:
    static constexpr std::size_t kBlock = 65536;

    bool fnFlush() noexcept;
    template <typename Work>
    bool fnTry(const Work& work) noexcept;

    std::unique_ptr<unsigned char[]> m_pBlock;
    std::unique_ptr<CqFileReplacement> m_pFile;
    CqFileStream* m_pStream;   ///< of that file
    std::uint64_t m_nBase = 0; ///< position of the buffer in the file
    std::uint64_t m_nWritten = 0;
    std::size_t m_nFilled = 0;
    bool m_bFailed = false;
};

} // namespace q32
