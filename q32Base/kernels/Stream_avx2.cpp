#include "q32Base/kernels/Avx2_p.h"
#include "q32Base/kernels/KernelParts_p.h"

namespace q32 {
namespace avx2 {
namespace {

std::size_t fnBytesToLine(const std::uint8_t* address) {
    return (0 - reinterpret_cast<std::uintptr_t>(address)) & 63;
}

void fnCopyBytes(const std::uint8_t* source, std::uint8_t* target, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i)
        target[i] = source[i];
}

void fnStreamCopy(const std::uint8_t* source, std::uint8_t* target, std::size_t count) {
    std::size_t head = fnBytesToLine(target);
    if (head > count)
        head = count;
    fnCopyBytes(source, target, head);
    source += head;
    target += head;
    count -= head;
    for (; count >= 128; count -= 128, source += 128, target += 128)
        for (int i = 0; i < 128; i += 32)
            _mm256_stream_si256(reinterpret_cast<__m256i*>(target + i), fnLoad(source + i));
    for (; count >= 32; count -= 32, source += 32, target += 32)
        _mm256_stream_si256(reinterpret_cast<__m256i*>(target), fnLoad(source));
    fnCopyBytes(source, target, count);
}

void fnStreamEnd() {
    _mm_sfence();
}

} // namespace
} // namespace avx2

void fnUseAvx2Stream(Kernels& table) {
    table.fnStreamCopy = avx2::fnStreamCopy;
    table.fnStreamEnd = avx2::fnStreamEnd;
}

} // namespace q32
