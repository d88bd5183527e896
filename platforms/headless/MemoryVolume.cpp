#include "platforms/headless/MemoryVolume_p.h"
#include "platforms/headless/Path_p.h"

namespace q32::headless {

bool MemoryVolume::fnIsDirectory(const Names& names) const {
    return m_Directories.contains(fnNamesKey(names));
}

bool MemoryVolume::fnMakeDirectory(const Names& names) {
    m_Directories[fnNamesKey(names)] = fnJoinNames(names);
    return true;
}

std::vector<std::string> MemoryVolume::fnList(const Names& directory) const {
    std::vector<std::string> names;
    const std::string prefix = directory.empty() ? "" : fnNamesKey(directory) + "\\";
    for (auto at = m_Files.lower_bound(prefix);
         at != m_Files.end() && at->first.starts_with(prefix); ++at)
        if (at->first.find('\\', prefix.size()) == std::string::npos) {
            const std::string& name = at->second->m_szName;
            names.push_back(name.substr(name.rfind('\\') + 1));
        }
    return names;
}

std::vector<std::string> MemoryVolume::fnGetFiles() const {
    std::vector<std::string> names;
    for (const auto& [key, file] : m_Files)
        names.push_back(file->m_szName);
    return names;
}

bool MemoryVolume::fnDelete(const Names& names) {
    m_Files.erase(fnNamesKey(names));
    return true;
}

bool MemoryVolume::fnRename(const Names& from, const Names& to) {
    const std::string key = fnNamesKey(from);
    std::string name = fnGetRoot() + fnJoinNames(to);
    CqHeadlessFilePtr& place = m_Files[fnNamesKey(to)];
    // Nothing fails from here on.
    const auto found = m_Files.find(key);
    place = found->second;
    place->m_szName.swap(name);
    m_Files.erase(found);
    return true;
}

} // namespace q32::headless
