#pragma once

/// Size in pixels, bits per pixel and dots per inch of a screen.
struct CqHeadlessMode {
    int m_nWidth = 1024; ///< 1 to 32767
    int m_nHeight = 768; ///< 1 to 32767
    int m_nBits = 32;    ///< 8, 16, 24 or 32
    int m_nDpiX = 96;    ///< horizontal dots per inch
    int m_nDpiY = 96;    ///< vertical dots per inch
};
