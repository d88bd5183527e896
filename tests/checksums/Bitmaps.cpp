#include "q32Base/image/CqImage.h"
#include "q32Base/image/DibLayout_p.h"
#include "tests/checksums/Checksum.h"
#include "tests/display/DisplayWorld.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <span>
#include <vector>

namespace {

using Bytes = std::vector<unsigned char>;

void fnAppendNoise(Bytes& bytes, std::size_t count, Random& random) {
    for (; count > 0; --count)
        bytes.push_back(static_cast<unsigned char>(random()));
}

Bytes fnBegin(const BITMAPINFOHEADER& header) {
    const auto* bytes = reinterpret_cast<const unsigned char*>(&header);
    return {bytes, bytes + sizeof header};
}

/// A bitmap of noise, whose rows run in any direction.
Bytes fnMakeBitmap(unsigned bits, const Size& size, Random& random) {
    BITMAPINFOHEADER header =
        q32::fnMakeDibHeader(size.m_nWidth, static_cast<std::int32_t>(size.m_nHeight), bits);
    if (random() % 2 != 0)
        header.biHeight = -header.biHeight;
    const bool masked = bits == 16 && random() % 2 != 0;
    if (masked)
        header.biCompression = BI_BITFIELDS;
    Bytes bitmap = fnBegin(header);
    if (masked) {
        const auto* masks = reinterpret_cast<const unsigned char*>(q32::kDibMasks565.data());
        bitmap.insert(bitmap.end(), masks, masks + q32::kDibMaskBytes);
    }
    fnAppendNoise(bitmap,
                  sizeof(RGBQUAD) * q32::fnDibPaletteCount(header) +
                      size.m_nHeight * q32::fnDibRowBytes(size.m_nWidth, bits),
                  random);
    return bitmap;
}

/// A run-length coded bitmap, in which every pixel has a value.
Bytes fnMakeRuns(const Size& size, Random& random) {
    BITMAPINFOHEADER header =
        q32::fnMakeDibHeader(size.m_nWidth, static_cast<std::int32_t>(size.m_nHeight), 8);
    header.biCompression = BI_RLE8;
    Bytes bitmap = fnBegin(header);
    fnAppendNoise(bitmap, sizeof(RGBQUAD) * 256, random);
    for (unsigned y = 0; y < size.m_nHeight; ++y) {
        for (unsigned x = 0; x < size.m_nWidth;) {
            const unsigned run = std::min(size.m_nWidth - x, 1 + random() % 60);
            const bool plain = run >= 3 && random() % 2 != 0;
            bitmap.push_back(plain ? 0 : static_cast<unsigned char>(run));
            if (plain)
                bitmap.push_back(static_cast<unsigned char>(run));
            fnAppendNoise(bitmap, plain ? run + run % 2 : 1, random);
            x += run;
        }
        bitmap.insert(bitmap.end(), {0, 0});
    }
    bitmap.insert(bitmap.end(), {0, 1});
    BITMAPINFOHEADER complete = header;
    complete.biSizeImage =
        static_cast<DWORD>(bitmap.size() - sizeof header - sizeof(RGBQUAD) * 256);
    std::memcpy(bitmap.data(), &complete, sizeof complete);
    return bitmap;
}

void fnTakeAndMake(const Bytes& bitmap, const std::string& name) {
    CqImage image;
    image.fnTake(std::as_bytes(std::span(bitmap)));
    Checksum taken;
    taken.fnAdd(image);
    taken.fnPrint("take-" + name);

    BITMAPINFOHEADER* const made = image;
    // Without the last bytes, which are only room for a long row of 4 bits.
    const std::size_t masks = image.BitCount == 16 ? q32::kDibMaskBytes : 0;
    const std::size_t size =
        static_cast<std::size_t>(q32::fnDibPixelOffset(*made)) + masks +
        std::size_t{image.Height} * q32::fnDibStride(image.Width, image.BitCount);
    Checksum sum;
    sum.fnAdd(made, size);
    sum.fnPrint("make-" + name);
    delete made;
}

} // namespace

void fnPrintBitmaps() {
    for (const Size& size : kSizes)
        for (std::uint32_t seed = 0; seed < kSeeds; ++seed) {
            for (const unsigned bits : kDepths) {
                Random random = fnRandom(bits, size, seed);
                fnTakeAndMake(fnMakeBitmap(bits, size, random), fnName("bitmap", bits, size, seed));
            }
            Random random = fnRandom(8, size, seed);
            fnTakeAndMake(fnMakeRuns(size, random), fnName("runs", 8, size, seed));
        }
}
