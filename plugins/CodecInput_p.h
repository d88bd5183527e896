#pragma once

#include "q32Base/platform/CqFileService.h"

#include <cstddef>
#include <cstdint>
#include <exception>
#include <memory>

namespace q32 {

struct CodecFailure;
class PictureSteps;

/// A picture file opened for reading: buffered, and safe to call from callbacks of a C library,
/// since only the constructor and `fnFail` throw. Failure is permanent: every later read gives
/// nothing.
class CodecInput {
public:
    /// Opens the file. Throws CodecFailure.
    explicit CodecInput(const char* path);

    /// From now on, reports to `steps` whenever the buffer is filled; null ends that. What it
    /// throws, an abort or a limit, is stored for `fnFail`, and reading fails from then on.
    void fnReportTo(PictureSteps* steps) { m_pSteps = steps; }
    /// From now on, counts these reports in `count` instead; null ends that.
    void fnCountReports(std::uint64_t* count) { m_pReports = count; }

    /// Reads up to `count` bytes; fewer only at the end of the file or after a failure.
    std::size_t fnRead(void* out, std::size_t count) noexcept;
    /// Consumes the rest of the buffer and returns a view of its `count` bytes; null and 0 at the
    /// end of the file or after a failure. Valid until the next call.
    const unsigned char* fnReadBlock(std::size_t& count) noexcept;
    /// Reads as `fnRead` from a position, past the buffer: neither that nor the position changes,
    /// and nothing is reported. Not for many bytes.
    std::size_t fnReadAt(std::uint64_t position, void* out, std::size_t count) noexcept;
    /// Sets the position from the start; beyond the end is allowed.
    void fnSeek(std::uint64_t position) noexcept;
    std::uint64_t fnGetPosition() const noexcept { return m_nBase + m_nNext; }
    std::uint64_t fnGetLength() const noexcept { return m_nLength; }
    /// Whether reading failed for a reason other than the end of the file.
    bool fnHasFailed() const noexcept { return m_bFailed; }
    /// Throws the reason why reading failed: what stopped it, or MESSAGE_CANNOT_READ; `otherwise`
    /// if it hasn't failed.
    [[noreturn]] void fnFail(const CodecFailure& otherwise) const;

private:
    static constexpr std::size_t kBlock = 65536;

    bool fnFill() noexcept;
    bool fnReport() noexcept;

    std::unique_ptr<CqFileStream> m_pStream;
    std::unique_ptr<unsigned char[]> m_pBlock;
    PictureSteps* m_pSteps = nullptr;
    std::uint64_t* m_pReports = nullptr; ///< counted here
    std::exception_ptr m_pStop;          ///< thrown by the steps
    std::uint64_t m_nLength = 0;
    std::uint64_t m_nBase = 0; ///< position of the buffer in the file
    std::size_t m_nFilled = 0; ///< bytes in the buffer
    std::size_t m_nNext = 0;   ///< index of the next byte in the buffer
    bool m_bMoved = false;     ///< the stream isn't positioned at the end of the buffer
    bool m_bFailed = false;
};

/// While it lives, the reports of an input are counted in place of being made. Objects don't nest.
class CountedReports {
public:
    explicit CountedReports(CodecInput& input) : m_Input(input) { input.fnCountReports(&m_nCount); }
    ~CountedReports() { m_Input.fnCountReports(nullptr); }
    CountedReports(const CountedReports&) = delete;
    CountedReports& operator=(const CountedReports&) = delete;

    std::uint64_t fnGet() const { return m_nCount; }

private:
    CodecInput& m_Input;
    std::uint64_t m_nCount = 0;
};

/// Reads `count` bytes. Throws CodecFailure if there are fewer.
void fnReadExactly(CodecInput& input, void* out, std::size_t count);

} // namespace q32
