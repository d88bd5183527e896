/// @file
/// Which sanitizers a test is built with; gcc and clang declare them in different ways.
#pragma once

#ifdef __has_feature
#define Q32_HAS_SANITIZER(name) __has_feature(name)
#else
#define Q32_HAS_SANITIZER(name) 0
#endif

#if defined(__SANITIZE_ADDRESS__) || Q32_HAS_SANITIZER(address_sanitizer)
inline constexpr bool kAddressSanitizer = true;
#else
inline constexpr bool kAddressSanitizer = false;
#endif

#if defined(__SANITIZE_THREAD__) || Q32_HAS_SANITIZER(thread_sanitizer)
inline constexpr bool kThreadSanitizer = true;
#else
inline constexpr bool kThreadSanitizer = false;
#endif

#undef Q32_HAS_SANITIZER

/// How many random cases a test takes: a quarter of them under the address sanitizer, which slows
/// each down and looks for faults of memory, not of results.
constexpr int fnRandomCases(int cases) {
    return kAddressSanitizer ? cases / 4 : cases;
}
