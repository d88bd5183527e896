#pragma once

#include "plugins/PictureCodec_p.h"

#include <csetjmp>
#include <cstdint>

struct tiff;

namespace q32 {

class TiffBytes;

/// A libtiff handle on a picture file; its messages are not printed.
class TiffHandle {
public:
    /// @param bytes       must outlive this
    /// @param mode        that of TIFFClientOpen
    /// @param blockBytes  limit of a single allocation by libtiff; it knows none of their sum
    /// Throws CodecFailure.
    TiffHandle(TiffBytes& bytes, const char* mode, std::uint64_t blockBytes);
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
    /// Whether it reported that memory was exhausted.
    bool fnHasNoMemory() const { return m_Failure.m_eMessage != MESSAGE_NONE; }
    /// Whether libtiff had to guess what the directory should have declared.
    bool fnHasGuessed() const { return m_bGuessed; }

    /// For the callbacks of libtiff.
    void fnTakeError(const char* format);
    void fnTakeWarning(const char* module, const char* format);
    TiffBytes& fnGetBytes() const { return m_Bytes; }

private:
    TiffBytes& m_Bytes;
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
