/// @file Compiled resource files of any bytes: entries lie inside the file, and what was added is
/// found. The first byte selects the code page of strings.

#include "fuzz/FuzzInput.h"
#include "platforms/software/CqSoftwareResources.h"
#include "platforms/software/ResFile.h"

#include <map>

namespace {

using namespace q32::fuzz;
using q32::software::ResEntry;
using q32::software::ResName;

CqResourceId fnId(const ResName& name) {
    return name.m_szText.empty() ? CqResourceId(name.m_nNumber)
                                 : CqResourceId(name.m_szText.c_str());
}

void fnReadStrings(std::string_view block) {
    const std::vector<char> exact(block.begin(), block.end());
    std::u16string text;
    for (UINT id = 0; id < 16; ++id) {
        const bool there = q32::software::fnReadStringBlock({exact.data(), exact.size()}, id, text);
        fnCheck(!there || (!text.empty() && text.size() * 2 <= exact.size()),
                "a string lies in its block");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0)
        return 0;
    constexpr UINT kCodePages[] = {1252, 932, 65001};
    CqSoftwareResources resources(kCodePages[data[0] % 3]);
    const std::string_view file = fnText(data + 1, size - 1);
    std::vector<ResEntry> entries;
    const bool whole = q32::software::fnReadResFile(file, entries);
    const HINSTANCE module = resources.fnGetHostModule();
    fnCheck(resources.fnAddCompiled(module, file) == whole, "a whole file is added");
    std::map<std::pair<ResName, ResName>, std::string_view> first;
    for (const ResEntry& entry : entries) {
        fnCheck(entry.m_Data.data() >= file.data() &&
                    entry.m_Data.data() + entry.m_Data.size() <= file.data() + file.size(),
                "an entry lies in the file");
        first.emplace(std::pair(entry.m_Type, entry.m_Name), entry.m_Data);
        fnReadStrings(entry.m_Data);
    }
    for (const auto& [key, expected] : first) {
        CqResourceData found;
        const bool there = resources.fnFind(module, fnId(key.first), fnId(key.second), found);
        fnCheck(there == whole, "what was added is found");
        fnCheck(!there || std::string_view(static_cast<const char*>(found.m_pBytes),
                                           found.m_nSize) == expected,
                "the first of a name is found");
    }
    std::string text;
    for (UINT id = 0; id < 64; ++id)
        resources.fnLoadString(nullptr, id, text);
    return 0;
}
