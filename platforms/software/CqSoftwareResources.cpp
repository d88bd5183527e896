#include "platforms/software/CqSoftwareResources.h"

#include "platforms/software/CodePages_p.h"
#include "platforms/software/VersionResource_p.h"

#include <algorithm>

using namespace q32::software;

namespace {

ResName fnToName(CqResourceId id) {
    ResName name;
    name.m_nNumber = id.m_szName ? WORD{0} : id.m_nNumber;
    if (id.m_szName)
        name.m_szText = id.m_szName;
    for (char& letter : name.m_szText)
        if (letter >= 'a' && letter <= 'z')
            letter = static_cast<char>(letter - 'a' + 'A');
    return name;
}

} // namespace

CqSoftwareResources::CqSoftwareResources(UINT codePage) : m_nCodePage(codePage) {
    m_Modules[q32::fnModuleInstance()];
    fnAdd(q32::fnModuleInstance(), RT_VERSION_ID, WORD{1}, fnBuildVersionResource());
    fnAddModule();
}

HINSTANCE CqSoftwareResources::fnToHandle(std::size_t number) {
    // An opaque handle: compared, but never dereferenced.
    return reinterpret_cast<HINSTANCE>((number + 1) << 16);
}

HINSTANCE CqSoftwareResources::fnAddModule() {
    const HINSTANCE handle = fnToHandle(m_nNextModule++);
    m_Modules[handle];
    m_Order.push_back(handle);
    return handle;
}

bool CqSoftwareResources::fnRemoveModule(HINSTANCE module) {
    std::erase(m_Order, module);
    return m_Modules.erase(module) != 0;
}

bool CqSoftwareResources::fnAdd(HINSTANCE module, CqResourceId type, CqResourceId name,
                                std::string_view bytes) {
    const auto found = m_Modules.find(module);
    if (found == m_Modules.end())
        return false;
    found->second.m_Entries[Key(fnToName(type), fnToName(name))].assign(bytes.begin(), bytes.end());
    return true;
}

bool CqSoftwareResources::fnRemove(HINSTANCE module, CqResourceId type, CqResourceId name) {
    const auto found = m_Modules.find(module);
    return found != m_Modules.end() &&
           found->second.m_Entries.erase(Key(fnToName(type), fnToName(name))) != 0;
}

bool CqSoftwareResources::fnAddString(HINSTANCE module, UINT id, std::string text) {
    const auto found = m_Modules.find(module);
    if (found == m_Modules.end())
        return false;
    found->second.m_Strings[id] = std::move(text);
    return true;
}

bool CqSoftwareResources::fnRemoveString(HINSTANCE module, UINT id) {
    const auto found = m_Modules.find(module);
    return found != m_Modules.end() && found->second.m_Strings.erase(id) != 0;
}

bool CqSoftwareResources::fnAddCompiled(HINSTANCE module, std::string_view file) {
    std::vector<ResEntry> entries;
    const auto found = m_Modules.find(module);
    if (found == m_Modules.end() || !fnReadResFile(file, entries))
        return false;
    std::map<Key, std::vector<char>> added;
    for (const ResEntry& entry : entries)
        added.try_emplace(Key(entry.m_Type, entry.m_Name), entry.m_Data.begin(),
                          entry.m_Data.end());
    for (auto& [key, bytes] : added)
        found->second.m_Entries[key] = std::move(bytes);
    return true;
}

std::vector<CqSoftwareResources::Module*> CqSoftwareResources::fnGetModules(HINSTANCE module) {
    std::vector<Module*> modules;
    for (const HINSTANCE handle : module ? std::vector{module} : m_Order)
        if (const auto found = m_Modules.find(handle); found != m_Modules.end())
            modules.push_back(&found->second);
    return modules;
}

bool CqSoftwareResources::fnFind(HINSTANCE module, CqResourceId type, CqResourceId name,
                                 CqResourceData& data) {
    const Key key(fnToName(type), fnToName(name));
    for (Module* searched : fnGetModules(module)) {
        const auto found = searched->m_Entries.find(key);
        if (found == searched->m_Entries.end())
            continue;
        data.m_pBytes = found->second.data();
        data.m_nSize = found->second.size();
        return true;
    }
    return false;
}

bool CqSoftwareResources::fnLoadString(HINSTANCE module, UINT id, std::string& text) {
    const WORD block = static_cast<WORD>(id / 16 + 1);
    const Key key(fnToName(RT_STRING_ID), fnToName(block));
    std::u16string units;
    for (Module* searched : fnGetModules(module)) {
        const auto table = searched->m_Strings.find(id);
        if (table != searched->m_Strings.end()) {
            text = table->second;
            return true;
        }
        const auto found = searched->m_Entries.find(key);
        if (found != searched->m_Entries.end() && id <= 0xFFFF &&
            fnReadStringBlock({found->second.data(), found->second.size()}, id, units)) {
            text = fnFromUtf16(units, m_nCodePage);
            return true;
        }
    }
    return false;
}
