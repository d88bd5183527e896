#pragma once

#include "q32Base/framework/Values.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

class CqImage;

namespace q32::qt {

/// Reduced copies of an image, for views that show it small: without them each screen pixel would
/// read another cache line, and fine detail would turn into noise. The image is divided into cells
/// of 128 x 128 pixels, aligned with its tiles. A cell is reduced by 4, 8, 16 … 128; each pixel is
/// the mean of those that it covers, before gamma. Cells are made one by one, when the caller has
/// time; a missing cell has to be read from the image.
///
/// If all cells together would exceed `kMaxBytes`, they begin at 8 or 16; if that is still too
/// large there are none.
class Overview {
public:
    static constexpr std::uint32_t kCellSize = 128;
    static constexpr std::size_t kMaxBytes = std::size_t{128} << 20;

    /// Discards everything and prepares for another image, or for none. On std::bad_alloc, it is
    /// prepared for none.
    /// @param alpha  pixels keep the image's alpha; means of colours are weighted by it
    void fnReset(const CqImage* image, bool alpha = false);
    /// Whether this is prepared for an image of that size and depth.
    bool fnIsFor(const CqImage& image) const;
    /// Discards the cells that intersect a part of the image.
    void fnForget(const CRect& part);

    /// Binary logarithm of the reduction used at a zoom; 0 for none.
    unsigned fnGetShift(double zoom) const;
    /// Pixels of a cell reduced by 2 to the power of `shift`, in rows of kCellSize >> shift, as
    /// Format_RGB32; null if it isn't made yet. Owned by this.
    const std::uint32_t* fnFind(std::uint32_t column, std::uint32_t row, unsigned shift) const;
    /// Makes a cell. The image must be the one that this was prepared for. May throw
    /// std::bad_alloc.
    void fnMake(const CqImage& image, std::uint32_t column, std::uint32_t row);

private:
    template <typename Sum>
    void fnReduceCell(const CqImage& image, std::uint32_t column, std::uint32_t row,
                      std::uint32_t* cell) const;

    static constexpr unsigned kLastShift = 7;

    std::size_t fnOffset(unsigned shift) const;

    std::uint32_t m_nWidth = 0;
    std::uint32_t m_nHeight = 0;
    std::uint32_t m_nBits = 0;
    std::uint32_t m_nAcross = 0;
    unsigned m_nFirstShift = 0; ///< 0: no cells at all
    bool m_bAlpha = false;
    std::vector<std::unique_ptr<std::uint32_t[]>> m_Cells;
};

} // namespace q32::qt
