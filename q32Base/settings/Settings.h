/// @file
/// The settings file, as the memory policy, the display property and the dump window share it.
/// Sections and keys are named by string-table entries. Every call reaches the file on its own.
/// Nothing here throws: a file that is missing or can't be read, or memory that has run out, reads
/// as a file without keys and fails a write.
#pragma once

#include "q32Base/framework/CString.h"
#include "q32Base/messages/StringTable.h"
#include "q32Base/platform/Records.h"

#include <cstddef>
#include <optional>

namespace q32 {

/// Buffers that values are read through, as the sections have it.
inline constexpr std::size_t kSettingBytes = 260;
inline constexpr std::size_t kShortSettingBytes = 32;

/// The full name of the settings file. Always true; raises the memory exception.
bool GetSettingsPath(CString& path);

/// Reads a value as text into `buffer` of `size` bytes, cut as fnReadProfileString does. A missing
/// key gives `fallback`, null standing for the empty text. Returns the length of what was stored.
std::size_t fnReadSetting(UINT section, UINT key, const char* fallback, char* buffer,
                          std::size_t size) noexcept;

/// Reads a number through a buffer of `size` bytes, at most kSettingBytes. None when the key is
/// missing or its value empty.
std::optional<int> fnReadSettingNumber(UINT section, UINT key, std::size_t size) noexcept;

/// Replaces a value in place, or adds it to its section. False when it could not be written.
bool fnWriteSetting(UINT section, UINT key, const char* value) noexcept;
/// The same with a number as decimal text.
bool fnWriteSetting(UINT section, UINT key, int value) noexcept;

/// The decimal number that a text begins with, behind blanks and a sign; 0 when there is none. A
/// number beyond 32 bits wraps.
int fnParseInt(const char* text) noexcept;

} // namespace q32
