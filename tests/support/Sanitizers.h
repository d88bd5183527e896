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
