#pragma once

#include "q32Base/framework/CString.h"
#include "q32Base/platform/CqFileService.h"

#include <cstddef>
#include <cstdint>
#include <memory>

namespace q32 {

/// A picture file opened for writing, under a temporary name beside its path, which it replaces on
/// commit. Buffered, and safe to call from callbacks of a C library, since only the constructor and
/// `fnCommit` throw. Failure is permanent. Without a commit, the temporary file is deleted.
class CodecOutput {
public:
    /// Creates the temporary file. Throws CodecFailure, std::bad_alloc and the framework's
    /// memory exception.
    explicit CodecOutput(const char* path);
    ~CodecOutput();
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

    /// Closes the temporary file and moves it to the path. Throws CodecFailure.
    void fnCommit();

private:
    static constexpr std::size_t kBlock = 65536;

    void fnCreate();
    bool fnFlush() noexcept;
    template <typename Work>
    bool fnTry(const Work& work) noexcept;

    CString m_strPath;
    CString m_strNewPath; ///< the temporary file; empty when there is none to delete
    std::unique_ptr<CqFileStream> m_pStream;
    std::unique_ptr<unsigned char[]> m_pBlock;
    std::uint64_t m_nBase = 0; ///< position of the buffer in the file
    std::uint64_t m_nWritten = 0;
    std::size_t m_nFilled = 0;
    bool m_bFailed = false;
};

} // namespace q32
