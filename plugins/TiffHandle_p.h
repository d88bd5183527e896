#pragma once

#include <cstdint>

struct tiff;

namespace q32 {

class CodecInput;
class CodecOutput;

/// A libtiff handle on a picture file; its messages are not printed.
class TiffHandle {
public:
    /// Opens for reading or writing; the file must outlive this. Throws CodecFailure.
    explicit TiffHandle(CodecInput& input);
    explicit TiffHandle(CodecOutput& output);
    ~TiffHandle();
    TiffHandle(const TiffHandle&) = delete;
    TiffHandle& operator=(const TiffHandle&) = delete;

    operator tiff*() const { return m_pTiff; }

    /// Throws the CodecFailure for a failed call into libtiff.
    [[noreturn]] void fnFail() const;
    /// From now on a warning means that pixels were invented.
    void fnWatchWarnings() { m_bWatching = true; }
    bool fnHasWarned() const { return m_bWarned; }

    CodecInput* m_pInput = nullptr;
    CodecOutput* m_pOutput = nullptr;
    bool m_bWarned = false;
    bool m_bWatching = false;

private:
    void fnOpen(const char* mode);

    tiff* m_pTiff = nullptr;
};

} // namespace q32
