#include "tests/support/Win32Module.h"

#include <algorithm>
#include <cctype>
#include <cstring>

namespace q32::test {

namespace {

constexpr std::uint32_t kTables = 0x1000;
constexpr std::uint32_t kBytes = 0x80000;
constexpr std::uint32_t kSize = 0x200000;
constexpr std::uint32_t kHighBit = 0x80000000; ///< of a field: it leads to a table or a text
constexpr std::uint32_t kNumbered = 0x10000;   ///< marks a name that is a number
constexpr UINT kInBlock = 16;

} // namespace

Win32Module::Win32Module()
    : m_pImage(static_cast<std::byte*>(
          ::VirtualAlloc(nullptr, kSize, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE))),
      m_nNext(kBytes), m_nTableEnd(kTables) {
    fnWriteHeaders();
    fnWriteDirectory();
}

Win32Module::~Win32Module() {
    ::VirtualFree(m_pImage, 0, MEM_RELEASE);
}

HINSTANCE Win32Module::fnGet() const {
    return reinterpret_cast<HINSTANCE>(m_pImage);
}

template <typename Value>
void Win32Module::fnPut(std::uint32_t offset, const Value& value) {
    std::memcpy(m_pImage + offset, &value, sizeof value);
}

void Win32Module::fnWriteHeaders() {
    IMAGE_DOS_HEADER dos{};
    dos.e_magic = IMAGE_DOS_SIGNATURE;
    dos.e_lfanew = sizeof dos;
    fnPut(0, dos);
    IMAGE_NT_HEADERS headers{};
    headers.Signature = IMAGE_NT_SIGNATURE;
    headers.FileHeader.Machine = IMAGE_FILE_MACHINE_AMD64;
    headers.FileHeader.SizeOfOptionalHeader = sizeof headers.OptionalHeader;
    headers.OptionalHeader.Magic = IMAGE_NT_OPTIONAL_HDR_MAGIC;
    headers.OptionalHeader.SizeOfImage = kSize;
    headers.OptionalHeader.SizeOfHeaders = kTables;
    headers.OptionalHeader.NumberOfRvaAndSizes = IMAGE_NUMBEROF_DIRECTORY_ENTRIES;
    headers.OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_RESOURCE] = {kTables,
                                                                            kSize - kTables};
    fnPut(sizeof dos, headers);
}

Win32Module::Name Win32Module::fnName(const CqResourceId& id) {
    if (!id.m_szName)
        return {kNumbered | id.m_nNumber, {}};
    std::u16string text;
    for (const char* letter = id.m_szName; *letter; ++letter)
        text += static_cast<char16_t>(std::toupper(static_cast<unsigned char>(*letter)));
    return {0, text};
}

void Win32Module::fnAdd(CqResourceId type, CqResourceId name, std::string_view bytes) {
    std::memcpy(m_pImage + m_nNext, bytes.data(), bytes.size());
    m_Entries[fnName(type)][fnName(name)] = {m_nNext, static_cast<std::uint32_t>(bytes.size())};
    m_nNext += (static_cast<std::uint32_t>(bytes.size()) + 7) / 8 * 8;
    fnWriteDirectory();
}

void Win32Module::fnAddString(UINT id, const std::string& text) {
    m_Strings[id] = text;
    const UINT first = id / kInBlock * kInBlock;
    std::u16string block;
    for (UINT each = first; each < first + kInBlock; ++each) {
        const std::string& own = m_Strings[each];
        block += static_cast<char16_t>(own.size());
        block.append(own.begin(), own.end());
    }
    fnAdd(RT_STRING_ID, static_cast<WORD>(id / kInBlock + 1),
          {reinterpret_cast<const char*>(block.data()), 2 * block.size()});
}

template <typename Entries, typename Write>
std::uint32_t Win32Module::fnWriteTable(const Entries& entries, Write write) {
    const std::uint32_t table = m_nTableEnd;
    IMAGE_RESOURCE_DIRECTORY head{};
    const auto texts =
        std::ranges::count_if(entries, [](const auto& entry) { return entry.first.first == 0; });
    head.NumberOfNamedEntries = static_cast<WORD>(texts);
    head.NumberOfIdEntries = static_cast<WORD>(static_cast<std::ptrdiff_t>(entries.size()) - texts);
    fnPut(table, head);
    std::uint32_t at = table + sizeof head;
    m_nTableEnd = at + static_cast<std::uint32_t>(entries.size() * 8);
    for (const auto& [name, value] : entries) {
        std::uint32_t field = name.first & 0xFFFF;
        if (name.first == 0) {
            field = kHighBit | (m_nTableEnd - kTables);
            fnPut(m_nTableEnd, static_cast<WORD>(name.second.size()));
            std::memcpy(m_pImage + m_nTableEnd + 2, name.second.data(), 2 * name.second.size());
            m_nTableEnd += static_cast<std::uint32_t>((2 + 2 * name.second.size() + 3) / 4 * 4);
        }
        fnPut(at, field);
        fnPut(at + 4, write(value));
        at += 8;
    }
    return kHighBit | (table - kTables);
}

void Win32Module::fnWriteDirectory() {
    m_nTableEnd = kTables;
    fnWriteTable(m_Entries, [this](const auto& names) {
        return fnWriteTable(names, [this](const Place& place) {
            const std::map<Name, Place> neutral = {{Name(kNumbered, {}), place}};
            return fnWriteTable(neutral, [this](const Place& bytes) {
                const std::uint32_t entry = m_nTableEnd;
                fnPut(entry, IMAGE_RESOURCE_DATA_ENTRY{bytes.m_nOffset, bytes.m_nSize, 0, 0});
                m_nTableEnd += sizeof(IMAGE_RESOURCE_DATA_ENTRY);
                return entry - kTables;
            });
        });
    });
}

} // namespace q32::test
