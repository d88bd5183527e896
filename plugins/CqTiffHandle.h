#pragma once

#include <cstdint>

struct tiff;

namespace q32 {

class CqPictureInput;
class CqPictureOutput;

/// A libtiff handle on a picture file; its messages are not printed.
class CqTiffHandle {
public:
    /// Opens for reading or writing; the file must outlive this. Throws CqPictureFailure.
    explicit CqTiffHandle(CqPictureInput& input);
    explicit CqTiffHandle(CqPictureOutput& output);
    ~CqTiffHandle();
    CqTiffHandle(const CqTiffHandle&) = delete;
    CqTiffHandle& operator=(const CqTiffHandle&) = delete;

    operator tiff*() const { return m_pTiff; }

    /// Throws the CqPictureFailure for a failed call into libtiff.
    [[noreturn]] void fnFail() const;
    /// From now on a warning means that pixels were invented.
    void fnWatchWarnings() { m_bWatching = true; }
    bool fnHasWarned() const { return m_bWarned; }

    CqPictureInput* m_pInput = nullptr;
    CqPictureOutput* m_pOutput = nullptr;
    bool m_bWarned = false;
    bool m_bWatching = false;

private:
    void fnOpen(const char* mode);

    tiff* m_pTiff = nullptr;
};

} // namespace q32
