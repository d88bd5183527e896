#include "platforms/qt/CanvasPixels_p.h"
#include "platforms/qt/Overview_p.h"
#include "q32Base/image/CqImage.h"
#include "q32Base/image/PixelAccess.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace q32::qt {

namespace {

/// Sums of up to 256 pixels, two 8-bit channels in each field.
struct Sum {
    std::uint32_t m_nRedBlue = 0;
    std::uint32_t m_nGreen = 0;

    void fnAdd(std::uint32_t pixel) {
        m_nRedBlue += pixel & 0x00FF00FFu;
        m_nGreen += pixel >> 8 & 0xFFu;
    }
    std::uint32_t fnGetMean(std::uint32_t count) const {
        const std::uint32_t half = count / 2;
        return kOpaque | ((m_nRedBlue >> 16) + half) / count << 16 |
               (m_nGreen + half) / count << 8 | ((m_nRedBlue & 0xFFFFu) + half) / count;
    }
};

/// Sums of up to 256 pixels with alpha in their top byte; colours are weighted by it.
struct AlphaSum {
    std::uint32_t m_nRed = 0;
    std::uint32_t m_nGreen = 0;
    std::uint32_t m_nBlue = 0;
    std::uint32_t m_nAlpha = 0;

    void fnAdd(std::uint32_t pixel) {
        const std::uint32_t alpha = pixel >> 24;
        m_nRed += (pixel >> 16 & 0xFFu) * alpha;
        m_nGreen += (pixel >> 8 & 0xFFu) * alpha;
        m_nBlue += (pixel & 0xFFu) * alpha;
        m_nAlpha += alpha;
    }
    std::uint32_t fnGetMean(std::uint32_t count) const {
        if (m_nAlpha == 0)
            return 0;
        const auto divide = [this](std::uint32_t sum) { return (sum + m_nAlpha / 2) / m_nAlpha; };
        return (m_nAlpha + count / 2) / count << 24 | divide(m_nRed) << 16 | divide(m_nGreen) << 8 |
               divide(m_nBlue);
    }
};

std::uint32_t fnDivideUp(std::uint32_t value, unsigned shift) {
    return (value + (1u << shift) - 1) >> shift;
}

/// Reduces `height` rows of `width` pixels by the same power of two in both directions.
/// @param fetch  returns the row of a number below `height`
template <typename Sum, typename Fetch>
void fnReduce(std::uint32_t width, std::uint32_t height, unsigned shift, std::size_t stride,
              std::uint32_t* out, Fetch fetch) {
    std::array<Sum, Overview::kCellSize> sums;
    const std::uint32_t block = 1u << shift;
    for (std::uint32_t top = 0; top < height; top += block, out += stride) {
        const std::uint32_t rows = std::min(block, height - top);
        sums.fill(Sum());
        for (std::uint32_t y = top; y < top + rows; ++y) {
            const std::uint32_t* row = fetch(y);
            for (std::uint32_t x = 0; x < width; ++x)
                sums[x >> shift].fnAdd(row[x]);
        }
        for (std::uint32_t i = 0; i < fnDivideUp(width, shift); ++i)
            out[i] = sums[i].fnGetMean(rows * std::min(block, width - (i << shift)));
    }
}

} // namespace

std::size_t Overview::fnOffset(unsigned shift) const {
    std::size_t offset = 0;
    for (unsigned i = m_nFirstShift; i < shift; ++i)
        offset += std::size_t{kCellSize >> i} * (kCellSize >> i);
    return offset;
}

void Overview::fnReset(const CqImage* image, bool alpha) {
    constexpr unsigned kMinShift = 2;
    constexpr unsigned kMaxShift = 4; // limit of the sums
    m_Cells.clear();
    m_nFirstShift = 0;
    m_bAlpha = alpha;
    m_nWidth = image ? image->Width : 0;
    m_nHeight = image ? image->Height : 0;
    m_nBits = image ? image->BitCount : 0;
    m_nAcross = (m_nWidth + kCellSize - 1) / kCellSize;
    const std::size_t count = std::size_t{m_nAcross} * ((m_nHeight + kCellSize - 1) / kCellSize);
    for (m_nFirstShift = kMinShift; m_nFirstShift <= kMaxShift; ++m_nFirstShift)
        if (count * (fnOffset(kLastShift + 1) * 4) <= kMaxBytes) {
            m_Cells.resize(count);
            return;
        }
    m_nFirstShift = 0;
}

bool Overview::fnIsFor(const CqImage& image) const {
    return image.Width == m_nWidth && image.Height == m_nHeight && image.BitCount == m_nBits;
}

void Overview::fnForget(const CRect& part) {
    CRect cut;
    const CRect whole(0, 0, static_cast<LONG>(m_nWidth), static_cast<LONG>(m_nHeight));
    if (m_Cells.empty() || !cut.IntersectRect(part, whole))
        return;
    constexpr auto kSize = static_cast<LONG>(kCellSize);
    for (LONG row = cut.top / kSize; row <= (cut.bottom - 1) / kSize; ++row)
        for (LONG column = cut.left / kSize; column <= (cut.right - 1) / kSize; ++column)
            m_Cells[static_cast<std::size_t>(row) * m_nAcross + static_cast<std::size_t>(column)]
                .reset();
}

unsigned Overview::fnGetShift(double zoom) const {
    if (m_Cells.empty())
        return 0;
    const double shift = std::floor(std::log2(1 / zoom) + 1e-9);
    return shift < m_nFirstShift ? 0 : static_cast<unsigned>(std::min<double>(shift, kLastShift));
}

const std::uint32_t* Overview::fnFind(std::uint32_t column, std::uint32_t row,
                                      unsigned shift) const {
    const std::uint32_t* cell = m_Cells[std::size_t{row} * m_nAcross + column].get();
    return cell ? cell + fnOffset(shift) : nullptr;
}

template <typename Sum>
void Overview::fnReduceCell(const CqImage& image, std::uint32_t column, std::uint32_t row,
                            std::uint32_t* cell) const {
    const CqPixelReader reader(image, m_bAlpha ? kAlphaOrder : kCanvasOrder);
    std::array<std::uint32_t, kCellSize> pixels{};
    std::uint32_t width = std::min(kCellSize, m_nWidth - column * kCellSize);
    std::uint32_t height = std::min(kCellSize, m_nHeight - row * kCellSize);

    fnReduce<Sum>(
        width, height, m_nFirstShift, kCellSize >> m_nFirstShift, cell, [&](std::uint32_t y) {
            reader.fnReadRow(column * kCellSize, row * kCellSize + y, width, pixels.data());
            return pixels.data();
        });
    std::uint32_t* from = cell;
    width = fnDivideUp(width, m_nFirstShift);
    height = fnDivideUp(height, m_nFirstShift);
    for (unsigned shift = m_nFirstShift; shift < kLastShift; ++shift) {
        const std::size_t stride = kCellSize >> shift;
        std::uint32_t* to = from + stride * stride;
        fnReduce<Sum>(width, height, 1, stride / 2, to,
                      [&](std::uint32_t y) { return from + y * stride; });
        from = to;
        width = fnDivideUp(width, 1);
        height = fnDivideUp(height, 1);
    }
}

void Overview::fnMake(const CqImage& image, std::uint32_t column, std::uint32_t row) {
    std::unique_ptr<std::uint32_t[]> cell(new std::uint32_t[fnOffset(kLastShift + 1)]);
    if (m_bAlpha)
        fnReduceCell<AlphaSum>(image, column, row, cell.get());
    else
        fnReduceCell<Sum>(image, column, row, cell.get());
    m_Cells[std::size_t{row} * m_nAcross + column] = std::move(cell);
}

} // namespace q32::qt
