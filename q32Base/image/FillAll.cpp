#include "q32Base/framework/Parallel_p.h"
#include "q32Base/image/PixelBytes_p.h"

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <cstdint>

namespace q32 {
namespace {

// Bytes that one thread fills at least. The kernel writes long runs past the cache.
constexpr std::uint32_t kLongRun = 1u << 20;
constexpr std::uint32_t kShortRun = 1u << 14;

} // namespace

/// The pixels are one run, since tiles follow each other without gaps.
void fnFillAll(CqTileMap& map, const CqColor& color) {
    unsigned char pixel[4];
    const unsigned int bytes = fnPackFill(map, color, pixel);
    assert(map.BufferSize % bytes == 0);
    const std::uint32_t pixels = map.BufferSize / bytes;
    const std::uint32_t run =
        (map.BufferSize >= 2 * kLongRun ? kLongRun : kShortRun) / bytes + 1; // pixels
    Parallel((pixels - 1) / run + 1, kFillTime * run * bytes)
        .fnRun([&](std::uint32_t, std::uint32_t first, std::uint32_t end) {
            const std::size_t begin = std::size_t{first} * run;
            fnFillPixels(map.PixelBuffer + begin * bytes, pixel, bytes,
                         std::min(std::size_t{end} * run, std::size_t{pixels}) - begin);
        });
    map.fnRequirePixels();
}

} // namespace q32
