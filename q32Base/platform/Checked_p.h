/// @file
/// The checked variant of the library (Q32_CHECKED): public functions that trust their caller stop
/// the program where that trust is wrong, with a sentence that names the function and the argument.
/// In the other variant these checks are empty.
#pragma once

#include "q32Base/platform/CqPlatform.h"

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
inline void fnRequireAttached([[maybe_unused]] const char* call) {
    if constexpr (kChecked)
        if (!fnHasPlatform())
            fnStop(call, "the library isn't attached; call q32Attach or q32RunHost first");
}

} // namespace q32
