#pragma once

#include <cstddef>

namespace q32 {

/// Starts to bring memory into the caches that will soon be read, or written where `kWrite` is
/// set. Processors do that by themselves for a few runs of adjacent addresses, not for loops that
/// go through many short rows.
template <bool kWrite = false>
inline void fnPrefetch([[maybe_unused]] const unsigned char* at,
                       [[maybe_unused]] std::size_t bytes) {
#if defined(__GNUC__)
    constexpr std::size_t kLine = 64;
    for (std::size_t i = 0; i < bytes; i += kLine)
        __builtin_prefetch(at + i, kWrite ? 1 : 0);
#endif
}

} // namespace q32
