/// @file
/// The checked variant of the library (Q32_CHECKED): public functions that trust their caller stop
/// the program where that trust is wrong, with a sentence that names the function and the argument.
/// In the other variant these checks are empty.
#pragma once

#include <cstdint>

namespace q32 {

#ifdef Q32_CHECKED
inline constexpr bool kChecked = true;
#else
inline constexpr bool kChecked = false;
#endif

/// Writes "q32Base: <call>: <sentence>." as a line of the standard error stream, and aborts.
/// @param sentence  a format as for printf, with the arguments after it
[[noreturn, gnu::format(printf, 2, 3)]] void fnStop(const char* call, const char* sentence, ...);

/// Stops unless the library is attached.
inline void fnRequireAttached([[maybe_unused]] const char* call, [[maybe_unused]] bool attached) {
    if constexpr (kChecked)
        if (!attached)
            fnStop(call, "the library isn't attached; call q32Attach or q32RunHost first");
}

/// Stops for an image without storage.
/// @param map   the image's tile map
/// @param name  of the argument
inline void fnRequirePixels([[maybe_unused]] const char* call, [[maybe_unused]] const void* map,
                            [[maybe_unused]] const char* name = "the image") {
    if constexpr (kChecked)
        if (!map)
            fnStop(call, "%s has no pixels; allocate it, or read a picture into it, first", name);
}

/// Stops for a number that isn't below its limit.
inline void fnRequireBelow([[maybe_unused]] const char* call, [[maybe_unused]] const char* name,
                           [[maybe_unused]] std::int64_t value, [[maybe_unused]] std::int64_t limit,
                           [[maybe_unused]] const char* limitName) {
    if constexpr (kChecked)
        if (value < 0 || value >= limit)
            fnStop(call, "%s is %lld, but the %s is %lld", name, static_cast<long long>(value),
                   limitName, static_cast<long long>(limit));
}

/// Stops for an accessor that isn't on a row or tile.
/// @param place  its row or index
/// @param how    the function that places it
inline void fnRequirePlace([[maybe_unused]] const char* call, [[maybe_unused]] int place,
                           [[maybe_unused]] const char* how) {
    if constexpr (kChecked)
        if (place < 0)
            fnStop(call, "the accessor is free; place it by %s first", how);
}

} // namespace q32
