#pragma once

#include <cstddef>
#include <cstdint>

// Intrinsics whose other operand doesn't matter leave it uninitialised, which GCC 12 reports.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wuninitialized"
#ifndef __clang__
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif
#include <immintrin.h>
#pragma GCC diagnostic pop

// Helpers of the AVX-512 kernels. Included only by _avx512.cpp files; see Avx2_p.h.
namespace q32 {
namespace avx512 {

/// The mask of the first 0 to 64 bytes.
static inline __mmask64 fnFirstBytes(std::size_t bytes) {
    return bytes < 64 ? (std::uint64_t{1} << bytes) - 1 : ~std::uint64_t{0};
}

} // namespace avx512
} // namespace q32
