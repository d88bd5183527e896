#pragma once

#include "plugins/PictureCodec_p.h"

#include <csetjmp>
#include <cstdint>

struct tiff;

namespace q32 {

class TiffTags;

/// A libtiff handle on a picture file; its messages are not printed.
class TiffHandle {
public:
    /// Opens for reading, with the directory of `tags`; input and tags must outlive this. Throws
    /// CodecFailure.
    /// @param codecBytes  limit of a single allocation by libtiff; it knows none of their sum
    TiffHandle(CodecInput& input, const TiffTags& tags, std::uint64_t codecBytes);
    /// Opens for writing; the output must outlive this. Throws CodecFailure.
    explicit TiffHandle(CodecOutput& output);
    ~TiffHandle();
    TiffHandle(const TiffHandle&) = delete;
    TiffHandle& operator=(const TiffHandle&) = delete;

    operator tiff*() const { return m_pTiff; }

    /// Throws the CodecFailure for a failed call into libtiff.
    [[noreturn]] void fnFail() const;
    /// Throws if libtiff reported that memory was exhausted, whatever its calls returned; it goes
    /// on without the tag concerned, or with a default.
    void fnCheckMemory() const;
    /// From now on a warning means that pixels were invented.
    void fnWatchWarnings() { m_bWatching = true; }
    bool fnHasWarned() const { return m_bWarned; }
    /// Whether libtiff had to guess what the directory should have declared.
    bool fnHasGuessed() const { return m_bGuessed; }

    /// For the callbacks of libtiff.
    void fnTakeError(const char* format);
    void fnTakeWarning(const char* module, const char* format);
    CodecInput* m_pInput = nullptr;
    const TiffTags* m_pTags = nullptr;
    CodecOutput* m_pOutput = nullptr;

private:
    void fnOpen(const char* mode, std::uint64_t maxBlockBytes);

    tiff* m_pTiff = nullptr;
    bool m_bWarned = false;
    bool m_bWatching = false;
    bool m_bGuessed = false;
    bool m_bBrokenList = false; ///< of the directory's tags
    bool m_bOpening = false;
    std::jmp_buf m_Jump; ///< out of opening; what libtiff has allocated by then is lost
    CodecFailure m_Failure = {MESSAGE_NONE}; ///< of an allocation
};

} // namespace q32
