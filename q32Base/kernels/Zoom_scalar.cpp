#include "q32Base/kernels/KernelParts_p.h"

#include <cassert>
#include <cstring>

namespace q32 {
namespace {

/// Copies the pixels at `place(0)`, `place(1)` and so on, which don't overlap and lie in increasing
/// order. Of three-byte pixels all but the last one are copied with the byte behind them, which the
/// next one replaces.
template <std::size_t kBytes, class Place>
void fnCopyPixels(std::uint8_t* target, std::size_t count, Place place) {
    std::size_t i = 0;
    if (kBytes == 3)
        for (; i + 1 < count; ++i)
            std::memcpy(target + i * kBytes, place(i), 4);
    for (; i < count; ++i)
        std::memcpy(target + i * kBytes, place(i), kBytes);
}

} // namespace

namespace scalar {
template <std::size_t kBytes>
void fnInflate(const std::uint8_t* source, std::uint8_t* target, std::size_t count,
               std::size_t factor, std::size_t phase) {
    assert(factor != 0 && phase < factor);
    std::size_t copies = factor - phase;
    while (count != 0) {
        if (copies > count)
            copies = count;
        count -= copies;
        for (; copies != 0; --copies, target += kBytes)
            std::memcpy(target, source, kBytes);
        source += kBytes;
        copies = factor;
    }
}

template <std::size_t kBytes>
void fnShrink(const std::uint8_t* source, std::uint8_t* target, std::size_t count,
              std::size_t factor) {
    assert(factor != 0);
    fnCopyPixels<kBytes>(target, count,
                         [=](std::size_t i) { return source + i * factor * kBytes; });
}

template <std::size_t kBytes>
void fnSample(const std::uint8_t* source, std::uint8_t* target, std::size_t count, std::uint32_t at,
              std::uint32_t step) {
    for (std::size_t i = 0; i < count; ++i, at += step, target += kBytes)
        std::memcpy(target, source + static_cast<std::size_t>(at >> 8) * kBytes, kBytes);
}

template <std::size_t kBytes>
static void fnUseZoom(Kernels& table) {
    table.fnInflate[kBytes - 1] = fnInflate<kBytes>;
    table.fnShrink[kBytes - 1] = fnShrink<kBytes>;
    table.fnSample[kBytes - 1] = fnSample<kBytes>;
}

template void fnInflate<1>(const std::uint8_t*, std::uint8_t*, std::size_t, std::size_t,
                           std::size_t);
template void fnInflate<2>(const std::uint8_t*, std::uint8_t*, std::size_t, std::size_t,
                           std::size_t);
template void fnInflate<3>(const std::uint8_t*, std::uint8_t*, std::size_t, std::size_t,
                           std::size_t);
template void fnInflate<4>(const std::uint8_t*, std::uint8_t*, std::size_t, std::size_t,
                           std::size_t);
template void fnShrink<1>(const std::uint8_t*, std::uint8_t*, std::size_t, std::size_t);
template void fnShrink<2>(const std::uint8_t*, std::uint8_t*, std::size_t, std::size_t);
template void fnShrink<3>(const std::uint8_t*, std::uint8_t*, std::size_t, std::size_t);
template void fnShrink<4>(const std::uint8_t*, std::uint8_t*, std::size_t, std::size_t);
template void fnSample<1>(const std::uint8_t*, std::uint8_t*, std::size_t, std::uint32_t,
                          std::uint32_t);
template void fnSample<2>(const std::uint8_t*, std::uint8_t*, std::size_t, std::uint32_t,
                          std::uint32_t);
template void fnSample<3>(const std::uint8_t*, std::uint8_t*, std::size_t, std::uint32_t,
                          std::uint32_t);
template void fnSample<4>(const std::uint8_t*, std::uint8_t*, std::size_t, std::uint32_t,
                          std::uint32_t);

} // namespace scalar

void fnUseScalarZoom(Kernels& table) {
    scalar::fnUseZoom<1>(table);
    scalar::fnUseZoom<2>(table);
    scalar::fnUseZoom<3>(table);
    scalar::fnUseZoom<4>(table);
}

} // namespace q32
