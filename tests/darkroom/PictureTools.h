/// @file
/// What the tests of the darkroom's documents share.
#pragma once

#include "examples/darkroom/model/Document.h"
#include "q32Base/services/CqProgressDisplay.h"

#include <cstdint>
#include <random>
#include <vector>

using Bytes = std::vector<unsigned char>;

/// All rows of a picture as they are stored.
inline Bytes fnBytesOf(CqImage& image) {
    Bytes bytes;
    CqImageLine line;
    for (unsigned int y = 0; y < image.Height; ++y) {
        image.fnAccessLine(y, &line, true);
        bytes.insert(bytes.end(), line.LineBuffer, line.LineBuffer + line.RowBytes);
    }
    return bytes;
}

/// Seeded noise; palettes are the default ones.
inline void fnFillNoise(CqImage& image, unsigned int width, unsigned int height, unsigned int bits,
                        unsigned int seed) {
    image.fnAlloc(width, height, bits, nullptr, 0);
    std::mt19937 random(seed);
    CqImageLine line;
    for (unsigned int y = 0; y < height; ++y) {
        image.fnAccessLine(y, &line, false);
        for (unsigned int i = 0; i < line.RowBytes; ++i)
            line.LineBuffer[i] = static_cast<unsigned char>(random() >> 8);
    }
}

/// Aborts at one of its calls, counted from 1.
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
