/// @file
/// The pixels of a TIFF; strips and tiles that are decoded on several threads.
#pragma once

#include "plugins/TiffBytes_p.h"
#include "plugins/TiffHandle_p.h"
#include "plugins/TiffSamples_p.h"
#include "q32Base/framework/CheckedSize_p.h"
#include "q32Base/image/PixelAccess.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace q32 {

class CodecInput;
class PictureTarget;
class TiffTags;

/// What a picture is read from, and where to.
struct TiffReading {
    TiffHandle& m_File;
    CodecInput& m_Input;
    const TiffTags& m_Tags;
    const TiffLayout& m_Layout;
    PictureTarget& m_Target;
};

/// Bytes of samples of so many pixels, as the file stores them.
CheckedSize fnSampleBytes(CheckedSize width, const TiffLayout& layout);
/// Reads the pixels of a picture, by rows or tiles as its layout requires. Throws as PictureCodec
/// describes.
/// @param taken  memory that libtiff takes for the tags and the decoder
void fnReadTiffPixels(const TiffReading& reading, CheckedSize taken);

/// A strip or tile, without what lies beyond the edges of the picture.
struct TiffPart {
    std::uint32_t m_nX = 0;
    std::uint32_t m_nY = 0;
    std::uint32_t m_nColumns = 0;
    std::uint32_t m_nRows = 0;
};

/// Numbered as libtiff does for samples that are interleaved: row by row.
std::uint32_t fnCountParts(const TiffLayout& layout);
TiffPart fnGetPart(const TiffLayout& layout, std::uint32_t index);

/// Whether a file is compressed by deflate. libtiff accepts data that is longer than what it
/// decodes at a time, and may then leave up to 257 bytes at its end as they were.
bool fnIsDeflated(tiff* file);

/// What becomes of a part that was read from the file.
enum TIFF_PART_STATE : unsigned char {
    TIFF_PART_LOADED, ///< not decoded yet
    TIFF_PART_STORED, ///< in the image
    TIFF_PART_LEFT,   ///< it isn't in order, or memory was exhausted: to be read by the one handle
    TIFF_PART_LOST    ///< the image's scratch file lost pixels
};

/// Decodes parts with a handle of its own, and stores them. On any thread, one at a time.
class TiffPartDecoder {
public:
    /// On the thread that reads the file. Throws CodecFailure and std::bad_alloc.
    TiffPartDecoder(const TiffReading& reading, std::size_t rowBytes, std::size_t partBytes);

    TIFF_PART_STATE fnDecode(std::uint32_t index, unsigned char* coded, std::size_t count) noexcept;

private:
    bool fnDecodeSamples(std::uint32_t index, const TiffPart& part, unsigned char* coded,
                         std::size_t count);
    TIFF_PART_STATE fnStore(const TiffPart& part);

    const TiffLayout& m_Layout;
    bool m_bDeflate = false;
    std::size_t m_nRowBytes; ///< of decoded samples
    std::size_t m_nPartBytes;
    TiffSecondInput m_Bytes;
    TiffHandle m_File;
    TiffSamples m_Samples;
    CqPixelWriter m_Writer;
    std::unique_ptr<unsigned char[]> m_Decoded;
    std::unique_ptr<unsigned char[]> m_Pixels; ///< a row
};

/// The strips or tiles of a picture. The calling thread reads what the file holds of some of them,
/// and the threads of the work service decode and store these.
class TiffParts {
public:
    /// Makes nothing where one thread does as well: `fnAreDivided` is false then, and nothing else
    /// may be called.
    /// @param rowBytes   of the decoded samples of a part
    /// @param partBytes  of a complete part
    /// @param taken      memory that the codec has taken by now
    /// @param each       memory that each further handle takes
    /// Throws CodecFailure and std::bad_alloc.
    TiffParts(const TiffReading& reading, std::size_t rowBytes, std::size_t partBytes,
              CheckedSize taken, CheckedSize each);

    bool fnAreDivided() const { return !m_Decoders.empty(); }
    /// Decodes and stores some parts from the `first` on. Returns their number; 0 if that one isn't
    /// in order, and wasn't read.
    std::uint32_t fnDecode(std::uint32_t first);
    /// For part `i` of these, in ascending order: reports to the host as reading it would have
    /// done.
    TIFF_PART_STATE fnTake(std::uint32_t i);

private:
    struct Loaded {
        unsigned char* m_pCoded = nullptr;
        std::size_t m_nCount = 0;
        std::uint64_t m_nReports = 0; ///< while it was read
        TIFF_PART_STATE m_eState = TIFF_PART_LOADED;
    };

    bool fnIsDivisible() const;
    bool fnIsOldLzw(const unsigned char* coded) const;
    bool fnBeginsOld() const;
    void fnLoad(std::uint32_t index, std::size_t count, Loaded& part);

    const TiffReading m_Reading;
    std::uint32_t m_nParts;
    std::uint16_t m_nCompression = 0;
    std::size_t m_nMaxCoded; ///< of a part, in the file
    std::unique_ptr<unsigned char[]> m_Coded;
    std::vector<Loaded> m_Loaded; ///< as many as are decoded at once
    std::vector<std::unique_ptr<TiffPartDecoder>> m_Decoders;
};

} // namespace q32
