#include "examples/darkroom/model/MeanRows.h"

#include "q32Base/framework/Exceptions.h"
#include "q32Base/image/CqImage.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace darkroom {

namespace {

/// Calls `use(i, weight)` for all pixels of an axis that lie in one of `parts` equal parts, even
/// partly.
template <typename Use>
void fnForPart(std::uint32_t length, std::uint32_t parts, std::uint32_t part, const Use& use) {
    const double from = static_cast<double>(length) * part / parts;
    const double to = static_cast<double>(length) * (part + 1.0) / parts;
    const auto end = std::min(length, static_cast<std::uint32_t>(std::ceil(to)));
    for (auto i = static_cast<std::uint32_t>(from); i < end; ++i)
        use(i, std::min(i + 1.0, to) - std::max(static_cast<double>(i), from));
}

} // namespace

MeanRows::MeanRows(const CqImage& image, std::uint32_t width, std::uint32_t height)
    : m_Image(image), m_Reader(image, PIXEL_BGRA32), m_nWidth(width), m_nHeight(height),
      m_Pixels(std::size_t{image.Width} * 4), m_Sums(std::size_t{width} * 3) {}

void MeanRows::fnMake(std::uint32_t y, std::uint32_t* out) {
    std::fill(m_Sums.begin(), m_Sums.end(), 0.0);
    fnForPart(m_Image.Height, m_nHeight, y,
              [this](std::uint32_t row, double weight) { fnAdd(row, weight); });
    const double area = static_cast<double>(m_Image.Width) / m_nWidth * m_Image.Height / m_nHeight;
    for (std::uint32_t x = 0; x < m_nWidth; ++x) {
        std::uint32_t sample = 0xFF;
        for (std::size_t i = 3; i-- > 0;)
            sample = sample << 8 |
                     static_cast<std::uint32_t>(
                         std::clamp(std::lround(m_Sums[std::size_t{x} * 3 + i] / area), 0l, 255l));
        out[x] = sample;
    }
}

void MeanRows::fnAdd(std::uint32_t row, double weight) {
    if (!m_Reader.fnReadRow(0, row, m_Image.Width, m_Pixels.data()))
        AfxThrowMemoryException(); // its scratch file lost pixels
    for (std::uint32_t x = 0; x < m_nWidth; ++x)
        fnForPart(m_Image.Width, m_nWidth, x, [&](std::uint32_t column, double part) {
            const unsigned char* const pixel = &m_Pixels[std::size_t{column} * 4];
            const double alpha = pixel[3] / 255.0;
            for (std::size_t i = 0; i < 3; ++i)
                m_Sums[std::size_t{x} * 3 + i] += weight * part * (255 + alpha * (pixel[i] - 255));
        });
}

} // namespace darkroom
