#include "tests/plugins/DividedPictures.h"

#include "tests/plugins/CodecFiles.h"

#include <tiffio.h>

#include <random>
#include <tuple>
#include <utility>

namespace {

constexpr std::uint32_t kWidth = 45;
constexpr std::uint32_t kHeight = 38;

/// Runs and noise, so that every coding has something to do.
Bytes fnMakeSamples(std::size_t count, unsigned int seed) {
    std::mt19937 random(seed);
    Bytes samples(count);
    std::uint8_t value = 0;
    for (std::uint8_t& sample : samples) {
        if (random() % 3 == 0)
            value = static_cast<std::uint8_t>(random());
        sample = value;
    }
    return samples;
}

TestPng fnMakePng(int type, int depth, std::size_t samples) {
    TestPng png;
    png.m_nWidth = kWidth;
    png.m_nHeight = kHeight;
    png.m_nColorType = type;
    png.m_nDepth = depth;
    png.m_Rows =
        fnMakeSamples((kWidth * samples * static_cast<unsigned int>(depth) + 7) / 8 * kHeight, 3);
    if (type == 3)
        png.m_Palette.assign(std::size_t{1} << depth, RGBQUAD{1, 2, 3, 0});
    return png;
}

TestTiff fnMakeTiff(int photometric, int samples, int bits, int compression) {
    TestTiff tiff;
    tiff.m_nWidth = kWidth;
    tiff.m_nHeight = kHeight;
    tiff.m_nPhotometric = photometric;
    tiff.m_nSamples = samples;
    tiff.m_nBits = bits;
    tiff.m_nCompression = compression;
    const std::size_t count = static_cast<unsigned int>(samples) *
                              ((kWidth * static_cast<unsigned int>(bits) + 7) / 8) * kHeight;
    tiff.m_Samples = fnMakeSamples(count + kHeight, 5);
    return tiff;
}

TestJpeg fnMakeJpeg(int components, bool progressive) {
    TestJpeg jpeg;
    jpeg.m_nWidth = kWidth;
    jpeg.m_nHeight = kHeight;
    jpeg.m_nComponents = components;
    jpeg.m_bProgressive = progressive;
    jpeg.m_Samples =
        fnMakeSamples(std::size_t{kWidth} * kHeight * static_cast<unsigned int>(components), 7);
    return jpeg;
}

/// Changes the tile width of a little-endian file: libtiff reads widths that it doesn't write.
void fnSetTileWidth(Bytes& file, std::uint8_t width) {
    const auto number = [&](std::size_t at, std::size_t bytes) {
        std::size_t value = 0;
        for (std::size_t i = 0; i < bytes; ++i)
            value |= std::size_t{file.at(at + i)} << 8 * i;
        return value;
    };
    const std::size_t directory = number(4, 4);
    for (std::size_t i = 0; i < number(directory, 2); ++i) {
        const std::size_t tag = directory + 2 + 12 * i;
        if (number(tag, 2) == TIFFTAG_TILEWIDTH)
            file.at(tag + 8) = width;
    }
}

/// At most 4 bits make images that have two pixels in a byte.
void fnAddPalettes(std::vector<DividedFile>& files) {
    for (const int bits : {1, 4, 8}) {
        const std::string name = "TIFF palette of " + std::to_string(bits) + " bits, ";
        TestTiff tiff = fnMakeTiff(PHOTOMETRIC_PALETTE, 1, bits, COMPRESSION_LZW);
        tiff.m_MoreTags = [bits](void* file) {
            std::vector<std::uint16_t> channel(std::size_t{1} << bits);
            for (std::size_t i = 0; i < channel.size(); ++i)
                channel[i] = static_cast<std::uint16_t>(i * 257);
            TIFFSetField(static_cast<TIFF*>(file), TIFFTAG_COLORMAP, channel.data(), channel.data(),
                         channel.data());
        };
        files.push_back({name + "strips", tiff.fnMake()});
        tiff.m_nTileWidth = tiff.m_nTileHeight = 16;
        files.push_back({name + "tiles", tiff.fnMake()});
        // As many tiles, which have the same length at up to 4 bits.
        Bytes odd = tiff.fnMake();
        fnSetTileWidth(odd, 15);
        files.push_back({name + "tiles of odd width", odd, bits <= 4});
    }
}

void fnAddTiffs(std::vector<DividedFile>& files) {
    const auto add = [&](std::string name, const TestTiff& tiff, bool alone = false) {
        files.push_back({"TIFF " + std::move(name), tiff.fnMake(), alone});
    };
    for (const int compression : {COMPRESSION_NONE, COMPRESSION_LZW, COMPRESSION_ADOBE_DEFLATE,
                                  COMPRESSION_PACKBITS, COMPRESSION_JPEG}) {
        const std::string name = std::to_string(compression);
        TestTiff tiff = fnMakeTiff(PHOTOMETRIC_RGB, 3, 8, compression);
        for (const std::uint32_t rows : {1u, 3u, 8u, 37u, 38u}) {
            tiff.m_nRowsPerStrip = rows == 3 && compression == COMPRESSION_JPEG ? 16 : rows;
            if (compression != COMPRESSION_JPEG || rows == 3 || rows == 8)
                add(name + ", strips of " + std::to_string(rows), tiff,
                    compression == COMPRESSION_NONE);
        }
        tiff.m_nTileWidth = tiff.m_nTileHeight = 16;
        add(name + ", tiles", tiff,
            compression == COMPRESSION_JPEG || compression == COMPRESSION_NONE);
        tiff.m_bSeparate = true;
        add(name + ", tiles of planes", tiff, true);
        tiff.m_nTileWidth = 0;
        if (compression != COMPRESSION_JPEG)
            add(name + ", planes", tiff);
    }
    const auto predict = [](void* file) {
        TIFFSetField(static_cast<TIFF*>(file), TIFFTAG_PREDICTOR, PREDICTOR_HORIZONTAL);
    };
    for (const bool bigEndian : {false, true}) {
        TestTiff deep = fnMakeTiff(PHOTOMETRIC_RGB, 3, 16, COMPRESSION_LZW);
        deep.m_bBigEndian = bigEndian;
        deep.m_MoreTags = predict;
        add(bigEndian ? "16 bits, high byte first" : "16 bits", deep);
    }
    TestTiff grey = fnMakeTiff(PHOTOMETRIC_MINISWHITE, 1, 1, COMPRESSION_PACKBITS);
    grey.m_MoreTags = [](void* file) {
        TIFFSetField(static_cast<TIFF*>(file), TIFFTAG_FILLORDER, FILLORDER_LSB2MSB);
    };
    add("of reversed bits", grey);
    TestTiff alpha = fnMakeTiff(PHOTOMETRIC_RGB, 4, 8, COMPRESSION_ADOBE_DEFLATE);
    alpha.m_Extra = {EXTRASAMPLE_ASSOCALPHA};
    alpha.m_MoreTags = predict;
    add("with alpha", alpha);
    alpha.m_nCompression = COMPRESSION_NONE;
    alpha.m_MoreTags = nullptr;
    add("with alpha, not compressed", alpha);
    add("of inks", fnMakeTiff(PHOTOMETRIC_SEPARATED, 4, 8, COMPRESSION_LZW));
    add("of fax", fnMakeTiff(PHOTOMETRIC_MINISWHITE, 1, 1, COMPRESSION_CCITTFAX4), true);
    add("of chroma", fnMakeTiff(PHOTOMETRIC_CIELAB, 3, 8, COMPRESSION_LZW), true);
}

} // namespace

std::vector<DividedFile> fnMakeDividedFiles() {
    std::vector<DividedFile> files;
    for (const auto& [name, type, depth, samples] : {std::tuple{"grey", 0, 8, 1u},
                                                     {"grey, 1 bit", 0, 1, 1u},
                                                     {"colour", 2, 8, 3u},
                                                     {"16 bits", 2, 16, 3u},
                                                     {"palette", 3, 4, 1u},
                                                     {"alpha", 6, 8, 4u}})
        files.push_back({std::string("PNG ") + name, fnMakePng(type, depth, samples).fnMake()});
    TestPng passes = fnMakePng(2, 8, 3);
    passes.m_bInterlaced = true;
    files.push_back({"PNG in passes", passes.fnMake(), true});
    for (const int components : {1, 3, 4})
        for (const bool progressive : {false, true})
            files.push_back({"JPEG of " + std::to_string(components),
                             fnMakeJpeg(components, progressive).fnMake()});
    fnAddTiffs(files);
    fnAddPalettes(files);
    return files;
}

std::vector<DividedWrite> fnGetDividedWrites() {
    std::vector<DividedWrite> writes;
    for (const unsigned int bits : {4u, 8u, 16u, 24u, 32u}) {
        for (const PICTURE_FORMAT format : {PICTURE_PNG, PICTURE_JPEG, PICTURE_BMP})
            writes.push_back({format, PICTURE_LZW, bits});
        for (const PICTURE_COMPRESSION compression :
             {PICTURE_LZW, PICTURE_DEFLATE, PICTURE_UNCOMPRESSED})
            writes.push_back({PICTURE_TIFF, compression, bits});
    }
    return writes;
}
