/// @file
/// The built-in code pages: 1252, 932 and 65001, which is UTF-8.
#pragma once

#include "q32Base/platform/Export.h"
#include "q32Base/platform/Records.h"

#include <cstddef>
#include <string>
#include <string_view>

namespace q32::software {

/// Bytes of the character at `text`, of which `count` bytes (at least 1) are available. A byte that
/// doesn't begin a complete character counts as a character of its own, as does every byte of a
/// code page other than 932 and 65001.
Q32_API std::size_t fnGetCharBytes(const char* text, std::size_t count, UINT codePage);

/// Converts UTF-16 to a code page: 65001 gives UTF-8; any other keeps U+0000 to U+007F and, except
/// for 932, U+00A0 to U+00FF as single bytes, and converts all else to '?'.
Q32_API std::string fnFromUtf16(std::u16string_view text, UINT codePage);

} // namespace q32::software
