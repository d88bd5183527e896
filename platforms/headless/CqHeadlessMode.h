#pragma once

/// Size in pixels, bits per pixel and dots per inch of a screen.
struct CqHeadlessMode {
    int m_nWidth = 1024;
    int m_nHeight = 768;
    int m_nBits = 32; ///< 8, 16, 24 or 32
    int m_nDpiX = 96;
    int m_nDpiY = 96;
};
