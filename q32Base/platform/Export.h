#pragma once

/// Marks exported symbols; all others are hidden.
#if defined(_WIN32)
#if defined(Q32_BUILDING)
#define Q32_API __declspec(dllexport)
#elif defined(Q32_SHARED)
#define Q32_API __declspec(dllimport)
#else
#define Q32_API
#endif
#else
#define Q32_API __attribute__((visibility("default")))
#endif
