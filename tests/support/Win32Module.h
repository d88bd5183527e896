/// @file A module in memory whose resources a test adds one by one.
#pragma once

#include "q32Base/platform/CqResourceService.h"
#include "q32Base/platform/Records.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace q32::test {

/// An image as the loader maps it, with nothing but resources. The system searches its directory;
/// bytes that were added stay where they are.
class Win32Module {
public:
    Win32Module();
    ~Win32Module();
    Win32Module(const Win32Module&) = delete;
    Win32Module& operator=(const Win32Module&) = delete;

    HINSTANCE fnGet() const;
    void fnAdd(CqResourceId type, CqResourceId name, std::string_view bytes);
    /// A text of ASCII characters in the string table.
    void fnAddString(UINT id, const std::string& text);

private:
    /// A number, or a text in upper case; texts come first.
    using Name = std::pair<std::uint32_t, std::u16string>;
    struct Place {
        std::uint32_t m_nOffset;
        std::uint32_t m_nSize;
    };

    static Name fnName(const CqResourceId& id);
    void fnWriteHeaders();
    void fnWriteDirectory();
    /// Writes a table of names; `write` writes what each leads to and returns its field.
    template <typename Entries, typename Write>
    std::uint32_t fnWriteTable(const Entries& entries, Write write);
    template <typename Value>
    void fnPut(std::uint32_t offset, const Value& value);

    std::byte* m_pImage;
    std::uint32_t m_nNext;     ///< where the next bytes go
    std::uint32_t m_nTableEnd; ///< of the directory, while it is written
    std::map<Name, std::map<Name, Place>> m_Entries;
    std::map<UINT, std::string> m_Strings;
};

} // namespace q32::test
