/// @file
/// The limit of the parts into which Bezier curves are divided.
#pragma once

#include "q32Base/platform/Export.h"

#include <cstdint>

/// Parts into which a Bezier curve may be divided, unless a host sets another limit. A polyline of
/// that many segments takes some 36 MB.
inline constexpr std::uint32_t kMaxCurveParts = 1u << 20;

extern "C" {

/// Limits the parts into which each flattening, drawing or intersection of a Bezier curve divides
/// it, so that coordinates from an archive can't demand more memory or time than the host grants:
/// beyond the limit the operation raises the memory exception, or returns 0 where it handles that
/// itself. For the whole process, from any thread; an operation under way may or may not notice.
/// @param parts  at least 1; 0 restores `kMaxCurveParts`
Q32_API void q32SetCurveLimit(std::uint32_t parts);
/// The limit in force. From any thread.
Q32_API std::uint32_t q32GetCurveLimit();
}
