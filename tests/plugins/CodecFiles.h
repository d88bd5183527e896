/// @file
/// Files made directly by the codec libraries, for the kinds that the library itself never writes.
#pragma once

#include "tests/plugins/PictureTest.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

struct tiff;

/// A PNG as libpng writes it. Samples are in PNG's layout, with packed rows.
struct TestPng {
    std::uint32_t m_nWidth = 1;
    std::uint32_t m_nHeight = 1;
    int m_nDepth = 8;
    int m_nColorType = 2;
    bool m_bInterlaced = false;
    Bytes m_Rows;
    std::vector<RGBQUAD> m_Palette;
    Bytes m_Transparent;                    ///< alpha of palette entries
    std::vector<std::uint16_t> m_ClearGrey; ///< the clear value: one of grey, or three of colour
    std::uint32_t m_nDotsX = 0;
    std::uint32_t m_nDotsY = 0;
    int m_nUnit = 1;
    std::string m_Title;
    bool m_bTitleBehind = false;                    ///< after the pixels
    std::function<void(void*, void*)> m_MoreChunks; ///< gets the png_struct* and the png_info*

    Bytes fnMake() const;
};
std::size_t fnPngRowBytes(const TestPng& png);

/// A TIFF as libtiff writes it, from tags and raw strips or tiles.
struct TestTiff {
    std::uint32_t m_nWidth = 1;
    std::uint32_t m_nHeight = 1;
    int m_nBits = 8;
    int m_nSamples = 1;
    int m_nPhotometric = 1;
    int m_nCompression = 1;
    bool m_bSeparate = false;
    std::uint32_t m_nTileWidth = 0; ///< 0: strips
    std::uint32_t m_nTileHeight = 0;
    std::uint32_t m_nRowsPerStrip = 3;
    std::vector<std::uint16_t> m_Extra;
    bool m_bBigEndian = false;
    std::function<void(void*)> m_MoreTags; ///< gets the TIFF*
    int m_nPages = 1;                      ///< all alike
    Bytes m_Samples;            ///< rows of the picture (plane by plane), each padded to full bytes
    std::vector<Bytes> m_Coded; ///< instead of samples: the strips or tiles as they are stored

    Bytes fnMake() const;

private:
    void fnWritePage(tiff* file) const;
};

/// A JPEG as libjpeg writes it.
struct TestJpeg {
    std::uint32_t m_nWidth = 8;
    std::uint32_t m_nHeight = 8;
    int m_nComponents = 3; ///< 1 grey, 3 colour, 4 inks
    bool m_bProgressive = false;
    bool m_bApart = false; ///< each component in a scan of its own
    int m_nScans = 0; ///< grey: above 0, so many scans of one coefficient or bit each, up to 253
    bool m_bArithmetic = false;
    bool m_bAdobe = true; ///< inks: with the marker, which makes 255 no ink
    bool m_bYcck = false;
    int m_nQuality = 95;
    int m_nUnit = 0;
    int m_nDensity = 1;
    Bytes m_Samples;

    Bytes fnMake() const;
};
