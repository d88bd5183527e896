#pragma once

#include "plugins/PictureTypes.h"
#include "q32Base/framework/CheckedSize_p.h"
#include "q32Base/image/CqImage.h"
#include "q32Base/image/PixelAccess.h"

#include <chrono>
#include <cstdint>
#include <optional>

struct CqPictureMetadata;

namespace q32 {

/// Reports progress to the host's progress object; throws CodecFailure on an abort, and at the end
/// of the time that the host allows.
class PictureSteps {
public:
    /// @param milliseconds  as in CqPictureLimits
    /// @param limit         what the failure at their end names
    explicit PictureSteps(CqPictureProgress* progress, unsigned int milliseconds = 0,
                          PICTURE_LIMIT limit = PICTURE_LIMIT_TIME)
        : m_pProgress(progress), m_nMilliseconds(milliseconds), m_eLimit(limit) {}

    /// Reports that `done` of `total` parts are complete; `total` must be above 0.
    void fnReport(std::uint64_t done, std::uint64_t total);
    /// Repeats the last report if there was none since the last call: work goes on, but no part is
    /// complete.
    void fnTick();

private:
    using Clock = std::chrono::steady_clock;

    void fnCallHost();

    CqPictureProgress* m_pProgress;
    unsigned int m_nMilliseconds;
    PICTURE_LIMIT m_eLimit;
    Clock::time_point m_Start = Clock::now(); ///< moved ahead by the time spent in the host
    unsigned int m_nPercent = 0;
    bool m_bReported = false; ///< since the last tick
};

/// The image that a codec reads into. Everything declared by a file goes through here, so that no
/// size is used before it is validated.
class PictureTarget {
public:
    /// `limits` must outlive this; `progress` may be null.
    /// @param metadata  receives metadata; null if the host doesn't ask for it
    /// @param pixels    false if the host asks only what the headers declare
    PictureTarget(CqImage& image, std::uint64_t fileBytes, const CqPictureLimits& limits,
                  CqPictureProgress* progress, CqPictureMetadata* metadata = nullptr,
                  bool pixels = true)
        : m_Image(image), m_nFileBytes(fileBytes), m_Limits(limits), m_pMetadata(metadata),
          m_bPixels(pixels), m_Steps(progress, limits.m_nMilliseconds) {}
    PictureTarget(const PictureTarget&) = delete;
    PictureTarget& operator=(const PictureTarget&) = delete;

    /// Throws MESSAGE_CORRUPTED for a width or height of 0, MESSAGE_NO_MEMORY for 4 GiB or more,
    /// and for a size beyond the host's limits. Called before a codec allocates its own memory.
    void fnCheckSize(std::uint64_t width, std::uint64_t height, unsigned int bitCount) const;
    /// Throws for `bytes` beyond the memory that a codec may take.
    void fnCheckCodecBytes(CheckedSize bytes) const;
    /// Whether pixels are to be stored. Otherwise the image is one of a single pixel, and a codec
    /// returns when it knows what the headers declare.
    bool fnNeedsPixels() const { return m_bPixels; }
    /// Allocates the image's storage. `palette` and `count` are those of `CqImage::fnAlloc`. Throws
    /// as `fnCheckSize`.
    /// @param order  of the pixels that are stored; otherwise they have the layout of
    ///               CodecSamples_p.h
    void fnAlloc(std::uint64_t width, std::uint64_t height, unsigned int bitCount,
                 const RGBQUAD* palette, unsigned int count, PIXEL_ORDER order = PIXEL_STORED);
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

    /// Store `count` pixels in the order given to `fnAlloc`, and read them back in the layout of
    /// CodecSamples_p.h. The span must lie inside the image allocated by `fnAlloc`.
    void fnStore(std::uint32_t x, std::uint32_t y, std::uint32_t count, const unsigned char* in);
    void fnFetch(std::uint32_t x, std::uint32_t y, std::uint32_t count, unsigned char* out);
    void fnStoreRow(std::uint32_t y, const unsigned char* in) { fnStore(0, y, m_Image.Width, in); }
    void fnFetchRow(std::uint32_t y, unsigned char* out) { fnFetch(0, y, m_Image.Width, out); }

    /// Sets the resolution, unless one of the values is out of range.
    void fnSetDotsPerMeter(double x, double y);
    /// Sets the title, unless it is longer than the host allows; then notes that.
    void fnSetTitle(const char* title);
    /// Notes what the file holds beside the image: bits of PICTURE_PART, or none.
    void fnNoteReduced(unsigned int parts = PICTURE_PART_OTHER) { m_nParts |= parts; }
    unsigned int fnGetParts() const { return m_nParts; }
    /// Chooses by how much a picture of this size may be reduced on decoding: the largest power of
    /// two up to `most` at which it still reaches the host's box. Keeps it for the result.
    unsigned int fnChooseReduction(std::uint32_t width, std::uint32_t height, unsigned int most);
    unsigned int fnGetReduction() const { return m_nReduction; }
    void fnReport(std::uint64_t done, std::uint64_t total) { m_Steps.fnReport(done, total); }

    /// Receives the file's metadata; null if the host doesn't ask for it. Otherwise a codec doesn't
    /// note as left out what `fnCollectMetadata` takes.
    CqPictureMetadata* fnGetMetadata() const { return m_pMetadata; }
    /// Notes that pixels are missing.
    void fnNotePartial() { m_bPartial = true; }
    bool fnIsPartial() const { return m_bPartial; }

    CqImage& fnGetImage() { return m_Image; }
    /// The size given to `fnAlloc`; 0 before.
    std::uint32_t fnGetWidth() const { return m_nWidth; }
    std::uint32_t fnGetHeight() const { return m_nHeight; }
    const CqPictureLimits& fnGetLimits() const { return m_Limits; }
    PictureSteps& fnGetSteps() { return m_Steps; }

private:
    CqImage& m_Image;
    std::uint64_t m_nFileBytes;
    const CqPictureLimits& m_Limits;
    CqPictureMetadata* m_pMetadata;
    bool m_bPixels;
    bool m_bPartial = false;
    std::uint32_t m_nWidth = 0;
    std::uint32_t m_nHeight = 0;
    std::optional<CqPixelReader> m_Reader; ///< on the storage allocated by fnAlloc
    std::optional<CqPixelWriter> m_Writer;
    PictureSteps m_Steps;
    unsigned int m_nParts = 0;
    unsigned int m_nReduction = 1;
};

} // namespace q32
