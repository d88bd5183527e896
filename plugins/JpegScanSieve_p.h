#pragma once

#include "plugins/JpegHandle_p.h"

#include <cstddef>
#include <cstdint>

namespace q32 {

class CodecInput;

/// The data of a progressive JPEG without the scans that have no effect on a reduced picture.
///
/// At an eighth of the size, a block of 8 x 8 pixels becomes one pixel, its mean, and needs the
/// first of its 64 coefficients only. libjpeg decodes the scans of the other ones all the same,
/// which takes most of the time. Without them the result is the same to the bit.
class JpegScanSieve {
public:
    /// `input` must be at the data of the first scan, and outlive this; the size of the output must
    /// be known.
    JpegScanSieve(CodecInput& input, const jpeg_decompress_struct& jpeg);

    /// Whether any component uses its means only.
    static bool fnIsUseful(const jpeg_decompress_struct& jpeg);

    /// The next `count` bytes; null and 0 at the end of the file or after a failure of the input.
    /// Valid until the next call.
    const unsigned char* fnReadBlock(std::size_t& count) noexcept;

private:
    /// Of a scan: mark, length, one component with its tables, first and last coefficient, bits.
    static constexpr std::size_t kOneScan = 10;

    bool fnHasMore() noexcept;
    const unsigned char* fnTake(std::size_t count) noexcept;
    std::size_t fnFindMark() const noexcept;
    void fnTakeMark() noexcept;
    void fnAppend(std::size_t length) noexcept;

    CodecInput& m_Input;
    bool m_MeansOnly[256] = {}; ///< by the number of a component
    const unsigned char* m_pNext = nullptr;
    std::size_t m_nLeft = 0;
    unsigned char m_Head[kOneScan] = {}; ///< of a segment, for libjpeg
    std::size_t m_nHead = 0;
    std::uint64_t m_nPass = 0; ///< bytes that libjpeg gets as they are
    bool m_bLeaveOut = false;  ///< the present scan
};

} // namespace q32
