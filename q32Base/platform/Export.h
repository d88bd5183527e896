#pragma once

/// Q32_API marks what a shared library exports; everything else is hidden. Q32_LOCAL hides private
/// functions of an exported class that no inline function calls.
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
