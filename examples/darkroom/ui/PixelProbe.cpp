#include "examples/darkroom/ui/PixelProbe.h"

#include "q32Base/display/CqDisplayProperty.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <new>

namespace darkroom {

PixelProbe::PixelProbe(CqImage& image)
    : m_Image(image),
      // A QRgb is an integer with alpha in the top byte.
      m_Reader(image, std::endian::native == std::endian::little ? PIXEL_BGRA32 : PIXEL_ARGB32) {}

QRgb PixelProbe::fnRead(int x, int y) {
    const int left = x - x % kBlock;
    Block& block = m_Blocks[static_cast<std::size_t>(y + left / kBlock) % kBlocks];
    if (block.m_nLeft != left || block.m_nRow != y)
        fnFill(block, left, y);
    return block.m_Pixels[static_cast<std::size_t>(x - left)];
}

void PixelProbe::fnFill(Block& block, int left, int row) {
    const auto first = static_cast<std::uint32_t>(left);
    const std::uint32_t count = std::min<std::uint32_t>(kBlock, m_Image.Width - first);
    m_Reader.fnReadRow(first, static_cast<std::uint32_t>(row), count, block.m_Pixels.data());
    block.m_nLeft = left;
    block.m_nRow = row;
}

void fnCorrectRow(QRgb* row, int count) {
    q32GetDisplayProperty()->fnGammaCorrect(reinterpret_cast<unsigned char*>(row),
                                            static_cast<unsigned int>(count), 32);
}

QImage fnNewScreenImage(const QSize& size) {
    QImage screen(size, QImage::Format_RGB32);
    if (screen.isNull() && !size.isEmpty())
        throw std::bad_alloc();
    return screen;
}

} // namespace darkroom
