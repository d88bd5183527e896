/// @file
/// Texts in the profile format: lines `[Section]` and `Key=value`. Pure functions; where the bytes
/// come from and go to is the caller's business. docs/settings-file.md tells the format.
///
/// Common to all: lines end with CR LF, CR or LF. Blanks (space, tab, 1Ah) around lines, names and
/// values don't count, nor does the case of ASCII letters in names. The first section of a name and
/// the first key in it win. The section "" stands for the lines ahead of the first header. Any
/// bytes at all may come as text: time grows with their number, and nothing else happens.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace q32 {

/// What became of a text that was to be edited.
enum class PROFILE_EDIT {
    UNCHANGED, ///< it says already what it should
    CHANGED,
    REFUSED ///< it is in UTF-16, which this writer would damage
};

/// Copies the value of a key into `buffer`, without a pair of equal quotes around it, cut to `size`
/// bytes with the end mark. A missing key, and a line without "=", gives `fallback`, less the
/// spaces at its end and a pair of quotes. A value of n bytes that was in quotes needs n + 2 bytes:
/// in n + 1 it loses one character more than it must, as on the platform.
/// @return the bytes stored without the end mark; 0, with the buffer untouched, for a size of 0
std::size_t fnReadProfileString(std::string_view text, std::string_view section,
                                std::string_view key, std::string_view fallback, char* buffer,
                                std::size_t size);

/// Sets a key: changes its line, or adds one behind the last line of its section that isn't blank,
/// or adds the section at the end. All other lines keep every byte. Blanks ahead of the value are
/// dropped, and the value ends at a line break. May throw std::bad_alloc; the text is then as it
/// was.
PROFILE_EDIT fnWriteProfileString(std::string& text, std::string_view section, std::string_view key,
                                  std::string_view value);

/// Removes a key's line.
PROFILE_EDIT fnDeleteProfileKey(std::string& text, std::string_view section, std::string_view key);

/// Removes a section's header and all lines up to the next header, comments among them.
PROFILE_EDIT fnDeleteProfileSection(std::string& text, std::string_view section);

} // namespace q32
