/// @file
/// What marks exported and hidden names.
#pragma once

/// @def Q32_API
/// Marks what a shared library exports; everything else is hidden.
/// @def Q32_LOCAL
/// Hides private functions of an exported class that no inline function calls.

#if defined(_WIN32)
#define Q32_LOCAL
#if defined(Q32_BUILDING)
#define Q32_API __declspec(dllexport)
#elif defined(Q32_SHARED)
#define Q32_API __declspec(dllimport)
#else
#define Q32_API
#endif
#else
#define Q32_API __attribute__((visibility("default")))
#define Q32_LOCAL __attribute__((visibility("hidden")))
#endif
