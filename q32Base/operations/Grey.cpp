#include "q32Base/operations/Grey.h"

#include "q32Base/framework/Memory.h"
#include "q32Base/framework/Parallel_p.h"
#include "q32Base/image/CqImage.h"
#include "q32Base/image/PixelAccess.h"
#include "q32Base/operations/ImageStorage_p.h"
#include "q32Base/pixels/PixelConversion.h"
#include "q32Base/services/ProgressRun_p.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>

namespace {

constexpr double kGreyPixelTime = 2.0; ///< nanoseconds

/// Converts pixels of alpha, red, green and blue to grey ones of `bytes` bytes.
void fnGreyRow(const unsigned char* argb, std::size_t count, unsigned char* out,
               std::size_t bytes) {
    for (; count > 0; --count, argb += 4, out += bytes) {
        const std::uint8_t grey = q32::fnGreyOf(argb[1], argb[2], argb[3]);
        std::fill_n(out, bytes, grey);
        if (bytes == 4)
            out[0] = argb[0];
    }
}

} // namespace

bool q32ConvertToGrey(CqImage& image, unsigned int bits, CqProgressDisplay* progress) {
    if (!image.TileMap || (bits != 8 && bits != 24 && bits != 32))
        return false;
    std::unique_ptr<CqTileMap> map(
        q32::fnNew<CqTileMap>(image.Width, image.Height, bits, q32GreyRamp, 256u));
    const CqPixelReader reader(image, PIXEL_ARGB32);
    const q32::Parallel rows(image.Height, kGreyPixelTime * image.Width);
    const q32::WorkerBytes colors(rows, std::size_t{4} * image.Width);
    const q32::WorkerBytes greys(rows, map->RowBytes);
    const auto convert = [&](std::uint32_t worker, std::uint32_t y, std::uint32_t end) {
        for (; y < end; ++y) {
            if (!reader.fnReadRow(0, y, image.Width, colors[worker]))
                AfxThrowMemoryException(); // pixels were lost
            fnGreyRow(colors[worker], image.Width, greys[worker], map->BytesPerPixel);
            map->fnStoreRow(y, greys[worker]);
        }
    };
    if (!q32::ProgressRun(progress, image.Height).fnRun(rows, convert))
        return false;
    return q32::ImageStorage::fnReplace(image, std::move(map), progress);
}
