/// @file
/// Picture formats of the host's own, which q32ReadPicture and q32WritePicture then treat as the
/// library's: recognition by the first bytes, limits, progress, failures that leave image and file
/// as they were.
///
///     class Ppm : public CqPictureCodec { … };
///     static const Ppm ppm;
///     q32AddPictureFormat(ppm);
///
/// A complete example is examples/programs/own_format.cpp.
#pragma once

#include "plugins/PictureTypes.h"
#include "q32Base/image/PixelAccess.h"
#include "q32Base/messages/Messages.h"
#include "q32Base/pixels/PixelOrder.h"
#include "q32Base/platform/Export.h"
#include "q32Base/platform/Records.h"

#include <cstddef>
#include <cstdint>
#include <exception>
#include <optional>

class CqImage;

namespace q32 {
class CodecInput;
class CodecOutput;
class PictureSource;
class PictureTarget;
} // namespace q32

/// The file that a codec reads, and the image that it fills. Its functions never throw. Once one
/// has failed, so do all later ones, and so does the read, with the reason of the first failure: a
/// codec just returns false.
class Q32_API CqPictureReader {
public:
    /// Made by q32ReadPicture.
    CqPictureReader(q32::CodecInput& input, q32::PictureTarget& target);
    CqPictureReader(const CqPictureReader&) = delete;
    CqPictureReader& operator=(const CqPictureReader&) = delete;

    /// Reads `count` bytes of the file. A file that ends before is corrupted.
    bool fnRead(void* out, std::size_t count) noexcept;
    /// Reads up to `count` bytes; returns their number, fewer only at the end and after a failure.
    std::size_t fnReadSome(void* out, std::size_t count) noexcept;
    /// Sets the position from the file's start; beyond the end is allowed.
    void fnSeek(std::uint64_t position) noexcept;
    /// The position, from the file's start.
    std::uint64_t fnGetPosition() const noexcept;
    /// Bytes of the file.
    std::uint64_t fnGetLength() const noexcept;

    /// Takes account of memory that the codec is about to allocate for itself. False if `bytes` in
    /// all are more than the host's limits allow.
    bool fnCheckMemory(std::uint64_t bytes) noexcept;
    /// Allocates the image's storage, once, if the host's limits allow it. False also for a size or
    /// depth that no image can have.
    /// @param palette  as for `CqImage::fnAlloc`; its `count` entries are copied
    bool fnAlloc(std::uint64_t width, std::uint64_t height, unsigned int bitCount,
                 const RGBQUAD* palette = nullptr, unsigned int count = 0) noexcept;
    /// Stores a row of the allocated image, from `pixels` of the image's width in `order`, and
    /// reports progress: 100 percent after as many rows as the image has. Rows may come in any
    /// order, and a picture is complete after as many. Also returns false, without a failure, if
    /// the host asks only for what the headers declare (q32DescribePicture).
    bool fnWriteRow(std::uint64_t y, const void* pixels, PIXEL_ORDER order) noexcept;
    /// Reports that `done` of `total` parts of work are complete, for work that yields no rows.
    /// False if the host has aborted the read, or its time is over.
    bool fnReport(std::uint64_t done, std::uint64_t total) noexcept;

    /// Sets the image's title; one longer than the host's limit is left out.
    bool fnSetTitle(const char* title) noexcept;
    /// Sets the image's resolution, unless one of the values isn't above 0.
    void fnSetDotsPerInch(double x, double y) noexcept;
    /// Notes what the file holds beside the image, for the result: bits of PICTURE_PART.
    void fnNoteReduced(unsigned int parts) noexcept;

    /// Ends the read with a message of the library: MESSAGE_CORRUPTED, MESSAGE_UNSUPPORTED, or
    /// another. Returns false.
    bool fnFail(CQ_MESSAGE message) noexcept;
    /// Throws the reason of the first failure; MESSAGE_CORRUPTED if the codec returned false
    /// without one, and if the picture isn't complete. For q32ReadPicture.
    void fnFinish(bool done) const;

private:
    template <typename Work>
    bool fnTry(const Work& work) noexcept;

    q32::CodecInput& m_Input;
    q32::PictureTarget& m_Target;
    std::optional<CqPixelWriter> m_Pixels; ///< in the order of the last row
    PIXEL_ORDER m_eOrder = PIXEL_STORED;
    std::uint64_t m_nRows = 0; ///< stored so far
    std::exception_ptr m_pFailure;
};

/// The image that a codec writes, and its file. As with a reader, nothing throws, and the first
/// failure decides.
class Q32_API CqPictureWriter {
public:
    /// Made by q32WritePicture.
    CqPictureWriter(q32::CodecOutput& output, q32::PictureSource& source, CqImage& image,
                    const CqPictureOptions& options);
    CqPictureWriter(const CqPictureWriter&) = delete;
    CqPictureWriter& operator=(const CqPictureWriter&) = delete;

    /// The image, to be read only; it has storage.
    CqImage& fnGetImage() const { return m_Image; }
    /// The host's options, most of them for the library's own formats.
    const CqPictureOptions& fnGetOptions() const { return m_Options; }
    /// Reads row `y` of the image in `order`, for the image's width, and reports progress: 100
    /// percent after as many rows as the image has.
    bool fnReadRow(std::uint64_t y, void* out, PIXEL_ORDER order) noexcept;
    /// Reports that `done` of `total` parts of work are complete, for work other than rows. False
    /// if the host has aborted the write.
    bool fnReport(std::uint64_t done, std::uint64_t total) noexcept;
    /// Appends bytes to the file.
    bool fnWrite(const void* bytes, std::size_t count) noexcept;
    /// Sets the position from the file's start, to complete what was written.
    bool fnSeek(std::uint64_t position) noexcept;
    /// The position, from the file's start.
    std::uint64_t fnGetPosition() const noexcept;

    /// As for a reader; MESSAGE_CANNOT_SAVE stands for a codec that returns false without a reason.
    bool fnFail(CQ_MESSAGE message) noexcept;
    /// Throws the reason of the first failure. For q32WritePicture.
    void fnFinish(bool done) const;

private:
    template <typename Work>
    bool fnTry(const Work& work) noexcept;

    q32::CodecOutput& m_Output;
    q32::PictureSource& m_Source;
    CqImage& m_Image;
    const CqPictureOptions& m_Options;
    std::optional<CqPixelReader> m_Pixels; ///< in the order of the last row
    PIXEL_ORDER m_eOrder = PIXEL_STORED;
    std::uint64_t m_nRows = 0; ///< read so far
    std::exception_ptr m_pFailure;
};

/// A format of the host's own. Its functions are called on every thread that reads or writes
/// pictures, several at once. What they throw ends the read or write as a failure: exhausted memory
/// as that, anything else as a corrupted file, or one that can't be saved.
class Q32_API CqPictureCodec {
public:
    virtual ~CqPictureCodec() = default;

    /// The format: a number from PICTURE_OF_HOST on, and texts with static storage. Always the
    /// same.
    virtual CqPictureFormat fnGetFormat() const noexcept = 0;
    /// Whether a file that begins with the `count` bytes at `head` has this format. There are 16 of
    /// them, fewer only of a shorter file. The library's own formats are asked first.
    virtual bool fnKnows(const unsigned char* head, std::size_t count) const noexcept = 0;
    /// Reads a picture, from the start of the file. False ends the read as a failure.
    virtual bool fnRead(CqPictureReader& reader) const = 0;
    /// Writes a picture; called only if the format says that it can. False ends the write as a
    /// failure.
    virtual bool fnWrite(CqPictureWriter& writer) const = 0;
};

/// Adds a format for the rest of the program: q32ReadPicture recognises it, q32WritePicture writes
/// it, and q32GetPictureFormats lists it behind the others. Needs no attached library.
/// @param codec  not owned: it must stay, so it is usually a static object
/// @return false, with no effect, for a number below PICTURE_OF_HOST or one that is taken, for a
///         missing name or list of extensions, and for more than 28 formats
Q32_API bool q32AddPictureFormat(const CqPictureCodec& codec);
