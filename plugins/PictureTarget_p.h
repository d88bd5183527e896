#pragma once

#include "plugins/PictureTypes.h"
#include "q32Base/image/CqImage.h"
#include "q32Base/image/PixelAccess.h"

#include <cstdint>
#include <optional>

namespace q32 {

/// Reports progress to the host's progress object; throws CodecFailure on an abort.
class PictureSteps {
public:
    explicit PictureSteps(CqPictureProgress* progress) : m_pProgress(progress) {}

    /// Reports that `done` of `total` parts are complete; `total` must be above 0.
    void fnTell(std::uint64_t done, std::uint64_t total);

private:
    CqPictureProgress* m_pProgress;
    unsigned int m_nPercent = 0;
};

/// The image that a codec reads into. Everything declared by a file goes through here, so that no
/// size is used before it is validated.
class PictureTarget {
public:
    PictureTarget(CqImage& image, CqPictureProgress* progress)
        : m_Image(image), m_Steps(progress) {}
    PictureTarget(const PictureTarget&) = delete;
    PictureTarget& operator=(const PictureTarget&) = delete;

    /// Allocates the image's storage. `palette` and `count` are those of `CqImage::fnAlloc`. Throws
    /// MESSAGE_CORRUPTED for a width or height of 0, MESSAGE_NO_MEMORY for 4 GiB or more.
    void fnAlloc(std::uint64_t width, std::uint64_t height, unsigned int bitCount,
                 const RGBQUAD* palette, unsigned int count);
    /// Throws MESSAGE_CORRUPTED if a file of `fileBytes` can't hold `rows` rows of `rowBytes` bytes
    /// (at the file's own depth), given that its coding expands a byte to at most `ratio` bytes.
    /// Called ahead of `fnAlloc`, so that a corrupt size allocates nothing.
    static void fnCheckRoom(std::uint64_t fileBytes, std::uint64_t rowBytes, std::uint64_t rows,
                            std::uint64_t ratio);

    /// The same for codings that can omit rows, or expand a byte without limit: 65,536 bytes for
    /// each byte of the file, and 64 MiB for the smallest file, are accepted. No real picture
    /// compresses further.
    static void fnCheckSparseRoom(std::uint64_t fileBytes, std::uint64_t rowBytes,
                                  std::uint64_t rows);

    /// Copy `count` pixels in and out, in the layout of CodecSamples_p.h. The span must lie inside
    /// the image allocated by `fnAlloc`.
    void fnStore(std::uint32_t x, std::uint32_t y, std::uint32_t count, const unsigned char* in);
    void fnFetch(std::uint32_t x, std::uint32_t y, std::uint32_t count, unsigned char* out);
    void fnStoreRow(std::uint32_t y, const unsigned char* in) { fnStore(0, y, m_Image.Width, in); }
    void fnFetchRow(std::uint32_t y, unsigned char* out) { fnFetch(0, y, m_Image.Width, out); }

    /// Sets the resolution, unless one of the values is out of range.
    void fnSetDotsPerMeter(double x, double y);
    void fnSetTitle(const char* title) { m_Image.Title = title; }
    /// Notes that the file holds more than the image, for CqPictureResult::m_bReduced.
    void fnNoteReduced() { m_bReduced = true; }
    bool fnIsReduced() const { return m_bReduced; }
    void fnTell(std::uint64_t done, std::uint64_t total) { m_Steps.fnTell(done, total); }

    CqImage& fnGetImage() { return m_Image; }

private:
    CqImage& m_Image;
    std::optional<CqPixelReader> m_Reader; ///< on the storage allocated by fnAlloc
    std::optional<CqPixelWriter> m_Writer;
    PictureSteps m_Steps;
    bool m_bReduced = false;
};

} // namespace q32
