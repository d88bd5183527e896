#include "platforms/headless/CqHeadlessDisks.h"

#include "platforms/headless/Folder.h"
#include "platforms/headless/Path.h"

#include <algorithm>
#include <utility>

namespace {

std::string fnRootKey(std::string_view root) {
    std::string key = q32::headless::fnFold(q32::headless::fnTurnSlashes(root));
    if (key.empty() || key.back() != '\\')
        key += '\\';
    return key;
}

} // namespace

CqHeadlessDisks::CqHeadlessDisks(const std::vector<CqHeadlessVolume>& volumes) {
    for (const CqHeadlessVolume& volume : volumes)
        fnAddVolume(volume);
    if (!m_Volumes.empty())
        m_szCurrent = m_Volumes.front().m_szRoot;
}

void CqHeadlessDisks::fnAddVolume(const CqHeadlessVolume& volume) {
    Volume added;
    static_cast<CqHeadlessVolume&>(added) = volume;
    added.m_szRoot = q32::headless::fnTurnSlashes(volume.m_szRoot);
    if (added.m_szRoot.empty() || added.m_szRoot.back() != '\\')
        added.m_szRoot += '\\';
    added.m_szKey = fnRootKey(volume.m_szRoot);
    added.m_nCapacity = volume.m_nFree;
    m_Volumes.push_back(std::move(added));
}

CqHeadlessDisks::Volume* CqHeadlessDisks::fnFindRoot(std::string_view root) {
    const std::string key = fnRootKey(root);
    const auto found = std::find_if(m_Volumes.begin(), m_Volumes.end(),
                                    [&](const Volume& volume) { return volume.m_szKey == key; });
    return found == m_Volumes.end() ? nullptr : &*found;
}

std::optional<CqHeadlessDisks::Place> CqHeadlessDisks::fnResolve(std::string_view path) const {
    const auto inVolume = [&](std::string full) -> std::optional<Place> {
        full += '\\';
        const std::string folded = q32::headless::fnFold(full);
        const Volume* best = nullptr;
        for (const Volume& volume : m_Volumes)
            if (folded.starts_with(volume.m_szKey) &&
                (!best || volume.m_szKey.size() > best->m_szKey.size()))
                best = &volume;
        if (!best)
            return std::nullopt;
        return Place{
            static_cast<std::size_t>(best - m_Volumes.data()),
            q32::headless::fnSplitPath(std::string_view(full).substr(best->m_szKey.size()))};
    };
    const std::string full = q32::headless::fnTurnSlashes(path);
    if (full.starts_with('\\') || (full.size() > 1 && full[1] == ':'))
        return inVolume(full);
    return inVolume(q32::headless::fnTurnSlashes(m_szCurrent) + "\\" + full);
}

bool CqHeadlessDisks::fnSetFree(std::string_view root, std::uint64_t bytes) {
    Volume* volume = fnFindRoot(root);
    if (!volume)
        return false;
    volume->m_nCapacity = bytes > ~volume->m_nUsed ? ~std::uint64_t{0} : volume->m_nUsed + bytes;
    return true;
}

std::uint64_t CqHeadlessDisks::fnGetFree(std::string_view path) const {
    const auto place = fnResolve(path);
    return place ? m_Volumes[place->m_nVolume].fnGetFree() : 0;
}

bool CqHeadlessDisks::fnSetClusters(std::string_view root, const CqDiskClusters& clusters) {
    Volume* volume = fnFindRoot(root);
    if (volume)
        volume->m_Clusters = clusters;
    return volume != nullptr;
}

bool CqHeadlessDisks::fnGetSpace(std::string_view path, CqDiskSpace& space) const {
    const auto place = fnResolve(path);
    if (!place || !fnIsDirectory(*place))
        return false;
    const Volume& volume = m_Volumes[place->m_nVolume];
    space.m_nAvailable = volume.fnGetFree();
    space.m_nTotal = volume.m_nTotal;
    return true;
}

bool CqHeadlessDisks::fnGetClusters(std::string_view path, CqDiskClusters& clusters) const {
    const auto place = fnResolve(path);
    if (!place || !fnIsDirectory(*place))
        return false;
    const Volume& volume = m_Volumes[place->m_nVolume];
    const std::uint64_t bytes =
        std::uint64_t{volume.m_nSectorsPerCluster} * volume.m_nBytesPerSector;
    const auto count = [&](std::uint64_t size) {
        return static_cast<std::uint32_t>(
            std::min<std::uint64_t>(bytes == 0 ? 0 : size / bytes, 0xFFFFFFFFu));
    };
    clusters = volume.m_Clusters.value_or(
        CqDiskClusters{volume.m_nSectorsPerCluster, volume.m_nBytesPerSector,
                       count(volume.fnGetFree()), count(volume.m_nTotal)});
    return true;
}

// Directories.

bool CqHeadlessDisks::fnIsDirectory(const Place& place) const {
    const Volume& volume = m_Volumes[place.m_nVolume];
    if (place.m_Names.empty())
        return true;
    if (!volume.m_szFolder.empty())
        return q32::headless::fnIsFolderDirectory({volume.m_szFolder, place.m_Names});
    return volume.m_Directories.contains(q32::headless::fnNamesKey(place.m_Names));
}

bool CqHeadlessDisks::fnIsDirectory(std::string_view path) const {
    const auto place = fnResolve(path);
    return place && fnIsDirectory(*place);
}

bool CqHeadlessDisks::fnHasParent(Place place) const {
    if (place.m_Names.empty())
        return false;
    place.m_Names.pop_back();
    return fnIsDirectory(place);
}

bool CqHeadlessDisks::fnMakeDirectory(std::string_view path) {
    const auto place = fnResolve(path);
    std::uint64_t size = 0;
    std::int64_t time = 0;
    if (!place || !fnHasParent(*place) || fnIsDirectory(*place) || fnStat(path, size, time))
        return false;
    Volume& volume = m_Volumes[place->m_nVolume];
    if (!volume.m_szFolder.empty())
        return q32::headless::fnMakeFolderDirectory({volume.m_szFolder, place->m_Names});
    volume.m_Directories[q32::headless::fnNamesKey(place->m_Names)] =
        q32::headless::fnJoinNames(place->m_Names);
    return true;
}

bool CqHeadlessDisks::fnPutDirectory(const Place& place) {
    if (fnIsDirectory(place))
        return true;
    Place parent = place;
    parent.m_Names.pop_back();
    return fnPutDirectory(parent) && fnMakeDirectory(m_Volumes[place.m_nVolume].m_szRoot +
                                                     q32::headless::fnJoinNames(place.m_Names));
}

bool CqHeadlessDisks::fnPutDirectory(std::string_view path) {
    const auto place = fnResolve(path);
    return place && fnPutDirectory(*place);
}

std::vector<std::string> CqHeadlessDisks::fnList(std::string_view directory) const {
    const auto place = fnResolve(directory);
    if (!place)
        return {};
    const Volume& volume = m_Volumes[place->m_nVolume];
    if (!volume.m_szFolder.empty())
        return q32::headless::fnListFolder({volume.m_szFolder, place->m_Names});
    std::vector<std::string> names;
    const std::string prefix =
        place->m_Names.empty() ? "" : q32::headless::fnNamesKey(place->m_Names) + "\\";
    for (auto at = volume.m_Files.lower_bound(prefix);
         at != volume.m_Files.end() && at->first.starts_with(prefix); ++at)
        if (at->first.find('\\', prefix.size()) == std::string::npos) {
            const std::string& name = at->second->m_szName;
            names.push_back(name.substr(name.rfind('\\') + 1));
        }
    return names;
}
