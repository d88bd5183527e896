/// @file
/// Readers of compiled resource files.
#pragma once

#include "q32Base/platform/Export.h"
#include "q32Base/platform/Records.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace q32::software {

/// A type or name of a compiled resource: a number, or a text in upper case.
struct ResName {
    WORD m_nNumber = 0;   ///< 0 beside a text
    std::string m_szText; ///< empty: the number is used

    // NOLINTNEXTLINE(modernize-use-nullptr): the check takes the comparison's own 0 for a null.
    auto operator<=>(const ResName&) const = default;
};

/// One entry of a compiled resource file.
struct ResEntry {
    ResName m_Type;          ///< a bitmap, a string block, …
    ResName m_Name;          ///< which of that type
    WORD m_nLanguage = 0;    ///< as the file has it; 0: neutral
    std::string_view m_Data; ///< points into the file's bytes
};

/// Reads a compiled resource file: a sequence of entries, each at a multiple of four bytes, with
/// little-endian numbers. An entry consists of data size, header size (both 32 bits and part of the
/// header), type, name, padding to four, 16 more bytes (the language is the 7th and 8th), data. A
/// type or name is FFFFh and a number, or 16-bit units up to a zero. The first entry is an empty
/// marker. Markers are left out of the result.
/// @return false if the marker is missing or an entry exceeds the file; `entries` then holds those
///         before it
Q32_API bool fnReadResFile(std::string_view file, std::vector<ResEntry>& entries);

/// Reads entry `id` of a string block: 16 texts, each a 16-bit count and that many 16-bit units.
/// False if it is absent, empty or exceeds the block.
Q32_API bool fnReadStringBlock(std::string_view block, UINT id, std::u16string& text);

} // namespace q32::software
