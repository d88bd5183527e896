#include "platforms/headless/headless.h"
#include "plugins/PictureFile.h"
#include "q32Base/image/CqImage.h"
#include "tests/checksums/Checksum.h"
#include "tests/display/DisplayWorld.h"
#include "tests/plugins/CodecFiles.h"

#include <tiffio.h>

namespace {

constexpr char kPath[] = "C:\\Temp\\picture";

void fnPut(CqHeadlessWorld& world, const Bytes& file) {
    world.m_pDisks->fnPutFile(kPath, {reinterpret_cast<const char*>(file.data()), file.size()});
}

Bytes fnMakeBytes(std::size_t count, Random& random) {
    Bytes bytes(count);
    for (std::uint8_t& byte : bytes)
        byte = static_cast<std::uint8_t>(random());
    return bytes;
}

/// Reads the file.
/// @param box  of a picture that may be reduced; 0: as it is
void fnRead(const std::string& name, std::uint32_t box = 0) {
    CqImage image;
    CqPictureLimits limits;
    limits.m_nFitWidth = limits.m_nFitHeight = box;
    const CqPictureResult result = q32ReadPicture(kPath, image, limits);
    if (!result.fnIsDone()) {
        fnReport(name);
        return;
    }
    Checksum sum;
    sum.fnAdd(image);
    sum.fnAdd(result.m_nParts);
    sum.fnAdd(result.m_nReduction);
    sum.fnAdd(image.DpiX);
    sum.fnAdd(image.DpiY);
    sum.fnPrint("read-" + name);
}

/// Writes an image of noise with any options, and reads the file.
void fnWriteAndRead(CqHeadlessWorld& world, PICTURE_FORMAT format, unsigned bits, const Size& size,
                    std::uint32_t seed) {
    constexpr const char* kNames[] = {"", "png", "jpeg", "tiff", "bmp"};
    const std::string name = fnName(kNames[format], bits, size, seed);
    Random random = fnRandom(bits, size, seed);
    CqImage image(size.m_nWidth, size.m_nHeight, bits);
    fnFillNoise(image, random());
    image.DpiX = fnBetween(random, 1, 1200);
    image.DpiY = fnBetween(random, 1, 1200);
    CqPictureOptions options;
    options.m_nQuality = 1 + random() % 100;
    options.m_nPngEffort = random() % 10;
    options.m_eTiffCompression = static_cast<PICTURE_COMPRESSION>(random() % 3);
    if (!q32WritePicture(kPath, image, format, options).fnIsDone())
        fnReport(name);
    const std::string file = world.m_pDisks->fnGetFile(kPath).value_or("");
    Checksum sum;
    sum.fnAdd(file.data(), file.size());
    // By which library libtiff deflates depends on how it was built.
    if (format != PICTURE_TIFF || options.m_eTiffCompression != PICTURE_DEFLATE)
        sum.fnPrint("write-" + name);
    fnRead(name);
}

void fnReadPng(CqHeadlessWorld& world, int type, int depth, bool interlaced) {
    TestPng png;
    png.m_nWidth = 131;
    png.m_nHeight = 66;
    png.m_nColorType = type;
    png.m_nDepth = depth;
    png.m_bInterlaced = interlaced;
    Random random(static_cast<std::uint32_t>(type * 100 + depth));
    png.m_Rows = fnMakeBytes(fnPngRowBytes(png) * png.m_nHeight, random);
    for (int i = 0; type == 3 && i < 1 << depth; ++i) {
        const Bytes color = fnMakeBytes(3, random);
        png.m_Palette.push_back({color[0], color[1], color[2], 0});
    }
    fnPut(world, png.fnMake());
    fnRead("png/" + std::to_string(type) + '/' + std::to_string(depth) +
           (interlaced ? "/interlaced" : ""));
}

void fnReadPngs(CqHeadlessWorld& world) {
    struct Kind {
        int m_nType;
        std::vector<int> m_Depths;
    };
    const Kind kKinds[] = {
        {0, {1, 2, 4, 8, 16}}, {2, {8, 16}}, {3, {1, 2, 4, 8}}, {4, {8, 16}}, {6, {8, 16}}};
    for (const Kind& kind : kKinds)
        for (const int depth : kind.m_Depths)
            for (const bool interlaced : {false, true})
                fnReadPng(world, kind.m_nType, depth, interlaced);
}

void fnReadJpegs(CqHeadlessWorld& world) {
    for (const int components : {1, 3, 4})
        for (const bool progressive : {false, true})
            for (const int quality : {30, 75, 95})
                for (const std::uint32_t box : {0u, 60u, 30u, 15u}) {
                    TestJpeg jpeg;
                    jpeg.m_nWidth = 131;
                    jpeg.m_nHeight = 117;
                    jpeg.m_nComponents = components;
                    jpeg.m_bProgressive = progressive;
                    jpeg.m_nQuality = quality;
                    jpeg.m_bYcck = components == 4 && quality == 75;
                    Random random(static_cast<std::uint32_t>(quality));
                    jpeg.m_Samples = fnMakeBytes(
                        std::size_t{131} * 117 * static_cast<std::size_t>(components), random);
                    fnPut(world, jpeg.fnMake());
                    fnRead("jpeg/" + std::to_string(components) + '/' + std::to_string(quality) +
                               (progressive ? "/progressive/" : "/") + std::to_string(box),
                           box);
                }
}

struct TiffKind {
    int m_nPhotometric;
    int m_nSamples;
    int m_nBits;
    std::vector<std::uint16_t> m_Extra;
};

void fnReadTiff(CqHeadlessWorld& world, const TiffKind& kind, int compression, bool tiled,
                bool separate) {
    TestTiff tiff;
    tiff.m_nWidth = 131;
    tiff.m_nHeight = 66;
    tiff.m_nPhotometric = kind.m_nPhotometric;
    tiff.m_nSamples = kind.m_nSamples;
    tiff.m_nBits = kind.m_nBits;
    tiff.m_Extra = kind.m_Extra;
    tiff.m_nCompression = compression;
    tiff.m_nTileWidth = tiff.m_nTileHeight = tiled ? 32 : 0;
    tiff.m_bSeparate = separate;
    tiff.m_bBigEndian = compression == COMPRESSION_LZW;
    Random random(static_cast<std::uint32_t>(kind.m_nPhotometric * 100 + kind.m_nBits));
    std::vector<std::uint16_t> map(3u << kind.m_nBits);
    for (std::uint16_t& value : map)
        value = static_cast<std::uint16_t>(random());
    if (kind.m_nPhotometric == PHOTOMETRIC_PALETTE)
        tiff.m_MoreTags = [&](void* file) {
            const std::size_t count = map.size() / 3;
            TIFFSetField(static_cast<TIFF*>(file), TIFFTAG_COLORMAP, map.data(), map.data() + count,
                         map.data() + 2 * count);
        };
    const auto samples = static_cast<std::size_t>(kind.m_nSamples);
    const auto bits = static_cast<std::size_t>(kind.m_nBits);
    tiff.m_Samples = fnMakeBytes((131 * samples * bits + 7) / 8 * 66, random);
    fnPut(world, tiff.fnMake());
    fnRead("tiff/" + std::to_string(kind.m_nPhotometric) + '/' + std::to_string(kind.m_nSamples) +
           'x' + std::to_string(kind.m_nBits) + '/' +
           std::to_string(kind.m_Extra.empty() ? 0 : kind.m_Extra[0]) + '/' +
           std::to_string(compression) + (tiled ? "/tiles" : "") + (separate ? "/planes" : ""));
}

void fnReadTiffs(CqHeadlessWorld& world) {
    const TiffKind kKinds[] = {
        {PHOTOMETRIC_MINISWHITE, 1, 1, {}},
        {PHOTOMETRIC_MINISBLACK, 1, 4, {}},
        {PHOTOMETRIC_MINISBLACK, 1, 8, {}},
        {PHOTOMETRIC_MINISBLACK, 1, 16, {}},
        {PHOTOMETRIC_MINISBLACK, 2, 8, {EXTRASAMPLE_ASSOCALPHA}},
        {PHOTOMETRIC_RGB, 3, 8, {}},
        {PHOTOMETRIC_RGB, 3, 16, {}},
        {PHOTOMETRIC_RGB, 4, 8, {EXTRASAMPLE_ASSOCALPHA}},
        {PHOTOMETRIC_RGB, 4, 8, {EXTRASAMPLE_UNASSALPHA}},
        {PHOTOMETRIC_RGB, 4, 16, {EXTRASAMPLE_UNASSALPHA}},
        {PHOTOMETRIC_PALETTE, 1, 4, {}},
        {PHOTOMETRIC_PALETTE, 1, 8, {}},
        {PHOTOMETRIC_SEPARATED, 4, 8, {}},
    };
    for (const TiffKind& kind : kKinds)
        for (const int compression :
             {COMPRESSION_NONE, COMPRESSION_LZW, COMPRESSION_PACKBITS, COMPRESSION_ADOBE_DEFLATE})
            for (const bool tiled : {false, true})
                for (const bool separate : {false, true})
                    if (!separate || kind.m_nSamples > 1)
                        fnReadTiff(world, kind, compression, tiled, separate);
}

} // namespace

void fnPrintPictures(CqHeadlessWorld& world) {
    constexpr std::uint32_t kVariants = 4;
    for (const PICTURE_FORMAT format : {PICTURE_PNG, PICTURE_JPEG, PICTURE_TIFF, PICTURE_BMP})
        for (const unsigned bits : kDepths)
            for (const Size& size : kSizes)
                for (std::uint32_t seed = 0; seed < kVariants; ++seed)
                    fnWriteAndRead(world, format, bits, size, seed);
    fnReadPngs(world);
    fnReadJpegs(world);
    fnReadTiffs(world);
}
