/// @file
/// The settings file that the memory policy, the display property and the dump window share.
/// Sections and keys are given as ids of the string table. Every call accesses the file. Reading
/// and writing don't throw: if the file is missing or unreadable or memory is exhausted, keys read
/// as missing; a write that fails returns false.
#pragma once

#include "q32Base/framework/CString.h"
#include "q32Base/messages/StringTable_p.h"
#include "q32Base/platform/Records.h"

#include <cstddef>
#include <optional>

namespace q32 {

/// Sizes of the buffers through which values are read, in bytes.
inline constexpr std::size_t kSettingBytes = 260;
inline constexpr std::size_t kShortSettingBytes = 32;

/// The full name of the settings file. Always true; raises the memory exception.
bool GetSettingsPath(CString& path);

/// Reads a value as text into `buffer` of `size` bytes, truncated as fnReadProfileString does. A
/// missing key gives `fallback`, where null means empty. Returns the length stored.
std::size_t fnReadSetting(UINT section, UINT key, const char* fallback, char* buffer,
                          std::size_t size) noexcept;

/// Reads a number through a buffer of `size` bytes, at most kSettingBytes. None if the key is
/// missing or its value empty.
std::optional<int> fnReadSettingNumber(UINT section, UINT key, std::size_t size) noexcept;

/// Replaces a value in place, or adds it to its section. False when it could not be written.
bool fnWriteSetting(UINT section, UINT key, const char* value) noexcept;
/// The same with a number as decimal text.
bool fnWriteSetting(UINT section, UINT key, int value) noexcept;

/// The decimal number at the start of a text, after blanks and a sign; 0 if there is none. A number
/// beyond 32 bits wraps.
int fnParseInt(const char* text) noexcept;

} // namespace q32
