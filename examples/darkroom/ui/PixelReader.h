#pragma once

#include "q32Base/image/CqImage.h"
#include "q32Base/image/PixelAccess.h"

#include <array>
#include <QImage>
#include <QRgb>
#include <QSize>

namespace darkroom {

/// Reads single pixels of a picture of any depth; fast where they lie near to each other. The
/// picture must not change while this lives. Raises the memory exception.
class PixelReader {
public:
    explicit PixelReader(CqImage& image);

    bool fnHas(int x, int y) const {
        return x >= 0 && y >= 0 && static_cast<std::uint32_t>(x) < m_Image.Width &&
               static_cast<std::uint32_t>(y) < m_Image.Height;
    }
    /// A pixel that the picture has, without gamma. Its alpha is the picture's at 32 bits, else
    /// 255.
    QRgb fnRead(int x, int y);

private:
    static constexpr int kBlock = 16; ///< pixels of a row that are read at a time
    static constexpr int kBlocks = 128;

    struct Block {
        int m_nLeft = -1;
        int m_nRow = -1;
        std::array<QRgb, kBlock> m_Pixels;
    };

    void fnFill(Block& block, int left, int row);

    CqImage& m_Image;
    CqPixelReader m_Reader;
    std::array<Block, kBlocks> m_Blocks; ///< what was read last, by their places
};

/// Makes an image for the screen, through the library's gamma, of what `read` tells for each
/// column and row. Throws std::bad_alloc.
template <typename Read>
QImage fnMakeScreenImage(const QSize& size, Read&& read);

/// Changes a row of pixels to what the screen shows, by the library's gamma.
void fnCorrectRow(QRgb* row, int count);
/// An image in the screen's format. Throws std::bad_alloc.
QImage fnNewScreenImage(const QSize& size);

template <typename Read>
QImage fnMakeScreenImage(const QSize& size, Read&& read) {
    QImage screen = fnNewScreenImage(size);
    for (int y = 0; y < size.height(); ++y) {
        auto* const out = reinterpret_cast<QRgb*>(screen.scanLine(y));
        for (int x = 0; x < size.width(); ++x)
            out[x] = read(x, y);
        fnCorrectRow(out, size.width());
    }
    return screen;
}

} // namespace darkroom
