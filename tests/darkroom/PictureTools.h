/// @file Shared by the tests of the darkroom's documents.
#pragma once

#include "examples/darkroom/model/Document.h"
#include "q32Base/services/CqProgressDisplay.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <vector>

using Bytes = std::vector<unsigned char>;

/// All rows of a picture as stored.
inline Bytes fnBytesOf(CqImage& image) {
    Bytes bytes;
    CqImageLine line;
    for (unsigned int y = 0; y < image.Height; ++y) {
        image.fnAccessLine(y, &line, true);
        bytes.insert(bytes.end(), line.LineBuffer, line.LineBuffer + line.RowBytes);
    }
    return bytes;
}

/// Seeded noise.
/// @param palette  of 4 and 8 bits, as for CqImage::fnAlloc
inline void fnFillNoise(CqImage& image, unsigned int width, unsigned int height, unsigned int bits,
                        unsigned int seed, const RGBQUAD* palette = nullptr) {
    image.fnAlloc(width, height, bits, palette, palette ? 256 : 0);
    std::mt19937 random(seed);
    CqImageLine line;
    for (unsigned int y = 0; y < height; ++y) {
        image.fnAccessLine(y, &line, false);
        for (unsigned int i = 0; i < line.RowBytes; ++i)
            line.LineBuffer[i] = static_cast<unsigned char>(random() >> 8);
    }
}

/// Opens a picture of noise, seeded with its depth. At 8 bits it is grey.
inline void fnOpenNoise(darkroom::Document& document, unsigned int bits, unsigned int width = 300,
                        unsigned int height = 170) {
    CqImage image;
    fnFillNoise(image, width, height, bits, bits, bits == 8 ? q32GreyRamp : nullptr);
    const char* const path = "C:\\noise";
    // Only this format keeps 16 bits.
    const PICTURE_FORMAT format = bits == 16 ? PICTURE_BMP : PICTURE_PNG;
    ASSERT_TRUE(q32WritePicture(path, image, format).fnIsDone());
    ASSERT_TRUE(document.fnOpen(path, nullptr).fnIsDone());
    ASSERT_EQ(document.fnGetImage().BitCount, bits);
}

/// Selects a rectangle.
inline darkroom::Outcome fnSelect(darkroom::Document& document, const CRect& rect,
                                  darkroom::Combine how = darkroom::Combine::REPLACE) {
    const std::vector<CqPoint2D> corners = {
        {static_cast<double>(rect.left), static_cast<double>(rect.top)},
        {static_cast<double>(rect.right), static_cast<double>(rect.bottom)}};
    return document.fnSelectShape(darkroom::ShapeKind::RECTANGLE, corners, how, nullptr);
}

/// Whether a mask contains a pixel of the picture.
inline bool fnHas(CqMask& mask, int x, int y) {
    const CRect& bound = mask.m_rectBound;
    return mask.TileMap && bound.PtInRect(CPoint(x, y)) &&
           *mask.fnGetPixelAddr(x - bound.left, y - bound.top) == 255;
}

/// Aborts at the given call, counted from 1.
class AbortingProgress : public CqProgressDisplay {
public:
    explicit AbortingProgress(unsigned int abortAt)
        : CqProgressDisplay(false), m_nAbortAt(abortAt) {}
    void fnDrawStatus(unsigned int, bool* aborted) override {
        m_bAborted = ++m_nCalls >= m_nAbortAt;
        if (aborted)
            *aborted = m_bAborted;
    }
    unsigned int m_nCalls = 0;

private:
    unsigned int m_nAbortAt;
};
