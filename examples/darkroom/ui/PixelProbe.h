#pragma once

#include "q32Base/image/CqImage.h"
#include "q32Base/image/PixelAccess.h"

#include <array>
#include <QImage>
#include <QRgb>
#include <QSize>

namespace darkroom {

/// Reads single pixels of a picture of any depth; fast where they lie close together. The picture
/// must not change during the reader's lifetime. Raises the memory exception.
class PixelProbe {
public:
    explicit PixelProbe(CqImage& image);

    bool fnHas(int x, int y) const {
        return x >= 0 && y >= 0 && static_cast<std::uint32_t>(x) < m_Image.Width &&
               static_cast<std::uint32_t>(y) < m_Image.Height;
    }
    /// A pixel inside the picture, without gamma. Its alpha is the picture's at 32 bits, otherwise
    /// 255.
    QRgb fnRead(int x, int y);

private:
    static constexpr int kBlock = 16; ///< pixels of a row that are read at once
    static constexpr int kBlocks = 128;

    struct Block {
        int m_nLeft = -1;
        int m_nRow = -1;
        std::array<QRgb, kBlock> m_Pixels;
    };

    void fnFill(Block& block, int left, int row);

    CqImage& m_Image;
    CqPixelReader m_Reader;
    std::array<Block, kBlocks> m_Blocks; ///< the blocks read last, indexed by position
};

/// Makes a screen image, with the library's gamma, from what `read` returns for each column and
/// row. Throws std::bad_alloc.
/// @param finish  changes each row before the gamma: void(QRgb* row, int y)
template <typename Read, typename Finish>
QImage fnMakeScreenImage(const QSize& size, Read&& read, Finish&& finish);

/// Applies the library's gamma to a row of pixels.
void fnCorrectRow(QRgb* row, int count);
/// An image in the screen's format. Throws std::bad_alloc.
QImage fnNewScreenImage(const QSize& size);

template <typename Read, typename Finish>
QImage fnMakeScreenImage(const QSize& size, Read&& read, Finish&& finish) {
    QImage screen = fnNewScreenImage(size);
    for (int y = 0; y < size.height(); ++y) {
        auto* const out = reinterpret_cast<QRgb*>(screen.scanLine(y));
        for (int x = 0; x < size.width(); ++x)
            out[x] = read(x, y);
        finish(out, y);
        fnCorrectRow(out, size.width());
    }
    return screen;
}

} // namespace darkroom
