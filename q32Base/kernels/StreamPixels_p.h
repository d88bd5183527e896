#pragma once

#include "q32Base/kernels/Kernels_p.h"

namespace q32 {

/// The size of a target, in bytes, from which on its writes bypass the caches: those of most
/// processors don't hold it until it is read again.
inline constexpr std::size_t kStreamLeast = std::size_t{24} << 20;

/// How many pixels precede the next one that begins a cache line; 0 also if none ever does.
inline std::size_t fnPixelsToLine(const std::uint8_t* target, std::size_t bytesPerPixel) {
    for (std::size_t pixels = 0; pixels < 64; ++pixels)
        if ((reinterpret_cast<std::uintptr_t>(target) + pixels * bytesPerPixel) % 64 == 0)
            return pixels;
    return 0;
}

/// Runs a kernel over `count` pixels whose target is large and isn't read soon; the writes bypass
/// the caches. This pays for format changes into memory that has been written before and is larger
/// than the caches. It doesn't pay elsewhere: fresh memory has just been cleared by the system,
/// through the caches; and palette look-ups aren't limited by memory, but would prepare their
/// palette again for every block.
///
/// `run(source, target, count)` is called for blocks of pixels that fit in the first-level cache.
/// `sourceBytes` and `targetBytes` are bytes per pixel, the latter 1 to 4. Source and target don't
/// overlap.
///
/// Example: `fnStreamPixels(kernels, rgb, 3, argb, 4, count, kernels.fnRgb24ToArgb32);`
template <class Run>
void fnStreamPixels(const Kernels& kernels, const std::uint8_t* source, std::size_t sourceBytes,
                    std::uint8_t* target, std::size_t targetBytes, std::size_t count, Run run) {
    // Small blocks, so that the reads of one overlap with the pending writes of the previous one.
    // The first one is shorter, so that the others begin and end on a cache line: a line written in
    // two parts costs many times as much.
    constexpr std::size_t kBlockPixels = 256;
    alignas(64) std::uint8_t block[kBlockPixels * 4];
    std::size_t pixels = fnPixelsToLine(target, targetBytes);
    if (pixels == 0)
        pixels = kBlockPixels;
    while (count != 0) {
        if (pixels > count)
            pixels = count;
        run(source, static_cast<std::uint8_t*>(block), pixels);
        kernels.fnStreamCopy(block, target, pixels * targetBytes);
        source += pixels * sourceBytes;
        target += pixels * targetBytes;
        count -= pixels;
        pixels = kBlockPixels;
    }
    kernels.fnStreamEnd();
}

} // namespace q32
