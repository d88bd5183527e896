#include "tests/plugins/CodecFiles.h"

#include <jpeglib.h>
#include <png.h>
#include <tiffio.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

void fnAppend(png_structp png, png_bytep bytes, std::size_t count) {
    auto& file = *static_cast<Bytes*>(png_get_io_ptr(png));
    file.insert(file.end(), bytes, bytes + count);
}

int fnSamples(int colorType) {
    return colorType == 2 ? 3 : colorType == 4 ? 2 : colorType == 6 ? 4 : 1;
}

/// A file in memory for libtiff.
struct MemoryFile {
    Bytes m_Bytes;
    std::size_t m_nAt = 0;
};

MemoryFile& fnFile(thandle_t handle) {
    return *static_cast<MemoryFile*>(handle);
}

tmsize_t fnReadMemory(thandle_t handle, void* out, tmsize_t count) {
    MemoryFile& file = fnFile(handle);
    const std::size_t rest = file.m_Bytes.size() - std::min(file.m_nAt, file.m_Bytes.size());
    const std::size_t done = std::min(static_cast<std::size_t>(count), rest);
    std::copy_n(file.m_Bytes.begin() + static_cast<std::ptrdiff_t>(file.m_nAt), done,
                static_cast<std::uint8_t*>(out));
    file.m_nAt += done;
    return static_cast<tmsize_t>(done);
}

tmsize_t fnWriteMemory(thandle_t handle, void* bytes, tmsize_t count) {
    MemoryFile& file = fnFile(handle);
    const auto size = static_cast<std::size_t>(count);
    file.m_Bytes.resize(std::max(file.m_Bytes.size(), file.m_nAt + size));
    std::copy_n(static_cast<std::uint8_t*>(bytes), size,
                file.m_Bytes.begin() + static_cast<std::ptrdiff_t>(file.m_nAt));
    file.m_nAt += size;
    return count;
}

toff_t fnSeekMemory(thandle_t handle, toff_t offset, int whence) {
    MemoryFile& file = fnFile(handle);
    file.m_nAt = static_cast<std::size_t>(offset) + (whence == SEEK_CUR   ? file.m_nAt
                                                     : whence == SEEK_END ? file.m_Bytes.size()
                                                                          : 0);
    return file.m_nAt;
}

} // namespace

std::size_t fnPngRowBytes(const TestPng& png) {
    return (std::size_t{png.m_nWidth} *
                static_cast<unsigned int>(fnSamples(png.m_nColorType) * png.m_nDepth) +
            7) /
           8;
}

Bytes TestPng::fnMake() const {
    Bytes file;
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    png_set_write_fn(png, &file, fnAppend, nullptr);
    png_set_IHDR(png, info, m_nWidth, m_nHeight, m_nDepth, m_nColorType,
                 m_bInterlaced ? PNG_INTERLACE_ADAM7 : PNG_INTERLACE_NONE, 0, 0);
    std::vector<png_color> colors;
    for (const RGBQUAD& color : m_Palette)
        colors.push_back({color.rgbRed, color.rgbGreen, color.rgbBlue});
    if (!colors.empty())
        png_set_PLTE(png, info, colors.data(), static_cast<int>(colors.size()));
    png_color_16 clear = {};
    if (m_ClearGrey.size() == 1)
        clear.gray = m_ClearGrey[0];
    if (m_ClearGrey.size() == 3) {
        clear.red = m_ClearGrey[0];
        clear.green = m_ClearGrey[1];
        clear.blue = m_ClearGrey[2];
    }
    if (!m_Transparent.empty() || !m_ClearGrey.empty())
        png_set_tRNS(png, info, const_cast<png_bytep>(m_Transparent.data()),
                     static_cast<int>(m_Transparent.size()), &clear);
    if (m_nDotsX != 0)
        png_set_pHYs(png, info, m_nDotsX, m_nDotsY, m_nUnit);
    png_text text = {};
    text.compression = PNG_TEXT_COMPRESSION_NONE;
    text.key = const_cast<char*>("Title");
    text.text = const_cast<char*>(m_Title.c_str());
    if (!m_Title.empty() && !m_bTitleBehind)
        png_set_text(png, info, &text, 1);
    if (m_MoreChunks)
        m_MoreChunks(png, info);
    png_write_info(png, info);
    const std::size_t rowBytes = fnPngRowBytes(*this);
    std::vector<png_bytep> rows;
    for (std::uint32_t y = 0; y < m_nHeight; ++y)
        rows.push_back(const_cast<png_bytep>(m_Rows.data()) + y * rowBytes);
    png_write_image(png, rows.data());
    if (!m_Title.empty() && m_bTitleBehind)
        png_set_text(png, info, &text, 1);
    png_write_end(png, info);
    png_destroy_write_struct(&png, &info);
    return file;
}

Bytes TestTiff::fnMake() const {
    MemoryFile memory;
    TIFF* tiff = TIFFClientOpen(
        "test", m_bBigEndian ? "wb" : "wl", &memory, fnReadMemory, fnWriteMemory, fnSeekMemory,
        [](thandle_t) { return 0; },
        [](thandle_t handle) -> toff_t { return fnFile(handle).m_Bytes.size(); }, nullptr, nullptr);
    for (int page = 0; page < m_nPages; ++page) {
        fnWritePage(tiff);
        TIFFWriteDirectory(tiff);
    }
    TIFFClose(tiff);
    return memory.m_Bytes;
}

void TestTiff::fnWritePage(TIFF* tiff) const {
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, m_nWidth);
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, m_nHeight);
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, m_nBits);
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, m_nSamples);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, m_nPhotometric);
    TIFFSetField(tiff, TIFFTAG_COMPRESSION, m_nCompression);
    TIFFSetField(tiff, TIFFTAG_PLANARCONFIG,
                 m_bSeparate ? PLANARCONFIG_SEPARATE : PLANARCONFIG_CONTIG);
    if (!m_Extra.empty())
        TIFFSetField(tiff, TIFFTAG_EXTRASAMPLES, static_cast<int>(m_Extra.size()), m_Extra.data());
    if (m_nTileWidth != 0) {
        TIFFSetField(tiff, TIFFTAG_TILEWIDTH, m_nTileWidth);
        TIFFSetField(tiff, TIFFTAG_TILELENGTH, m_nTileHeight);
    } else {
        TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, m_nRowsPerStrip);
    }
    if (m_MoreTags)
        m_MoreTags(tiff);
    for (std::uint32_t i = 0; i < m_Coded.size(); ++i) {
        Bytes coded = m_Coded[i];
        const auto size = static_cast<tmsize_t>(coded.size());
        m_nTileWidth != 0 ? TIFFWriteRawTile(tiff, i, coded.data(), size)
                          : TIFFWriteRawStrip(tiff, i, coded.data(), size);
    }
    if (!m_Coded.empty())
        return;

    const int planes = m_bSeparate ? m_nSamples : 1;
    const auto bits = static_cast<unsigned int>(m_nBits * (m_bSeparate ? 1 : m_nSamples));
    const std::size_t rowBytes = (std::size_t{m_nWidth} * bits + 7) / 8;
    for (int plane = 0; plane < planes; ++plane) {
        const std::uint8_t* rows =
            m_Samples.data() + static_cast<unsigned int>(plane) * rowBytes * m_nHeight;
        if (m_nTileWidth == 0) {
            for (std::uint32_t y = 0; y < m_nHeight; ++y) {
                Bytes row(rows + y * rowBytes, rows + (y + 1) * rowBytes);
                TIFFWriteScanline(tiff, row.data(), y, static_cast<std::uint16_t>(plane));
            }
            continue;
        }
        const std::size_t tileRow = std::size_t{m_nTileWidth} * bits / 8;
        for (std::uint32_t top = 0; top < m_nHeight; top += m_nTileHeight) {
            for (std::uint32_t left = 0; left < m_nWidth; left += m_nTileWidth) {
                Bytes tile(tileRow * m_nTileHeight);
                const std::size_t from = std::size_t{left} * bits / 8;
                for (std::uint32_t y = top; y < std::min(top + m_nTileHeight, m_nHeight); ++y)
                    std::copy_n(rows + y * rowBytes + from, std::min(tileRow, rowBytes - from),
                                tile.data() + (y - top) * tileRow);
                TIFFWriteTile(tiff, tile.data(), left, top, 0, static_cast<std::uint16_t>(plane));
            }
        }
    }
}

Bytes TestJpeg::fnMake() const {
    jpeg_compress_struct jpeg = {};
    jpeg_error_mgr errors = {};
    jpeg.err = jpeg_std_error(&errors);
    jpeg_create_compress(&jpeg);
    unsigned char* block = nullptr;
    unsigned long size = 0;
    jpeg_mem_dest(&jpeg, &block, &size);
    jpeg.image_width = m_nWidth;
    jpeg.image_height = m_nHeight;
    jpeg.input_components = m_nComponents;
    jpeg.in_color_space = m_nComponents == 1   ? JCS_GRAYSCALE
                          : m_nComponents == 3 ? JCS_RGB
                                               : JCS_CMYK;
    jpeg_set_defaults(&jpeg);
    if (m_bYcck)
        jpeg_set_colorspace(&jpeg, JCS_YCCK);
    jpeg.write_Adobe_marker = m_nComponents == 4 && m_bAdobe;
    jpeg_set_quality(&jpeg, m_nQuality, TRUE);
    jpeg.density_unit = static_cast<UINT8>(m_nUnit);
    jpeg.X_density = jpeg.Y_density = static_cast<UINT16>(m_nDensity);
    if (m_bProgressive)
        jpeg_simple_progression(&jpeg);
    // The average, the upper bits of the 63 others one by one, then their lower three bits.
    std::vector<jpeg_scan_info> scans = {{1, {0}, 0, 0, 0, 0}};
    for (int low = 3; low >= 0; --low)
        for (int k = 1; k <= 63; ++k)
            scans.push_back({1, {0}, k, k, low == 3 ? 0 : low + 1, low});
    if (m_nScans > 0) {
        jpeg.scan_info = scans.data();
        jpeg.num_scans = m_nScans;
    }
    const std::vector<jpeg_scan_info> apart = {
        {1, {0}, 0, 63, 0, 0}, {1, {1}, 0, 63, 0, 0}, {1, {2}, 0, 63, 0, 0}};
    if (m_bApart) {
        jpeg.scan_info = apart.data();
        jpeg.num_scans = m_nComponents;
    }
    jpeg.arith_code = m_bArithmetic;
    jpeg_start_compress(&jpeg, TRUE);
    const std::size_t rowBytes = std::size_t{m_nWidth} * static_cast<unsigned int>(m_nComponents);
    while (jpeg.next_scanline < m_nHeight) {
        JSAMPROW row = const_cast<JSAMPROW>(m_Samples.data()) + jpeg.next_scanline * rowBytes;
        jpeg_write_scanlines(&jpeg, &row, 1);
    }
    jpeg_finish_compress(&jpeg);
    jpeg_destroy_compress(&jpeg);
    Bytes file(block, block + size);
    std::free(block);
    return file;
}
