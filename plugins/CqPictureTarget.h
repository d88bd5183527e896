#pragma once

#include "plugins/PictureTypes.h"
#include "q32Base/image/CqImage.h"
#include "q32Base/image/PixelAccess.h"

#include <cstdint>
#include <optional>

namespace q32 {

/// Tells the host's progress object how far the work is; throws CqPictureFailure on an abort.
class CqPictureSteps {
public:
    explicit CqPictureSteps(CqPictureProgress* progress) : m_pProgress(progress) {}

    /// `done` of `total` parts; `total` above 0.
    void fnTell(std::uint64_t done, std::uint64_t total);

private:
    CqPictureProgress* m_pProgress;
    unsigned int m_nPercent = 0;
};

/// The image that a codec reads into. What a file says goes through here, so that no size is
/// believed before it is checked.
class CqPictureTarget {
public:
    CqPictureTarget(CqImage& image, CqPictureProgress* progress)
        : m_Image(image), m_Steps(progress) {}
    CqPictureTarget(const CqPictureTarget&) = delete;
    CqPictureTarget& operator=(const CqPictureTarget&) = delete;

    /// Makes the image's storage. `palette` and `count` are those of `CqImage::fnAlloc`. Throws: a
    /// width or height of 0 is corrupted, a picture of 4 GiB and more is out of memory.
    void fnAlloc(std::uint64_t width, std::uint64_t height, unsigned int bitCount,
                 const RGBQUAD* palette, unsigned int count);
    /// Throws, as corrupted, when a file of `fileBytes` can't hold rows of pixels (in bytes of the
    /// file's own depth), since its coding makes at most `ratio` bytes out of one. Called ahead of
    /// `fnAlloc`, so that a broken size takes no memory.
    static void fnCheckRoom(std::uint64_t fileBytes, std::uint64_t rowBytes, std::uint64_t rows,
                            std::uint64_t ratio);

    /// The same for codings that can leave out rows, or make any number of bytes out of one: 65,536
    /// for each, and 64 MiB from the smallest file, are believed. No real picture of that size is
    /// coded in so little.
    static void fnCheckSparseRoom(std::uint64_t fileBytes, std::uint64_t rowBytes,
                                  std::uint64_t rows);

    /// Copy pixels in and out, as CodecSamples.h describes them. The run must lie inside the image
    /// that `fnAlloc` made.
    void fnStore(std::uint32_t x, std::uint32_t y, std::uint32_t count, const unsigned char* in);
    void fnFetch(std::uint32_t x, std::uint32_t y, std::uint32_t count, unsigned char* out);
    void fnStoreRow(std::uint32_t y, const unsigned char* in) { fnStore(0, y, m_Image.Width, in); }
    void fnFetchRow(std::uint32_t y, unsigned char* out) { fnFetch(0, y, m_Image.Width, out); }

    /// Notes the resolution, unless one of the values can't be told.
    void fnSetDotsPerMeter(double x, double y);
    void fnSetTitle(const char* title) { m_Image.Title = title; }
    /// Notes that the file holds what the image doesn't take, as CqPictureResult tells it.
    void fnNoteReduced() { m_bReduced = true; }
    bool fnIsReduced() const { return m_bReduced; }
    void fnTell(std::uint64_t done, std::uint64_t total) { m_Steps.fnTell(done, total); }

    CqImage& fnGetImage() { return m_Image; }

private:
    CqImage& m_Image;
    std::optional<CqPixelReader> m_Reader; ///< on the storage that fnAlloc made
    std::optional<CqPixelWriter> m_Writer;
    CqPictureSteps m_Steps;
    bool m_bReduced = false;
};

} // namespace q32
