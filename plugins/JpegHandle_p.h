/// @file
/// What reading and writing JPEG files share: errors of libjpeg.
#pragma once

#include "plugins/PictureCodec_p.h"

// jpeglib.h needs size_t and FILE declared ahead of it.
#include <jpeglib.h>

namespace q32 {

constexpr int kJpegDotsPerInch = 1; ///< a unit of density

/// What libjpeg's callbacks reach through `client_data`. An error, or a warning that pixels were
/// invented, ends the call into libjpeg by a jump to `m_Jump`, with the reason in `m_Failure`.
struct JpegState {
    JpegState();
    JpegState(const JpegState&) = delete;
    JpegState& operator=(const JpegState&) = delete;

    /// Connects a libjpeg object, ahead of the call that creates it.
    template <typename Jpeg>
    void fnConnect(Jpeg& jpeg) {
        jpeg.err = &m_Errors;
        jpeg.client_data = this;
    }

    std::jmp_buf m_Jump;
    jpeg_error_mgr m_Errors;
    CodecFailure m_Failure = {MESSAGE_CORRUPTED};
    bool m_bLenient = false; ///< invented pixels are accepted
    bool m_bDamaged = false; ///< there are some
};

/// Ends the call into libjpeg with one of its error codes.
[[noreturn]] void fnFailJpeg(j_common_ptr jpeg, int code);

/// Writes a JPEG. Throws as PictureCodec describes.
void fnWriteJpeg(CodecOutput& output, PictureSource& source, const CqPictureOptions& options);

} // namespace q32
