/// @file
/// Texts in the profile format: lines `[Section]` and `Key=value`. Pure functions; input and output
/// are up to the caller. docs/settings-file.md describes the format.
///
/// Common to all: lines end with CR LF, CR or LF. Blanks (space, tab, 1Ah) around lines, names and
/// values are ignored, as is the case of ASCII letters in names. The first section of a name and
/// the first key in it win. The section "" is the lines before the first header. Any bytes are
/// accepted as text; the time taken is proportional to their number. A text in UTF-16 has no keys.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace q32 {

/// Result of an edit.
enum class PROFILE_EDIT {
    UNCHANGED, ///< the text already has the intended content
    CHANGED,
    REFUSED ///< the text is in UTF-16, which an edit would corrupt
};

/// Copies the value of a key into `buffer`, without a pair of matching quotes around it, truncated
/// to `size` bytes including the NUL. A missing key, and a line without "=", gives `fallback`,
/// without its trailing spaces and a pair of quotes. A quoted value deliberately needs a buffer of
/// two bytes more than its text: with one byte more it loses its last character.
/// @return the bytes stored, without the NUL; 0, with the buffer untouched, for a size of 0
std::size_t fnReadProfileString(std::string_view text, std::string_view section,
                                std::string_view key, std::string_view fallback, char* buffer,
                                std::size_t size);

/// Sets a key: changes its line, or adds one after the last non-blank line of its section, or
/// appends the section. All other lines are preserved byte for byte. Leading blanks of the value
/// are dropped, and the value ends at a line break. May throw std::bad_alloc; the text is then
/// unchanged.
PROFILE_EDIT fnWriteProfileString(std::string& text, std::string_view section, std::string_view key,
                                  std::string_view value);

/// Removes a key's line.
PROFILE_EDIT fnDeleteProfileKey(std::string& text, std::string_view section, std::string_view key);

/// Removes a section's header and all lines up to the next header, including comments.
PROFILE_EDIT fnDeleteProfileSection(std::string& text, std::string_view section);

} // namespace q32
